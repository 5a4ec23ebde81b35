// Makes tables of the sections of a sample: which columns, which rows, in which order.
#include "zel/SampleTables.h"

#include "export/Walk.h"
#include "zel/TableSink.h"
#include "zel/Units.h"

#include <algorithm>
#include <vector>

namespace zel {

namespace {

// When, which host, and over which time.
std::string headLine(const Sample &sample, const Rates *rates, const Style &style) {
    std::string line = localTimeText(sample.realtimeNanoseconds);
    const Identity &host = sample.identity;
    if (sample.area(Area::Identity).asked) {
        for (const Reading<std::string> *text : {&host.hostName, &host.osPrettyName, &host.kernelRelease})
            line += text->has() ? "  " + displayText(text->value(), style.charset) : "";
        line += host.uptimeSeconds ? "  up " + secondsText(*host.uptimeSeconds, style.charset) : "";
    }
    if (rates != nullptr)
        line += "  rates over " + secondsText(rates->seconds, style.charset);
    return style.width > 0 ? cutText(line, style.width, style.charset) : line;
}

// Whether a section has columns that are only there with rates, and they are shown.
bool needsRates(const AnySection<Sample> &section, bool everything) {
    std::vector<std::string_view> plain;
    forEachFamily(section, false, [&plain](const Family &family) { plain.push_back(family.name); });
    const View *view = viewOf(section.name);
    bool needs = false;
    forEachFamily(section, true, [&](const Family &family) {
        const auto shows = [&](const ViewColumn &column) { return column.field == family.name; };
        const bool isShown = everything || view == nullptr || std::ranges::any_of(view->columns, shows);
        needs = needs || (isShown && std::ranges::find(plain, family.name) == plain.end());
    });
    return needs;
}

} // namespace

bool needRates(const Shown &shown) {
    return std::ranges::any_of(sections(), [&shown](const AnySection<Sample> &section) {
        return isShown(shown.areas, section.area) && needsRates(section, shown.everything);
    });
}

void writeTables(const Sample &sample, const Rates *rates, const Shown &shown, const Style &style, std::string &out) {
    std::string tables;
    TableSink sink({shown.everything, shown.areas.empty(), viewOf}, style, tables);
    walk(sample, rates, shown.areas, sink);
    appendToned(out, headLine(sample, rates, style), Tone::Quiet, style);
    out += tables.empty() ? "\n" : "\n\n";
    out += tables;
}

} // namespace zel

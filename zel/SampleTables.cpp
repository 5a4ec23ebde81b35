// Makes tables of the sections of a sample: which columns, which rows, in which order.
#include "zel/SampleTables.h"

#include "export/Walk.h"
#include "zel/TableSink.h"
#include "zel/Units.h"

#include <algorithm>

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

} // namespace

bool needRates(const Shown &shown) {
    bool need = false;
    forEachSection([&]<class Row>(const Section<Row> &section) {
        if (need || !isShown(shown.areas, section.area))
            return;
        const View *view = viewOf(section.name);
        forEachFamily<Row>(true, [&](const Family &family) {
            bool isRate = true;
            forEachFamily<Row>(false, [&](const Family &plain) { isRate = isRate && plain.name != family.name; });
            const auto shows = [&](const ViewColumn &column) { return column.field == family.name; };
            if (isRate)
                need = need || shown.everything || view == nullptr ||
                       std::any_of(view->columns.begin(), view->columns.end(), shows);
        });
    });
    return need;
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

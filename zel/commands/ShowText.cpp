// Writes samples of `zel show` in each of its formats.
#include "zel/commands/ShowText.h"

#include "export/Csv.h"
#include "export/Json.h"
#include "zel/DisplayText.h"
#include "zel/Output.h"
#include "zel/SampleTables.h"
#include "zel/Terminal.h"

#include <algorithm>

namespace zel {

namespace {

// The lines with signs for the bytes that steer a terminal.
std::string displayLines(std::string_view text, Charset charset) {
    std::string lines;
    while (!text.empty()) {
        const std::size_t length = std::min(text.find('\n'), text.size());
        lines += displayText(text.substr(0, length), charset);
        lines += '\n';
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return lines;
}

} // namespace

ShowText::ShowText(const ShowRequest &request) : m_request(request) {
    if (request.format == Format::OpenMetrics || request.format == Format::Prometheus)
        m_metrics.emplace(
            MetricOptions{.sections = request.everything ? MetricSections::all() : MetricSections::defaults(),
                          .version = ZEL_VERSION});
    if (m_metrics && request.root.empty() && request.areas.empty())
        m_units.emplace();
}

// The style is asked for each time: the terminal may change its size.
void ShowText::appendTables(const Sample &sample, const Rates *rates) {
    Style style = outputStyle();
    if (m_request.wide)
        style.width = 0;
    m_text += m_first ? "" : "\n";
    writeTables(sample, rates, {m_request.areas, m_request.everything}, style, m_text);
}

void ShowText::appendLines(const Sample &sample, const Rates *rates) {
    const bool named = sample.area(Area::Identity).asked && sample.identity.hostName;
    m_lines.write(sample, rates, m_request.areas, named ? std::string_view(*sample.identity.hostName) : "", m_text);
}

// The formats have no escapes for steering characters: names keep them, except on a terminal.
void ShowText::appendMetrics(const Sample &sample, MetricFormat format) {
    m_metrics->write(sample, nullptr, m_request.areas, format, m_text);
    if (m_units) {
        m_units->refresh(m_request.deadline);
        m_units->append(format, m_text);
    }
    if (isTerminalOut())
        m_text = displayLines(m_text, outputStyle().charset);
}

void ShowText::append(const Sample &sample, const Rates *rates) {
    switch (m_request.format) {
    case Format::Table:
        return appendTables(sample, rates);
    case Format::Json:
        if (rates == nullptr)
            writeJson(sample, m_request.areas, m_text);
        else
            writeJson(sample, *rates, m_request.areas, m_text);
        m_text += '\n';
        return;
    case Format::Csv:
        if (rates == nullptr)
            writeCsv(sample, m_request.areas, m_first, m_text);
        else
            writeCsv(sample, *rates, m_request.areas, m_first, m_text);
        return;
    case Format::OpenMetrics:
        return appendMetrics(sample, MetricFormat::OpenMetrics);
    case Format::Prometheus:
        return appendMetrics(sample, MetricFormat::PrometheusText);
    case Format::Line:
        return appendLines(sample, rates);
    }
}

std::vector<std::string> ShowText::problems() {
    return m_units ? m_units->newProblems() : std::vector<std::string>();
}

const std::string &ShowText::of(const Sample &sample, const Rates *rates) {
    m_text.clear();
    append(sample, rates);
    m_first = false;
    return m_text;
}

} // namespace zel

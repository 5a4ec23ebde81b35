// Writes the texts of answers.
#include "zel/serve/Answers.h"

#include "export/Json.h"
#include "export/Text.h"

namespace zel {

namespace {

constexpr std::string_view metricsEnd = "# EOF\n"; // of OpenMetrics

// A sample without an earlier one has rates too: all of them not yet.
const Rates &noRates() {
    static const Rates none{};
    return none;
}

void writeJsonOf(const TextKey &key, const Sample &sample, const Rates *rates, std::string &out) {
    const std::vector<Area> areas = areasIn(AreaSet(key.areas));
    if (key.rates)
        writeJson(sample, rates == nullptr ? noRates() : *rates, areas, out);
    else
        writeJson(sample, areas, out);
}

} // namespace

void AnswerWriter::configure(const AnswerSettings &settings) {
    m_metrics = std::make_unique<MetricsWriter>(settings.metrics);
    m_textfiles = std::make_unique<TextfileDirectory>(settings.textfileDirectory, settings.textfiles);
    m_units = settings.units ? std::make_unique<SystemdMetrics>() : nullptr;
    m_deadline = settings.deadline;
    m_isSampleNew = true;
}

bool AnswerWriter::write(const TextKey &key, const Sample &sample, const Rates *rates, std::string &out) {
    m_text.clear();
    switch (key.form) {
    case TextKey::Form::Metrics:
        writeMetrics(key, sample, rates, m_text);
        break;
    case TextKey::Form::Json:
        writeJsonOf(key, sample, rates, m_text);
        m_text += '\n';
        break;
    case TextKey::Form::Event:
        writeEvent(key, sample, rates, m_text);
        break;
    }
    if (key.coding != Coding::Identity)
        return m_compressor.compress(key.coding, m_text, out);
    out = m_text;
    return true;
}

void AnswerWriter::writeMetrics(const TextKey &key, const Sample &sample, const Rates *rates, std::string &out) {
    if (m_isSampleNew)
        m_textfiles->refresh(m_deadline);
    if (m_isSampleNew && m_units != nullptr)
        m_units->refresh(m_deadline);
    m_isSampleNew = false;
    m_metrics->write(sample, rates, {}, key.format, out);
    if (key.format == MetricFormat::OpenMetrics)
        out.resize(out.size() - metricsEnd.size());
    if (m_units != nullptr)
        m_units->append(key.format, out);
    m_textfiles->append(key.format, out);
    if (key.format == MetricFormat::OpenMetrics)
        out += metricsEnd;
}

// The number of an event is when its sample was taken, so that a reader that comes again sees what it missed.
void AnswerWriter::writeEvent(const TextKey &key, const Sample &sample, const Rates *rates, std::string &out) {
    out += "id: ";
    appendNumber(out, static_cast<std::uint64_t>(sample.realtimeNanoseconds));
    out += "\ndata: ";
    writeJsonOf(key, sample, rates, out);
    out += "\n\n";
}

std::vector<std::string> AnswerWriter::takeRemarks() {
    std::vector<std::string> remarks;
    if (m_units != nullptr)
        remarks = m_units->newProblems();
    if (m_textfiles == nullptr)
        return remarks;
    for (std::string &problem : m_textfiles->newProblems())
        remarks.push_back(std::move(problem));
    return remarks;
}

} // namespace zel

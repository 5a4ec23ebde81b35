// Writes the texts of answers: metrics, JSON, events of streams; plain or compressed.
#pragma once

#include "export/OpenMetrics.h"
#include "zel/serve/Compressor.h"
#include "zel/serve/Request.h"
#include "zel/serve/TextfileDirectory.h"
#include "zel/systemd/SystemdMetrics.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace zel {

/// What a text is made of, and how it is written: equal keys of one sample are equal texts.
struct TextKey {
    enum class Form : unsigned char { Metrics, Json, Event };
    Form form = Form::Metrics;
    MetricFormat format = MetricFormat::PrometheusText;
    Coding coding = Coding::Identity;
    unsigned long areas = 0; // AreaSet
    bool rates = false;
    auto operator<=>(const TextKey &) const = default;
};

struct AnswerSettings {
    MetricOptions metrics;
    bool units = false; // of systemd are in the metrics
    std::string textfileDirectory;
    TextfileLimits textfiles;
    std::chrono::milliseconds sampleAge{};
    std::chrono::milliseconds deadline{};
    bool commandLines = false;
};

/// Belongs to one thread; its memory is used again.
class AnswerWriter {
public:
    void configure(const AnswerSettings &settings);
    /// Text files and units are looked at once from here on, when a text needs them.
    void beginSample() { m_isSampleNew = true; }

    /// The text of a sample. `rates` were made of it and an earlier one; null: there is no earlier one. False when it
    /// could not be compressed; what it is then is of no use.
    bool write(const TextKey &key, const Sample &sample, const Rates *rates, std::string &out);
    /// What was found wrong with text files and units since the last call.
    std::vector<std::string> takeRemarks();

private:
    void writeMetrics(const TextKey &key, const Sample &sample, const Rates *rates, std::string &out);
    void writeEvent(const TextKey &key, const Sample &sample, const Rates *rates, std::string &out);

    std::unique_ptr<MetricsWriter> m_metrics;
    std::unique_ptr<TextfileDirectory> m_textfiles;
    std::unique_ptr<SystemdMetrics> m_units; // null: they are not asked for
    std::chrono::milliseconds m_deadline{};
    bool m_isSampleNew = true;
    Compressor m_compressor;
    std::string m_text;
};

} // namespace zel

// Samples of `zel show` as texts, in the format that was asked for.
#pragma once

#include "export/LineProtocol.h"
#include "export/OpenMetrics.h"
#include "zel/commands/ShowRequest.h"
#include "zel/systemd/SystemdMetrics.h"

#include <optional>
#include <string>
#include <vector>

namespace zel {

class ShowText {
public:
    explicit ShowText(const ShowRequest &request);

    /// The text of the next sample; valid until the next call. `rates` may be null.
    const std::string &of(const Sample &sample, const Rates *rates);
    /// What the text lacks because it could not be had, beside what the sample says itself.
    std::vector<std::string> problems();

private:
    void append(const Sample &sample, const Rates *rates);
    void appendTables(const Sample &sample, const Rates *rates);
    void appendMetrics(const Sample &sample, MetricFormat format);
    void appendLines(const Sample &sample, const Rates *rates);

    const ShowRequest &m_request;
    std::optional<MetricsWriter> m_metrics;
    std::optional<SystemdMetrics> m_units; // none: they are not asked for
    LineWriter m_lines;
    std::string m_text;
    bool m_first = true;
};

} // namespace zel

// What one file of known names writes of a sample, in the Prometheus text format.
#pragma once

#include "export/known/Known.h"

#include <sstream>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

class KnownText {
public:
    explicit KnownText(const zel::KnownMetrics &metrics, const zel::Sample &sample) {
        std::string text;
        zel::MetricSink sink;
        sink.start(zel::MetricFormat::PrometheusText, text);
        metrics.write(sample, sink);
        sink.finish();
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);)
            m_lines.push_back(line);
    }

    /// The series of a family, as they are written.
    Lines series(const std::string &family) const {
        Lines found;
        for (const std::string &line : m_lines) {
            if (line.starts_with(family + '{') || line.starts_with(family + ' '))
                found.push_back(line);
        }
        return found;
    }
    /// All series.
    Lines series() const {
        Lines found;
        for (const std::string &line : m_lines) {
            if (!line.starts_with('#'))
                found.push_back(line);
        }
        return found;
    }
    /// "counter"; empty when there is no such family.
    std::string type(const std::string &family) const {
        const std::string start = "# TYPE " + family + ' ';
        for (const std::string &line : m_lines) {
            if (line.starts_with(start))
                return line.substr(start.size());
        }
        return {};
    }

private:
    Lines m_lines;
};

// A reader of the Prometheus text format 0.0.4 and of OpenMetrics 1.0, by their requirements: what breaks one of them
// is a failed expectation.
#pragma once

#include <map>
#include <string>
#include <vector>

struct MetricSeries {
    std::string name;
    std::map<std::string, std::string> labels;
    std::string value;
};

struct MetricFamily {
    std::string name; // as in its TYPE line
    std::string type, help;
    std::vector<MetricSeries> series;
};

class MetricText {
public:
    enum class Format : unsigned char { Prometheus, OpenMetrics };

    /// Reads a whole text. Every family has a HELP and a TYPE line, in this order, right before its series.
    MetricText(const std::string &text, Format format);

    const std::vector<MetricFamily> &families() const { return m_families; }
    /// The family of the name; a failed expectation and an empty one when there is none.
    const MetricFamily &family(const std::string &name) const;
    bool has(const std::string &name) const;
    /// The value of the series whose labels hold these; "" when there is none, or not just one.
    std::string value(const std::string &name, const std::map<std::string, std::string> &labels = {}) const;
    std::size_t lines() const { return m_lines; }

private:
    void readComment(const std::string &line);
    void readSeries(const std::string &line);
    void checkNames() const;

    Format m_format;
    std::size_t m_lines = 0;
    std::vector<MetricFamily> m_families;
};

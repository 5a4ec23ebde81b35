// Reads metric families line by line.
#include "MetricText.h"

#include <algorithm>
#include <cctype>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <sstream>

namespace {

bool isName(const std::string &name, bool colon) {
    const auto letter = [colon](char c) {
        return std::isalpha(static_cast<unsigned char>(c)) || c == '_' || (colon && c == ':');
    };
    return !name.empty() && letter(name[0]) &&
           std::all_of(name.begin(), name.end(), [&](char c) { return letter(c) || (c >= '0' && c <= '9'); });
}

// By decoding: each character has its shortest form, and is neither a surrogate nor beyond the last one.
bool isUtf8(const std::string &text) {
    for (std::size_t at = 0; at < text.size();) {
        const auto first = static_cast<unsigned char>(text[at]);
        const std::size_t more = first < 0x80 ? 0 : first >= 0xf0 ? 3 : first >= 0xe0 ? 2 : 1;
        if ((first >= 0x80 && first < 0xc0) || first >= 0xf8 || at + more >= text.size())
            return false;
        unsigned long code = more == 0 ? first : first & (0x3fU >> more);
        for (std::size_t next = 1; next <= more; ++next) {
            const auto byte = static_cast<unsigned char>(text[at + next]);
            if ((byte & 0xc0U) != 0x80)
                return false;
            code = code << 6 | (byte & 0x3fU);
        }
        constexpr unsigned long least[] = {0, 0x80, 0x800, 0x10000};
        if (code < least[more] || (code >= 0xd800 && code < 0xe000) || code > 0x10ffff)
            return false;
        at += more + 1;
    }
    return true;
}

// What ends where: the text in quotes from `at`, whose first quote is there, with its escapes resolved.
std::string readQuoted(const std::string &line, std::size_t &at) {
    std::string text;
    EXPECT_EQ(line.at(at), '"') << line;
    for (++at; at < line.size() && line[at] != '"'; ++at) {
        if (line[at] != '\\') {
            text += line[at];
            continue;
        }
        ++at;
        const char escaped = at < line.size() ? line[at] : '\0';
        EXPECT_TRUE(escaped == '\\' || escaped == '"' || escaped == 'n') << "an escape that is none: " << line;
        text += escaped == 'n' ? '\n' : escaped;
    }
    EXPECT_LT(at, line.size()) << "a text without its end: " << line;
    ++at;
    return text;
}

std::string readHelp(const std::string &text, bool quoteEscaped) {
    std::string help;
    for (std::size_t at = 0; at < text.size(); ++at) {
        EXPECT_FALSE(quoteEscaped && text[at] == '"') << text;
        if (text[at] != '\\') {
            help += text[at];
            continue;
        }
        const char escaped = ++at < text.size() ? text[at] : '\0';
        EXPECT_TRUE(escaped == '\\' || escaped == 'n' || (quoteEscaped && escaped == '"')) << text;
        help += escaped == 'n' ? '\n' : escaped;
    }
    return help;
}

// The name that the series of a family have.
std::string seriesName(const MetricFamily &family, bool open) {
    if (open && family.type == "counter")
        return family.name + "_total";
    return open && family.type == "info" ? family.name + "_info" : family.name;
}

} // namespace

MetricText::MetricText(const std::string &text, Format format) : m_format(format) {
    const bool open = format == Format::OpenMetrics;
    EXPECT_TRUE(text.empty() || text.back() == '\n') << "the last line has no end";
    EXPECT_TRUE(isUtf8(text)) << "not UTF-8";
    std::istringstream lines(text);
    std::string line;
    bool ended = false;
    while (std::getline(lines, line)) {
        EXPECT_FALSE(ended) << "a line after the end: " << line;
        EXPECT_FALSE(line.empty()) << "an empty line";
        ++m_lines;
        if (open && line == "# EOF")
            ended = true;
        else if (!line.empty() && line[0] == '#')
            readComment(line);
        else if (!line.empty())
            readSeries(line);
    }
    EXPECT_EQ(ended, open) << "# EOF";
    checkNames();
}

void MetricText::readComment(const std::string &line) {
    static const std::regex form("# (HELP|TYPE) ([^ ]+) (.*)");
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(line, parts, form)) << line;
    const bool open = m_format == Format::OpenMetrics;
    if (parts[1] == "HELP") {
        EXPECT_TRUE(m_families.empty() || !m_families.back().series.empty()) << "no series before " << line;
        m_families.push_back({parts[2], "", readHelp(parts[3], open), {}});
        return;
    }
    ASSERT_FALSE(m_families.empty()) << line;
    MetricFamily &family = m_families.back();
    EXPECT_EQ(family.name, parts[2]) << "a TYPE without its HELP";
    EXPECT_EQ(family.type, "") << "a second TYPE: " << line;
    EXPECT_TRUE(family.series.empty()) << "a TYPE after series: " << line;
    family.type = parts[3];
    const std::set<std::string> types = open ? std::set<std::string>{"counter", "gauge", "info", "unknown"}
                                             : std::set<std::string>{"counter", "gauge", "untyped"};
    EXPECT_TRUE(types.contains(family.type)) << line;
}

void MetricText::readSeries(const std::string &line) {
    ASSERT_FALSE(m_families.empty()) << line;
    MetricFamily &family = m_families.back();
    std::size_t at = line.find_first_of("{ ");
    ASSERT_NE(at, line.npos) << line;
    MetricSeries series{line.substr(0, at), {}, ""};
    if (line[at] == '{') {
        while (line.at(at) != '}') {
            const std::size_t equals = line.find('=', at);
            ASSERT_NE(equals, line.npos) << line;
            const std::string name = line.substr(at + 1, equals - at - 1);
            EXPECT_TRUE(isName(name, false)) << line;
            at = equals + 1;
            const std::string value = readQuoted(line, at);
            EXPECT_TRUE(series.labels.emplace(name, value).second) << "a label twice: " << line;
            ASSERT_LT(at, line.size()) << line;
            ASSERT_TRUE(line[at] == ',' || line[at] == '}') << line;
        }
        ++at;
    }
    ASSERT_EQ(line.at(at), ' ') << line;
    series.value = line.substr(at + 1);
    static const std::regex number("-?[0-9]+(\\.[0-9]+)?(e[-+][0-9]+)?");
    EXPECT_TRUE(std::regex_match(series.value, number)) << line;
    EXPECT_EQ(series.name, seriesName(family, m_format == Format::OpenMetrics)) << "of another family: " << line;
    EXPECT_TRUE(family.type != "info" || series.value == "1") << line;
    family.series.push_back(series);
}

void MetricText::checkNames() const {
    std::set<std::string> names;
    for (const MetricFamily &family : m_families) {
        EXPECT_TRUE(isName(family.name, true)) << family.name;
        EXPECT_TRUE(names.insert(family.name).second) << "a family twice: " << family.name;
        EXPECT_NE(family.type, "") << family.name;
        EXPECT_NE(family.help, "") << family.name;
        EXPECT_FALSE(family.series.empty()) << "a family without series: " << family.name;
        std::set<std::map<std::string, std::string>> series;
        for (const MetricSeries &each : family.series)
            EXPECT_TRUE(series.insert(each.labels).second) << "a series twice: " << family.name;
    }
    // The names of series are each of one family, too: a counter "a" and a gauge "a_total" have the same.
    std::set<std::string> seriesNames;
    for (const MetricFamily &family : m_families)
        EXPECT_TRUE(seriesNames.insert(seriesName(family, m_format == Format::OpenMetrics)).second) << family.name;
}

const MetricFamily &MetricText::family(const std::string &name) const {
    static const MetricFamily none;
    const auto found = std::find_if(m_families.begin(), m_families.end(),
                                    [&name](const MetricFamily &family) { return family.name == name; });
    EXPECT_NE(found, m_families.end()) << "no family " << name;
    return found == m_families.end() ? none : *found;
}

bool MetricText::has(const std::string &name) const {
    return std::any_of(m_families.begin(), m_families.end(),
                       [&name](const MetricFamily &family) { return family.name == name; });
}

std::string MetricText::value(const std::string &name, const std::map<std::string, std::string> &labels) const {
    std::string value;
    int found = 0;
    for (const MetricFamily &family : m_families) {
        for (const MetricSeries &series : family.series) {
            const bool same = series.name == name &&
                              std::includes(series.labels.begin(), series.labels.end(), labels.begin(), labels.end());
            if (!same)
                continue;
            value = series.value;
            ++found;
        }
    }
    return found == 1 ? value : "";
}

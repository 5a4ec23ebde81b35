// Reads metrics in the text format, line by line.
#include "zel/serve/MetricsText.h"

#include "export/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <optional>
#include <unordered_map>

namespace zel {

namespace {

constexpr std::array<std::string_view, 5> typeNames{"untyped", "counter", "gauge", "histogram", "summary"};
constexpr std::array<std::string_view, 3> suffixes{"_bucket", "_sum", "_count"};

bool isNameByte(char byte, bool first, bool colon) {
    const bool isLetter = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || byte == '_';
    return isLetter || (colon && byte == ':') || (!first && byte >= '0' && byte <= '9');
}

std::string_view takeName(std::string_view &line, bool colon) {
    std::size_t end = 0;
    while (end < line.size() && isNameByte(line[end], end == 0, colon))
        ++end;
    const std::string_view name = line.substr(0, end);
    line.remove_prefix(end);
    return name;
}

void skipBlanks(std::string_view &line) {
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        if (isPlainByte(text[0])) {
            text.remove_prefix(1);
            continue;
        }
        const Character character = characterAt(text);
        if (character.kind == Character::Kind::Broken)
            return false;
        text.remove_prefix(character.length);
    }
    return true;
}

// A number as the format has it: decimal, or one of the words for what is none.
std::optional<double> readValue(std::string_view text) {
    std::string lowered(text);
    std::transform(lowered.begin(), lowered.end(), lowered.begin(),
                   [](char byte) { return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte | 0x20) : byte; });
    if (lowered == "nan")
        return std::numeric_limits<double>::quiet_NaN();
    const bool isSigned = !lowered.empty() && (lowered[0] == '+' || lowered[0] == '-');
    const std::string_view rest = std::string_view(lowered).substr(isSigned ? 1 : 0);
    const double sign = isSigned && lowered[0] == '-' ? -1 : 1;
    if (rest == "inf" || rest == "infinity")
        return sign * std::numeric_limits<double>::infinity();
    if (rest.empty() || (rest[0] != '.' && (rest[0] < '0' || rest[0] > '9')))
        return std::nullopt;
    double value = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), value);
    if (error != std::errc() || end != rest.data() + rest.size())
        return std::nullopt;
    return sign * value;
}

void appendValue(std::string &out, double value) {
    if (value != value)
        out += "NaN";
    else if (value == std::numeric_limits<double>::infinity())
        out += "+Inf";
    else if (value == -std::numeric_limits<double>::infinity())
        out += "-Inf";
    else
        appendNumber(out, value);
}

struct LabelText {
    std::string_view name, value; // the value as it is escaped
};

// The labels of one series, between their braces.
class LabelReader {
public:
    // Moves behind the closing brace; an error text, or an empty one.
    std::string_view read(std::string_view &line) {
        m_labels.clear();
        while (true) {
            skipBlanks(line);
            if (line.starts_with('}')) {
                line.remove_prefix(1);
                return finish();
            }
            const std::string_view problem = readOne(line);
            if (!problem.empty())
                return problem;
        }
    }
    bool has(std::string_view name) const {
        return std::any_of(m_labels.begin(), m_labels.end(),
                           [name](const LabelText &label) { return label.name == name; });
    }
    void clear() { m_labels.clear(); }
    std::string text() const {
        std::string text;
        for (const LabelText &label : m_labels) {
            text += text.empty() ? "" : ",";
            text.append(label.name).append("=\"").append(label.value).append("\"");
        }
        return text;
    }

private:
    std::string_view readOne(std::string_view &line) {
        LabelText label;
        label.name = takeName(line, false);
        skipBlanks(line);
        if (label.name.empty() || label.name.starts_with("__") || !line.starts_with('='))
            return "a label has no name, or no equals sign";
        line.remove_prefix(1);
        skipBlanks(line);
        if (!line.starts_with('"'))
            return "the value of a label is not in quotes";
        line.remove_prefix(1);
        std::size_t end = 0;
        for (; end < line.size() && line[end] != '"'; ++end) {
            if (line[end] != '\\')
                continue;
            ++end;
            if (end == line.size() || (line[end] != '\\' && line[end] != '"' && line[end] != 'n'))
                return "a backslash in a label is followed by neither n nor a quote nor another one";
        }
        if (end >= line.size())
            return "the value of a label has no end";
        label.value = line.substr(0, end);
        line.remove_prefix(end + 1);
        skipBlanks(line);
        if (!line.starts_with(',') && !line.starts_with('}'))
            return "after a label follows neither a comma nor the closing brace";
        line.remove_prefix(line[0] == ',' ? 1 : 0);
        m_labels.push_back(label);
        return isUtf8(label.value) ? "" : "the value of a label is no UTF-8";
    }
    std::string_view finish() {
        const auto byName = [](const LabelText &one, const LabelText &other) { return one.name < other.name; };
        const auto sameName = [](const LabelText &one, const LabelText &other) { return one.name == other.name; };
        std::sort(m_labels.begin(), m_labels.end(), byName);
        const bool isTwice = std::adjacent_find(m_labels.begin(), m_labels.end(), sameName) != m_labels.end();
        return isTwice ? "a series has a label twice" : "";
    }

    std::vector<LabelText> m_labels;
};

class TextReader {
public:
    MetricsText read(std::string_view text) {
        while (!text.empty() && m_result.problem.empty()) {
            ++m_result.line;
            const std::size_t end = text.find('\n');
            if (end == std::string_view::npos)
                m_result.problem = "the last line has no end";
            else
                m_result.problem = readLine(text.substr(0, end));
            text.remove_prefix(std::min(end, text.size() - 1) + 1);
        }
        if (!m_result.problem.empty())
            m_result.families.clear();
        std::erase_if(m_result.families, [](const TextFamily &family) { return family.series.empty(); });
        return std::move(m_result);
    }

private:
    std::string_view readLine(std::string_view line) {
        skipBlanks(line);
        if (line.empty())
            return "";
        if (!line.starts_with('#'))
            return readSeries(line);
        line.remove_prefix(1);
        skipBlanks(line);
        const std::size_t end = std::min(line.find_first_of(" \t"), line.size());
        const std::string_view word = line.substr(0, end);
        if (word != "HELP" && word != "TYPE")
            return ""; // a remark
        line.remove_prefix(end);
        skipBlanks(line);
        const std::string_view name = takeName(line, true);
        if (name.empty() || (!line.empty() && line[0] != ' ' && line[0] != '\t'))
            return "HELP or TYPE is of no name";
        skipBlanks(line);
        TextFamily &family = familyNamed(name);
        return word == "HELP" ? readHelp(line, family) : readType(line, family);
    }

    static std::string_view readHelp(std::string_view line, TextFamily &family) {
        if (family.hasHelp)
            return "a second HELP of its name";
        family.hasHelp = true;
        for (std::size_t at = 0; at < line.size(); ++at) {
            if (line[at] != '\\') {
                family.help += line[at];
                continue;
            }
            ++at;
            if (at == line.size() || (line[at] != '\\' && line[at] != 'n'))
                return "a backslash in a help text is followed by neither n nor another one";
            family.help += line[at] == 'n' ? '\n' : '\\';
        }
        return isUtf8(family.help) ? "" : "the help text is no UTF-8";
    }
    static std::string_view readType(std::string_view line, TextFamily &family) {
        const auto found = std::find(typeNames.begin(), typeNames.end(), line);
        if (found == typeNames.end())
            return "TYPE is none of counter, gauge, histogram, summary, untyped";
        if (family.hasType)
            return "a second TYPE of its name";
        if (!family.series.empty())
            return "TYPE comes after the series of its name";
        family.hasType = true;
        family.type = static_cast<TextType>(found - typeNames.begin());
        return "";
    }

    std::string_view readSeries(std::string_view line) {
        const std::string_view name = takeName(line, true);
        if (name.empty())
            return "the line is neither a series nor a comment";
        m_labels.clear();
        skipBlanks(line);
        if (line.starts_with('{')) {
            line.remove_prefix(1);
            const std::string_view problem = m_labels.read(line);
            if (!problem.empty())
                return problem;
            skipBlanks(line);
        }
        const std::size_t end = std::min(line.find_first_of(" \t"), line.size());
        const std::optional<double> value = readValue(line.substr(0, end));
        if (!value)
            return "the value of a series is no number";
        if (end < line.size())
            return "after the value follows a timestamp, or something else";
        return addSeries(name, *value);
    }
    std::string_view addSeries(std::string_view name, double value) {
        std::string_view suffix;
        TextFamily &family = familyOf(name, suffix);
        if (family.type == TextType::Histogram && suffix.empty())
            return "a series of a histogram ends in none of _bucket, _sum, _count";
        if (suffix == "_bucket" && !m_labels.has("le"))
            return "a bucket of a histogram has no label le";
        if (family.type == TextType::Summary && suffix.empty() && !m_labels.has("quantile"))
            return "a series of a summary has no label quantile";
        family.series.push_back({std::string(suffix), m_labels.text(), value});
        return "";
    }

    // The family whose name this is, or whose histogram or summary it is a part of; else one that is new.
    TextFamily &familyOf(std::string_view name, std::string_view &suffix) {
        if (m_places.contains(std::string(name)))
            return familyNamed(name);
        for (const std::string_view part : suffixes) {
            if (!name.ends_with(part))
                continue;
            const auto place = m_places.find(std::string(name.substr(0, name.size() - part.size())));
            if (place == m_places.end())
                continue;
            TextFamily &whole = m_result.families[place->second];
            if (whole.type == TextType::Histogram || (whole.type == TextType::Summary && part != "_bucket")) {
                suffix = part;
                return whole;
            }
        }
        return familyNamed(name);
    }
    TextFamily &familyNamed(std::string_view name) {
        const auto [place, isNew] = m_places.try_emplace(std::string(name), m_result.families.size());
        if (isNew)
            m_result.families.emplace_back().name = name;
        return m_result.families[place->second];
    }

    MetricsText m_result;
    std::unordered_map<std::string, std::size_t> m_places;
    LabelReader m_labels;
};

void appendHelp(std::string &out, std::string_view help, bool quotesToo) {
    for (const char byte : help) {
        if (byte == '\\')
            out += "\\\\";
        else if (byte == '\n')
            out += "\\n";
        else if (byte == '"' && quotesToo)
            out += "\\\"";
        else
            out += byte;
    }
}

// A counter's family loses its ending in OpenMetrics.
std::string_view headerName(const TextFamily &family, MetricFormat format) {
    constexpr std::string_view total = "_total";
    std::string_view name = family.name;
    if (format == MetricFormat::OpenMetrics && family.type == TextType::Counter && name.ends_with(total))
        name.remove_suffix(total.size());
    return name;
}

} // namespace

MetricsText readMetricsText(std::string_view text) {
    return TextReader().read(text);
}

std::vector<std::string> namesOf(const TextFamily &family, MetricFormat format) {
    std::vector<std::string> names{std::string(headerName(family, format))};
    if (names[0] != family.name)
        names.push_back(family.name);
    const bool hasParts = family.type == TextType::Histogram || family.type == TextType::Summary;
    for (std::size_t part = family.type == TextType::Summary ? 1 : 0; hasParts && part < suffixes.size(); ++part)
        names.push_back(family.name + std::string(suffixes[part]));
    return names;
}

// Those of OpenMetrics are more by the name of a counter's family alone.
std::vector<std::string> namesOf(const TextFamily &family) {
    return namesOf(family, MetricFormat::OpenMetrics);
}

void appendFamily(const TextFamily &family, MetricFormat format, std::string &out) {
    const bool isOpen = format == MetricFormat::OpenMetrics;
    const std::string_view name = headerName(family, format);
    std::string_view type = typeNames[static_cast<std::size_t>(family.type)];
    const bool hasOwnName = name == family.name;
    if (isOpen && hasOwnName && (family.type == TextType::Counter || family.type == TextType::Untyped))
        type = "unknown"; // so that its series keep their name
    out.append("# HELP ").append(name).append(" ");
    appendHelp(out, family.help, isOpen);
    out.append("\n# TYPE ").append(name).append(" ").append(type).append("\n");
    for (const TextSeries &series : family.series) {
        out.append(family.name).append(series.suffix);
        if (!series.labels.empty())
            out.append("{").append(series.labels).append("}");
        out += ' ';
        appendValue(out, series.value);
        out += '\n';
    }
}

} // namespace zel

// Reads Accept and Accept-Encoding: lists of names with parameters and a weight each.
#include "zel/serve/Negotiation.h"

#include "zel/serve/Caseless.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace zel {

namespace {

constexpr unsigned fullWeight = 1000; // weights have three decimals

bool isBlankByte(char byte) {
    return byte == ' ' || byte == '\t';
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlankByte(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlankByte(text.back()))
        text.remove_suffix(1);
    return text;
}

// Cuts the text before the separator off and moves behind it; separators in quotes are part of the text.
std::string_view cutAt(std::string_view &text, char separator) {
    bool quoted = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (quoted && text[at] == '\\') {
            ++at;
        } else if (text[at] == '"') {
            quoted = !quoted;
        } else if (text[at] == separator && !quoted) {
            const std::string_view part = text.substr(0, at);
            text.remove_prefix(at + 1);
            return trimmed(part);
        }
    }
    const std::string_view part = text;
    text = {};
    return trimmed(part);
}

// "1", "0.75": the weight in thousandths, or nothing.
std::optional<unsigned> readWeight(std::string_view text) {
    constexpr std::size_t decimalsAtMost = 3;
    if (text.empty() || (text[0] != '0' && text[0] != '1'))
        return std::nullopt;
    unsigned weight = text[0] == '1' ? fullWeight : 0;
    text.remove_prefix(1);
    if (text.empty())
        return weight;
    if (text[0] != '.' || text.size() - 1 > decimalsAtMost)
        return std::nullopt;
    unsigned worth = fullWeight / 10;
    for (const char digit : text.substr(1)) {
        if (digit < '0' || digit > '9')
            return std::nullopt;
        weight += static_cast<unsigned>(digit - '0') * worth;
        worth /= 10;
    }
    return weight <= fullWeight ? std::optional(weight) : std::nullopt;
}

std::string_view withoutQuotes(std::string_view text) {
    return text.size() >= 2 && text.front() == '"' && text.back() == '"' ? text.substr(1, text.size() - 2) : text;
}

// One part of a list: its name, its weight, and the parameter that tells versions apart.
struct Part {
    std::string_view name, version;
    unsigned weight = fullWeight;
    bool isFormed = true;
};

bool isNameByte(char byte) {
    return byte > ' ' && byte <= '~' && byte != '"' && byte != '(' && byte != ')' && byte != '\\';
}

Part readPart(std::string_view text) {
    Part part;
    part.name = cutAt(text, ';');
    part.isFormed = !part.name.empty() && std::all_of(part.name.begin(), part.name.end(), isNameByte);
    while (!text.empty()) {
        std::string_view value = cutAt(text, ';');
        const std::string_view name = cutAt(value, '=');
        if (isSameName(name, "version")) {
            part.version = withoutQuotes(trimmed(value));
        } else if (isSameName(name, "q")) {
            const std::optional<unsigned> weight = readWeight(trimmed(value));
            part.isFormed = part.isFormed && weight.has_value();
            part.weight = weight.value_or(0);
        }
    }
    return part;
}

template<class Use> bool forEachPart(std::string_view list, Use &&use) {
    bool any = false;
    while (!list.empty()) {
        const std::string_view text = cutAt(list, ',');
        const Part part = readPart(text);
        if (text.empty() || !part.isFormed)
            continue;
        any = true;
        use(part);
    }
    return any;
}

// A representation of ours, and how well the client accepts it: of the parts that match, the closest one counts.
struct Candidate {
    std::string_view type, subtype, version;
    unsigned closeness = 0; // 0: no part matches; then */*, text/*, text/plain, text/plain;version=0.0.4
    unsigned weight = 0;

    unsigned closenessOf(const Part &part) const {
        const std::size_t slash = part.name.find('/');
        if (slash == std::string_view::npos)
            return 0;
        const std::string_view first = part.name.substr(0, slash), second = part.name.substr(slash + 1);
        if (first == "*" && second == "*")
            return 1;
        if (!isSameName(first, type))
            return 0;
        if (second == "*")
            return 2;
        if (!isSameName(second, subtype))
            return 0;
        if (part.version.empty())
            return 3;
        return part.version == version ? 4 : 0;
    }
    void look(const Part &part) {
        const unsigned now = closenessOf(part);
        if (now > closeness || (now > 0 && now == closeness && part.weight > weight)) {
            closeness = now;
            weight = part.weight;
        }
    }
};

Candidate candidateOf(std::string_view mediaType, std::string_view version) {
    const std::size_t slash = mediaType.find('/');
    return {mediaType.substr(0, slash), mediaType.substr(slash + 1), version};
}

// How well a coding is accepted. What the list does not name has the weight of "*"; none at all is always accepted
// where nothing says otherwise.
struct CodingWeight {
    std::string_view name, otherName;
    Coding coding;
    std::optional<unsigned> named, wild;

    void look(const Part &part) {
        if (isSameName(part.name, name) || isSameName(part.name, otherName))
            named = std::max(named.value_or(0), part.weight);
        else if (part.name == "*")
            wild = part.weight;
    }
    unsigned weight() const {
        constexpr unsigned unnamedIdentity = 1; // after everything that is named
        if (named || wild)
            return named ? *named : *wild;
        return coding == Coding::Identity ? unnamedIdentity : 0;
    }
};

} // namespace

std::string_view codingName(Coding coding) {
    constexpr std::array<std::string_view, 3> names{"", "gzip", "zstd"};
    return names[static_cast<std::size_t>(coding)];
}

std::optional<MetricFormat> negotiateMetrics(std::string_view accept) {
    Candidate text = candidateOf("text/plain", "0.0.4");
    Candidate open = candidateOf("application/openmetrics-text", "1.0.0");
    const bool any = forEachPart(accept, [&](const Part &part) {
        text.look(part);
        open.look(part);
    });
    if (!any)
        return MetricFormat::PrometheusText;
    if (text.weight == 0 && open.weight == 0)
        return std::nullopt;
    if (text.weight != open.weight)
        return text.weight > open.weight ? MetricFormat::PrometheusText : MetricFormat::OpenMetrics;
    return open.closeness > text.closeness ? MetricFormat::OpenMetrics : MetricFormat::PrometheusText;
}

bool isAccepted(std::string_view accept, std::string_view mediaType) {
    Candidate candidate = candidateOf(mediaType, {});
    const bool any = forEachPart(accept, [&candidate](const Part &part) { candidate.look(part); });
    return !any || candidate.weight > 0;
}

std::optional<Coding> negotiateCoding(std::string_view acceptEncoding) {
    std::array<CodingWeight, 3> codings{{{"zstd", "zstd", Coding::Zstd, {}, {}},
                                         {"gzip", "x-gzip", Coding::Gzip, {}, {}},
                                         {"identity", "identity", Coding::Identity, {}, {}}}};
    const bool any = forEachPart(acceptEncoding, [&codings](const Part &part) {
        for (CodingWeight &coding : codings)
            coding.look(part);
    });
    if (!any)
        return Coding::Identity;
    const auto best =
        std::max_element(codings.begin(), codings.end(), [](const CodingWeight &one, const CodingWeight &other) {
            return one.weight() < other.weight();
        });
    return best->weight() == 0 ? std::nullopt : std::optional(best->coding);
}

} // namespace zel

// Scans the numbers of a line.
#include "host/source/LineScan.h"

#include <charconv>

namespace zel {

namespace {

// A number that scanPlain leaves: 19 digits or more.
Count takeLongCount(const char *first, const char *&cursor, char end) {
    unsigned long long value = 0;
    const char *last = first;
    while (digitValue<10>(*last) <= 9)
        ++last;
    const auto [stopped, error] = std::from_chars(first, last, value);
    if (error != std::errc() || first == last || (*last != end && !endsWord(*last)))
        return Absence::Malformed;
    cursor = stopped;
    return value;
}

bool isOctal(char character) {
    return character >= '0' && character <= '7';
}

} // namespace

Count takeCount(const char *&cursor, char end) {
    const char *text = skipSpaces(cursor);
    const char *first = text;
    unsigned long long value = 0;
    if (!scanPlain(text, value))
        return takeLongCount(first, cursor, end);
    if (*text != end && !endsWord(*text))
        return Absence::Malformed;
    cursor = text;
    return value;
}

Number takeDecimal(const char *&cursor) {
    const char *first = skipSpaces(cursor);
    const char *last = first;
    while (digitValue<10>(*last) <= 9 || *last == '.')
        ++last;
    double value = 0;
    const bool begins = digitValue<10>(*first) <= 9;
    const auto [stopped, error] = std::from_chars(first, last, value, std::chars_format::fixed);
    if (!begins || error != std::errc() || stopped != last || !endsWord(*last))
        return Absence::Malformed;
    cursor = last;
    return value;
}

Number takeInteger(const char *&cursor) {
    const char *text = skipSpaces(cursor);
    const bool negative = *text == '-';
    text += negative ? 1 : 0;
    if (isSpace(*text))
        return Absence::Malformed;
    const Count magnitude = takeCount(text);
    if (!magnitude)
        return magnitude.absence();
    cursor = text;
    const auto value = static_cast<double>(*magnitude);
    return negative ? -value : value;
}

void unescape(std::string_view text, std::string &out) {
    constexpr std::size_t digits = 3;
    out.clear();
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char *const next = text.data() + at + 1;
        if (text[at] != '\\' || text.size() - at <= digits || !isOctal(next[0]) || !isOctal(next[1]) ||
            !isOctal(next[2])) {
            out += text[at];
            continue;
        }
        out += static_cast<char>((next[0] - '0') * 64 + (next[1] - '0') * 8 + (next[2] - '0'));
        at += digits;
    }
}

} // namespace zel

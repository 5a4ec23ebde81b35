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

Count takeHexadecimal(const char *&cursor, char end) {
    const char *text = skipSpaces(cursor);
    const char *first = text;
    const ScannedNumber number = scanDigits<16>(text, false);
    if (text == first || number.overflow || (*text != end && !endsWord(*text)))
        return Absence::Malformed;
    cursor = text;
    return number.magnitude;
}

Number takeDecimal(const char *&cursor, unsigned shift) {
    constexpr unsigned exactDigits = 15; // fewer than a double holds
    constexpr double powers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10,
                                 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21};
    const char *text = skipSpaces(cursor);
    std::uint64_t whole = 0;
    unsigned digits = 0, decimals = 0;
    bool fraction = false;
    for (;; ++text) {
        const unsigned digit = digitValue<10>(*text);
        if (digit > 9 && (*text != '.' || fraction || digits == 0))
            break;
        if (digit > 9) {
            fraction = true;
        } else if (digits < exactDigits || !fraction) { // what a double cannot hold of a fraction is left out
            whole = digits < std::numeric_limits<std::uint64_t>::digits10 ? whole * 10 + digit : whole;
            decimals += fraction ? 1 : 0;
            ++digits;
        }
    }
    if (digits == 0 || digits >= std::numeric_limits<std::uint64_t>::digits10 || !endsWord(*text))
        return Absence::Malformed;
    cursor = text;
    return static_cast<double>(whole) / powers[decimals + shift];
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

// Scanners for a line of a kernel file that give a reading: a number that is exactly what kernels write, or
// "malformed". None of them leaves its line. libzel's own scanners (text/NumberScan.h) follow strtoull and sscanf
// instead, which take signs, wrap and go on in the next line.
#pragma once

#include "host/Schema.h"
#include "text/NumberScan.h"

#include <cstring>
#include <string_view>

namespace zel {

inline bool isSpace(char character) {
    return character == ' ' || character == '\t';
}

inline const char *skipSpaces(const char *cursor) {
    while (isSpace(*cursor))
        ++cursor;
    return cursor;
}

inline bool endsLine(char character) {
    return character == '\n' || character == '\0';
}

inline bool endsWord(char character) {
    return isSpace(character) || endsLine(character);
}

/// Blanks, then digits alone up to `end`, a blank or the end of the line, that fit 64 bits. The cursor moves behind
/// them, or stays when it is malformed.
Count takeCount(const char *&cursor, char end = ' ');

/// The same of hexadecimal digits.
Count takeHexadecimal(const char *&cursor, char end = ' ');

/// As takeCount, with a fraction, such as "0.37", divided by 10 to the power of `shift` (at most 6) without an error of
/// rounding in between. Kernels write neither signs nor exponents.
Number takeDecimal(const char *&cursor, unsigned shift = 0);

/// Blanks, an optional minus and digits.
Number takeInteger(const char *&cursor);

/// A count in units of `factor`; malformed when the product does not fit.
inline Count scaledCount(const Count &count, std::uint64_t factor) {
    std::uint64_t product = 0;
    if (!count)
        return count;
    return __builtin_mul_overflow(*count, factor, &product) ? Count(Absence::Malformed) : Count(product);
}

/// The next word of the line; an empty one at its end.
inline std::string_view takeWord(const char *&cursor) {
    const char *start = skipSpaces(cursor);
    cursor = start;
    while (!endsWord(*cursor))
        ++cursor;
    return {start, static_cast<std::size_t>(cursor - start)};
}

/// Puts a name of the mount or swap table into `out`, whose memory is used again: there blanks, line feeds and
/// backslashes are written as octal numbers, such as "\\040".
void unescape(std::string_view text, std::string &out);

/// True when `text` begins with `key`. The text is terminated.
inline bool startsWith(const char *text, std::string_view key) {
    return std::strncmp(text, key.data(), key.size()) == 0;
}

} // namespace zel

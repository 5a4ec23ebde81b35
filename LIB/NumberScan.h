// Scanners for the numbers in kernel files: what strtoull, strtoll and the scanf conversions "%llu", "%d" and "%s" give
// in base 10, without their cost. A cursor runs over terminated text and never passes its terminator.
#pragma once

#include <cstddef>
#include <limits>

namespace zel {

/// The blanks of isspace in the C locale.
inline bool isBlank(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

inline const char *skipBlanks(const char *cursor) {
    while (isBlank(*cursor))
        ++cursor;
    return cursor;
}

/// The digit at `text`; above 9 when there is none.
inline unsigned digitAt(const char *text) {
    return static_cast<unsigned char>(*text) - static_cast<unsigned>('0');
}

struct ScannedNumber {
    unsigned long long magnitude; // all ones when it does not fit
    bool negative;
    bool overflow;
};

/// The number of the digits at `text`; moves it behind them.
inline unsigned long long scanDigits(const char *&text, bool &overflow) {
    constexpr unsigned long long largest = std::numeric_limits<unsigned long long>::max();
    constexpr std::ptrdiff_t alwaysFits = std::numeric_limits<unsigned long long>::digits10;
    const char *start = text;
    unsigned long long value = 0;
    for (unsigned digit = 0; (digit = digitAt(text)) <= 9; ++text)
        value = value * 10 + digit;
    if (text - start <= alwaysFits)
        return value;

    value = 0;
    for (const char *position = start; position != text; ++position) {
        const unsigned digit = digitAt(position);
        if (value > largest / 10 || (value == largest / 10 && digit > largest % 10)) {
            overflow = true;
            return largest;
        }
        value = value * 10 + digit;
    }
    return value;
}

/// Blanks, an optional sign, digits. Without a digit it gives false and leaves `cursor` and `number` as they were.
inline bool scanNumber(const char *&cursor, ScannedNumber &number) {
    const char *text = skipBlanks(cursor);
    const bool negative = *text == '-';
    if (negative || *text == '+')
        ++text;
    if (digitAt(text) > 9)
        return false;
    bool overflow = false;
    const unsigned long long magnitude = scanDigits(text, overflow);
    number = {magnitude, negative, overflow};
    cursor = text;
    return true;
}

/// As strtoull and "%llu": a negative number wraps, one that does not fit gives all ones.
inline bool scanUnsigned(const char *&cursor, unsigned long long &value) {
    ScannedNumber number;
    if (!scanNumber(cursor, number))
        return false;
    value = number.negative && !number.overflow ? 0 - number.magnitude : number.magnitude;
    return true;
}

/// As strtoll and "%lld": a number that does not fit gives the nearest limit.
inline bool scanSigned(const char *&cursor, long long &value) {
    constexpr long long largest = std::numeric_limits<long long>::max();
    ScannedNumber number;
    if (!scanNumber(cursor, number))
        return false;
    if (number.negative)
        value = number.magnitude > static_cast<unsigned long long>(largest) ? std::numeric_limits<long long>::min()
                                                                            : -static_cast<long long>(number.magnitude);
    else
        value = number.magnitude > static_cast<unsigned long long>(largest) ? largest
                                                                            : static_cast<long long>(number.magnitude);
    return true;
}

/// The number at `cursor` as strtoull returns it: 0 when there is none.
inline unsigned long long takeUnsigned(const char *&cursor) {
    unsigned long long value = 0;
    scanUnsigned(cursor, value);
    return value;
}

/// The number at `cursor` as strtoll returns it: 0 when there is none.
inline long long takeSigned(const char *&cursor) {
    long long value = 0;
    scanSigned(cursor, value);
    return value;
}

/// As "%*d": false when no number stands at the cursor.
inline bool skipNumber(const char *&cursor) {
    ScannedNumber number;
    return scanNumber(cursor, number);
}

/// As "%*s": false when only blanks are left.
inline bool skipWord(const char *&cursor) {
    const char *text = skipBlanks(cursor);
    if (*text == '\0')
        return false;
    while (*text != '\0' && !isBlank(*text))
        ++text;
    cursor = text;
    return true;
}

} // namespace zel

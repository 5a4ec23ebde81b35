// Scanners for the numbers in kernel files: what strtoull, strtoll and the scanf conversions "%llu", "%d", "%LX" and
// "%s" give, without their cost, and what strtod gives, without its locale. A cursor runs over terminated text and
// never passes its terminator.
#pragma once

#include <clocale>
#include <cstddef>
#include <cstdlib>
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

struct ScannedNumber {
    unsigned long long magnitude; // all ones when it does not fit
    bool negative;
    bool overflow;
};

/// The value of a digit; `base` or more for any other character.
template<unsigned base> unsigned digitValue(char character) {
    const unsigned decimal = static_cast<unsigned char>(character) - static_cast<unsigned>('0');
    if (base == 10 || decimal <= 9)
        return decimal;
    const unsigned letter = (static_cast<unsigned char>(character) | 0x20U) - static_cast<unsigned>('a');
    return letter <= 5 ? letter + 10 : base;
}

/// Whether the digits of [first, end) fit 64 bits.
template<unsigned base> bool digitsFit(const char *first, const char *end) {
    unsigned long long magnitude = 0;
    for (; first != end; ++first) {
        if (__builtin_mul_overflow(magnitude, base, &magnitude) ||
            __builtin_add_overflow(magnitude, digitValue<base>(*first), &magnitude))
            return false;
    }
    return true;
}

/// A run of digits at `cursor`, which may be empty.
template<unsigned base> ScannedNumber scanDigits(const char *&cursor, bool negative) {
    constexpr std::ptrdiff_t digitsThatAlwaysFit = base == 10 ? 19 : 16;
    const char *first = cursor;
    unsigned long long magnitude = 0;
    for (unsigned digit; (digit = digitValue<base>(*cursor)) < base; ++cursor)
        magnitude = magnitude * base + digit;
    if (cursor - first <= digitsThatAlwaysFit || digitsFit<base>(first, cursor))
        return {magnitude, negative, false};
    return {std::numeric_limits<unsigned long long>::max(), negative, true};
}

/// Blanks, an optional sign, digits. Without a digit it gives false and leaves `cursor` and `number` as they were.
inline bool scanNumber(const char *&cursor, ScannedNumber &number) {
    const char *text = skipBlanks(cursor);
    const bool negative = *text == '-';
    if (negative || *text == '+')
        ++text;
    if (digitValue<10>(*text) > 9)
        return false;
    number = scanDigits<10>(text, negative);
    cursor = text;
    return true;
}

/// The form in which kernels write nearly every number: spaces for its alignment, no sign, digits that fit a long long.
/// False, and nothing moved, for any other, which is left to the general scanners.
inline bool scanPlain(const char *&cursor, unsigned long long &value) {
    constexpr std::ptrdiff_t digitsThatFit = 18;
    const char *first = cursor;
    while (*first == ' ')
        ++first;
    unsigned long long magnitude = digitValue<10>(*first);
    if (magnitude > 9)
        return false;
    const char *text = first + 1;
    for (unsigned digit; (digit = digitValue<10>(*text)) <= 9; ++text)
        magnitude = magnitude * 10 + digit;
    if (text - first > digitsThatFit)
        return false;
    value = magnitude;
    cursor = text;
    return true;
}

/// A number of any form as strtoull reads it: gives its end, or null without one. By value and out of line, so that a
/// scanner of many plain numbers keeps its cursor in a register.
[[gnu::noinline]] inline const char *scanAnyUnsigned(const char *cursor, unsigned long long &value) {
    ScannedNumber number;
    if (!scanNumber(cursor, number))
        return nullptr;
    value = number.negative && !number.overflow ? 0 - number.magnitude : number.magnitude;
    return cursor;
}

/// As strtoull and "%llu": a negative number wraps, one that does not fit gives all ones.
inline bool scanUnsigned(const char *&cursor, unsigned long long &value) {
    if (scanPlain(cursor, value))
        return true;
    unsigned long long number = 0;
    const char *end = scanAnyUnsigned(cursor, number);
    if (end == nullptr)
        return false;
    value = number;
    cursor = end;
    return true;
}

/// As "%LX": hexadecimal, with or without "0x". A prefix that no digit follows reads as the 0 that it begins with.
inline bool scanHexadecimal(const char *&cursor, unsigned long long &value) {
    const char *text = skipBlanks(cursor);
    const bool negative = *text == '-';
    if (negative || *text == '+')
        ++text;
    const bool prefixed = text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    if (prefixed)
        text += 2;
    else if (digitValue<16>(*text) > 15)
        return false;
    const ScannedNumber number = scanDigits<16>(text, negative);
    value = negative && !number.overflow ? 0 - number.magnitude : number.magnitude;
    cursor = text;
    return true;
}

/// As strtoll and "%lld": a number that does not fit gives the nearest limit.
inline bool scanSigned(const char *&cursor, long long &value) {
    constexpr long long largest = std::numeric_limits<long long>::max();
    if (unsigned long long plain = 0; scanPlain(cursor, plain)) {
        value = static_cast<long long>(plain);
        return true;
    }
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

/// The number at `cursor` as one of the strtod family reads it in the C locale, whatever locale the program has set:
/// the texts of kernels and scripts keep their decimal point where people write a comma. False, and nothing moved,
/// without a number.
template<typename Real>
bool scanReal(Real (*convert)(const char *, char **, locale_t), const char *&cursor, Real &value) {
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr); // never fails: this one is built in
    char *end = nullptr;
    const Real number = convert(cursor, &end, plain);
    if (end == cursor)
        return false;
    value = number;
    cursor = end;
    return true;
}

/// As strtod: decimal and hexadecimal, with an exponent, "inf" and "nan". What does not fit gives an infinity or 0.
inline bool scanDouble(const char *&cursor, double &value) {
    return scanReal(strtod_l, cursor, value);
}

/// As strtof.
inline bool scanFloat(const char *&cursor, float &value) {
    return scanReal(strtof_l, cursor, value);
}

/// As "%*d": false when there is no number at the cursor.
inline bool skipNumber(const char *&cursor) {
    unsigned long long number = 0;
    return scanUnsigned(cursor, number);
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

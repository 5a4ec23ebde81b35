// Writing whole numbers as decimal text: what std::to_chars gives, in a fraction of its instructions. The rows of the
// performance texts are mostly numbers.
#pragma once

#include <bit>
#include <charconv>
#include <cstddef>
#include <cstring>

namespace zel {

inline constexpr std::size_t LONGEST_DECIMAL = 20; // digits of a 64-bit number

struct DecimalPairs {
    char digits[200];

    constexpr DecimalPairs() : digits{} {
        for (int value = 0; value < 100; ++value) {
            digits[2 * value] = static_cast<char>('0' + value / 10);
            digits[2 * value + 1] = static_cast<char>('0' + value % 10);
        }
    }
};

inline constexpr DecimalPairs DECIMAL_PAIRS;

/// Writes the two digits of a number below 100 and returns the end.
inline char *writeDecimalPair(char *out, unsigned value) {
    std::memcpy(out, DECIMAL_PAIRS.digits + 2 * static_cast<std::size_t>(value), 2);
    return out + 2;
}

// Powers of ten; 0 in the place of 1, so that 0 has a digit.
inline constexpr unsigned long long DECIMAL_POWERS[] = {0,
                                                        10,
                                                        100,
                                                        1000,
                                                        10000,
                                                        100000,
                                                        1000000,
                                                        10000000,
                                                        100000000,
                                                        1000000000,
                                                        10000000000,
                                                        100000000000,
                                                        1000000000000,
                                                        10000000000000,
                                                        100000000000000,
                                                        1000000000000000,
                                                        10000000000000000,
                                                        100000000000000000,
                                                        1000000000000000000,
                                                        10000000000000000000ULL};

/// The number of digits of `value`; 1 for 0.
inline unsigned decimalLength(unsigned long long value) {
    // 1233 / 4096 is a little above log10(2): the estimate is right or one too large.
    const auto estimate = static_cast<unsigned>(std::bit_width(value | 1)) * 1233U >> 12;
    return estimate + (value >= DECIMAL_POWERS[estimate] ? 1U : 0U);
}

/// Writes `value` in decimal, without a terminator, and returns the end: at most LONGEST_DECIMAL characters.
inline char *writeDecimal(char *out, unsigned long long value) {
    if (value < 10) {
        *out = static_cast<char>('0' + value);
        return out + 1;
    }
    char *const end = out + decimalLength(value);
    char *at = end;
    while (value >= 100) {
        at -= 2;
        writeDecimalPair(at, static_cast<unsigned>(value % 100));
        value /= 100;
    }
    if (value >= 10)
        writeDecimalPair(at - 2, static_cast<unsigned>(value));
    else
        at[-1] = static_cast<char>('0' + value);
    return end;
}

/// The same with a sign.
inline char *writeSignedDecimal(char *out, long long value) {
    if (value >= 0)
        return writeDecimal(out, static_cast<unsigned long long>(value));
    *out = '-';
    return writeDecimal(out + 1, 0ULL - static_cast<unsigned long long>(value));
}

/// What "%.*f" gives in the C locale, whatever locale the program has set; terminated, and empty when it does not fit
/// the `size` bytes at `out` (at least 1). Returns the end.
inline char *writeFixed(char *out, std::size_t size, double value, int decimals) {
    const auto [end, error] = std::to_chars(out, out + size - 1, value, std::chars_format::fixed, decimals);
    char *const textEnd = error == std::errc() ? end : out;
    *textEnd = '\0';
    return textEnd;
}

} // namespace zel

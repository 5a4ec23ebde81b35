// Writes numbers, and tells well-formed UTF-8 from other bytes.
#include "export/Text.h"

#include "text/DecimalText.h"

#include <charconv>
#include <cmath>

namespace zel {

namespace {

constexpr std::size_t longestReal = 32;

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80;
}

} // namespace

void appendNumber(std::string &out, std::uint64_t number) {
    char text[LONGEST_DECIMAL];
    out.append(text, writeDecimal(text, number));
}

void appendNumber(std::string &out, double number) {
    if (!std::isfinite(number)) {
        out += "null";
        return;
    }
    char text[longestReal];
    out.append(text, std::to_chars(text, text + sizeof(text), number).ptr);
}

// Overlong forms, surrogates and what is beyond U+10FFFF are no UTF-8; the controls U+0080 to U+009F are left out too,
// because terminals act on them.
std::size_t sequenceLength(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    const auto second = text.size() > 1 ? static_cast<unsigned char>(text[1]) : 0U;
    if (first < 0x80)
        return 1;
    if (first < 0xc2 || first > 0xf4 || text.size() < 2 || !isContinuation(text[1]))
        return 0;
    if (first < 0xe0)
        return first == 0xc2 && second < 0xa0 ? 0 : 2;
    if ((first == 0xe0 && second < 0xa0) || (first == 0xed && second > 0x9f) || (first == 0xf0 && second < 0x90) ||
        (first == 0xf4 && second > 0x8f))
        return 0;
    const std::size_t length = first < 0xf0 ? 3 : 4;
    if (text.size() < length)
        return 0;
    for (std::size_t index = 2; index < length; ++index) {
        if (!isContinuation(text[index]))
            return 0;
    }
    return length;
}

} // namespace zel

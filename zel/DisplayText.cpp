// Makes texts from outside safe to show, and measures and cuts them.
#include "zel/DisplayText.h"

#include "export/Text.h"

#include <algorithm>
#include <iterator>

namespace zel {

namespace {

struct Range {
    char32_t first, last;
};

// Characters that are drawn over the one before, of the scripts that names are written in.
constexpr Range combining[] = {
    {0x300, 0x36f},   {0x483, 0x489},   {0x591, 0x5bd}, {0x5bf, 0x5bf},   {0x5c1, 0x5c2},   {0x5c4, 0x5c5},
    {0x610, 0x61a},   {0x64b, 0x65f},   {0x670, 0x670}, {0x6d6, 0x6dc},   {0x6df, 0x6e4},   {0x6e7, 0x6e8},
    {0x6ea, 0x6ed},   {0x900, 0x902},   {0x93a, 0x93a}, {0x93c, 0x93c},   {0x941, 0x948},   {0x94d, 0x94d},
    {0x951, 0x957},   {0x962, 0x963},   {0x981, 0x981}, {0x9bc, 0x9bc},   {0x9c1, 0x9c4},   {0x9cd, 0x9cd},
    {0xe31, 0xe31},   {0xe34, 0xe3a},   {0xe47, 0xe4e}, {0x1ab0, 0x1aff}, {0x1dc0, 0x1dff}, {0x20d0, 0x20ff},
    {0x3099, 0x309a}, {0xfe20, 0xfe2f},
};

// Characters that take two columns.
constexpr Range wide[] = {
    {0x1100, 0x115f},   {0x231a, 0x231b},   {0x2329, 0x232a},   {0x23e9, 0x23ec},   {0x23f0, 0x23f0},
    {0x23f3, 0x23f3},   {0x25fd, 0x25fe},   {0x2614, 0x2615},   {0x2648, 0x2653},   {0x267f, 0x267f},
    {0x2693, 0x2693},   {0x26a1, 0x26a1},   {0x26aa, 0x26ab},   {0x26bd, 0x26be},   {0x26c4, 0x26c5},
    {0x26ce, 0x26ce},   {0x26d4, 0x26d4},   {0x26ea, 0x26ea},   {0x26f2, 0x26f3},   {0x26f5, 0x26f5},
    {0x26fa, 0x26fa},   {0x26fd, 0x26fd},   {0x2705, 0x2705},   {0x270a, 0x270b},   {0x2728, 0x2728},
    {0x274c, 0x274c},   {0x274e, 0x274e},   {0x2753, 0x2755},   {0x2757, 0x2757},   {0x2795, 0x2797},
    {0x27b0, 0x27b0},   {0x27bf, 0x27bf},   {0x2b1b, 0x2b1c},   {0x2b50, 0x2b50},   {0x2b55, 0x2b55},
    {0x2e80, 0x303e},   {0x3041, 0x33ff},   {0x3400, 0x4dbf},   {0x4e00, 0x9fff},   {0xa000, 0xa4cf},
    {0xa960, 0xa97f},   {0xac00, 0xd7a3},   {0xf900, 0xfaff},   {0xfe10, 0xfe19},   {0xfe30, 0xfe6f},
    {0xff01, 0xff60},   {0xffe0, 0xffe6},   {0x16fe0, 0x18aff}, {0x1b000, 0x1b2ff}, {0x1f004, 0x1f004},
    {0x1f0cf, 0x1f0cf}, {0x1f18e, 0x1f18e}, {0x1f191, 0x1f19a}, {0x1f200, 0x1f320}, {0x1f32d, 0x1f335},
    {0x1f337, 0x1f37c}, {0x1f37e, 0x1f393}, {0x1f3a0, 0x1f3ca}, {0x1f3cf, 0x1f3d3}, {0x1f3e0, 0x1f3f0},
    {0x1f3f4, 0x1f3f4}, {0x1f3f8, 0x1f43e}, {0x1f440, 0x1f440}, {0x1f442, 0x1f4fc}, {0x1f4ff, 0x1f53d},
    {0x1f54b, 0x1f54e}, {0x1f550, 0x1f567}, {0x1f57a, 0x1f57a}, {0x1f595, 0x1f596}, {0x1f5a4, 0x1f5a4},
    {0x1f5fb, 0x1f64f}, {0x1f680, 0x1f6c5}, {0x1f6cc, 0x1f6cc}, {0x1f6d0, 0x1f6d2}, {0x1f6d5, 0x1f6d7},
    {0x1f6dc, 0x1f6df}, {0x1f6eb, 0x1f6ec}, {0x1f6f4, 0x1f6fc}, {0x1f7e0, 0x1f7eb}, {0x1f90c, 0x1f93a},
    {0x1f93c, 0x1f945}, {0x1f947, 0x1f9ff}, {0x1fa70, 0x1faff}, {0x20000, 0x3fffd},
};

template<std::size_t SIZE> bool isIn(const Range (&ranges)[SIZE], char32_t code) {
    const Range *range = std::lower_bound(std::begin(ranges), std::end(ranges), code,
                                          [](const Range &each, char32_t value) { return each.last < value; });
    return range != std::end(ranges) && range->first <= code;
}

std::size_t widthOf(char32_t code) {
    if (code < combining[0].first)
        return 1;
    if (isIn(combining, code))
        return 0;
    return isIn(wide, code) ? 2 : 1;
}

} // namespace

std::string displayText(std::string_view text, Charset charset) {
    const bool utf8 = charset == Charset::Utf8;
    std::string shown;
    shown.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const Character character = characterAt(text.substr(at));
        if (character.kind == Character::Kind::Plain && (utf8 || character.length == 1))
            shown += text.substr(at, character.length);
        else
            shown += utf8 ? "\xef\xbf\xbd" : "?"; // U+FFFD
        at += character.length;
    }
    return shown;
}

std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    for (std::size_t at = 0; at < text.size();) {
        const Character character = characterAt(text.substr(at));
        width += widthOf(character.code);
        at += character.length;
    }
    return width;
}

std::string cutText(std::string_view text, std::size_t width, Charset charset) {
    std::size_t used = 0, kept = 0; // columns; bytes that leave room for the mark
    for (std::size_t at = 0; at < text.size();) {
        const Character character = characterAt(text.substr(at));
        used += widthOf(character.code);
        if (used > width)
            return std::string(text.substr(0, kept)) + (charset == Charset::Utf8 ? "\xe2\x80\xa6" : "~"); // U+2026
        at += character.length;
        if (used < width)
            kept = at;
    }
    return std::string(text);
}

} // namespace zel

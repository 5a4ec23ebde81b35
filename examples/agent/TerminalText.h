// Texts for terminals: the bytes that steer one (below 20, 7F, 80..9F alone or as UTF-8 writes them, C2 80..C2 9F)
// become blanks. Inside a valid UTF-8 character such bytes are part of a letter and stay.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>

/// Bytes of the valid UTF-8 character of two bytes or more that begins at `at`; 0 when there is none.
inline std::size_t wideCharacterLength(const std::string &text, std::size_t at) {
    const auto byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(at);
    if (first < 0xC2 || first > 0xF4)
        return 0;
    const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (text.size() - at < length)
        return 0;
    // Second bytes outside these would be longer forms of smaller characters, surrogates, or beyond the last character.
    const unsigned lowest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const unsigned highest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (byte(at + 1) < lowest || byte(at + 1) > highest)
        return 0;
    for (std::size_t i = 2; i < length; ++i) {
        if ((byte(at + i) & 0xC0U) != 0x80)
            return 0;
    }
    return length;
}

inline void blankControlBytes(std::string &text) {
    std::size_t length = 1;
    for (std::size_t at = 0; at < text.size(); at += length) {
        const std::size_t wide = wideCharacterLength(text, at);
        length = std::max<std::size_t>(wide, 1);
        // The last byte decides: of one byte alone, or of the pair.
        const auto last = static_cast<unsigned char>(text[at + length - 1]);
        const bool isHigh = last >= 0x80 && last < 0xA0;
        const bool isPair = wide == 2 && text[at] == '\xC2';
        if (wide == 0 ? last < ' ' || last == 0x7F || isHigh : isPair && isHigh)
            text.replace(at, length, length, ' ');
    }
}

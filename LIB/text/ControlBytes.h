// The bytes that steer a terminal or end a line, whatever the locale: those below 20 and 7F, the controls 80..9F as
// UTF-8 writes them (C2 80..C2 9F), and the same as single bytes, which terminals without UTF-8 obey. Inside a valid
// UTF-8 character they are part of a letter and stay.
#pragma once

#include "text/AsciiText.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace zel {

/// Bytes of the valid UTF-8 character of two bytes or more at the start of `text`; 0 when there is none.
inline std::size_t wideCharacterLength(std::string_view text) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(0);
    if (first < 0xC2 || first > 0xF4)
        return 0;
    const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (text.size() < length)
        return 0;
    // Second bytes outside these would be longer forms of smaller characters, surrogates, or beyond the last character.
    const unsigned lowest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const unsigned highest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (byte(1) < lowest || byte(1) > highest)
        return 0;
    for (std::size_t i = 2; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80)
            return 0;
    }
    return length;
}

inline bool isHighControl(char c) {
    return static_cast<unsigned char>(c) >= 0x80 && static_cast<unsigned char>(c) < 0xA0;
}

struct ControlBytes {
    std::size_t at;     // the length of the text when there are none
    std::size_t length; // 1 or 2
};

/// The first control bytes of `text` from `from` on, but for single ones that are `kept`.
inline ControlBytes findControlBytes(std::string_view text, std::size_t from, std::string_view kept = {}) {
    for (std::size_t at = from; at < text.size();) {
        const std::size_t wide = wideCharacterLength(text.substr(at));
        if (wide == 2 && text[at] == '\xC2' && isHighControl(text[at + 1]))
            return {at, wide};
        const bool isSteering = isControl(text[at]) || isHighControl(text[at]);
        if (wide == 0 && isSteering && kept.find(text[at]) == std::string_view::npos)
            return {at, 1};
        at += std::max<std::size_t>(wide, 1);
    }
    return {text.size(), 0};
}

/// Writes a blank over every control byte of the `size` bytes at `text`.
inline void blankControlBytes(char *text, std::size_t size) {
    const std::string_view view(text, size);
    for (auto found = findControlBytes(view, 0); found.length > 0; found = findControlBytes(view, found.at))
        std::fill_n(text + found.at, found.length, ' ');
}

} // namespace zel

// Kinds of ASCII characters, whatever the locale.
#pragma once

#include <string_view>

namespace zel {

inline constexpr std::string_view LOWER_CASE_LETTERS = "abcdefghijklmnopqrstuvwxyz";

inline bool isAsciiLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

inline bool isAsciiDigit(char c) {
    return c >= '0' && c <= '9';
}

/// The bytes that steer a terminal or end a line.
inline bool isControl(char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
}

} // namespace zel

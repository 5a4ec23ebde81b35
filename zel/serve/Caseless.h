// Names of HTTP: the same whether in small letters or in capitals, of ASCII alone, whatever the locale is.
#pragma once

#include <algorithm>
#include <string_view>

namespace zel {

constexpr char lowered(char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + ('a' - 'A')) : byte;
}

inline bool isSameName(std::string_view one, std::string_view other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](char left, char right) { return lowered(left) == lowered(right); });
}

} // namespace zel

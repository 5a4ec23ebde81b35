// Bounded copies into fixed-size text areas.
#pragma once

#include <cstddef>
#include <cstring>

namespace zel {

/// `text`, or an empty text for a null pointer.
inline const char *orEmpty(const char *text) {
    return text == nullptr ? "" : text;
}

/// Copies `text` into `area` of `size` bytes (at least 1), cut to it and always terminated. Nothing after the
/// terminator is touched. Returns the length copied.
inline std::size_t copyText(char *area, std::size_t size, const char *text) {
    const std::size_t length = strnlen(text, size - 1);
    std::memcpy(area, text, length);
    area[length] = '\0';
    return length;
}

/// The same for an area whose size is that of its type.
template<std::size_t SIZE> std::size_t copyText(char (&area)[SIZE], const char *text) {
    return copyText(area, SIZE, text);
}

/// Puts `text` into the field of a record, cut to its size; the field is zero after the text.
template<std::size_t SIZE> void setFixedText(char (&field)[SIZE], const char *text) {
    const std::size_t length = copyText(field, SIZE, text);
    std::memset(field + length, 0, SIZE - length);
}

} // namespace zel

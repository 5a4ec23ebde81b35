// Bounded copies into the fixed-size text fields of records.
#pragma once

#include <cstddef>
#include <cstring>

namespace zel {

/// Puts `text` into `field`, cut to its size. The field is always terminated and zero behind the text.
template<std::size_t SIZE> void setFixedText(char (&field)[SIZE], const char *text) {
    const std::size_t length = strnlen(text, SIZE - 1);
    std::memcpy(field, text, length);
    std::memset(field + length, 0, SIZE - length);
}

} // namespace zel

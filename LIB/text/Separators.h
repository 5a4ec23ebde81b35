// The separators of the texts that agents ship, in one place: the performance text and the records of buffer files.
//
// Each is ETX, the unit separator and one printable character. Texts are split on the full three bytes, and neither of
// the two control bytes is ever inside a value.
#pragma once

#include <string_view>

namespace zel {

inline constexpr std::string_view ROW_SEPARATOR = "\x03\x1F|";
inline constexpr std::string_view COLUMN_SEPARATOR = "\x03\x1F~";
inline constexpr std::string_view METRIC_SEPARATOR = "\x03\x1F]";
inline constexpr std::string_view FIELD_SEPARATOR = "\x03\x1F^";

inline constexpr std::string_view SEPARATOR_BYTES = "\x03\x1F";

} // namespace zel

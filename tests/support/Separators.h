// The separators of the performance text, byte by byte as consumers know them.
#pragma once

#include <string>

inline const std::string R = "\x03\x1F|"; // before each row of a table
inline const std::string C = "\x03\x1F~"; // after each column name and value
inline const std::string M = "\x03\x1F]"; // before each metric of a push text
inline const std::string F = "\x03\x1F^"; // after the code and the value of a metric

// Numbers as people read them: "1.25 ms", "15.6 GiB", "3 h 12 min", "12.5%". Three digits that count; no locale.
#pragma once

#include "host/Schema.h"
#include "zel/DisplayText.h"

#include <string>

namespace zel {

std::string bytesText(double bytes);
std::string secondsText(double seconds, Charset charset);
std::string percentText(double ratio);
std::string hertzText(double hertz);
std::string bitsText(double bits);
/// A number with a fraction and no unit: a rate, a load.
std::string numberText(double number);

/// Nanoseconds since the epoch as a date and a time of day in the zone of the reader.
std::string localTimeText(std::int64_t nanoseconds);

/// A value in the unit of its family; a reason in words ("-" where this host has none); texts made safe to show.
std::string valueText(const Family &family, const Value &value, Charset charset);

} // namespace zel

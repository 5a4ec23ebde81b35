// A sample, or its rates, as JSON: one object, without a line feed.
//
//   {"time_seconds":1795238415.26,"load":{"load1":0.37,...},"disks":[{"name":"vda","reads_total":812,"serial":null,
//    "absent":{"serial":"unsupported"}}],"areas":{"disks":{"cost_seconds":0.00004}}}
//
// A field without a value is null, and its reason is named once beside it. Bytes that are no UTF-8 are written as
// U+FFFD.
#pragma once

#include "host/Rates.h"

#include <span>
#include <string>

namespace zel {

/// Appends to `out`. `areas` names what is written; empty: all that the sample was asked for.
void writeJson(const Sample &sample, std::span<const Area> areas, std::string &out);
/// The rates, with the time of the later sample and the seconds between them.
void writeJson(const Sample &sample, const Rates &rates, std::span<const Area> areas, std::string &out);

/// A text in quotes.
void appendJsonText(std::string &out, std::string_view text);

} // namespace zel

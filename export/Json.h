// A sample, or its rates, as JSON: one object, without a line feed.
//
//   {"time_seconds":1795238415.260000001,"time":"2026-11-21T05:20:15.260000001Z","elapsed_seconds":0.0004,
//    "load":{"load1":0.37,...},"disks":[{"name":"vda","reads_total":812,"serial":null,
//    "absent":{"serial":"unsupported"}}],
//    "areas":{"disks":{"monotonic_seconds":12.5,"cost_seconds":0.00004,"error":{"file":"proc/diskstats","errno":13,
//    "text":"Permission denied"},"absent":"denied"}}}
//
// The file of an error is named from the root on. An area of which something does not answer also has "silent_seconds"
// and "silent_since", a time.
//
// A field without a value is null, and its reason is named once beside it. Whole numbers are written with every digit,
// others as the shortest text that gives the same number again. Texts are exact, but for bytes that are no UTF-8: each
// is U+FFFD. Characters that act on a terminal or turn the direction of a line are written as escapes (\u001b), so that
// a line can be shown as it is.
#pragma once

#include "host/Rates.h"

#include <span>
#include <string>

namespace zel {

/// Appends to `out`. `areas` names what is written; empty: all that the sample was asked for.
void writeJson(const Sample &sample, std::span<const Area> areas, std::string &out);
/// The same with the rate of every counter in its place ("reads_per_second"), and the seconds between the samples as
/// "interval_seconds". `rates` were made of this sample and an earlier one.
void writeJson(const Sample &sample, const Rates &rates, std::span<const Area> areas, std::string &out);

/// A text in quotes.
void appendJsonText(std::string &out, std::string_view text);

} // namespace zel

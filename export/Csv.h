// A sample, or its rates, as CSV (RFC 4180: commas, quotes where they are needed, lines that end with CR LF).
//
//   section,time,name,reads_total,serial
//   disks,2026-11-21T05:20:15.260000001Z,vda,812,
//
// One table per section, whose columns are those of the schema on every host. Each row begins with the name of its
// section and the time of its sample. A sample with one section is rows of one table, whose header the caller asks for
// once; with several sections every table has its header, and an empty line ends it; a table without rows is left out
// then.
//
// A field without a value is an empty cell: the reason is not in the table (JSON has it). An empty text is a pair of
// quotes. Bytes that are no UTF-8, and characters that act on a terminal or turn the direction of a line, are U+FFFD. A
// text that begins with = + - or @ gets an apostrophe before it, because spreadsheets would take it for a formula; so
// does one that begins with an apostrophe, so that the first one can always be taken away again.
#pragma once

#include "host/Rates.h"

#include <span>
#include <string>

namespace zel {

/// Appends to `out`. `areas` names what is written; empty: all that the sample was asked for. `header`: whether rows of
/// one section alone get theirs.
void writeCsv(const Sample &sample, std::span<const Area> areas, bool header, std::string &out);
/// The same with the rate of every counter in its place, and the column "interval_seconds" after the time.
void writeCsv(const Sample &sample, const Rates &rates, std::span<const Area> areas, bool header, std::string &out);

/// A text as a cell.
void appendCsvText(std::string &out, std::string_view text);

} // namespace zel

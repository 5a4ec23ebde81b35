// The files of ZFS below /proc/spl/kstat: what their lines are.
#pragma once

#include "host/Rows.h"
#include "host/Zfs.h"
#include <string_view>

namespace zel {

/// Appends a row for each value of a file such as arcstats. False when something in it is malformed.
bool parseZfsValues(const char *text, std::string_view source, Rows<ZfsValue> &rows);
/// The file of a dataset. False when something in it is malformed, or it names no dataset.
bool parseZfsDataset(const char *text, ZfsDataset &dataset);
/// The file io of a pool: a line of names and one of numbers. False when it is none.
bool parseZfsIo(const char *text, ZfsPool &pool);

} // namespace zel

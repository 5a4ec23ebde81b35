// The numbers of bcache: sizes for people, and the state of its writeback.
#pragma once

#include "host/Bcache.h"

namespace zel {

/// A number with at most one decimal and a binary unit, such as "1.5k", "-20.4G", "512", up to a blank, a '/' or the
/// end of the line.
Number takeBcacheSize(const char *text);

/// Takes the lines of writeback_rate_debug; what a kernel does not print is unsupported. False when a line that is
/// wanted holds no number.
bool parseWriteback(const char *text, BcacheBackingDevice &device);

} // namespace zel

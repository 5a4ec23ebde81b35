// General functions of the runtime: sleep, watchdog thread, tracked allocation, file helpers, IPv4 checks, string hash,
// inventory values, clock readings and buffer files. All state is process-wide.
#pragma once

#include <cstdio>

// --- Sleep ---------------------------------------------------------------------------------------------------------

/// Sleeps `usec` microseconds; a value below 1 sleeps one millisecond. Returns 1. The only sleep of the library.
int fgUSleep(int usec);

// The lines of the kernel's interface table /proc/net/dev, of which three layouts exist (INTERFACE_LAYOUT_...).
#pragma once

#include "network.h"

namespace zel {

/// The layout that the second header line shows.
int interfaceLayout(const char *headerLine);

/// Copies the interface name at the start of `line` into `name`, cut at its size, and returns where the counters begin.
const char *takeInterfaceName(const char *line, char (&name)[INTERFACE_NAME_SIZE]);

/// Reads the counters of a line. A counter that is missing or malformed stays as it is, with all that follow it.
void parseInterfaceCounters(int layout, const char *text, user_net_device_stats &stats);

} // namespace zel

// The lines of /proc/net/dev.
#pragma once

#include "host/Interface.h"

namespace zel {

/// Takes the name and the columns of the line at `line`, which ends with a line feed or the terminator. False for one
/// without a name, such as the two of the heading.
bool parseInterfaceLine(const char *line, Interface &interface);

} // namespace zel

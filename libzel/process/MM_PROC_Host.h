// What a scan takes of the host as a whole. Clock, memory and processors have public names: see CMM_PROC_Info.
#pragma once

#include "MM_PROC_Info.h"

namespace zel {

/// Takes the time of the scan and the uptime, which keeps its old value when it cannot be read.
void startClocks(CMM_PROC_Info &collector);

} // namespace zel

// What the passes of one CMM_NWT_Info keep beyond its public members, and the gate of its messages.
#pragma once

#include "LogGate.h"
#include "NetworkExtList.h"
#include "network/KnownLinks.h"

#include <vector>

namespace zel {

struct NetworkState {
    KnownLinks links;
    std::vector<_ST_NETWORKEXT_LIST *> unseen; // extra interfaces that the current pass may still find
};

inline constexpr const char *NETWORK_SOURCE_NAME = "MM_NWT_Info";

/// The gate of the messages about traffic and bandwidth.
inline bool interfaceLogOpen() {
    return normalLogOpen(LOG_MODULE_LAB, LOG_DETAIL_LAB6);
}
/// The same for errors.
inline bool interfaceErrorLogOpen() {
    return errorLogOpen(LOG_MODULE_LAB, LOG_DETAIL_LAB6);
}

} // namespace zel

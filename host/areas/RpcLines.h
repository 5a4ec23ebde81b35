// /proc/net/rpc/nfs and /proc/net/rpc/nfsd: lines of a word and numbers.
#pragma once

#include "host/Nfs.h"
#include "host/Rows.h"

namespace zel {

/// Take the lines of a file. False when one is not what kernels write: that is malformed then, and the rest counts.
bool parseNfsClient(const char *line, NfsClient &client, Rows<NfsClientCall> &calls);
bool parseNfsServer(const char *line, NfsServer &server, Rows<NfsServerCall> &calls);

} // namespace zel

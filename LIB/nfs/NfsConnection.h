// The probe of an NFS server by a TCP connection, without the alarm of fgNfsCheck. Internal to the library.
#pragma once

#include <netinet/in.h>

namespace zel {

/// Connects `socket` to `server` within NFS_CONNECT_SECONDS, the kernel's own limit on the call.
bool connectInTime(int socket, const sockaddr_in &server);

/// What fgNfsCheck says of `source`, with `connecting` for the connection.
int probeNfsPort(const char *source, int (*connecting)(const sockaddr_in &server));

/// The same as fgNfsCheck, but it touches no alarm: several threads may ask at a time.
int nfsPortAccepts(const char *source);

} // namespace zel

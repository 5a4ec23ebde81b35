// Connects to the NFS port of a server, with a limit that works in any thread.
#include "nfs/NfsConnection.h"

#include "CheckNfs.h"
#include "NGFunctions.h"
#include "host/ScopedHandle.h"
#include "text/OwnedText.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>

namespace {

constexpr in_port_t nfsTcpPort = 2049;

bool resolve(const char *host, sockaddr_in &server) {
    if (fgIPCheck(host) == 1) {
        server.sin_family = AF_INET;
        server.sin_addr.s_addr = inet_addr(host);
        return true;
    }
    char dotted[INET_ADDRSTRLEN];
    return get_inaddr(&server, host) == 1 && inet_ntop(AF_INET, &server.sin_addr, dotted, sizeof(dotted)) != nullptr &&
           fgIPCheck(dotted) == 1;
}

// The host of a mount source; null without memory.
zel::Text hostOf(const char *source) {
    const std::size_t length = std::strcspn(source, ":");
    zel::Text host(static_cast<char *>(std::malloc(length + 1)));
    if (host != nullptr) {
        std::memcpy(host.get(), source, length);
        host.get()[length] = '\0';
    }
    return host;
}

} // namespace

namespace zel {

bool connectInTime(int socket, const sockaddr_in &server) {
    const timeval limit{NFS_CONNECT_SECONDS, 0};
    setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
    return connect(socket, reinterpret_cast<const sockaddr *>(&server), sizeof(server)) == 0;
}

int probeNfsPort(const char *source, int (*connecting)(const sockaddr_in &server)) {
    if (source == nullptr)
        return -1;
    const Text host = hostOf(source);
    if (host == nullptr)
        return -1;
    if (g_nIPv6Flag == 1)
        return 1;
    sockaddr_in server{};
    if (!resolve(host.get(), server))
        return -1;
    server.sin_port = htons(nfsTcpPort);
    return connecting(server);
}

int nfsPortAccepts(const char *source) {
    return probeNfsPort(source, [](const sockaddr_in &server) {
        const ScopedDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        return connectInTime(socket.get(), server) ? 1 : 0;
    });
}

} // namespace zel

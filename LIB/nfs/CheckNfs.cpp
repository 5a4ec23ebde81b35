// Asks NFS servers, over ONC RPC or by a connection, whether they answer.
#include "CheckNfs.h"

#include "NGFunctions.h"
#include "host/SafeWrite.h"
#include "host/ScopedHandle.h"
#include "nfs/NfsConnection.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sys/socket.h>

#include <rpc/rpc.h>

#include <rpc/pmap_prot.h> // needs the types of rpc.h

namespace {

constexpr rpcprog_t nfsProgram = 100003;
constexpr rpcvers_t nfsVersion = 2;
constexpr in_port_t portmapperPort = 111;
constexpr time_t datagramRetrySeconds = 2;
constexpr std::size_t hostBufferSize = 4096;

struct ClientDestroyer {
    void operator()(CLIENT *client) const { clnt_destroy(client); }
};
using Client = std::unique_ptr<CLIENT, ClientDestroyer>;

// The RPC library takes every encoder and decoder as a function with open arguments.
template<typename Function> xdrproc_t codec(Function *function) {
    return reinterpret_cast<xdrproc_t>(reinterpret_cast<void (*)()>(function));
}

void setTimeouts(CLIENT *client, time_t seconds) {
    timeval timeout{seconds, 0};
    for (const unsigned request : {CLSET_TIMEOUT, CLSET_RETRY_TIMEOUT}) {
        if (!clnt_control(client, request, reinterpret_cast<char *>(&timeout)))
            zel::printErrorf("unable to set timeout\n");
    }
}

Client udpClient(sockaddr_in server, in_port_t port, rpcprog_t program, rpcvers_t version, time_t timeout) {
    server.sin_port = htons(port);
    int anySocket = RPC_ANYSOCK;
    Client client(clntudp_create(&server, program, version, timeval{datagramRetrySeconds, 0}, &anySocket));
    if (client != nullptr)
        setTimeouts(client.get(), timeout);
    return client;
}

// The UDP port that NFS version 2 is registered with; 0 when there is none or no answer.
in_port_t registeredNfsPort(const sockaddr_in &server) {
    const Client client = udpClient(server, portmapperPort, PMAPPROG, PMAPVERS, NFS_PORTMAPPER_SECONDS);
    if (client == nullptr)
        return 0;
    pmap wanted{nfsProgram, nfsVersion, IPPROTO_UDP, 0};
    unsigned short port = 0;
    const clnt_stat status =
        clnt_call(client.get(), PMAPPROC_GETPORT, codec(xdr_pmap), reinterpret_cast<char *>(&wanted),
                  codec(xdr_u_short), reinterpret_cast<char *>(&port), (timeval{NFS_CALL_SECONDS, 0}));
    return status == RPC_SUCCESS ? port : in_port_t{0};
}

bool nfsAnswers(const sockaddr_in &server, in_port_t port) {
    const Client client = udpClient(server, port, nfsProgram, nfsVersion, NFS_CALL_SECONDS);
    if (client == nullptr)
        return false;
    return clnt_call(client.get(), NULLPROC, codec(xdr_void), nullptr, codec(xdr_void), nullptr,
                     (timeval{NFS_CALL_SECONDS, 0})) == RPC_SUCCESS;
}

// Installs the handler that only interrupts, without SA_RESTART, and puts the previous action back. An alarm that was
// raised but not delivered yet (blocked, or meant for a thread that does not run) must not cause that action, which by
// default ends the program: ignoring a signal discards what is pending of it.
class AlarmInterrupts {
public:
    AlarmInterrupts() {
        struct sigaction action {};
        action.sa_handler = fgCNSocket_CathAlam;
        m_installed = sigfillset(&action.sa_mask) == 0 && sigaction(SIGALRM, &action, &m_previous) == 0;
    }
    ~AlarmInterrupts() {
        if (!m_installed)
            return;
        struct sigaction ignored {};
        ignored.sa_handler = SIG_IGN;
        sigaction(SIGALRM, &ignored, nullptr);
        sigaction(SIGALRM, &m_previous, nullptr);
    }
    AlarmInterrupts(const AlarmInterrupts &) = delete;
    AlarmInterrupts &operator=(const AlarmInterrupts &) = delete;

    bool installed() const { return m_installed; }

private:
    struct sigaction m_previous {};
    bool m_installed = false;
};

// The alarm interrupts the connection where it reaches the calling thread; elsewhere the limit of the socket ends it.
int connectUnderAlarm(const sockaddr_in &server) {
    const zel::ScopedDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const AlarmInterrupts interrupts;
    if (!interrupts.installed())
        return -1;
    alarm(NFS_CONNECT_SECONDS);
    const bool connected = zel::connectInTime(socket.get(), server);
    alarm(0);
    return connected ? 1 : 0;
}

} // namespace

int chknfsmnt(const char *source) {
    char host[hostBufferSize];
    if (source == nullptr)
        return 0;
    std::snprintf(host, sizeof(host), "%s", source);
    host[std::strcspn(host, ":")] = '\0';
    if (g_nIPv6Flag == 1)
        return 1;

    sockaddr_in server;
    if (get_inaddr(&server, host) == 0)
        return 0;
    const in_port_t port = registeredNfsPort(server);
    return port != 0 && nfsAnswers(server, port) ? 1 : 0;
}

int fgNfsCheck(const char *source) {
    return zel::probeNfsPort(source, connectUnderAlarm);
}

// The probes over real sockets: servers that serve, refuse or keep silent, in a network of the test's own.
#include "CheckNfs.h"
#include "Isolated.h"
#include "RpcResponder.h"

#include <arpa/inet.h>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <rpc/rpc.h>

#include <rpc/pmap_clnt.h>

namespace {

using namespace std::chrono_literals;

constexpr in_port_t portmapperPort = 111;
constexpr in_port_t nfsTcpPort = 2049;

struct Probe {
    int result;
    double seconds;
};

template<typename Check> Probe timed(Check check, const char *source) {
    const auto started = std::chrono::steady_clock::now();
    const int result = check(source);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - started;
    return {result, taken.count()};
}

void report(const char *what, const Probe &probe) {
    std::printf("  %s: result %d after %.3f s\n", what, probe.result, probe.seconds);
}

// A TCP listener at the NFS port; with `full` its queue holds connections that nobody takes, so that the kernel drops
// every further one without an answer.
class NfsTcpListener {
public:
    explicit NfsTcpListener(const char *address, bool full = false) {
        m_address.sin_family = AF_INET;
        m_address.sin_addr.s_addr = inet_addr(address);
        m_address.sin_port = htons(nfsTcpPort);
        const auto *own = reinterpret_cast<const sockaddr *>(&m_address);
        m_socket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        m_listening = bind(m_socket, own, sizeof(m_address)) == 0 && listen(m_socket, full ? 0 : 128) == 0;
        for (int i = 0; full && i < 4; ++i) {
            m_fillers.push_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
            connect(m_fillers.back(), own, sizeof(m_address));
        }
        if (full)
            std::this_thread::sleep_for(50ms);
    }
    ~NfsTcpListener() {
        for (const int filler : m_fillers)
            close(filler);
        close(m_socket);
    }
    NfsTcpListener(const NfsTcpListener &) = delete;
    NfsTcpListener &operator=(const NfsTcpListener &) = delete;

    bool listening() const { return m_listening; }

private:
    sockaddr_in m_address{};
    int m_socket;
    bool m_listening;
    std::vector<int> m_fillers;
};

TEST(NfsPeers, AServerThatServesIsReachable) {
    struct Result {
        bool serving;
        Probe byAddress;
        Probe byName;
        Probe withoutPath;
        bool callsAsExpected;
    } result{};
    ASSERT_RAN_ISOLATED(runIsolated<Result>(result, [](Result &out) {
        const RpcResponder nfs("127.0.0.1", 0, RpcResponder::nullProcedure());
        const RpcResponder portmapper("127.0.0.1", portmapperPort, RpcResponder::portmapperNaming(nfs.port()));
        out.serving = nfs.serving() && portmapper.serving();
        out.byAddress = timed(chknfsmnt, "127.0.0.1:/export");
        out.byName = timed(chknfsmnt, "localhost:/export");
        out.withoutPath = timed(chknfsmnt, "127.0.0.1");
        const RpcCall getPort{100000, 2, 3, {100003, 2, 17, 0}};
        const RpcCall null{100003, 2, 0, {}};
        out.callsAsExpected =
            portmapper.calls() == std::vector<RpcCall>(3, getPort) && nfs.calls() == std::vector<RpcCall>(3, null);
    }));

    ASSERT_TRUE(result.serving);
    report("portmapper and NFS serve", result.byAddress);
    EXPECT_EQ(result.byAddress.result, 1);
    EXPECT_EQ(result.byName.result, 1);
    EXPECT_EQ(result.withoutPath.result, 1);
    EXPECT_TRUE(result.callsAsExpected);
}

TEST(NfsPeers, AServerThatRefusesIsNotReachableAndCostsNoTime) {
    struct Result {
        Probe portmapper;
        Probe nothingRegistered;
        bool nfsAsked;
        Probe nfs;
        Probe tcp;
    } result{};
    ASSERT_RAN_ISOLATED(runIsolated<Result>(result, [](Result &out) {
        out.portmapper = timed(chknfsmnt, "127.0.0.1:/export");
        out.tcp = timed(fgNfsCheck, "127.0.0.1:/export");
        {
            const RpcResponder nfs("127.0.0.1", 0, RpcResponder::nullProcedure());
            const RpcResponder portmapper("127.0.0.1", portmapperPort, RpcResponder::portmapperNaming(0));
            out.nothingRegistered = timed(chknfsmnt, "127.0.0.1:/export");
            out.nfsAsked = !nfs.calls().empty();
        }
        const RpcResponder portmapper("127.0.0.1", portmapperPort, RpcResponder::portmapperNaming(2049));
        out.nfs = timed(chknfsmnt, "127.0.0.1:/export");
    }));

    report("portmapper refuses", result.portmapper);
    report("NFS version 2 over UDP is not registered", result.nothingRegistered);
    report("NFS refuses", result.nfs);
    report("TCP refuses", result.tcp);
    for (const Probe &probe : {result.portmapper, result.nothingRegistered, result.nfs, result.tcp}) {
        EXPECT_EQ(probe.result, 0);
        EXPECT_LT(probe.seconds, 1.0);
    }
    EXPECT_FALSE(result.nfsAsked);
}

TEST(NfsPeers, ANetworkWithoutTheServerIsNotReachable) {
    struct Result {
        Probe udp;
        Probe tcp;
    } result{};
    ASSERT_RAN_ISOLATED(runIsolated<Result>(result, [](Result &out) {
        out.udp = timed(chknfsmnt, "192.0.2.1:/export"); // no route leads there
        out.tcp = timed(fgNfsCheck, "192.0.2.1:/export");
    }));

    report("portmapper without a route", result.udp);
    report("TCP without a route", result.tcp);
    EXPECT_EQ(result.udp.result, 0);
    EXPECT_EQ(result.tcp.result, 0);
    EXPECT_LE(result.udp.seconds, 2.5);
    EXPECT_LT(result.tcp.seconds, 1.0);
}

TEST(NfsPeers, ASilentPortmapperCostsTwoSeconds) {
    Probe result{};
    ASSERT_RAN_ISOLATED(runIsolated<Probe>(result, [](Probe &out) {
        const RpcResponder portmapper("127.0.0.1", portmapperPort, RpcResponder::silence());
        out = timed(chknfsmnt, "127.0.0.1:/export");
    }));

    report("portmapper keeps silent", result);
    EXPECT_EQ(result.result, 0);
    EXPECT_GE(result.seconds, 1.9);
    EXPECT_LT(result.seconds, 4.5);
}

// A copy of the process in which the alarm is blocked, as in a thread that does not get it.
class ProbeWithoutAlarm {
public:
    explicit ProbeWithoutAlarm(const char *source)
        : m_result(static_cast<Probe *>(
              mmap(nullptr, sizeof(Probe), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))),
          m_process(fork()) {
        if (m_process != 0)
            return;
        sigset_t alarms;
        sigemptyset(&alarms);
        sigaddset(&alarms, SIGALRM);
        sigprocmask(SIG_BLOCK, &alarms, nullptr);
        *m_result = timed(fgNfsCheck, source);
        _exit(0);
    }
    Probe result() const {
        waitpid(m_process, nullptr, 0);
        return *m_result;
    }

private:
    Probe *m_result;
    pid_t m_process;
};

// All at the same time; the alarm reaches the main thread, which makes the connection.
TEST(NfsPeers, ASilentNfsServiceCostsFiveSeconds) {
    struct Result {
        Probe udp;
        Probe tcp;
        Probe tcpWithoutAlarm;
    } result{};
    ASSERT_RAN_ISOLATED(runIsolated<Result>(result, [](Result &out) {
        const NfsTcpListener listener("127.0.0.1", true);
        const ProbeWithoutAlarm withoutAlarm("127.0.0.1:/export");
        const RpcResponder nfs("127.0.0.1", 0, RpcResponder::silence());
        const RpcResponder portmapper("127.0.0.1", portmapperPort, RpcResponder::portmapperNaming(nfs.port()));
        std::thread udp([&out] { out.udp = timed(chknfsmnt, "127.0.0.1:/export"); });
        out.tcp = timed(fgNfsCheck, "127.0.0.1:/export");
        udp.join();
        out.tcpWithoutAlarm = withoutAlarm.result();
    }));

    report("NFS keeps silent", result.udp);
    report("TCP keeps silent", result.tcp);
    report("TCP keeps silent, alarm blocked", result.tcpWithoutAlarm);
    for (const Probe &probe : {result.udp, result.tcp, result.tcpWithoutAlarm}) {
        EXPECT_EQ(probe.result, 0);
        EXPECT_GE(probe.seconds, 4.9);
        EXPECT_LT(probe.seconds, 9.0);
    }
}

TEST(NfsPeers, AServerThatTakesConnectionsIsConnected) {
    struct Result {
        bool listening;
        Probe byAddress;
        Probe byName;
        Probe withoutPath;
    } result{};
    ASSERT_RAN_ISOLATED(runIsolated<Result>(result, [](Result &out) {
        const NfsTcpListener listener("127.0.0.1");
        out.listening = listener.listening();
        out.byAddress = timed(fgNfsCheck, "127.0.0.1:/export");
        out.byName = timed(fgNfsCheck, "localhost:/export");
        out.withoutPath = timed(fgNfsCheck, "127.0.0.1");
    }));

    ASSERT_TRUE(result.listening);
    report("TCP serves", result.byAddress);
    EXPECT_EQ(result.byAddress.result, 1);
    EXPECT_EQ(result.byName.result, 1);
    EXPECT_EQ(result.withoutPath.result, 1);
}

TEST(NfsPeers, ProbesLeaveNoDescriptorOpen) {
    struct Result {
        int before;
        int after;
    } result{};
    ASSERT_RAN_ISOLATED(runIsolated<Result>(result, [](Result &out) {
        const RpcResponder nfs("127.0.0.1", 0, RpcResponder::nullProcedure());
        const RpcResponder portmapper("127.0.0.1", portmapperPort, RpcResponder::portmapperNaming(nfs.port()));
        const NfsTcpListener listener("127.0.0.1");
        const auto open = [] {
            const std::filesystem::directory_iterator descriptors("/proc/self/fd");
            return static_cast<int>(std::distance(begin(descriptors), end(descriptors)));
        };
        chknfsmnt("127.0.0.1:/export"); // the RPC library keeps one file of its own open
        out.before = open();
        for (int i = 0; i < 20; ++i) {
            chknfsmnt("127.0.0.1:/export");
            chknfsmnt("127.0.0.2:/export");
            fgNfsCheck("127.0.0.1:/export");
            fgNfsCheck("127.0.0.2:/export");
        }
        out.after = open();
    }));

    EXPECT_EQ(result.after, result.before);
}

// --- The system's portmapper ---------------------------------------------------------------------------------------

// rpcbind in the namespaces of the test, with a /run of its own.
class SystemPortmapper {
public:
    SystemPortmapper() {
        mount("none", "/run", "tmpfs", 0, nullptr);
        std::filesystem::create_directories("/run/rpcbind");
        std::filesystem::permissions("/run/rpcbind", std::filesystem::perms::all);
        m_process = fork();
        if (m_process == 0) {
            const int null = open("/dev/null", O_RDWR);
            dup2(null, STDERR_FILENO);
            execl("/usr/sbin/rpcbind", "rpcbind", "-f", static_cast<char *>(nullptr));
            _exit(127);
        }
    }
    ~SystemPortmapper() {
        kill(m_process, SIGTERM);
        waitpid(m_process, nullptr, 0);
    }
    SystemPortmapper(const SystemPortmapper &) = delete;
    SystemPortmapper &operator=(const SystemPortmapper &) = delete;

    // Registers NFS version 2 over UDP, waiting until the portmapper has started.
    static bool enter(in_port_t port) {
        for (int attempt = 0; attempt < 100; ++attempt) {
            if (pmap_set(100003, 2, IPPROTO_UDP, port) != 0)
                return true;
            std::this_thread::sleep_for(30ms);
        }
        return false;
    }

private:
    pid_t m_process;
};

TEST(NfsPeers, TheSystemsPortmapperLeadsToTheServer) {
    if (access("/usr/sbin/rpcbind", X_OK) != 0)
        GTEST_SKIP() << "rpcbind is not installed (Debian: apt-get install rpcbind)";
    if (getuid() != 0)
        GTEST_SKIP() << "rpcbind changes to a user of its own, which takes root";
    struct Result {
        bool entered;
        Probe registered;
        Probe withdrawn;
        Probe gone;
    } result{};
    ASSERT_RAN_ISOLATED(runIsolated<Result>(result, [](Result &out) {
        const RpcResponder nfs("127.0.0.1", 0, RpcResponder::nullProcedure());
        {
            const SystemPortmapper portmapper;
            out.entered = SystemPortmapper::enter(nfs.port());
            out.registered = timed(chknfsmnt, "127.0.0.1:/export");
            pmap_unset(100003, 2);
            out.withdrawn = timed(chknfsmnt, "127.0.0.1:/export");
        }
        out.gone = timed(chknfsmnt, "127.0.0.1:/export");
    }));

    ASSERT_TRUE(result.entered);
    report("rpcbind, NFS registered", result.registered);
    report("rpcbind, NFS not registered", result.withdrawn);
    report("rpcbind stopped", result.gone);
    EXPECT_EQ(result.registered.result, 1);
    EXPECT_EQ(result.withdrawn.result, 0);
    EXPECT_EQ(result.gone.result, 0);
    EXPECT_LT(result.gone.seconds, 1.0);
}

} // namespace

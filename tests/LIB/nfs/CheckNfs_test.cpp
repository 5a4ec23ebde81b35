// The probes over stand-ins of the name service, the RPC client and the signal calls. CheckNfsPeers_test.cpp has them
// over real servers.
#include "CheckNfs.h"
#include "FakeRpcClients.h"
#include "NGFunctions.h"
#include "StreamCapture.h"
#include "SystemHooks.h"

#include <arpa/inet.h>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

// --- Stand-ins -----------------------------------------------------------------------------------------------------

// A name service that knows one name, and counts what it is asked.
class NameService {
public:
    NameService(const std::string &name, const std::string &address) {
        systemHooks().gethostbyname_r = [this, name, address](const char *asked, hostent *entry, char *buffer,
                                                              size_t size, hostent **result, int *error) {
            m_asked.emplace_back(asked);
            if (name != asked) {
                *result = nullptr;
                *error = HOST_NOT_FOUND;
                return 0;
            }
            return answer(address, entry, buffer, size, result);
        };
    }
    const std::vector<std::string> &asked() const { return m_asked; }
    std::size_t neededBuffer = sizeof(in_addr) + 2 * sizeof(char *);

private:
    int answer(const std::string &address, hostent *entry, char *buffer, size_t size, hostent **result) const {
        if (size < neededBuffer)
            return ERANGE;
        auto **list = reinterpret_cast<char **>(buffer);
        list[0] = buffer + 2 * sizeof(char *);
        list[1] = nullptr;
        const in_addr_t binary = inet_addr(address.c_str());
        std::memcpy(list[0], &binary, sizeof(binary));
        *entry = {};
        entry->h_addrtype = AF_INET;
        entry->h_length = sizeof(binary);
        entry->h_addr_list = list;
        *result = entry;
        return 0;
    }

    std::vector<std::string> m_asked;
};

std::string addressOf(const sockaddr_in &address) {
    return inet_ntoa(address.sin_addr);
}

// --- Addresses -----------------------------------------------------------------------------------------------------

TEST(NfsAddress, ADottedAddressNeedsNoNameService) {
    const NameService names("filer", "10.1.2.3");
    sockaddr_in address;
    std::memset(&address, 0xFF, sizeof(address));

    EXPECT_EQ(get_inaddr(&address, "192.168.7.9"), 1);

    EXPECT_EQ(address.sin_family, AF_INET);
    EXPECT_EQ(address.sin_port, 0);
    EXPECT_EQ(addressOf(address), "192.168.7.9");
    EXPECT_TRUE(names.asked().empty());
}

TEST(NfsAddress, ANameGetsItsFirstAddress) {
    const NameService names("filer", "10.1.2.3");
    sockaddr_in address;

    EXPECT_EQ(get_inaddr(&address, "filer"), 1);
    EXPECT_EQ(address.sin_family, AF_INET);
    EXPECT_EQ(addressOf(address), "10.1.2.3");
}

TEST(NfsAddress, ALongAnswerGetsALargerBuffer) {
    NameService names("filer", "10.1.2.3");
    names.neededBuffer = 5000;
    sockaddr_in address;

    EXPECT_EQ(get_inaddr(&address, "filer"), 1);
    EXPECT_EQ(addressOf(address), "10.1.2.3");
}

TEST(NfsAddress, AnAnswerWithoutEndIsGivenUp) {
    NameService names("filer", "10.1.2.3");
    names.neededBuffer = std::size_t{1} << 40;
    sockaddr_in address;

    EXPECT_EQ(get_inaddr(&address, "filer"), 0);
}

TEST(NfsAddress, AnUnknownEmptyOrMissingNameHasNone) {
    const NameService names("filer", "10.1.2.3");
    sockaddr_in address;

    EXPECT_EQ(get_inaddr(&address, "nobody"), 0);
    EXPECT_EQ(get_inaddr(&address, ""), 0);
    EXPECT_EQ(get_inaddr(&address, nullptr), 0);
}

// The look-up runs on a thread that is given up when the resolver hangs.
TEST(NfsAddress, ANameIsLookedUpUnderTheTimeLimitOnly) {
    const NameService names("filer", "10.1.2.3");
    systemHooks().pthreadCreate = [](auto...) { return EAGAIN; };
    sockaddr_in address;

    EXPECT_EQ(get_inaddr(&address, "filer"), 0);
    EXPECT_TRUE(names.asked().empty());
    EXPECT_EQ(get_inaddr(&address, "10.1.2.3"), 1);
}

// --- Portmapper probe ----------------------------------------------------------------------------------------------

TEST(NfsPortmapperProbe, AsksForVersion2OverUdpAndCallsIt) {
    FakeRpcClients clients;
    clients.port = 4711;

    EXPECT_EQ(chknfsmnt("10.1.2.3:/export/home"), 1);

    ASSERT_EQ(clients.uses.size(), 2U);
    const RpcClientUse &portmapper = clients.uses[0];
    EXPECT_EQ(portmapper.address, "10.1.2.3");
    EXPECT_EQ(portmapper.port, 111);
    EXPECT_EQ(portmapper.program, 100000UL);
    EXPECT_EQ(portmapper.version, 2UL);
    EXPECT_EQ(portmapper.retrySeconds, 2);
    EXPECT_EQ(portmapper.socket, RPC_ANYSOCK);
    EXPECT_EQ(portmapper.timeouts,
              (std::vector<std::pair<unsigned, long>>{{CLSET_TIMEOUT, 2}, {CLSET_RETRY_TIMEOUT, 2}}));
    EXPECT_EQ(portmapper.procedure, 3UL);
    EXPECT_EQ(portmapper.callSeconds, 5);
    EXPECT_EQ(portmapper.wanted.pm_prog, 100003UL);
    EXPECT_EQ(portmapper.wanted.pm_vers, 2UL);
    EXPECT_EQ(portmapper.wanted.pm_prot, 17UL);
    EXPECT_EQ(portmapper.wanted.pm_port, 0UL);
    EXPECT_TRUE(portmapper.destroyed);

    const RpcClientUse &nfs = clients.uses[1];
    EXPECT_EQ(nfs.address, "10.1.2.3");
    EXPECT_EQ(nfs.port, 4711);
    EXPECT_EQ(nfs.program, 100003UL);
    EXPECT_EQ(nfs.version, 2UL);
    EXPECT_EQ(nfs.retrySeconds, 2);
    EXPECT_EQ(nfs.timeouts, (std::vector<std::pair<unsigned, long>>{{CLSET_TIMEOUT, 5}, {CLSET_RETRY_TIMEOUT, 5}}));
    EXPECT_EQ(nfs.procedure, 0UL);
    EXPECT_EQ(nfs.callSeconds, 5);
    EXPECT_TRUE(nfs.destroyed);
}

TEST(NfsPortmapperProbe, ProbesOnlyTheHostOfTheSource) {
    const NameService names("filer", "10.1.2.3");
    FakeRpcClients clients;

    EXPECT_EQ(chknfsmnt("filer:/export:with:colons"), 1);
    EXPECT_EQ(names.asked(), std::vector<std::string>{"filer"});
    EXPECT_EQ(clients.uses[0].address, "10.1.2.3");
}

TEST(NfsPortmapperProbe, ASourceWithoutColonIsTheHost) {
    const NameService names("filer", "10.1.2.3");
    FakeRpcClients clients;

    EXPECT_EQ(chknfsmnt("filer"), 1);
    EXPECT_EQ(chknfsmnt("10.9.9.9"), 1);
    EXPECT_EQ(clients.uses[2].address, "10.9.9.9");
}

TEST(NfsPortmapperProbe, AnUnresolvableHostIsNotReachable) {
    const NameService names("filer", "10.1.2.3");
    FakeRpcClients clients;

    EXPECT_EQ(chknfsmnt("nobody:/export"), 0);
    EXPECT_EQ(chknfsmnt(":/export"), 0);
    EXPECT_EQ(chknfsmnt(""), 0);
    EXPECT_EQ(chknfsmnt(nullptr), 0);
    EXPECT_TRUE(clients.uses.empty());
}

TEST(NfsPortmapperProbe, AVeryLongSourceIsCut) {
    const NameService names(std::string(4095, 'h'), "10.1.2.3");
    FakeRpcClients clients;

    EXPECT_EQ(chknfsmnt(std::string(100000, 'h').c_str()), 1);
    EXPECT_EQ(names.asked().front().size(), 4095U);
}

TEST(NfsPortmapperProbe, FailsWithoutAClientForThePortmapper) {
    FakeRpcClients clients;
    clients.createdBeforeFailure = 0;

    EXPECT_EQ(chknfsmnt("10.1.2.3:/export"), 0);
}

TEST(NfsPortmapperProbe, FailsWhenThePortmapperDoesNotAnswer) {
    FakeRpcClients clients;
    clients.portmapperStatus = RPC_TIMEDOUT;

    EXPECT_EQ(chknfsmnt("10.1.2.3:/export"), 0);
    ASSERT_EQ(clients.uses.size(), 1U);
    EXPECT_TRUE(clients.uses[0].destroyed);
}

TEST(NfsPortmapperProbe, FailsWhenVersion2OverUdpIsNotRegistered) {
    FakeRpcClients clients;
    clients.port = 0;

    EXPECT_EQ(chknfsmnt("10.1.2.3:/export"), 0);
    ASSERT_EQ(clients.uses.size(), 1U);
    EXPECT_TRUE(clients.uses[0].destroyed);
}

TEST(NfsPortmapperProbe, FailsWithoutAClientForNfs) {
    FakeRpcClients clients;
    clients.createdBeforeFailure = 1;

    EXPECT_EQ(chknfsmnt("10.1.2.3:/export"), 0);
    EXPECT_TRUE(clients.uses[0].destroyed);
}

TEST(NfsPortmapperProbe, FailsWhenNfsDoesNotAnswer) {
    FakeRpcClients clients;
    clients.nfsStatus = RPC_TIMEDOUT;

    EXPECT_EQ(chknfsmnt("10.1.2.3:/export"), 0);
    ASSERT_EQ(clients.uses.size(), 2U);
    EXPECT_TRUE(clients.uses[1].destroyed);
}

TEST(NfsPortmapperProbe, ARefusedTimeoutIsToldAndTheProbeGoesOn) {
    FakeRpcClients clients;
    clients.refusesTimeouts = true;
    const StreamCapture streams;

    EXPECT_EQ(chknfsmnt("10.1.2.3:/export"), 1);

    // Two requests to each of two clients.
    std::string expected;
    for (int i = 0; i < 4; ++i)
        expected += "unable to set timeout\n";
    EXPECT_EQ(streams.err(), expected);
    EXPECT_EQ(streams.out(), "");
}

TEST(NfsPortmapperProbe, Ipv6ModeProbesNothing) {
    g_nIPv6Flag = 1;
    const NameService names("filer", "10.1.2.3");
    FakeRpcClients clients;

    EXPECT_EQ(chknfsmnt("[fe80::1]:/export"), 1);
    EXPECT_EQ(chknfsmnt("nobody:/export"), 1);
    EXPECT_TRUE(clients.uses.empty());
    EXPECT_TRUE(names.asked().empty());
}

// --- Connection probe ----------------------------------------------------------------------------------------------

TEST(NfsConnectionProbe, ANullSourceIsRefused) {
    EXPECT_EQ(fgNfsCheck(nullptr), -1);
}

TEST(NfsConnectionProbe, WithoutMemoryItFails) {
    systemHooks().failAllocationAfter = 0;

    EXPECT_EQ(fgNfsCheck("10.1.2.3:/export"), -1);
}

TEST(NfsConnectionProbe, AnUnresolvableHostIsAnError) {
    const NameService names("filer", "10.1.2.3");

    EXPECT_EQ(fgNfsCheck("nobody:/export"), -1);
    EXPECT_EQ(fgNfsCheck(":/export"), -1);
}

TEST(NfsConnectionProbe, WithoutASocketTheServerIsNotConnected) {
    systemHooks().socket = [](int, int, int) {
        errno = EMFILE;
        return -1;
    };

    EXPECT_EQ(fgNfsCheck("127.0.0.1:/export"), 0);
}

TEST(NfsConnectionProbe, AFailedSignalSetUpIsAnErrorAndClosesTheSocket) {
    const int before = dup(STDERR_FILENO); // the lowest free descriptor
    close(before);
    for (const bool fillFails : {true, false}) {
        if (fillFails)
            systemHooks().sigfillset = [](sigset_t *) { return -1; };
        else
            systemHooks().sigaction = [](int, const struct sigaction *, struct sigaction *) { return -1; };

        EXPECT_EQ(fgNfsCheck("127.0.0.1:/export"), -1);
        withdrawSystemHooks();
    }
    const int after = dup(STDERR_FILENO);
    close(after);
    EXPECT_EQ(after, before);
}

TEST(NfsConnectionProbe, TheHandlerOnlyInterruptsAndBlocksAllSignalsMeanwhile) {
    std::vector<struct sigaction> installed;
    systemHooks().sigaction = [&installed](int number, const struct sigaction *action, struct sigaction *previous) {
        EXPECT_EQ(number, SIGALRM);
        installed.push_back(*action);
        if (previous != nullptr)
            *previous = {};
        return 0;
    };

    EXPECT_EQ(fgNfsCheck("127.254.5.77:/export"), 0); // nobody listens there

    ASSERT_EQ(installed.size(), 3U); // installed, pending ones discarded, put back
    EXPECT_EQ(installed[0].sa_handler, fgCNSocket_CathAlam);
    EXPECT_EQ(installed[0].sa_flags & SA_RESTART, 0);
    EXPECT_EQ(sigismember(&installed[0].sa_mask, SIGTERM), 1);
    EXPECT_EQ(sigismember(&installed[0].sa_mask, SIGCHLD), 1);
    EXPECT_EQ(installed[1].sa_handler, SIG_IGN);
    EXPECT_EQ(installed[2].sa_handler, SIG_DFL);
}

// An alarm that is raised while the program holds the signal back would end the program once it lets it in.
TEST(NfsConnectionProbe, AnAlarmThatWasNotDeliveredIsDiscarded) {
    sigset_t alarms;
    sigemptyset(&alarms);
    sigaddset(&alarms, SIGALRM);
    sigset_t before;
    ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &alarms, &before), 0);
    systemHooks().socket = [](int, int, int) {
        ::kill(getpid(), SIGALRM);
        return -1;
    };

    EXPECT_EQ(fgNfsCheck("127.0.0.1:/export"), 0);

    sigset_t pending;
    ASSERT_EQ(sigpending(&pending), 0);
    EXPECT_EQ(sigismember(&pending, SIGALRM), 0);
    const timespec atOnce{};
    sigtimedwait(&alarms, nullptr, &atOnce);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST(NfsConnectionProbe, LeavesNoAlarmAndTheProgramsOwnHandler) {
    struct sigaction own {};
    own.sa_handler = SIG_IGN;
    struct sigaction before {};
    sigaction(SIGALRM, &own, &before);

    EXPECT_EQ(fgNfsCheck("127.254.5.77:/export"), 0);

    EXPECT_EQ(alarm(0), 0U);
    struct sigaction after {};
    sigaction(SIGALRM, &before, &after);
    EXPECT_EQ(after.sa_handler, SIG_IGN);
}

TEST(NfsConnectionProbe, Ipv6ModeProbesNothing) {
    g_nIPv6Flag = 1;
    systemHooks().socket = [](int, int, int) {
        ADD_FAILURE() << "a socket was made";
        return -1;
    };

    EXPECT_EQ(fgNfsCheck("[fe80::1]:/export"), 1);
    EXPECT_EQ(fgNfsCheck(nullptr), -1);
}

} // namespace

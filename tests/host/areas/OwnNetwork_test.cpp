// Protocols and limits of this host, beside sockets and neighbours that a test makes in a network namespace of its own.
#include "NetworkNamespace.h"
#include "SampledHost.h"
#include "SystemHooks.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <fstream>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

using zel::Absence;
using zel::Area;
using zel::Sample;
using zel::Sampler;

// A stream or datagram socket of the loopback interface.
class Socket {
public:
    explicit Socket(int type) : m_socket(socket(AF_INET, type | SOCK_CLOEXEC, 0)) {}
    explicit Socket(const Socket *listener) : m_socket(accept(listener->m_socket, nullptr, nullptr)) {}
    ~Socket() { close(m_socket); }
    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;

    bool bindTo(unsigned short port) const { return bind(m_socket, ofPort(port), sizeof(sockaddr_in)) == 0; }
    bool listens() const { return listen(m_socket, 8) == 0; }
    bool connectTo(unsigned short port) const { return connect(m_socket, ofPort(port), sizeof(sockaddr_in)) == 0; }
    bool sends(const char *text) const { return send(m_socket, text, 5, 0) == 5; }
    void endWriting() const { shutdown(m_socket, SHUT_WR); }

private:
    static const sockaddr *ofPort(unsigned short port) {
        static sockaddr_in address;
        address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return reinterpret_cast<const sockaddr *>(&address);
    }

    int m_socket;
};

#define IN_NAMESPACE(body)                                                                                             \
    if (const std::string reason = inNetworkNamespace(body); !reason.empty())                                          \
    GTEST_SKIP() << reason

// A connection that is established, one that waits to be accepted, one that the other side closed and one that is over.
void expectStatesOfConnections() {
    ASSERT_EQ(runIp({"link", "set", "lo", "up"}), 0);
    const Socket listener(SOCK_STREAM);
    ASSERT_TRUE(listener.bindTo(5000) && listener.listens());
    const Socket one(SOCK_STREAM), two(SOCK_STREAM), three(SOCK_STREAM);
    ASSERT_TRUE(one.connectTo(5000));
    const Socket oneAccepted(&listener);
    ASSERT_TRUE(two.connectTo(5000));
    const Socket twoAccepted(&listener);
    two.endWriting();
    {
        const Socket four(SOCK_STREAM);
        ASSERT_TRUE(four.connectTo(5000));
        const Socket fourAccepted(&listener);
        four.endWriting();
    }
    ASSERT_TRUE(three.connectTo(5000));
    const Socket datagrams(SOCK_DGRAM), sender(SOCK_DGRAM);
    ASSERT_TRUE(datagrams.bindTo(5001) && sender.connectTo(5001) && sender.sends("hello"));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    Sampler sampler({.areas = {Area::Protocols}});
    const Sample sample = sampler.take();
    const zel::TcpStates &states = sample.tcpStates;
    EXPECT_TRUE(holds(states.listen, 1U));
    EXPECT_TRUE(holds(states.acceptQueue, 1U));
    EXPECT_TRUE(holds(states.established, 4U)) << "both ends of two connections";
    EXPECT_TRUE(holds(states.finWait2, 1U));
    EXPECT_TRUE(holds(states.closeWait, 1U));
    EXPECT_TRUE(holds(states.timeWait, 1U));
    EXPECT_TRUE(holds(sample.sockets.tcpInUse, 7U));
    ASSERT_FALSE(sample.udp.empty());
    EXPECT_GT(sample.udp[0].receiveQueueBytes.valueOr(0), 5U) << "the memory of one datagram";
    EXPECT_TRUE(holds(sample.udp[0].transmitQueueBytes, 0U));
    EXPECT_TRUE(holds(sample.tcp.passiveOpens, 4U)) << "of this namespace alone";
    EXPECT_EQ(failureOf(sample, Area::Protocols), NO_FAILURE);
}

TEST(OwnNetwork, ConnectionsAreCountedByState) {
    IN_NAMESPACE(expectStatesOfConnections);
}

// The lines of the files say the same.
TEST(OwnNetwork, WhereTheKernelCannotListSocketsTheLinesAreCounted) {
    IN_NAMESPACE([] {
        systemHooks().socket = [](int domain, int type, int protocol) {
            if (domain != AF_NETLINK)
                return socket(domain, type | SOCK_NONBLOCK, protocol);
            errno = EAFNOSUPPORT;
            return -1;
        };
        ASSERT_EQ(runIp({"link", "set", "lo", "up"}), 0);
        Sampler sampler({.areas = {Area::Protocols}});
        const Sample sample = sampler.take();
        EXPECT_TRUE(holds(sample.tcpStates.listen, 0U));
        EXPECT_TRUE(holds(sample.tcpStates.established, 0U));
        EXPECT_TRUE(sample.neighbours.empty()) << "and of neighbours";
        EXPECT_EQ(failureOf(sample, Area::Protocols), NO_FAILURE);
    });
}

void expectNeighbours() {
    makePair("zel0", "zel1");
    ASSERT_EQ(runIp({"address", "add", "192.0.2.1/24", "dev", "zel0"}), 0);
    ASSERT_EQ(runIp({"neigh", "add", "192.0.2.7", "lladdr", "02:00:00:00:00:07", "dev", "zel0", "nud", "permanent"}),
              0);
    ASSERT_EQ(runIp({"neigh", "add", "192.0.2.8", "lladdr", "02:00:00:00:00:08", "dev", "zel0", "nud", "stale"}), 0);
    ASSERT_EQ(runIp({"neigh", "add", "192.0.2.9", "lladdr", "02:00:00:00:00:09", "dev", "zel0", "nud", "noarp"}), 0);
    Sampler sampler({.areas = {Area::Protocols}});
    const Sample sample = sampler.take();
    const auto *row = std::find_if(sample.neighbours.begin(), sample.neighbours.end(),
                                   [](const auto &each) { return each.interface == "zel0" && each.protocol == "arp"; });
    ASSERT_NE(row, sample.neighbours.end());
    EXPECT_TRUE(holds(row->entries, 2U));
    EXPECT_TRUE(holds(row->permanent, 1U));
    EXPECT_TRUE(holds(row->stale, 1U));
    EXPECT_TRUE(holds(row->noArp, 1U));
    EXPECT_TRUE(holds(row->failed, 0U));
}

TEST(OwnNetwork, NeighboursAreCountedByInterfaceAndState) {
    IN_NAMESPACE(expectNeighbours);
}

TEST(OwnNetwork, LimitsAreThoseOfTheirFiles) {
    Sampler sampler({.areas = {Area::Limits, Area::Load}});
    const Sample sample = sampler.take();
    std::uint64_t pids = 0, limit = 0, word = 0;
    std::ifstream("/proc/sys/kernel/pid_max") >> pids;
    std::ifstream("/proc/sys/fs/file-nr") >> word >> word >> limit;
    EXPECT_TRUE(holds(sample.limits.pidsLimit, pids));
    EXPECT_TRUE(holds(sample.limits.filesLimit, limit));
    EXPECT_GT(sample.limits.filesAllocated.valueOr(0), 0U);
    EXPECT_TRUE(holds(sample.limits.threads, *sample.load.entities)) << "the file is read once for both";
    EXPECT_EQ(failureOf(sample, Area::Limits), NO_FAILURE);
}

TEST(OwnNetwork, LimitsAllocateNothingInSteadyState) {
    Sampler sampler({.areas = {Area::Limits}});
    Sample sample;
    for (int warm = 0; warm < 3; ++warm)
        sampler.take(sample);
    const long before = allocationsSoFar();
    for (int again = 0; again < 5; ++again)
        sampler.take(sample);
    EXPECT_EQ(allocationsSoFar(), before);
}

// Counting neighbours is a bounded call, which is allocated; nothing is for each counter, socket or processor.
TEST(OwnNetwork, ProtocolsAllocateTheirBoundedCallAlone) {
    constexpr long ofOneCall = 100;
    Sampler sampler({.areas = {Area::Protocols}});
    Sample sample;
    for (int warm = 0; warm < 3; ++warm)
        sampler.take(sample);
    const long before = allocationsSoFar();
    sampler.take(sample);
    EXPECT_LT(allocationsSoFar() - before, ofOneCall);
}

} // namespace

// Sockets as the kernel lists them, and what is left of the sums of sockstat.
#include "SampledHost.h"
#include "host/areas/NeighbourTable.h"
#include "host/areas/SocketCounts.h"

#include <cerrno>
#include <linux/inet_diag.h>
#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <optional>
#include <sys/socket.h>

namespace {

using zel::Absence;
using zel::TcpCounts;

template<class Struct> std::span<const char> bytesOf(const Struct &value) {
    return {reinterpret_cast<const char *>(&value), sizeof(value)};
}

// A socket of a list: the kernel's number of its state, its timer and its inode.
void list(TcpCounts &counts, unsigned char state, unsigned char timer, unsigned inode, unsigned queue = 0) {
    inet_diag_msg socket{};
    socket.idiag_state = state;
    socket.idiag_timer = timer;
    socket.idiag_inode = inode;
    socket.idiag_rqueue = queue;
    EXPECT_TRUE(zel::takeTcpMessage(bytesOf(socket), counts));
}

TEST(TcpStates, EstablishedAndTimeWaitAreTheRest) {
    TcpCounts counts;
    list(counts, 10, 0, 5, 7); // listens, with 7 that wait
    list(counts, 8, 0, 6);     // close wait
    list(counts, 5, 2, 0);     // FIN_WAIT2 of an orphan
    list(counts, 5, 3, 0);     // FIN_WAIT2 that sockstat counts as TIME_WAIT
    list(counts, 3, 1, 0);     // a request, no socket yet
    list(counts, 12, 1, 0);    // alike
    list(counts, 3, 1, 9);     // a socket of fast open
    zel::Sockets sockets;
    sockets.tcpInUse = std::uint64_t{100};
    sockets.tcp6InUse = std::uint64_t{10};
    sockets.tcpTimeWaits = std::uint64_t{31};
    zel::TcpStates states;
    zel::takeListedStates(counts, sockets, states);
    EXPECT_TRUE(holds(states.established, 106U)) << "110 less listener, close wait, orphan and fast open";
    EXPECT_TRUE(holds(states.timeWait, 30U));
    EXPECT_TRUE(holds(states.finWait2, 2U));
    EXPECT_TRUE(holds(states.synReceived, 3U));
    EXPECT_TRUE(holds(states.listen, 1U));
    EXPECT_TRUE(holds(states.closeWait, 1U));
    EXPECT_TRUE(holds(states.acceptQueue, 7U));
    EXPECT_TRUE(holds(states.lastAck, 0U));
}

TEST(TcpStates, ASumThatIsMissingIsMissingInTheRest) {
    zel::Sockets sockets;
    zel::TcpStates states;
    zel::takeListedStates({}, sockets, states);
    EXPECT_TRUE(lacks(states.established, Absence::Unsupported));
    sockets.tcpInUse = std::uint64_t{3};
    zel::takeListedStates({}, sockets, states);
    EXPECT_TRUE(holds(states.established, 3U)) << "a kernel without IPv6";
    sockets.tcp6InUse = Absence::Malformed;
    zel::takeListedStates({}, sockets, states);
    EXPECT_TRUE(lacks(states.established, Absence::Malformed));
}

TEST(TcpStates, ListsThatAreLongerThanTheSumLeaveNothing) {
    TcpCounts counts;
    list(counts, 10, 0, 5);
    list(counts, 10, 0, 6);
    zel::Sockets sockets;
    sockets.tcpInUse = std::uint64_t{1};
    zel::TcpStates states;
    zel::takeListedStates(counts, sockets, states);
    EXPECT_TRUE(holds(states.established, 0U));
}

TEST(TcpStates, MessagesThatAreNoneAreRefused) {
    TcpCounts counts;
    inet_diag_msg socket{};
    socket.idiag_state = 200;
    EXPECT_FALSE(zel::takeTcpMessage(bytesOf(socket), counts));
    EXPECT_FALSE(zel::takeTcpMessage(bytesOf(socket).first(10), counts));
    zel::QueueBytes bytes;
    EXPECT_FALSE(zel::takeUdpMessage({}, bytes));
}

TEST(NeighbourTable, CountsByInterfaceFamilyAndState) {
    zel::NeighbourTable table;
    const auto take = [&table](int interface, unsigned char family, unsigned short state) {
        ndmsg neighbour{};
        neighbour.ndm_ifindex = interface;
        neighbour.ndm_family = family;
        neighbour.ndm_state = state;
        return table.take(RTM_NEWNEIGH, bytesOf(neighbour));
    };
    EXPECT_TRUE(take(2, AF_INET, NUD_REACHABLE));
    EXPECT_TRUE(take(2, AF_INET, NUD_STALE));
    EXPECT_TRUE(take(2, AF_INET, NUD_NOARP));
    EXPECT_TRUE(take(2, AF_INET, NUD_NONE));
    EXPECT_TRUE(take(2, AF_INET6, NUD_FAILED));
    EXPECT_TRUE(take(3, AF_INET, NUD_PERMANENT));
    EXPECT_TRUE(take(3, AF_BRIDGE, NUD_PERMANENT)) << "of a bridge, no neighbour";
    ASSERT_EQ(table.rows().size(), 3U);
    EXPECT_TRUE(holds(table.rows()[0].entries, 2U)) << "as /proc/net/arp counts";
    EXPECT_TRUE(holds(table.rows()[0].reachable, 1U));
    EXPECT_TRUE(holds(table.rows()[0].stale, 1U));
    EXPECT_TRUE(holds(table.rows()[0].noArp, 1U));
    EXPECT_EQ(table.rows()[1].protocol, "ndisc");
    EXPECT_TRUE(holds(table.rows()[1].failed, 1U));
    EXPECT_TRUE(holds(table.rows()[2].permanent, 1U));
    EXPECT_FALSE(table.take(RTM_NEWNEIGH, {}));
    EXPECT_FALSE(table.take(RTM_NEWLINK, bytesOf(ndmsg{})));
}

// A message of a list with this length in its head.
std::string message(unsigned short type, unsigned length, const std::string &payload) {
    nlmsghdr head{};
    head.nlmsg_type = type;
    head.nlmsg_len = length;
    return std::string(reinterpret_cast<const char *>(&head), sizeof(head)) + payload;
}

TEST(NetlinkDump, WalksTheMessagesOfAPart) {
    const std::string part =
        message(20, 20, "abcd") + message(21, 17, "e123") + message(NLMSG_DONE, 20, std::string(4, '\0'));
    std::string seen;
    const auto use = [&seen](unsigned short type, std::span<const char> payload) {
        seen += std::to_string(type) + std::string(payload.data(), payload.size()) + " ";
    };
    EXPECT_EQ(zel::forEachMessage(part, use), std::optional(0));
    EXPECT_EQ(seen, "20abcd 21e ");
    EXPECT_EQ(zel::forEachMessage(std::span(part).first(20), use), std::nullopt) << "it goes on";
}

TEST(NetlinkDump, GivesTheErrorOfTheKernel) {
    const int error = -ENOENT;
    const std::string text(reinterpret_cast<const char *>(&error), sizeof(error));
    const auto ignore = [](unsigned short, std::span<const char>) {};
    EXPECT_EQ(zel::forEachMessage(message(NLMSG_ERROR, 20, text), ignore), std::optional(ENOENT));
    EXPECT_EQ(zel::forEachMessage(message(NLMSG_DONE, 20, text), ignore), std::optional(ENOENT));
    EXPECT_EQ(zel::forEachMessage(message(NLMSG_DONE, 16, ""), ignore), std::optional(0));
}

TEST(NetlinkDump, MessagesThatDoNotFitAreRefused) {
    const auto ignore = [](unsigned short, std::span<const char>) {};
    for (const std::string &part : {message(20, 0, ""), message(20, 15, ""), message(20, 17, ""),
                                    message(20, 4294967295U, "x"), std::string(3, 'x')})
        EXPECT_EQ(zel::forEachMessage(part, ignore), std::optional(EBADMSG));
}

TEST(NetlinkDump, ATimeThatIsOverIsTimedOut) {
    zel::NetlinkDump dump;
    TcpCounts counts;
    const int error = zel::listTcpSockets(dump, std::chrono::steady_clock::now(), counts);
    EXPECT_TRUE(error == ETIMEDOUT || error == ENOENT) << error;
}

} // namespace

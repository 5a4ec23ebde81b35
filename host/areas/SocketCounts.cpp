// Counts sockets.
#include "host/areas/SocketCounts.h"

#include "host/source/LineScan.h"
#include "host/source/SourceFile.h"

#include <linux/inet_diag.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>

namespace zel {

namespace {

// The kernel's states (enum of net/tcp_states.h, in no header for programs).
enum TcpState : unsigned char {
    Established = 1,
    SynSent,
    SynReceived,
    FinWait1,
    FinWait2,
    TimeWait,
    Close,
    CloseWait,
    LastAck,
    Listen,
    Closing,
    NewSynReceived
};

constexpr unsigned bitOf(TcpState state) {
    return 1U << state;
}
constexpr unsigned allStates = ~0U;
constexpr unsigned listedStates = (2 * bitOf(NewSynReceived) - 1) & ~bitOf(Established) & ~bitOf(TimeWait);
constexpr unsigned char timerOfTimeWait = 3; // inet_diag_msg of a socket that sockstat counts as TIME_WAIT

template<class Struct> std::span<const char> bytesOf(const Struct &request) {
    return {reinterpret_cast<const char *>(&request), sizeof(request)};
}

constexpr struct {
    TcpState state;
    Count TcpStates::*member;
} members[] = {{SynSent, &TcpStates::synSent}, {FinWait1, &TcpStates::finWait1},   {FinWait2, &TcpStates::finWait2},
               {Close, &TcpStates::close},     {CloseWait, &TcpStates::closeWait}, {LastAck, &TcpStates::lastAck},
               {Listen, &TcpStates::listen},   {Closing, &TcpStates::closing}};

void takeCommonStates(const TcpCounts &counts, TcpStates &states) {
    for (const auto &each : members)
        states.*each.member = counts.byState[each.state];
    states.synReceived = counts.byState[SynReceived] + counts.byState[NewSynReceived];
    states.acceptQueue = counts.acceptQueue;
}

// What is left of a sum. The sum and the list are of two moments: less than nothing is nothing.
Count restOf(const Count &sum, std::uint64_t part) {
    return !sum ? sum : *sum > part ? *sum - part : std::uint64_t{0};
}

// What both kinds of line have.
struct SocketLine {
    std::uint64_t state = 0, transmitQueue = 0, receiveQueue = 0;
};

// Sample:    0: 0100007F:1F90 00000000:0000 0A 00000000:00000003 00:00000000 00000000     0        0 2740 1
bool takeSocketLine(const char *cursor, SocketLine &line) {
    constexpr int wordsBefore = 3; // number, local and remote address
    for (int word = 0; word < wordsBefore; ++word)
        takeWord(cursor);
    const Count state = takeHexadecimal(cursor), transmit = takeHexadecimal(cursor, ':');
    if (!state || *state >= TCP_STATE_NUMBERS || !transmit || *cursor != ':')
        return false;
    const Count receive = takeHexadecimal(++cursor);
    line = {*state, *transmit, receive.valueOr(0)};
    return receive.has();
}

template<class Use> bool forEachSocketLine(const char *text, Use &&use) {
    bool whole = *text != '\0';
    for (const char *cursor = nextLine(text); *cursor != '\0'; cursor = nextLine(cursor)) {
        SocketLine line;
        const bool taken = takeSocketLine(cursor, line);
        whole &= taken;
        if (taken)
            use(line);
    }
    return whole;
}

void countTcp(std::uint64_t state, std::uint64_t receiveQueue, TcpCounts &counts) {
    ++counts.byState[state];
    counts.acceptQueue += state == Listen ? receiveQueue : 0;
}

} // namespace

bool takeTcpMessage(std::span<const char> payload, TcpCounts &counts) {
    const auto socket = payloadAs<inet_diag_msg>(payload);
    if (!socket || socket->idiag_state >= TCP_STATE_NUMBERS)
        return false;
    countTcp(socket->idiag_state, socket->idiag_rqueue, counts);
    // What asks for a connection is no socket yet: it has no inode.
    const bool isRequest =
        (socket->idiag_state == SynReceived || socket->idiag_state == NewSynReceived) && socket->idiag_inode == 0;
    if (socket->idiag_timer == timerOfTimeWait)
        counts.timeWaitOfFin += socket->idiag_state == FinWait2 ? 1 : 0;
    else if (!isRequest && socket->idiag_state != Close)
        ++counts.inUse;
    return true;
}

bool takeUdpMessage(std::span<const char> payload, QueueBytes &bytes) {
    const auto socket = payloadAs<inet_diag_msg>(payload);
    if (!socket)
        return false;
    bytes.receive += socket->idiag_rqueue;
    bytes.transmit += socket->idiag_wqueue;
    return true;
}

// The first form of the question, which every kernel answers, is the one that is for both families at once: the walk
// over the table of all connections, most of the cost of a quiet host, is done once.
int listTcpSockets(NetlinkDump &dump, NetlinkDump::Time until, TcpCounts &counts) {
    inet_diag_req request{};
    request.idiag_family = AF_INET;
    request.idiag_states = listedStates;
    if (const int error = dump.ask(NETLINK_SOCK_DIAG, TCPDIAG_GETSOCK, bytesOf(request)); error != 0)
        return error;
    bool whole = true;
    const int error = dump.forEach(
        until, [&](unsigned short, std::span<const char> payload) { whole &= takeTcpMessage(payload, counts); });
    return error == 0 && !whole ? EBADMSG : error;
}

int listUdpSockets(NetlinkDump &dump, NetlinkDump::Time until, unsigned char family, QueueBytes &bytes) {
    inet_diag_req_v2 request{};
    request.sdiag_family = family;
    request.sdiag_protocol = IPPROTO_UDP;
    request.idiag_states = allStates;
    if (const int error = dump.ask(NETLINK_SOCK_DIAG, SOCK_DIAG_BY_FAMILY, bytesOf(request)); error != 0)
        return error;
    bool whole = true;
    const int error = dump.forEach(
        until, [&](unsigned short, std::span<const char> payload) { whole &= takeUdpMessage(payload, bytes); });
    return error == 0 && !whole ? EBADMSG : error;
}

void takeListedStates(const TcpCounts &listed, const Sockets &sockets, TcpStates &states) {
    takeCommonStates(listed, states);
    const Count &six = sockets.tcp6InUse;
    Count inUse = sockets.tcpInUse;
    if (inUse && six)
        inUse = *inUse + *six;
    else if (!six && six.absence() != Absence::Unsupported) // a kernel without IPv6 has no such sockets
        inUse = six.absence();
    states.established = restOf(inUse, listed.inUse);
    states.timeWait = restOf(sockets.tcpTimeWaits, listed.timeWaitOfFin);
}

bool countTcpLines(const char *text, TcpCounts &counts) {
    return forEachSocketLine(text, [&](const SocketLine &line) { countTcp(line.state, line.receiveQueue, counts); });
}

bool countUdpLines(const char *text, QueueBytes &bytes) {
    return forEachSocketLine(text, [&](const SocketLine &line) {
        bytes.receive += line.receiveQueue;
        bytes.transmit += line.transmitQueue;
    });
}

void takeCountedStates(const TcpCounts &counted, TcpStates &states) {
    takeCommonStates(counted, states);
    states.established = counted.byState[Established];
    states.timeWait = counted.byState[TimeWait];
}

} // namespace zel

// Reads the protocols: the counters of /proc/net, sockets and connections, packet queues, connection tracking,
// neighbours and the kernel's load balancer.
#include "host/areas/AreaReader.h"
#include "host/areas/IpvsLines.h"
#include "host/areas/NeighbourTable.h"
#include "host/areas/PacketLines.h"
#include "host/areas/ProtocolLines.h"
#include "host/areas/SocketCounts.h"
#include "host/source/Attribute.h"
#include "host/source/BoundedReads.h"
#include "host/source/Clocks.h"
#include "host/source/DeviceAttributes.h"
#include "host/source/NetFiles.h"

#include <sys/socket.h>
#include <unistd.h>

namespace zel {

namespace {

using Time = std::chrono::steady_clock::time_point;

// A list of sockets that takes longer is given up.
constexpr std::chrono::milliseconds listAtMost{1000};
// Where the kernel cannot list sockets it is not asked again before: each question may look for a module.
constexpr std::int64_t secondsBeforeNextList = 30;

constexpr const char *socketList = "NETLINK_SOCK_DIAG";
constexpr const char *neighbourList = "NETLINK_ROUTE";

class ProtocolReader : public AreaReader {
public:
    void read(Take &take) override {
        m_net.startSample();
        const bool any = readCounters(take);
        const bool sockets = readSockets(take);
        const bool softnet = readSoftnet(take);
        if (!any && !sockets && !softnet)
            return loseArea(take.sample, Area::Protocols, m_snmpError, m_snmp.path());
        readConntrack(take);
        readIpvs(take);
        readStates(take);
        readQueues(take);
        take.sample.neighbours.clear();
        if (!take.root.own())
            readArp(take);
    }

    void ask(Take &take) override {
        if (!take.root.own())
            return;
        m_neighbours.begin(take.deadline, 1);
        m_neighbours.ask("all", [until = take.deadline](NeighbourTable &table) { return table.read(until); });
    }

    void finish(Take &take) override {
        if (!take.root.own())
            return;
        const BoundedRead<NeighbourTable> read = m_neighbours.wait(0);
        if (read.error == ETIMEDOUT)
            noteSilence(take.sample.area(Area::Protocols), read.silentSeconds, neighbourList);
        else if (read.error != 0)
            readArp(take);
        if (read.answer != nullptr)
            takeNeighbours(read.answer->rows(), take.sample.neighbours);
    }

private:
    static void note(Take &take, int error, std::string_view file) {
        noteUnlessMissing(take.sample.area(Area::Protocols), error, file);
    }
    static void noteFormat(Take &take, bool whole, std::string_view file) {
        note(take, whole ? 0 : NOT_ITS_FORMAT, file);
    }

    bool readCounters(Take &take) {
        Sample &sample = take.sample;
        m_snmpError = m_net.read(take.root, m_snmp);
        const int netstat = m_net.read(take.root, m_netstat), six = m_net.read(take.root, m_snmp6);
        m_lines.begin(sample, m_snmpError, netstat);
        note(take, m_snmpError, m_snmp.path());
        note(take, netstat, m_netstat.path());
        note(take, six, m_snmp6.path());
        if (m_snmpError == 0)
            noteFormat(take, m_lines.takePairs("snmp", m_snmp.text().data(), sample), m_snmp.path());
        if (netstat == 0)
            noteFormat(take, m_lines.takePairs("netstat", m_netstat.text().data(), sample), m_netstat.path());
        if (six == 0)
            noteFormat(take, m_lines.takeSix(m_snmp6.text().data(), sample), m_snmp6.path());
        return m_snmpError == 0 || netstat == 0 || six == 0;
    }

    bool readSockets(Take &take) {
        forget(take.sample.sockets, Absence::Unsupported);
        bool any = false;
        for (SourceFile *file : {&m_sockstat, &m_sockstat6}) {
            const int error = m_net.read(take.root, *file);
            note(take, error, file->path());
            if (error == 0)
                noteFormat(take,
                           takeSocketStatistics(lastPart(file->path()), file->text().data(), m_pageBytes, take.sample),
                           file->path());
            else
                loseStatistics(take.sample.sockets, *file, absenceOf(error));
            any |= error == 0;
        }
        Sockets &sockets = take.sample.sockets;
        sockets.tcpOrphansLimit = m_orphansLimit.number(take.root);
        note(take, m_orphansLimit.error(), m_orphansLimit.path());
        sockets.tcpMemoryLimitBytes = memoryLimit(take, m_tcpMemory);
        sockets.udpMemoryLimitBytes = memoryLimit(take, m_udpMemory);
        return any;
    }

    static void loseStatistics(Sockets &sockets, const SourceFile &file, Absence reason) {
        for (const Field<Sockets> &field : fieldsOf<Sockets>()) {
            if (field.family.source.substr(1) == file.path())
                field.clear(sockets, reason);
        }
    }

    // Sample: 4096	131072	6291456
    // Pages from which memory is plenty, short, and used up.
    Count memoryLimit(Take &take, SourceFile &file) const {
        const int error = file.read(take.root);
        note(take, error, file.path());
        if (error != 0)
            return absenceOf(error);
        const char *cursor = file.text().data();
        takeCount(cursor);
        takeCount(cursor);
        const Count limit = scaledCount(takeCount(cursor), m_pageBytes);
        noteFormat(take, limit.has(), file.path());
        return limit;
    }

    bool readSoftnet(Take &take) {
        take.sample.softnet.clear();
        const int error = m_net.read(take.root, m_softnet);
        note(take, error, m_softnet.path());
        if (error == 0)
            noteFormat(take, takeSoftnet(m_softnet.text().data(), take.sample.softnet), m_softnet.path());
        return error == 0;
    }

    void readConntrack(Take &take) {
        Conntrack &conntrack = take.sample.conntrack;
        const int error = m_net.read(take.root, m_conntrack);
        forget(conntrack, error == 0 ? Absence::Unsupported : absenceOf(error));
        note(take, error, m_conntrack.path());
        if (error == 0)
            noteFormat(take, takeConntrack(m_conntrack.text().data(), conntrack), m_conntrack.path());
        conntrack.entries = m_conntrackCount.number(take.root);
        note(take, m_conntrackCount.error(), m_conntrackCount.path());
        conntrack.entriesLimit = m_conntrackMax.number(take.root);
        note(take, m_conntrackMax.error(), m_conntrackMax.path());
    }

    // Where there is no load balancer one file is looked for in vain.
    void readIpvs(Take &take) {
        Sample &sample = take.sample;
        sample.ipvsBackends.clear();
        const int error = m_net.read(take.root, m_ipvsStatistics);
        note(take, error, m_ipvsStatistics.path());
        forget(sample.ipvs, absenceOf(error));
        if (error != 0)
            return;
        noteFormat(take, takeIpvsStatistics(m_ipvsStatistics.text().data(), sample.ipvs), m_ipvsStatistics.path());
        const auto parse = [&sample](const char *text) { return takeIpvsBackends(text, sample.ipvsBackends); };
        countLines(take, m_ipvs, parse);
    }

    bool canList(const Take &take) const {
        return take.root.own() && coarseSeconds() - m_refusedAt >= secondsBeforeNextList;
    }
    static Time listUntil(const Take &take) {
        return std::min<Time>(take.deadline, std::chrono::steady_clock::now() + listAtMost);
    }
    // False when the lines of /proc/net are to be counted instead.
    bool isAnswer(Take &take, int error) {
        if (error == ETIMEDOUT)
            noteFailure(take.sample.area(Area::Protocols), error, socketList);
        else if (error != 0)
            m_refusedAt = coarseSeconds();
        return error == 0 || error == ETIMEDOUT;
    }

    void readStates(Take &take) {
        TcpStates &states = take.sample.tcpStates;
        TcpCounts counts;
        if (canList(take)) {
            const int error = listTcpSockets(m_list, listUntil(take), counts);
            if (isAnswer(take, error)) {
                forget(states, absenceOf(ETIMEDOUT));
                return error == 0 ? takeListedStates(counts, take.sample.sockets, states) : void();
            }
            counts = {};
        }
        countStates(take, counts);
    }

    void countStates(Take &take, TcpCounts &counts) {
        TcpStates &states = take.sample.tcpStates;
        const int error = countLines(take, m_tcp, [&](const char *text) { return countTcpLines(text, counts); });
        const int six = countLines(take, m_tcp6, [&](const char *text) { return countTcpLines(text, counts); });
        if (error == 0 && (six == 0 || six == ENOENT))
            takeCountedStates(counts, states);
        else
            forget(states, absenceOf(error != 0 ? error : six));
    }

    template<class UseText> int countLines(Take &take, SourceFile &file, UseText &&count) {
        int error = m_net.read(take.root, file);
        if (error == 0 && !count(file.text().data()))
            error = NOT_ITS_FORMAT;
        note(take, error, file.path());
        return error;
    }

    void readQueues(Take &take) {
        for (Udp &row : take.sample.udp) {
            if (row.protocol == "udp")
                readQueue(take, AF_INET, take.sample.sockets.udpInUse, m_udp, row);
            else if (row.protocol == "udp6")
                readQueue(take, AF_INET6, take.sample.sockets.udp6InUse, m_udp6, row);
        }
    }

    void readQueue(Take &take, unsigned char family, const Count &inUse, SourceFile &file, Udp &row) {
        QueueBytes bytes;
        int error = 0;
        bool answered = take.root.own() && inUse.valueOr(1) == 0; // nothing waits where there is no socket
        if (!answered && canList(take)) {
            error = listUdpSockets(m_list, listUntil(take), family, bytes);
            answered = isAnswer(take, error);
        }
        if (!answered) {
            bytes = {};
            error = countLines(take, file, [&](const char *text) { return countUdpLines(text, bytes); });
        }
        row.receiveQueueBytes = error == 0 ? Count(bytes.receive) : Count(absenceOf(error));
        row.transmitQueueBytes = error == 0 ? Count(bytes.transmit) : Count(absenceOf(error));
    }

    void readArp(Take &take) {
        countLines(take, m_arp, [&](const char *text) { return takeArpLines(text, take.sample.neighbours); });
    }

    static void takeNeighbours(const std::vector<Neighbours> &found, Rows<Neighbours> &rows) {
        for (const Neighbours &neighbours : found) {
            if (!neighbours.interface.empty())
                rows.append() = neighbours;
        }
    }

    NetFiles m_net;
    SourceFile m_snmp{"proc/net/snmp", Records::Many};
    SourceFile m_netstat{"proc/net/netstat", Records::Many};
    SourceFile m_snmp6{"proc/net/snmp6", Records::Many};
    SourceFile m_sockstat{"proc/net/sockstat", Records::Many};
    SourceFile m_sockstat6{"proc/net/sockstat6", Records::Many};
    SourceFile m_softnet{"proc/net/softnet_stat", Records::Many};
    SourceFile m_conntrack{"proc/net/stat/nf_conntrack", Records::Many};
    SourceFile m_arp{"proc/net/arp", Records::Many};
    SourceFile m_ipvsStatistics{"proc/net/ip_vs_stats", Records::Many};
    SourceFile m_ipvs{"proc/net/ip_vs", Records::Many};
    SourceFile m_tcp{"proc/net/tcp", Records::Many};
    SourceFile m_tcp6{"proc/net/tcp6", Records::Many};
    SourceFile m_udp{"proc/net/udp", Records::Many};
    SourceFile m_udp6{"proc/net/udp6", Records::Many};
    // Of the namespace of the thread: they do not stay open.
    Attribute m_conntrackCount{"proc/sys/net/netfilter/nf_conntrack_count", KeptScope::Never};
    Attribute m_conntrackMax{"proc/sys/net/netfilter/nf_conntrack_max", KeptScope::Never};
    // Of the whole host.
    Attribute m_orphansLimit{"proc/sys/net/ipv4/tcp_max_orphans"};
    SourceFile m_tcpMemory{"proc/sys/net/ipv4/tcp_mem"};
    SourceFile m_udpMemory{"proc/sys/net/ipv4/udp_mem"};
    ProtocolLines m_lines;
    NetlinkDump m_list;
    std::int64_t m_refusedAt = LONG_AGO; // of a coarse monotonic clock
    BoundedReads<NeighbourTable> m_neighbours{"neighbours"};
    std::uint64_t m_pageBytes = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    int m_snmpError = 0;
};

} // namespace

std::unique_ptr<AreaReader> protocolReader() {
    return std::make_unique<ProtocolReader>();
}

} // namespace zel

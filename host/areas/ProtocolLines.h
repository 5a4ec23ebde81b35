// Parses /proc/net/snmp, netstat and snmp6 into the sections of the protocols. Plain values: nothing is opened here.
#pragma once

#include "host/Sample.h"
#include "host/areas/ProtocolKeys.h"

#include <string_view>

namespace zel {

class ProtocolLines {
public:
    /// Where a key comes from.
    struct Place {
        std::string_view file, protocol;
    };

    /// More keys of a protocol, or keys that no field has, are not believed.
    static constexpr std::size_t KEYS_LIMIT = 1024;
    static constexpr std::size_t OTHERS_LIMIT = 1024;

    /// Empties the sections. `snmp` and `netstat` are the errors of reading these files: what they would hold is
    /// absent for that reason.
    void begin(Sample &sample, int snmp, int netstat);

    /// Takes a file of pairs of lines, "snmp" or "netstat". False when something of it is not what kernels write.
    bool takePairs(std::string_view file, const char *text, Sample &sample);
    /// Takes snmp6, a key and a value in each line.
    bool takeSix(const char *text, Sample &sample);
    /// Takes a key that no field has, with the number at the cursor.
    static bool takeOther(Sample &sample, const Place &place, std::string_view key, const char *&cursor);

private:
    struct Pair {
        std::string_view file, protocol;
        const char *heading;
        const char *values;
    };

    bool takePair(const Pair &pair, Sample &sample);
    bool takeSixLine(std::string_view key, const char *cursor, Sample &sample);
    template<class Row> Row &rowOf(Rows<Row> &rows, std::string_view protocol) const;
    static bool takeTypes(const Pair &pair, Sample &sample);
    static bool takeOthers(const Pair &pair, Sample &sample);

    ProtocolKeys<Ip> m_ip, m_ipExtended, m_ip6;
    ProtocolKeys<Icmp> m_icmp, m_icmp6;
    ProtocolKeys<Tcp> m_tcp;
    ProtocolKeys<TcpExtended> m_tcpExtended;
    ProtocolKeys<MultipathTcp> m_mptcp;
    ProtocolKeys<Udp> m_udp, m_udpLite, m_udp6, m_udpLite6;
    std::size_t m_places[4] = {}; // of the next key of Ip6, Icmp6, Udp6 and UdpLite6
    int m_snmpError = 0;
    int m_netstatError = 0;
};

} // namespace zel

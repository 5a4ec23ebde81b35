// The kernel's load balancer, as it writes its sums, its services and their servers.
#include "SampledHost.h"
#include "host/areas/IpvsLines.h"

#include <cerrno>

namespace {

using zel::Absence;
using zel::Area;
using zel::IpvsBackend;
using zel::Sample;

constexpr const char *statistics = "   Total Incoming Outgoing         Incoming         Outgoing\n"
                                   "   Conns  Packets  Packets            Bytes            Bytes\n"
                                   "     1F4 E33656E5        1     51D8C8883AB3 FFFFFFFFFFFFFFFF\n"
                                   "\n"
                                   " Conns/s   Pkts/s   Pkts/s          Bytes/s          Bytes/s\n"
                                   "       4    1FB3C        0          1282A8F                0\n";

constexpr const char *heading = "IP Virtual Server version 1.2.1 (size=4096)\n"
                                "Prot LocalAddress:Port Scheduler Flags\n"
                                "  -> RemoteAddress:Port Forward Weight ActiveConn InActConn\n";

std::string services(const std::string &lines) {
    return heading + lines;
}

class Balancer : public SampledHost {
public:
    explicit Balancer(const std::string &lines) : SampledHost(std::vector{Area::Protocols}) {
        write("proc/net/snmp", "Tcp: RtoAlgorithm\nTcp: 1\n");
        write("proc/net/ip_vs_stats", statistics);
        write("proc/net/ip_vs", services(lines));
    }
};

TEST(Ipvs, SumsAreHexadecimal) {
    Balancer host("");
    const Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.ipvs.connections, 500));
    EXPECT_TRUE(holds(sample.ipvs.incomingPackets, 3811989221U));
    EXPECT_TRUE(holds(sample.ipvs.outgoingPackets, 1));
    EXPECT_TRUE(holds(sample.ipvs.incomingBytes, 89991519156915U));
    EXPECT_TRUE(holds(sample.ipvs.outgoingBytes, UINT64_MAX));
    EXPECT_TRUE(sample.ipvsBackends.empty());
    EXPECT_EQ(failureOf(sample, Area::Protocols), NO_FAILURE);
}

TEST(Ipvs, EachServerOfEachServiceIsARow) {
    Balancer host("TCP  C0000201:0CEA wlc  \n"
                  "  -> C6336402:0CEB      Tunnel  100    248        2         \n"
                  "  -> C6336403:0CEA      Masq    0      0          7         \n"
                  "UDP  C0000201:0035 rr ops \n"
                  "SCTP  [2001:0db8:0000:0000:0000:0000:0000:0001]:0050 sh persistent 300 FFFFFFFF\n"
                  "  -> [2001:0db8:0000:0000:0000:0000:0000:0002]:FFFF      Route   1      5          6         \n"
                  "FWM  10001000 wlc persistent 300 FFFFFFFF\n"
                  "  -> C6336402:0000      Local   20     64         1         \n");
    const Sample &sample = host.take();
    ASSERT_EQ(sample.ipvsBackends.size(), 4U);
    const IpvsBackend &first = sample.ipvsBackends[0];
    EXPECT_EQ(first.protocol, "TCP");
    EXPECT_EQ(first.service, "192.0.2.1:3306");
    EXPECT_EQ(first.server, "198.51.100.2:3307");
    EXPECT_TRUE(holds(first.scheduler, "wlc"));
    EXPECT_TRUE(holds(first.forwarding, "Tunnel"));
    EXPECT_TRUE(holds(first.weight, 100));
    EXPECT_TRUE(holds(first.activeConnections, 248));
    EXPECT_TRUE(holds(first.inactiveConnections, 2));
    EXPECT_EQ(sample.ipvsBackends[1].server, "198.51.100.3:3306");
    EXPECT_TRUE(holds(sample.ipvsBackends[1].weight, 0));
    const IpvsBackend &six = sample.ipvsBackends[2];
    EXPECT_EQ(six.protocol, "SCTP");
    EXPECT_EQ(six.service, "[2001:db8::1]:80");
    EXPECT_EQ(six.server, "[2001:db8::2]:65535");
    const IpvsBackend &mark = sample.ipvsBackends[3];
    EXPECT_EQ(mark.protocol, "FWM");
    EXPECT_EQ(mark.service, "10001000");
    EXPECT_EQ(mark.server, "198.51.100.2:0");
    EXPECT_TRUE(holds(mark.forwarding, "Local"));
    EXPECT_EQ(failureOf(sample, Area::Protocols), NO_FAILURE);
}

TEST(Ipvs, WithoutItsModuleItIsUnsupportedAndNoFailure) {
    SampledHost host(Area::Protocols, {{"proc/net/snmp", "Tcp: RtoAlgorithm\nTcp: 1\n"}});
    host.write("proc/net/ip_vs", services("TCP  C0000201:0CEA wlc  \n  -> C6336402:0CEB Masq 1 2 3\n"));
    const Sample &sample = host.take();
    EXPECT_TRUE(lacks(sample.ipvs.connections, Absence::Unsupported));
    EXPECT_TRUE(sample.ipvsBackends.empty()) << "the other file is not looked for";
    EXPECT_EQ(failureOf(sample, Area::Protocols), NO_FAILURE);
}

TEST(Ipvs, SumsThatAreNoneAreMalformedTogether) {
    for (const char *text : {"", "a\nb\n", "a\nb\n1 2 3 4\n", "a\nb\n1 2 3 4 g\n", "a\nb\n1 2 3 4 11112222333344445\n",
                             "a\nb\n-1 2 3 4 5\n"}) {
        Balancer host("");
        host.write("proc/net/ip_vs_stats", text);
        const Sample &sample = host.take();
        EXPECT_TRUE(lacks(sample.ipvs.connections, Absence::Malformed)) << text;
        EXPECT_TRUE(lacks(sample.ipvs.outgoingBytes, Absence::Malformed)) << text;
        EXPECT_EQ(failureOf(sample, Area::Protocols), std::pair(EBADMSG, std::string("proc/net/ip_vs_stats"))) << text;
    }
}

// A line that is none is left out, with the servers of a service that is none.
TEST(Ipvs, LinesThatAreNoneAreNotedAndTheRestTaken) {
    const std::string good = "TCP  C0000201:0CEA wlc  \n  -> C6336402:0CEB      Masq 1 2 3\n";
    for (const char *bad :
         {"  -> C6336402:0CEB Masq 1 2\n", "  -> C6336402:0CEB Masq x 2 3\n", "  -> C6336402 Masq 1 2 3\n",
          "  -> C633640:0CEB Masq 1 2 3\n", "  -> C6336402:CEB Masq 1 2 3\n", "  ->\n",
          "  -> [2001:db8::1:0050 Masq 1 2 3\n", "  -> [x]:0050 Masq 1 2 3\n", "  -> []:0050 Masq 1 2 3\n",
          "TCP  C0000201 wlc\n  -> C6336402:0CEB Masq 1 2 3\n", "TCP\n  -> C6336402:0CEB Masq 1 2 3\n",
          "FWM  1000 wlc\n  -> C6336402:0CEB Masq 1 2 3\n"}) {
        Balancer host(good + bad);
        const Sample &sample = host.take();
        ASSERT_EQ(sample.ipvsBackends.size(), 1U) << bad;
        EXPECT_EQ(failureOf(sample, Area::Protocols), std::pair(EBADMSG, std::string("proc/net/ip_vs"))) << bad;
    }
}

TEST(Ipvs, AServerBeforeAnyServiceIsNone) {
    zel::Rows<IpvsBackend> rows;
    EXPECT_FALSE(zel::takeIpvsBackends(services("  -> C6336402:0CEB Masq 1 2 3\n").c_str(), rows));
    EXPECT_TRUE(rows.empty());
    EXPECT_FALSE(zel::takeIpvsBackends("", rows));
    EXPECT_TRUE(zel::takeIpvsBackends(heading, rows));
    EXPECT_TRUE(rows.empty());
}

TEST(Ipvs, NamesBeyondReasonAreNone) {
    zel::Rows<IpvsBackend> rows;
    const std::string name(65, 'x');
    EXPECT_FALSE(
        zel::takeIpvsBackends(services(name + "  C0000201:0CEA wlc\n  -> C6336402:0CEB Masq 1 2 3\n").c_str(), rows));
    EXPECT_FALSE(zel::takeIpvsBackends(
        services("TCP  C0000201:0CEA wlc\n  -> C6336402:0CEB " + name + " 1 2 3\n").c_str(), rows));
    EXPECT_TRUE(rows.empty());
}

} // namespace

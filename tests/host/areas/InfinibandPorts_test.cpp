// What the model says of InfiniBand ports, below a root directory.
#include "SampledHost.h"
#include "host/areas/InfinibandDetails.h"

#include <filesystem>

namespace {

using zel::Absence;
using zel::Area;
using zel::InfinibandPort;
using zel::Sample;

class AdapterHost : public SampledHost {
public:
    AdapterHost() : SampledHost(std::vector{Area::Interfaces}) { write("proc/net/dev", "head\nhead\n"); }

    void device(const std::string &name, const std::string &file, const std::string &text) const {
        write("sys/class/infiniband/" + name + "/" + file, text);
    }
    void port(const std::string &file, const std::string &text) const { device("mlx5_0", "ports/1/" + file, text); }
    const InfinibandPort &first() { return take().infinibandPorts[0]; }
};

// The counters of a port of kernel 6.12 and of one before 4.5, whose values count upwards from 1 in this order, which
// is that of the schema.
constexpr const char *counterFiles[] = {
    "counters/port_rcv_data",
    "counters/port_rcv_packets",
    "counters/unicast_rcv_packets",
    "counters/multicast_rcv_packets",
    "counters/port_xmit_data",
    "counters/port_xmit_packets",
    "counters/unicast_xmit_packets",
    "counters/multicast_xmit_packets",
    "counters/port_rcv_errors",
    "counters/port_rcv_remote_physical_errors",
    "counters/port_rcv_switch_relay_errors",
    "counters/port_rcv_constraint_errors",
    "counters/port_rcv_discards",
    "counters/port_xmit_discards",
    "counters/port_xmit_constraint_errors",
    "counters/port_xmit_wait",
    "counters/symbol_error",
    "counters/link_error_recovery",
    "counters/link_downed",
    "counters/local_link_integrity_errors",
    "counters/excessive_buffer_overrun_errors",
    "counters/VL15_dropped",
    "counters_ext/port_rcv_data_64",
    "counters_ext/port_rcv_packets_64",
    "counters_ext/port_unicast_rcv_packets",
    "counters_ext/port_multicast_rcv_packets",
    "counters_ext/port_xmit_data_64",
    "counters_ext/port_xmit_packets_64",
    "counters_ext/port_unicast_xmit_packets",
    "counters_ext/port_multicast_xmit_packets",
};

void writeEveryCounter(const AdapterHost &host) {
    for (std::size_t index = 0; index < std::size(counterFiles); ++index)
        host.port(counterFiles[index], std::to_string(index + 1) + "\n");
}

TEST(InfinibandPorts, TakesEveryCounterAndDataInBytes) {
    AdapterHost host;
    writeEveryCounter(host);
    const Sample &sample = host.take();
    ASSERT_EQ(sample.infinibandPorts.size(), 1U);
    double expected = 0;
    for (const auto &field : zel::fieldsOf<InfinibandPort>()) {
        if (field.family.kind != zel::Kind::Counter)
            continue;
        ++expected;
        const double words = field.family.unit == zel::Unit::Bytes ? 4 : 1;
        ASSERT_TRUE(field.of(sample.infinibandPorts[0]).has()) << field.family.name;
        EXPECT_EQ(field.of(sample.infinibandPorts[0]).asReal(), expected * words) << field.family.name;
    }
    EXPECT_EQ(expected, 30);
    EXPECT_EQ(failureOf(sample, Area::Interfaces), NO_FAILURE);
}

TEST(InfinibandPorts, EachMissingFileLeavesItsOwnReadingOut) {
    AdapterHost host;
    writeEveryCounter(host);
    for (const char *missing : counterFiles) {
        host.remove(std::string("sys/class/infiniband/mlx5_0/ports/1/") + missing);
        int absent = 0;
        const InfinibandPort &port = host.first();
        for (const auto &field : zel::fieldsOf<InfinibandPort>())
            absent += field.family.kind == zel::Kind::Counter && field.of(port).absence() == Absence::Unsupported;
        EXPECT_EQ(absent, 1) << missing;
        host.port(missing, "1\n");
    }
}

TEST(InfinibandPorts, TakesStateRateAndWhatDescribesThem) {
    AdapterHost host;
    for (const auto &[file, text] :
         std::initializer_list<std::pair<const char *, const char *>>{{"state", "4: ACTIVE\n"},
                                                                      {"phys_state", "5: LinkUp\n"},
                                                                      {"rate", "100 Gb/sec (4X EDR)\n"},
                                                                      {"link_layer", "InfiniBand\n"},
                                                                      {"lid", "0x1f\n"}})
        host.port(file, text);
    for (const auto &[file, text] :
         std::initializer_list<std::pair<const char *, const char *>>{{"fw_ver", "16.31.1014\n"},
                                                                      {"board_id", "MT_0000000011\n"},
                                                                      {"hca_type", "MT4119\n"},
                                                                      {"node_guid", "b859:9f03:0012:3456\n"}})
        host.device("mlx5_0", file, text);
    const InfinibandPort &port = host.first();
    EXPECT_EQ(port.device, "mlx5_0");
    EXPECT_EQ(port.port, 1U);
    EXPECT_TRUE(holds(port.state, "ACTIVE"));
    EXPECT_TRUE(holds(port.stateNumber, 4));
    EXPECT_TRUE(holds(port.physicalState, "LinkUp"));
    EXPECT_TRUE(holds(port.physicalStateNumber, 5));
    EXPECT_TRUE(holds(port.rateBytesPerSecond, 12500000000ULL));
    EXPECT_TRUE(holds(port.rate, "100 Gb/sec (4X EDR)"));
    EXPECT_TRUE(holds(port.linkLayer, "InfiniBand"));
    EXPECT_TRUE(holds(port.localId, 31));
    EXPECT_TRUE(holds(port.firmware, "16.31.1014"));
    EXPECT_TRUE(holds(port.board, "MT_0000000011"));
    EXPECT_TRUE(holds(port.adapterType, "MT4119"));
    EXPECT_TRUE(holds(port.nodeGuid, "b859:9f03:0012:3456"));
    EXPECT_TRUE(lacks(port.receiveBytes, Absence::Unsupported));
}

TEST(InfinibandPorts, RatesAreThoseThatTheKernelWrites) {
    EXPECT_TRUE(holds(zel::infinibandRate("2.5 Gb/sec (1X SDR)"), 312500000));
    EXPECT_TRUE(holds(zel::infinibandRate("10 Gb/sec (4X)"), 1250000000));
    EXPECT_TRUE(holds(zel::infinibandRate("0 Gb/sec"), 0));
    EXPECT_TRUE(holds(zel::infinibandRate("800 Gb/sec (8X NDR)"), 100000000000ULL));
    for (const char *text :
         {"", "fast", "100", "100 Mb/sec", "-1 Gb/sec", "100Gb/sec", "9999999999999999999999 Gb/sec"})
        EXPECT_TRUE(lacks(zel::infinibandRate(text), Absence::Malformed)) << text;
}

TEST(InfinibandPorts, StatesThatAreNoneAreMalformed) {
    AdapterHost host;
    for (const char *text : {"", "ACTIVE\n", "4\n", "4 ACTIVE\n", ": ACTIVE\n", "99999999999999999999: X\n"}) {
        host.port("state", text);
        EXPECT_TRUE(lacks(host.first().state, Absence::Malformed)) << text;
        EXPECT_TRUE(lacks(host.first().stateNumber, Absence::Malformed)) << text;
    }
    host.port("state", "4:\n");
    EXPECT_TRUE(holds(host.first().stateNumber, 4));
    EXPECT_TRUE(lacks(host.first().state, Absence::Unsupported));
}

TEST(InfinibandPorts, WhatIsNoNumberIsNone) {
    AdapterHost host;
    host.port("counters/symbol_error", "N/A (no PMA)\n");
    host.port("counters/link_downed", "many\n");
    host.port("counters/port_rcv_data", "18446744073709551615\n");
    host.port("counters/port_xmit_data", std::string(100000, '1'));
    std::filesystem::create_directories(host.path() + "/sys/class/infiniband/mlx5_0/ports/1/counters/port_rcv_errors");
    const InfinibandPort &port = host.first();
    EXPECT_TRUE(lacks(port.symbolErrors, Absence::Unsupported));
    EXPECT_TRUE(lacks(port.linkDowned, Absence::Malformed));
    EXPECT_TRUE(lacks(port.receiveBytes, Absence::Malformed)) << "no number of bytes";
    EXPECT_FALSE(port.transmitBytes.has());
    EXPECT_FALSE(port.receiveErrors.has());
}

TEST(InfinibandPorts, CountersOfTheDriverHaveItsNames) {
    AdapterHost host;
    host.port("hw_counters/out_of_buffer", "7\n");
    host.port("hw_counters/duplicate_request", "0\n");
    host.port("hw_counters/lifespan", "10\n");
    host.port("hw_counters/odd", "x\n");
    const Sample &sample = host.take();
    ASSERT_EQ(sample.infinibandCounters.size(), 3U) << "what the driver sets is no counter";
    EXPECT_EQ(sample.infinibandCounters[0].name, "duplicate_request");
    EXPECT_TRUE(holds(sample.infinibandCounters[0].value, 0));
    EXPECT_EQ(sample.infinibandCounters[1].name, "odd");
    EXPECT_TRUE(lacks(sample.infinibandCounters[1].value, Absence::Malformed));
    EXPECT_EQ(sample.infinibandCounters[2].device, "mlx5_0");
    EXPECT_EQ(sample.infinibandCounters[2].port, 1U);
    EXPECT_EQ(sample.infinibandCounters[2].name, "out_of_buffer");
    EXPECT_TRUE(holds(sample.infinibandCounters[2].value, 7));
}

TEST(InfinibandPorts, PortsComeInTheOrderOfTheirNumbersAndOtherEntriesAreNone) {
    AdapterHost host;
    for (const char *port : {"10", "2", "x", "256", "-1", "1x"})
        host.device("mlx4_0", std::string("ports/") + port + "/state", "1: DOWN\n");
    host.device("mlx4_1", "ports/1/state", "1: DOWN\n");
    host.device("no_ports", "fw_ver", "1\n");
    const Sample &sample = host.take();
    ASSERT_EQ(sample.infinibandPorts.size(), 3U);
    EXPECT_EQ(sample.infinibandPorts[0].port, 2U);
    EXPECT_EQ(sample.infinibandPorts[1].port, 10U);
    EXPECT_EQ(sample.infinibandPorts[2].device, "mlx4_1");
    EXPECT_TRUE(holds(sample.infinibandPorts[1].state, "DOWN"));
}

TEST(InfinibandPorts, WithoutAdaptersThereIsNothingAndNoFailure) {
    AdapterHost host;
    const Sample &sample = host.take();
    EXPECT_TRUE(sample.infinibandPorts.empty());
    EXPECT_TRUE(sample.infinibandCounters.empty());
    EXPECT_EQ(failureOf(sample, Area::Interfaces), NO_FAILURE);
}

} // namespace

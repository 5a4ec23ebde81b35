// What the model says of Fibre Channel ports, below a root directory.
#include "SampledHost.h"
#include "host/areas/FibreChannelDetails.h"

#include <cerrno>
#include <filesystem>

namespace {

using zel::Absence;
using zel::Area;
using zel::FibreChannelEvents;
using zel::FibreChannelPort;
using zel::Sample;

class FcSamples : public SampledHost {
public:
    FcSamples() : SampledHost(std::vector{Area::FibreChannel}) {}

    void attribute(const std::string &name, const std::string &file, const std::string &text) const {
        write("sys/class/fc_host/" + name + "/" + file, text);
    }
    void statistic(const std::string &file, const std::string &text) const {
        attribute("host1", "statistics/" + file, text);
    }
};

// The files of a port of kernel 6.12, whose statistics count upwards from 1 in this order.
constexpr const char *portFiles[] = {"seconds_since_last_reset",
                                     "tx_frames",
                                     "tx_words",
                                     "rx_frames",
                                     "rx_words",
                                     "lip_count",
                                     "nos_count",
                                     "error_frames",
                                     "dumped_frames",
                                     "link_failure_count",
                                     "loss_of_sync_count",
                                     "loss_of_signal_count",
                                     "prim_seq_protocol_err_count",
                                     "invalid_tx_word_count",
                                     "invalid_crc_count",
                                     "fcp_input_requests",
                                     "fcp_output_requests",
                                     "fcp_control_requests",
                                     "fcp_input_megabytes",
                                     "fcp_output_megabytes",
                                     "fcp_packet_aborts"};
constexpr const char *eventFiles[] = {"fcp_packet_alloc_failures",
                                      "fcp_frame_alloc_failures",
                                      "fc_no_free_exch",
                                      "fc_no_free_exch_xid",
                                      "fc_xid_not_found",
                                      "fc_xid_busy",
                                      "fc_seq_not_found",
                                      "fc_non_bls_resp",
                                      "cn_sig_warn",
                                      "cn_sig_alarm",
                                      "fpin_dn",
                                      "fpin_dn_unknown",
                                      "fpin_dn_timeout",
                                      "fpin_dn_unable_to_route",
                                      "fpin_dn_device_specific",
                                      "fpin_li",
                                      "fpin_li_failure_unknown",
                                      "fpin_li_link_failure_count",
                                      "fpin_li_loss_of_sync_count",
                                      "fpin_li_loss_of_signals_count",
                                      "fpin_li_prim_seq_err_count",
                                      "fpin_li_invalid_tx_word_count",
                                      "fpin_li_invalid_crc_count",
                                      "fpin_li_device_specific",
                                      "fpin_cn",
                                      "fpin_cn_clear",
                                      "fpin_cn_lost_credit",
                                      "fpin_cn_credit_stall",
                                      "fpin_cn_oversubscription",
                                      "fpin_cn_device_specific"};

std::string hexadecimal(std::size_t number) {
    char text[32];
    std::snprintf(text, sizeof(text), "0x%zx\n", number);
    return text;
}

void writeEveryStatistic(const FcSamples &host) {
    for (std::size_t index = 0; index < std::size(portFiles); ++index)
        host.statistic(portFiles[index], hexadecimal(index + 1));
    for (std::size_t index = 0; index < std::size(eventFiles); ++index)
        host.statistic(eventFiles[index], hexadecimal(index + 101));
}

TEST(FibreChannelReader, TakesEveryStatisticOfAPort) {
    FcSamples host;
    writeEveryStatistic(host);
    const Sample &sample = host.take();
    ASSERT_EQ(sample.fibreChannelPorts.size(), 1U);
    ASSERT_EQ(sample.fibreChannelEvents.size(), 1U);
    EXPECT_EQ(failureOf(sample, Area::FibreChannel), NO_FAILURE);
    const FibreChannelPort &port = sample.fibreChannelPorts[0];
    EXPECT_EQ(port.name, "host1");
    EXPECT_EQ(sample.fibreChannelEvents[0].name, "host1");
    // Both structs have their statistics in the order of the files above.
    double next = 1;
    for (const auto &field : zel::fieldsOf<FibreChannelPort>()) {
        if (field.family.source != "/sys/class/fc_host/*/statistics")
            continue;
        ASSERT_TRUE(field.of(port).has()) << field.family.name;
        EXPECT_EQ(field.of(port).asReal(), next++) << field.family.name;
    }
    EXPECT_EQ(next, 22);
    next = 101;
    for (const auto &field : zel::fieldsOf<FibreChannelEvents>()) {
        if (field.family.kind == zel::Kind::Label)
            continue;
        ASSERT_TRUE(field.of(sample.fibreChannelEvents[0]).has()) << field.family.name;
        EXPECT_EQ(field.of(sample.fibreChannelEvents[0]).asReal(), next++) << field.family.name;
    }
    EXPECT_EQ(next, 131);
}

TEST(FibreChannelReader, EachMissingFileLeavesItsOwnReadingOut) {
    FcSamples host;
    for (const char *missing : portFiles) {
        writeEveryStatistic(host);
        host.remove(std::string("sys/class/fc_host/host1/statistics/") + missing);
        const Sample &sample = host.take();
        ASSERT_EQ(sample.fibreChannelPorts.size(), 1U);
        int absent = 0;
        for (const auto &field : zel::fieldsOf<FibreChannelPort>())
            absent += field.family.source == "/sys/class/fc_host/*/statistics" &&
                      field.of(sample.fibreChannelPorts[0]).absence() == Absence::Unsupported;
        EXPECT_EQ(absent, 1) << missing;
    }
}

TEST(FibreChannelReader, AllOnesAreNoNumber) {
    FcSamples host;
    host.statistic("dumped_frames", "0xffffffffffffffff\n");
    host.statistic("error_frames", "0xfffffffffffffffe\n");
    const Sample &sample = host.take();
    EXPECT_TRUE(lacks(sample.fibreChannelPorts[0].dumpedFrames, Absence::Unsupported));
    EXPECT_TRUE(holds(sample.fibreChannelPorts[0].errorFrames, 0xfffffffffffffffeULL));
}

TEST(FibreChannelReader, WhatIsNoHexadecimalNumberIsMalformedAlone) {
    FcSamples host;
    host.statistic("tx_frames", "0x5\n");
    for (const char *text : {"", "\n", "5\n", "0x\n", "0xg\n", "-0x1\n", "0x11112222333344445\n", "0x5z\n", "x5\n"}) {
        host.statistic("rx_frames", text);
        const Sample &sample = host.take();
        EXPECT_TRUE(lacks(sample.fibreChannelPorts[0].receiveFrames, Absence::Malformed)) << text;
        EXPECT_TRUE(holds(sample.fibreChannelPorts[0].transmitFrames, 5)) << text;
    }
}

TEST(FibreChannelReader, TakesNamesStateAndSpeed) {
    FcSamples host;
    for (const auto &[file, text] : std::initializer_list<std::pair<const char *, const char *>>{
             {"port_state", "Online\n"},
             {"speed", "16 Gbit\n"},
             {"port_type", "NPort (fabric via point-to-point)\n"},
             {"port_id", "0x010200\n"},
             {"port_name", "0x10000090fa123456\n"},
             {"node_name", "0x20000090fa123456\n"},
             {"fabric_name", "0x1000000533123456\n"},
             {"symbolic_name", "Adapter \"A\" FV1.2 HN:db1 \n"},
             {"supported_speeds", "4 Gbit, 8 Gbit, 16 Gbit\n"},
             {"supported_classes", "Class 3\n"},
             {"maxframe_size", "2048 bytes\n"},
             {"dev_loss_tmo", "30\n"},
             {"npiv_vports_inuse", "2\n"},
             {"max_npiv_vports", "255\n"}})
        host.attribute("host12", file, text);
    const Sample &sample = host.take();
    ASSERT_EQ(sample.fibreChannelPorts.size(), 1U);
    const FibreChannelPort &port = sample.fibreChannelPorts[0];
    EXPECT_EQ(port.name, "host12");
    EXPECT_TRUE(holds(port.state, "Online"));
    EXPECT_TRUE(holds(port.speed, "16 Gbit"));
    EXPECT_TRUE(holds(port.speedBytesPerSecond, 2000000000));
    EXPECT_TRUE(holds(port.type, "NPort (fabric via point-to-point)"));
    EXPECT_TRUE(holds(port.portId, "0x010200"));
    EXPECT_TRUE(holds(port.portName, "0x10000090fa123456"));
    EXPECT_TRUE(holds(port.nodeName, "0x20000090fa123456"));
    EXPECT_TRUE(holds(port.fabricName, "0x1000000533123456"));
    EXPECT_TRUE(holds(port.symbolicName, "Adapter \"A\" FV1.2 HN:db1"));
    EXPECT_TRUE(holds(port.supportedSpeeds, "4 Gbit, 8 Gbit, 16 Gbit"));
    EXPECT_TRUE(holds(port.fastestBytesPerSecond, 2000000000));
    EXPECT_TRUE(holds(port.supportedClasses, "Class 3"));
    EXPECT_TRUE(holds(port.maximumFrameBytes, 2048));
    EXPECT_TRUE(holds(port.deviceLossSeconds, 30));
    EXPECT_TRUE(holds(port.virtualPorts, 2));
    EXPECT_TRUE(holds(port.virtualPortsAtMost, 255));
    EXPECT_TRUE(lacks(port.transmitWords, Absence::Unsupported)); // it has no statistics
}

TEST(FibreChannelReader, SpeedsAreThoseThatTheKernelWrites) {
    EXPECT_TRUE(holds(zel::fibreChannelSpeed("1 Gbit"), 125000000));
    EXPECT_TRUE(holds(zel::fibreChannelSpeed("256 Gbit"), 32000000000ULL));
    EXPECT_TRUE(holds(zel::fibreChannelSpeed("64 Gbit, 32 Gbit, 16 Gbit"), 8000000000ULL));
    for (const char *text : {"", "unknown", "Unknown", "Not Negotiated", "0 Gbit", "16", "16 Mbit", "-1 Gbit",
                             "99999999999999999999 Gbit", "16 Gbits", ",", ",,,"})
        EXPECT_TRUE(lacks(zel::fibreChannelSpeed(text), Absence::Unsupported)) << text;
}

TEST(FibreChannelReader, PortsComeInTheOrderOfTheirNumbersAndOtherEntriesAreNone) {
    FcSamples host;
    for (const char *name : {"host10", "host9", "host0", "hostx", "host", "rport-1", "host-1"})
        host.attribute(name, "port_state", "Linkdown\n");
    const Sample &sample = host.take();
    ASSERT_EQ(sample.fibreChannelPorts.size(), 3U);
    EXPECT_EQ(sample.fibreChannelPorts[0].name, "host0");
    EXPECT_EQ(sample.fibreChannelPorts[1].name, "host9");
    EXPECT_EQ(sample.fibreChannelPorts[2].name, "host10");
    EXPECT_TRUE(holds(sample.fibreChannelPorts[2].state, "Linkdown"));
}

TEST(FibreChannelReader, APortInThePlaceOfAnotherHasNothingOfIt) {
    FcSamples host;
    host.attribute("host1", "symbolic_name", "first\n");
    host.statistic("tx_frames", "0x5\n");
    EXPECT_TRUE(holds(host.take().fibreChannelPorts[0].transmitFrames, 5));
    host.remove("sys/class/fc_host/host1");
    host.attribute("host2", "port_state", "Online\n");
    const Sample &sample = host.take();
    ASSERT_EQ(sample.fibreChannelPorts.size(), 1U);
    EXPECT_EQ(sample.fibreChannelPorts[0].name, "host2");
    EXPECT_TRUE(lacks(sample.fibreChannelPorts[0].symbolicName, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample.fibreChannelPorts[0].transmitFrames, Absence::Unsupported));
}

TEST(FibreChannelReader, WithoutTheClassTheAreaIsUnsupported) {
    FcSamples host;
    const Sample &sample = host.take();
    EXPECT_TRUE(sample.fibreChannelPorts.empty());
    EXPECT_EQ(failureOf(sample, Area::FibreChannel), std::make_pair(ENOENT, std::string("sys/class/fc_host")));
    EXPECT_EQ(sample.area(Area::FibreChannel).absence, Absence::Unsupported);
}

TEST(FibreChannelReader, ADirectoryOrALinkInThePlaceOfAFileIsNoNumber) {
    FcSamples host;
    const std::filesystem::path statistics = host.path() + "/sys/class/fc_host/host1/statistics";
    std::filesystem::create_directories(statistics / "tx_frames");
    std::filesystem::create_symlink("/proc/self/status", statistics / "rx_frames");
    host.statistic("tx_words", std::string(100000, '0'));
    const Sample &sample = host.take();
    ASSERT_EQ(sample.fibreChannelPorts.size(), 1U);
    EXPECT_FALSE(sample.fibreChannelPorts[0].transmitFrames.has());
    EXPECT_FALSE(sample.fibreChannelPorts[0].receiveFrames.has());
    EXPECT_FALSE(sample.fibreChannelPorts[0].transmitWords.has());
}

} // namespace

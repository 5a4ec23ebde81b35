// The known names of what interfaces receive and send.
#include "tests/support/KnownText.h"

#include <gtest/gtest.h>

namespace {

TEST(KnownInterfaceTraffic, LoopbackIsLeftOut) {
    zel::Sample sample;
    for (const char *name : {"lo", "eth0", "lo1"}) {
        zel::Interface &interface = sample.interfaces.append();
        interface.name = name;
        interface.receiveBytes = std::uint64_t{68895569910};
    }
    const KnownText text(zel::knownInterfaceTraffic, sample);
    EXPECT_EQ(text.series(), (Lines{R"(node_network_receive_bytes_total{device="eth0"} 68895569910)",
                                    R"(node_network_receive_bytes_total{device="lo1"} 68895569910)"}));
    EXPECT_EQ(text.type("node_network_receive_bytes_total"), "counter");
}

// The columns of /proc/net/dev, in their order.
TEST(KnownInterfaceTraffic, EachColumnHasItsFamily) {
    zel::Sample sample;
    zel::Interface &interface = sample.interfaces.append();
    interface.name = "eth0";
    std::uint64_t number = 0;
    for (zel::Count *column :
         {&interface.receiveBytes, &interface.receivePackets, &interface.receiveErrors, &interface.receiveDrops,
          &interface.receiveFifoErrors, &interface.receiveFrameErrors, &interface.receiveCompressed,
          &interface.receiveMulticast, &interface.transmitBytes, &interface.transmitPackets, &interface.transmitErrors,
          &interface.transmitDrops, &interface.transmitFifoErrors, &interface.transmitCollisions,
          &interface.transmitCarrierErrors, &interface.transmitCompressed})
        *column = ++number;
    Lines expected;
    number = 0;
    for (const char *name :
         {"receive_bytes", "receive_packets", "receive_errs", "receive_drop", "receive_fifo", "receive_frame",
          "receive_compressed", "receive_multicast", "transmit_bytes", "transmit_packets", "transmit_errs",
          "transmit_drop", "transmit_fifo", "transmit_colls", "transmit_carrier", "transmit_compressed"})
        expected.push_back("node_network_" + std::string(name) + R"(_total{device="eth0"} )" +
                           std::to_string(++number));
    EXPECT_EQ(KnownText(zel::knownInterfaceTraffic, sample).series(), expected);
}

} // namespace

// The lines of /proc/net/dev, whole and broken.
#include "host/areas/InterfaceLines.h"

#include "SampledHost.h"

namespace {

using zel::Absence;
using zel::Interface;

constexpr const char *allColumns = " 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n";

void expectAllColumns(const Interface &interface) {
    EXPECT_TRUE(holds(interface.receiveBytes, 1));
    EXPECT_TRUE(holds(interface.receivePackets, 2));
    EXPECT_TRUE(holds(interface.receiveErrors, 3));
    EXPECT_TRUE(holds(interface.receiveDrops, 4));
    EXPECT_TRUE(holds(interface.receiveFifoErrors, 5));
    EXPECT_TRUE(holds(interface.receiveFrameErrors, 6));
    EXPECT_TRUE(holds(interface.receiveCompressed, 7));
    EXPECT_TRUE(holds(interface.receiveMulticast, 8));
    EXPECT_TRUE(holds(interface.transmitBytes, 9));
    EXPECT_TRUE(holds(interface.transmitPackets, 10));
    EXPECT_TRUE(holds(interface.transmitErrors, 11));
    EXPECT_TRUE(holds(interface.transmitDrops, 12));
    EXPECT_TRUE(holds(interface.transmitFifoErrors, 13));
    EXPECT_TRUE(holds(interface.transmitCollisions, 14));
    EXPECT_TRUE(holds(interface.transmitCarrierErrors, 15));
    EXPECT_TRUE(holds(interface.transmitCompressed, 16));
}

TEST(InterfaceLines, TakesEveryColumn) {
    Interface interface;
    ASSERT_TRUE(zel::parseInterfaceLine((std::string("  eth0:") + allColumns).c_str(), interface));
    EXPECT_EQ(interface.name, "eth0");
    expectAllColumns(interface);
}

TEST(InterfaceLines, NoBlankIsNeededAfterTheName) {
    Interface interface;
    ASSERT_TRUE(zel::parseInterfaceLine("  eth0:1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n", interface));
    EXPECT_EQ(interface.name, "eth0");
    expectAllColumns(interface);
}

TEST(InterfaceLines, ANameMayHoldColons) {
    Interface interface;
    ASSERT_TRUE(zel::parseInterfaceLine("eth0:1:1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16", interface));
    EXPECT_EQ(interface.name, "eth0:1");
    expectAllColumns(interface);
}

TEST(InterfaceLines, CountersHave64Bits) {
    Interface interface;
    ASSERT_TRUE(zel::parseInterfaceLine("lo: 18446744073709551615 4294967296 18446744073709551616 4 5\n", interface));
    EXPECT_TRUE(holds(interface.receiveBytes, 18446744073709551615ULL));
    EXPECT_TRUE(holds(interface.receivePackets, 4294967296ULL));
    EXPECT_TRUE(lacks(interface.receiveErrors, Absence::Malformed));
}

TEST(InterfaceLines, ACutLineIsMalformedWhereItIsCutAndTakesNothingOfTheNext) {
    Interface interface;
    ASSERT_TRUE(zel::parseInterfaceLine("eth0: 1 2 3\neth1: 9 9 9 9 9 9 9 9 9 9 9 9 9 9 9 9\n", interface));
    EXPECT_EQ(interface.name, "eth0");
    EXPECT_TRUE(holds(interface.receiveErrors, 3));
    EXPECT_TRUE(lacks(interface.receiveDrops, Absence::Malformed));
    EXPECT_TRUE(lacks(interface.transmitCompressed, Absence::Malformed));
}

TEST(InterfaceLines, LinesWithoutANameAreNone) {
    Interface interface;
    EXPECT_FALSE(zel::parseInterfaceLine("Inter-|   Receive    |  Transmit\n", interface));
    EXPECT_FALSE(zel::parseInterfaceLine(" face |bytes packets\nlo: 1 2\n", interface));
    EXPECT_FALSE(zel::parseInterfaceLine(": 1 2 3 4\n", interface));
    EXPECT_FALSE(zel::parseInterfaceLine("", interface));
}

TEST(InterfaceLines, ANameKeepsItsBytes) {
    Interface interface;
    ASSERT_TRUE(zel::parseInterfaceLine((std::string(" ../\x07 \xc3\x28:") + allColumns).c_str(), interface));
    EXPECT_EQ(interface.name, "../\x07 \xc3\x28");
    expectAllColumns(interface);
}

} // namespace

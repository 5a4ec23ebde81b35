// The arithmetic between two readings of an interface.
#include "network/MM_NWT_Rates.h"

#include "MM_NWT_Info.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>

namespace {

constexpr unsigned long long TWO_TO_32 = 4294967296ULL;

class InterfaceRates : public testing::Test {
protected:
    _ST_NETWORK compute(double elapsed = 1.0) {
        _ST_NETWORK result{};
        zel::computeInterfaceRates(now, before, elapsed, result);
        return result;
    }

    _ST_STATIC_NETWORK before{};
    _ST_STATIC_NETWORK now{};
};

TEST_F(InterfaceRates, EveryCounterIsPerSecond) {
    before = {"eth0", "LINKUP", 100, 200, 3000, 4000, 5, 6, 7, 0, 0};
    now = {"eth0", "LINKUP", 150, 300, 13000, 24000, 15, 26, 37, 0, 0};

    const _ST_NETWORK rates = compute(5.0);

    EXPECT_DOUBLE_EQ(rates.l_dInPkt, 10.0);     // 50 / 5
    EXPECT_DOUBLE_EQ(rates.l_dOutPkt, 20.0);    // 100 / 5
    EXPECT_DOUBLE_EQ(rates.l_dInByte, 2000.0);  // 10000 / 5
    EXPECT_DOUBLE_EQ(rates.l_dOutByte, 4000.0); // 20000 / 5
    EXPECT_DOUBLE_EQ(rates.l_dInErr, 2.0);      // 10 / 5
    EXPECT_DOUBLE_EQ(rates.l_dOutErr, 4.0);     // 20 / 5
    EXPECT_DOUBLE_EQ(rates.l_dCollisions, 6.0); // 30 / 5
}

TEST_F(InterfaceRates, PacketsAndBytesThatFellWrappedAt32Bits) {
    before.l_ulInByte = 4294967000;
    now.l_ulInByte = 100; // 100 - 4294967000 + 4294967296 = 396
    before.l_ulOutByte = 4294967295;
    now.l_ulOutByte = 0; // 1
    before.l_ulInPkt = 10;
    now.l_ulInPkt = 9; // 4294967295
    before.l_ulOutPkt = 4294967290;
    now.l_ulOutPkt = 4; // 10

    const _ST_NETWORK rates = compute();

    EXPECT_DOUBLE_EQ(rates.l_dInByte, 396.0);
    EXPECT_DOUBLE_EQ(rates.l_dOutByte, 1.0);
    EXPECT_DOUBLE_EQ(rates.l_dInPkt, 4294967295.0);
    EXPECT_DOUBLE_EQ(rates.l_dOutPkt, 10.0);
}

TEST_F(InterfaceRates, A64BitCounterThatFellIsCorrectedBy32BitsAllTheSame) {
    before.l_ulInByte = 3 * TWO_TO_32;
    now.l_ulInByte = 0; // -3 * 2^32 + 2^32 = -2 * 2^32, modulo 2^64
    EXPECT_DOUBLE_EQ(compute().l_dInByte, 18446744065119617024.0);
}

TEST_F(InterfaceRates, ErrorsAndCollisionsThatFellGiveAHugeRate) {
    before.l_ulInErr = before.l_ulOutErr = before.l_ulCollisions = 2;
    now.l_ulInErr = now.l_ulOutErr = now.l_ulCollisions = 1;

    const _ST_NETWORK rates = compute();

    EXPECT_DOUBLE_EQ(rates.l_dInErr, 18446744073709551615.0); // 2^64 - 1
    EXPECT_DOUBLE_EQ(rates.l_dOutErr, 18446744073709551615.0);
    EXPECT_DOUBLE_EQ(rates.l_dCollisions, 18446744073709551615.0);
}

TEST_F(InterfaceRates, ElapsedOfZeroDividesByZeroUnlessNothingMoved) {
    now.l_ulInPkt = 1;

    const _ST_NETWORK rates = compute(0.0);

    EXPECT_TRUE(std::isinf(rates.l_dInPkt));
    EXPECT_EQ(rates.l_dOutPkt, 0.0);
    EXPECT_EQ(rates.l_dInErr, 0.0);
    EXPECT_EQ(rates.l_dCollisions, 0.0);
}

TEST_F(InterfaceRates, UnknownBandwidthGivesMinusOne) {
    now.l_ulInByte = 1000;
    const _ST_NETWORK rates = compute();
    EXPECT_EQ(rates.l_dPortRate, -1.0);
    EXPECT_EQ(rates.l_dPortRxRate, -1.0);
    EXPECT_EQ(rates.l_dPortTxRate, -1.0);
}

TEST_F(InterfaceRates, FullDuplexCountsBothDirections) {
    before.l_ulBandWidth = 100000000; // 12500000 bytes per second
    before.l_nDuplexFlag = 2;
    now.l_ulInByte = 2500000;
    now.l_ulOutByte = 5000000;

    const _ST_NETWORK rates = compute(2.0);

    EXPECT_DOUBLE_EQ(rates.l_dPortRate, 30.0);   // 7500000 / 2 / 12500000
    EXPECT_DOUBLE_EQ(rates.l_dPortRxRate, 10.0); // 2500000 / 2 / 12500000
    EXPECT_DOUBLE_EQ(rates.l_dPortTxRate, 20.0); // 5000000 / 2 / 12500000
}

TEST_F(InterfaceRates, HalfAndUnknownDuplexCountTheBusierDirection) {
    before.l_ulBandWidth = 100000000;
    for (const unsigned duplex : {0U, 1U, 3U}) {
        before.l_nDuplexFlag = duplex;
        now.l_ulInByte = 2500000;
        now.l_ulOutByte = 5000000;
        EXPECT_DOUBLE_EQ(compute().l_dPortRate, 40.0) << duplex;
        now.l_ulInByte = 7500000;
        EXPECT_DOUBLE_EQ(compute().l_dPortRate, 60.0) << duplex;
        EXPECT_DOUBLE_EQ(compute().l_dPortRxRate, 60.0) << duplex;
        EXPECT_DOUBLE_EQ(compute().l_dPortTxRate, 40.0) << duplex;
    }
}

TEST_F(InterfaceRates, IdleLinkCountsOneByte) {
    before.l_ulBandWidth = 100000000;
    for (const unsigned duplex : {0U, 1U, 2U}) {
        before.l_nDuplexFlag = duplex;
        const _ST_NETWORK rates = compute();
        EXPECT_DOUBLE_EQ(rates.l_dPortRate, 0.000008) << duplex; // 1 / 12500000 * 100
        EXPECT_DOUBLE_EQ(rates.l_dPortRxRate, 0.000008) << duplex;
        EXPECT_DOUBLE_EQ(rates.l_dPortTxRate, 0.000008) << duplex;
    }
}

TEST_F(InterfaceRates, IdleDirectionOfABusyLinkCountsOneByteInItsOwnRateOnly) {
    before.l_ulBandWidth = 100000000;
    before.l_nDuplexFlag = 2;
    now.l_ulInByte = 12500000;
    const _ST_NETWORK rates = compute();
    EXPECT_DOUBLE_EQ(rates.l_dPortRate, 100.0);
    EXPECT_DOUBLE_EQ(rates.l_dPortRxRate, 100.0);
    EXPECT_DOUBLE_EQ(rates.l_dPortTxRate, 0.000008);
}

TEST_F(InterfaceRates, TrafficOfFullDuplexThatWrapsToZeroCountsOneByteSent) {
    before.l_ulBandWidth = 100000000;
    before.l_nDuplexFlag = 2;
    now.l_ulInByte = 1ULL << 63;
    now.l_ulOutByte = 1ULL << 63; // the sum is 2^64
    const _ST_NETWORK rates = compute();
    EXPECT_DOUBLE_EQ(rates.l_dPortRate, 0.000008);
    EXPECT_DOUBLE_EQ(rates.l_dPortTxRate, 0.000008);
    EXPECT_DOUBLE_EQ(rates.l_dPortRxRate, 9223372036854775808.0 / 12500000 * 100);
}

TEST_F(InterfaceRates, ElapsedOfZeroMakesUtilisationInfinite) {
    before.l_ulBandWidth = 100000000;
    EXPECT_TRUE(std::isinf(compute(0.0).l_dPortRate));
    EXPECT_FALSE(std::isnan(compute(0.0).l_dPortRxRate));
}

TEST_F(InterfaceRates, ErrorRatesAreWholeQuotientsOfTheCountersThemselves) {
    now.l_ulInErr = 5;
    now.l_ulInPkt = 1000; // 5 / 1005
    EXPECT_EQ(compute().l_dInErrRate, 0.0);
    now.l_ulInErr = 10;
    now.l_ulInPkt = 0;
    EXPECT_EQ(compute().l_dInErrRate, 0.0);
    now.l_ulOutErr = 1000000;
    now.l_ulOutPkt = 1; // 1000000 / 1000001
    EXPECT_EQ(compute().l_dOutErrRate, 0.0);
    // 2^64 - 1 + 2 = 1, modulo 2^64: 18446744073709551615 / 1 * 100
    now.l_ulInErr = ~0ULL;
    now.l_ulInPkt = 2;
    EXPECT_DOUBLE_EQ(compute().l_dInErrRate, 1844674407370955161500.0);
    now.l_ulOutErr = ~0ULL - 1; // 2^64 - 2 + 3 = 1
    now.l_ulOutPkt = 3;
    EXPECT_DOUBLE_EQ(compute().l_dOutErrRate, 1844674407370955161400.0);
}

TEST_F(InterfaceRates, DivisorThatWrapsToZeroGivesZero) {
    now.l_ulInErr = now.l_ulOutErr = ~0ULL;
    now.l_ulInPkt = now.l_ulOutPkt = 1;
    EXPECT_EQ(compute().l_dInErrRate, 0.0);
    EXPECT_EQ(compute().l_dOutErrRate, 0.0);
}

TEST_F(InterfaceRates, CollisionRateIsAWholeQuotientAndNoPercentage) {
    now.l_ulCollisions = 7;
    now.l_ulOutPkt = 2; // 7 / 2
    EXPECT_EQ(compute().l_dCollisionRate, 3.0);
    now.l_ulOutPkt = 8;
    EXPECT_EQ(compute().l_dCollisionRate, 0.0);
    now.l_ulOutPkt = 0;
    EXPECT_EQ(compute().l_dCollisionRate, 0.0);
}

TEST_F(InterfaceRates, CountersAreCopiedWithoutBandwidthAndDuplex) {
    before = {"eth0", "LINKUP", 1, 2, 3, 4, 5, 6, 7, 8, 2};
    now = {"other", "", 11, 12, 13, 14, 15, 16, 17, 18, 1};

    zel::copyInterfaceCounters(now, before);

    EXPECT_STREQ(before.l_strIfName, "eth0");
    EXPECT_EQ(before.l_ulInPkt, 11U);
    EXPECT_EQ(before.l_ulOutPkt, 12U);
    EXPECT_EQ(before.l_ulInByte, 13U);
    EXPECT_EQ(before.l_ulOutByte, 14U);
    EXPECT_EQ(before.l_ulInErr, 15U);
    EXPECT_EQ(before.l_ulOutErr, 16U);
    EXPECT_EQ(before.l_ulCollisions, 17U);
    EXPECT_EQ(before.l_ulBandWidth, 8U);
    EXPECT_EQ(before.l_nDuplexFlag, 2U);
}

TEST_F(InterfaceRates, ResultStartsClearedWithNameAndLinkWord) {
    now = {"eth0", "LINKUP", 1, 2, 3, 4, 5, 6, 7, 8, 2};
    _ST_NETWORK result;
    std::memset(&result, 0x55, sizeof(result));

    zel::startInterfaceResult(now, result);

    EXPECT_STREQ(result.l_strIfName, "eth0");
    EXPECT_STREQ(result.l_strLinkAlive, "LINKUP");
    EXPECT_EQ(result.l_dInPkt, 0.0);
    EXPECT_EQ(result.l_dPortTxRate, 0.0);
}

} // namespace

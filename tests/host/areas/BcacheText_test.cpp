// The numbers of bcache, which the kernel writes for people.
#include "host/areas/BcacheText.h"

#include "SampledHost.h"

namespace {

using zel::Absence;
using zel::BcacheBackingDevice;

TEST(BcacheText, SizesHaveABinaryUnitAndOneDecimal) {
    EXPECT_TRUE(holds(zel::takeBcacheSize("0.0k\n"), 0));
    EXPECT_TRUE(holds(zel::takeBcacheSize("1.5k\n"), 1536));
    EXPECT_TRUE(holds(zel::takeBcacheSize("2.0M\n"), 2 * 1048576));
    EXPECT_TRUE(holds(zel::takeBcacheSize("999.9G\n"), 999.9 * 1073741824));
    EXPECT_TRUE(holds(zel::takeBcacheSize("1.0E"), 1152921504606846976.0));
    EXPECT_TRUE(holds(zel::takeBcacheSize("-0.5k\n"), -512));
    EXPECT_TRUE(holds(zel::takeBcacheSize("512\n"), 512)) << "a plain number";
    EXPECT_TRUE(holds(zel::takeBcacheSize("100"), 100));
    EXPECT_TRUE(holds(zel::takeBcacheSize("\t\t1.1M/sec\n"), 1.1 * 1048576));
}

TEST(BcacheText, WhatIsNoSizeIsMalformed) {
    for (const char *text : {"", "\n", "k", "-", "1.k", "1.", "1.55k", "1.5x", "1.5kk", "1k5", "0x10", "1.5 k5",
                             "99999999999999999999999999k"}) {
        const zel::Number size = zel::takeBcacheSize(text);
        if (std::string_view(text) == "1.5 k5")
            EXPECT_TRUE(holds(size, 1.5)) << "a number ends at a blank";
        else
            EXPECT_TRUE(lacks(size, Absence::Malformed)) << text;
    }
}

TEST(BcacheText, WritebackHasItsTerms) {
    BcacheBackingDevice device;
    EXPECT_TRUE(zel::parseWriteback("rate:\t\t4.0k/sec\n"
                                    "dirty:\t\t20.4G\n"
                                    "target:\t\t20.5G\n"
                                    "proportional:\t-2.5M\n"
                                    "integral:\t0.0k\n"
                                    "change:\t\t-1.5k/sec\n"
                                    "next io:\t-99ms\n",
                                    device));
    EXPECT_TRUE(holds(device.writebackRate, 4096));
    EXPECT_TRUE(holds(device.writebackTargetBytes, 20.5 * 1073741824));
    EXPECT_TRUE(holds(device.writebackProportional, -2.5 * 1048576));
    EXPECT_TRUE(holds(device.writebackIntegral, 0));
    EXPECT_TRUE(holds(device.writebackChange, -1536));
}

TEST(BcacheText, ATermThatAKernelDoesNotPrintIsUnsupportedAndOneThatIsNoNumberMalformed) {
    BcacheBackingDevice device;
    EXPECT_TRUE(zel::parseWriteback("", device));
    EXPECT_TRUE(lacks(device.writebackRate, Absence::Unsupported));
    EXPECT_FALSE(zel::parseWriteback("rate:\t\tfast\n", device));
    EXPECT_TRUE(lacks(device.writebackRate, Absence::Malformed));
    EXPECT_TRUE(lacks(device.writebackIntegral, Absence::Unsupported));
    EXPECT_FALSE(zel::parseWriteback("target:\t\t-1.0k\n", device)) << "a size is never negative";
    EXPECT_TRUE(lacks(device.writebackTargetBytes, Absence::Malformed));
}

} // namespace

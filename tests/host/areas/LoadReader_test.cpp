// Load averages, whole and damaged.
#include "SampledHost.h"

#include <cerrno>

namespace {

using zel::Absence;
using zel::Area;

TEST(LoadReader, TakesTheSixNumbers) {
    SampledHost host(Area::Load, {{"proc/loadavg", "0.37 12.60 0.24 2/212 12345\n"}});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.load.load1, 0.37));
    EXPECT_TRUE(holds(sample.load.load5, 12.6));
    EXPECT_TRUE(holds(sample.load.load15, 0.24));
    EXPECT_TRUE(holds(sample.load.runnable, 2U));
    EXPECT_TRUE(holds(sample.load.entities, 212U));
    EXPECT_TRUE(holds(sample.load.lastPid, 12345U));
    EXPECT_EQ(failureOf(sample, Area::Load), NO_FAILURE);
}

TEST(LoadReader, WhatFollowsADamagedNumberIsMalformed) {
    struct Case {
        const char *text;
        int readable; // of the six
    };
    for (const Case each : {Case{"", 0},
                            {"x", 0},
                            {"nan 1 1 1/1 1", 0},
                            {"inf 1 1 1/1 1", 0},
                            {"-1 1 1 1/1 1", 0},
                            {"0x10 1 1 1/1 1", 0},
                            {"1.5", 1},
                            {"1.5\n2.5 3.5 1/2 3", 1},
                            {"1 2 3", 3},
                            {"1 2 3 4", 3},
                            {"1 2 3 4/", 4},
                            {"1 2 3 4/5", 5},
                            {"1 2 3 4/5 99999999999999999999", 5}}) {
        SampledHost host(Area::Load, {{"proc/loadavg", each.text}});
        const zel::Sample &sample = host.take();
        const zel::Load &load = sample.load;
        const int readable = load.load1.has() + load.load5.has() + load.load15.has() + load.entities.has() +
                             load.lastPid.has() + (load.runnable.has() && each.readable > 3);
        EXPECT_EQ(readable, each.readable) << each.text;
        EXPECT_TRUE(lacks(load.lastPid, Absence::Malformed)) << each.text;
        EXPECT_EQ(failureOf(sample, Area::Load), std::pair(EBADMSG, std::string("proc/loadavg"))) << each.text;
    }
}

TEST(LoadReader, MissingFileIsUnsupported) {
    SampledHost host({Area::Load});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(lacks(sample.load.load1, Absence::Unsupported));
    EXPECT_EQ(failureOf(sample, Area::Load), std::pair(ENOENT, std::string("proc/loadavg")));
}

} // namespace

// The load averages.
#include "HostFixture.h"
#include "MM_LA_Info.h"

#include <gtest/gtest.h>

namespace {

double *sample(const HostFixture &host, CMM_LA_Info &collector, const char *text) {
    host.write("proc/loadavg", text);
    return collector.fMGetLoadAvg();
}

TEST(LoadAverage, IdleHostGivesHundredths) {
    HostFixture host;
    CMM_LA_Info collector;

    double *averages = sample(host, collector, "0.00 0.01 0.05 1/123 4567\n");

    ASSERT_NE(averages, nullptr);
    EXPECT_DOUBLE_EQ(averages[0], 0.00);
    EXPECT_DOUBLE_EQ(averages[1], 0.01);
    EXPECT_DOUBLE_EQ(averages[2], 0.05);
}

TEST(LoadAverage, AccessorsReturnTheLastSample) {
    HostFixture host;
    CMM_LA_Info collector;

    ASSERT_NE(sample(host, collector, "12.34 5.67 0.89 3/456 7890\n"), nullptr);

    EXPECT_DOUBLE_EQ(collector.fMGetLoadAvg_1Min(), 12.34);
    EXPECT_DOUBLE_EQ(collector.fMGetLoadAvg_5Min(), 5.67);
    EXPECT_DOUBLE_EQ(collector.fMGetLoadAvg_15Min(), 0.89);
}

TEST(LoadAverage, FractionOfOneDigitCountsAsHundredths) {
    HostFixture host;
    CMM_LA_Info collector;

    ASSERT_NE(sample(host, collector, "1.5 1.50 0.7 1/2 3\n"), nullptr);

    EXPECT_DOUBLE_EQ(collector.fMGetLoadAvg_1Min(), 1.05);
    EXPECT_DOUBLE_EQ(collector.fMGetLoadAvg_5Min(), 1.50);
    EXPECT_DOUBLE_EQ(collector.fMGetLoadAvg_15Min(), 0.07);
}

TEST(LoadAverage, ShortEmptyBinaryAndMissingFilesFailAndKeepTheValues) {
    HostFixture host;
    CMM_LA_Info collector;
    ASSERT_NE(sample(host, collector, "1.00 2.00 3.00 1/2 3\n"), nullptr);

    EXPECT_EQ(sample(host, collector, "0.10 0.20\n"), nullptr);
    EXPECT_EQ(sample(host, collector, "0.10 0.20 0.\n"), nullptr) << "five fields";
    EXPECT_EQ(sample(host, collector, ""), nullptr);
    EXPECT_EQ(sample(host, collector, "\x01\xff\x80garbage"), nullptr);
    EXPECT_EQ(sample(host, collector, std::string(100000, '7').c_str()), nullptr);
    host.remove("proc/loadavg");
    EXPECT_EQ(collector.fMGetLoadAvg(), nullptr);

    EXPECT_DOUBLE_EQ(collector.fMGetLoadAvg_1Min(), 1.00);
    EXPECT_DOUBLE_EQ(collector.fMGetLoadAvg_5Min(), 2.00);
    EXPECT_DOUBLE_EQ(collector.fMGetLoadAvg_15Min(), 3.00);
}

TEST(LoadAverage, ThreeAveragesWithoutTheTaskPairAreEnough) {
    HostFixture host;
    CMM_LA_Info collector;

    EXPECT_NE(sample(host, collector, "0.10 0.20 0.30"), nullptr);
}

} // namespace

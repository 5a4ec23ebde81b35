// What a scan takes of the host as a whole: clock, memory, processors.
#include "FrozenClock.h"
#include "HostFixture.h"
#include "MM_PROC_Info.h"

#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

namespace {

TEST(ProcessClocks, TimeOfDayInHundredths) {
    FrozenClock clock(1700000000, 250000);
    CMM_PROC_Info collector;

    EXPECT_DOUBLE_EQ(collector.fMGetCurTime(), 170000000025.0);
}

TEST(ProcessClocks, DifferenceSinceThePreviousCall) {
    FrozenClock clock(1700000000, 900000);
    CMM_PROC_Info collector;

    EXPECT_DOUBLE_EQ(collector.fMGetTimeDiff(), 1e11) << "the first call";
    EXPECT_EQ(collector.m_stLastTime.tv_sec, 1700000000);
    EXPECT_EQ(collector.m_stLastTime.tv_usec, 900000);
    clock.advance(2, 350000);
    EXPECT_NEAR(collector.fMGetTimeDiff(), 235.0, 1e-9);
    EXPECT_DOUBLE_EQ(collector.fMGetTimeDiff(), 0.0);
}

TEST(MemoryTotal, IsTheFigureOfItsLine) {
    HostFixture host;
    CMM_PROC_Info collector;
    EXPECT_EQ(collector.fMGetSysTotMem(), 0U) << "no file";

    host.write("proc/meminfo", "        total:    used:\nMemTotal:      515552 kB\nMemFree: 7 kB\n");
    EXPECT_EQ(collector.fMGetSysTotMem(), 515552U);
    host.write("proc/meminfo", "MemFree: 7 kB\n");
    EXPECT_EQ(collector.fMGetSysTotMem(), 0U) << "no key";
    host.write("proc/meminfo", "MemTotal:");
    EXPECT_EQ(collector.fMGetSysTotMem(), 0U) << "no figure";
    host.write("proc/meminfo", "");
    EXPECT_EQ(collector.fMGetSysTotMem(), 0U);
    host.write("proc/meminfo", std::string(9000, '\n') + "MemTotal: 5 kB\n");
    EXPECT_EQ(collector.fMGetSysTotMem(), 0U) << "beyond the 8192 bytes that are read";
}

TEST(ProcessorCount, IsTheCpuLinesWithoutTheTotal) {
    HostFixture host;
    CMM_PROC_Info collector;
    EXPECT_EQ(collector.fGetCurrentCpuCnt(), 1) << "no file";

    host.write("proc/stat", "cpu  1 2 3\ncpu0 1 2 3\ncpu1 1 2 3\ncpu7 1 2 3\nintr 5\n");
    EXPECT_EQ(collector.fGetCurrentCpuCnt(), 3);
    host.write("proc/stat", "cpu  1 2 3\nintr 5\n");
    EXPECT_EQ(collector.fGetCurrentCpuCnt(), 1) << "0 counts as 1";
    host.write("proc/stat", "");
    EXPECT_EQ(collector.fGetCurrentCpuCnt(), 1);
    host.write("proc/stat", "cpu  1\ncpu0 1\nintr " + std::string(5000, '1') + "cpu\n cpu\ncp\ncpu1 1");
    EXPECT_EQ(collector.fGetCurrentCpuCnt(), 2) << "only the beginning of a line counts";
    for (int length = 16375; length <= 16390; ++length) {
        host.remove("proc/stat");
        host.write("proc/stat", "cpu\n" + std::string(static_cast<std::size_t>(length), 'x') + "\ncpu0\nxcpu\ncpu1");
        ASSERT_EQ(collector.fGetCurrentCpuCnt(), 2) << "wherever the file is read in pieces";
    }
}

TEST(ProcessorCount, DeviceWithoutAnEndIsOneProcessor) {
    const HostFixture host;
    host.write("proc/uptime", "");
    ASSERT_EQ(symlink("/dev/zero", (host.path() / "proc/stat").c_str()), 0);
    EXPECT_EQ(CMM_PROC_Info().fGetCurrentCpuCnt(), 1);
}

} // namespace

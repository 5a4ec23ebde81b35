// The CPU reports, called directly and through the driver.
#include "ConsoleReport.h"

#include "DriverRun.h"
#include "HostFixture.h"
#include "MM_CPU_Info.h"
#include "ScratchHome.h"
#include "Separators.h"
#include "Settings.h"
#include "StatText.h"
#include "StreamCapture.h"
#include "SystemHooks.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

const std::string header = "NAME" + C + "USED" + C + "USER" + C + "SYSTEM" + C + "IOWAIT" + C + "IDLE" + C;

class CpuReport : public testing::Test {
protected:
    CpuReport() {
        pretendKernelRelease("2.6.32-754.el6.x86_64");
        systemHooks().system = [](const char *) { return 0; };
    }

    void show(const std::vector<StatLine> &lines) const { m_host.write("proc/stat", statText(lines)); }

    ScratchHome m_home;
    HostFixture m_host;
};

TEST_F(CpuReport, PrintsTheTextOnStandardError) {
    g_nCpuStrType = g_nCpuUsedInWIO = g_nInterfaceStrType = 1;
    CMM_CPU_Info cpu;
    StreamCapture streams;

    show({{0, 0, 0, 0, 0}});
    EXPECT_EQ(print_cpu_v2(&cpu), 1);
    show({{50, 0, 0, 30, 20}});
    EXPECT_EQ(print_cpu_v2(&cpu), 1);
    m_host.remove("proc/stat");
    EXPECT_EQ(print_cpu_v2(&cpu), 1);

    EXPECT_EQ(streams.err(), "CPU string is NULL\n"
                             "CPU string[" +
                                 header + R + "CPUS" + C + "70.00" + C + "50.00" + C + "0.00" + C + "20.00" + C +
                                 "30.00" + C +
                                 "]\n"
                                 "CPU string is NULL\n");
    EXPECT_EQ(streams.out(), "");
}

// Machine: deltas 150 50 100 600 100 of 1000. Processors: 120 0 80 250 50 and 30 50 20 350 50, of 500 each.
TEST_F(CpuReport, PrintsTheTableOnStandardOutput) {
    m_home.write("agent/aproc/shell/CpuCntPhysical.dat", "2\n");
    CMM_CPU_Info cpu;
    show({{1000, 200, 300, 8000, 500}, {600, 100, 200, 4000, 250}, {400, 100, 100, 4000, 250}});
    cpu.fMGetCpu();
    show({{1150, 250, 400, 8600, 600}, {720, 100, 280, 4250, 300}, {430, 150, 120, 4350, 300}});
    StreamCapture streams;

    EXPECT_EQ(print_cpu_v2(&cpu), 1);

    EXPECT_EQ(streams.out(), "physical cpu : 2 \n"
                             " Total cpu : 15.0%  5.0% 10.0% 10.0% 60.0%\n"
                             " # 0   cpu : 24.0%(us)  0.0%(ni) 16.0%(kn) 10.0%(wait) 50.0%(id)\n"
                             " # 1   cpu :  6.0%(us) 10.0%(ni)  4.0%(kn) 10.0%(wait) 70.0%(id)\n");
    EXPECT_EQ(streams.err(), "");
}

TEST_F(CpuReport, TableWithoutASampleHasNoPercentages) {
    g_nCpuStrType = 1;
    CMM_CPU_Info cpu;
    show({{1000, 200, 300, 8000, 500}});
    StreamCapture streams;

    EXPECT_EQ(print_cpu_v2(&cpu), 1);

    EXPECT_EQ(streams.out(), "physical cpu : 0 \n");
}

TEST_F(CpuReport, PrintsTheInterruptRateCutToAnInteger) {
    CMM_CPU_Info cpu;
    StreamCapture streams;

    m_host.write("proc/stat", "cpu  1 2 3 4 5\nintr 1000 1 2\n");
    EXPECT_EQ(print_cpu_intr(&cpu, 3.0), 1);
    m_host.write("proc/stat", "cpu  1 2 3 4 5\nintr 3000 1 2\n");
    EXPECT_EQ(print_cpu_intr(&cpu, 3.0), 1);
    m_host.remove("proc/stat");
    EXPECT_EQ(print_cpu_intr(&cpu, 3.0), 1);

    // 2000 / 3 = 666.7
    EXPECT_EQ(streams.out(), " cpu interrupt : 0\n cpu interrupt : 666\n");
    EXPECT_EQ(streams.err(), "");
}

TEST_F(CpuReport, RateBeyondAnIntegerIsSaturated) {
    CMM_CPU_Info cpu;
    StreamCapture streams;

    m_host.write("proc/stat", "intr 1\n");
    print_cpu_intr(&cpu, 1.0);
    m_host.write("proc/stat", "intr 9000000000000000000\n");
    print_cpu_intr(&cpu, 1.0);

    EXPECT_EQ(streams.out(), " cpu interrupt : 0\n cpu interrupt : 2147483647\n");
}

// The interval of the fixtures, five seconds: see MM_CPU_Text_test.cpp for the same percentages by hand. Interrupts:
// (502500 - 500000) / 5 = 500.
TEST(CpuDriver, PrintsTextAndInterruptsEveryCycle) {
    const DriverResult result = DriverRun()
                                    .hosts({"linux-2.6.18/t0", "linux-2.6.18/t1"})
                                    .kernelRelease("2.6.18-398.el5")
                                    .frozenClock()
                                    .run({"1", "5", "2"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "////////////////[ 1 ]/////////////////// \n"
                          "CPU string is NULL\n"
                          "////////////////[ 2 ]/////////////////// \n"
                          "CPU string[" +
                              header + R + "CPUS" + C + "40.00" + C + "15.00" + C + "10.00" + C + "10.00" + C +
                              "60.00" + C + R + "CPU1" + C + "50.00" + C + "24.00" + C + "16.00" + C + "10.00" + C +
                              "50.00" + C + R + "CPU2" + C + "30.00" + C + "6.00" + C + "4.00" + C + "10.00" + C +
                              "70.00" + C + "]\n");
    EXPECT_EQ(result.out, " cpu interrupt : 0\n cpu interrupt : 500\n");
}

// Deltas user 10, nice 20, system 30, idle 120, the nice ticks counted twice: five tenths of a percent per tick.
TEST(CpuDriver, ReadsFourFieldsOfAnOldKernel) {
    const DriverResult result = DriverRun()
                                    .hosts({"linux-2.4.20/t0", "linux-2.4.20/t1"})
                                    .kernelRelease("2.4.20-8")
                                    .frozenClock()
                                    .run({"1", "5", "2"});

    EXPECT_EQ(result.status, 0);
    const std::string values = "40.00" + C + "5.00" + C + "15.00" + C + "10.00" + C + "60.00" + C;
    EXPECT_EQ(result.err, "////////////////[ 1 ]/////////////////// \n"
                          "CPU string is NULL\n"
                          "////////////////[ 2 ]/////////////////// \n"
                          "CPU string[" +
                              header + R + "CPUS" + C + values + R + "CPU1" + C + values + "]\n");
}

// Machine of 2000 ticks: user (260000 + 1000) / 2000 = 130, system 33, wait 38, idle (1500000 + 1000) / 2000 = 750.
// Processors of 500: 250 50 150 50 - all idle - 100 nice and 400 idle - 10 15 450 25 (user system idle wait).
TEST(CpuDriver, ReadsFourProcessorsOfANewKernel) {
    const DriverResult result = DriverRun()
                                    .hosts({"linux-5.10/t0", "linux-5.10/t1"})
                                    .kernelRelease("5.10.0-28-amd64")
                                    .frozenClock()
                                    .run({"1", "5", "2"});

    const auto row = [](const char *name, const std::vector<std::string> &values) {
        std::string text = R + name + C;
        for (const std::string &value : values)
            text += value + C;
        return text;
    };
    EXPECT_EQ(result.err, "////////////////[ 1 ]/////////////////// \n"
                          "CPU string is NULL\n"
                          "////////////////[ 2 ]/////////////////// \n"
                          "CPU string[" +
                              header + row("CPUS", {"25.00", "13.00", "3.30", "3.80", "75.00"}) +
                              row("CPU1", {"70.00", "50.00", "10.00", "10.00", "30.00"}) +
                              row("CPU2", {"0.00", "0.00", "0.00", "0.00", "100.00"}) +
                              row("CPU3", {"20.00", "0.00", "0.00", "0.00", "80.00"}) +
                              row("CPU4", {"10.00", "2.00", "3.00", "5.00", "90.00"}) + "]\n");
    EXPECT_EQ(result.out, " cpu interrupt : 0\n cpu interrupt : 2000\n");
}

} // namespace

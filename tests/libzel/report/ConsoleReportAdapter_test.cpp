// The reports on Fibre Channel and graphics adapters.
#include "ConsoleReport.h"
#include "FcHost.h"
#include "FrozenClock.h"
#include "MM_GPU_Info.h"
#include "MM_HBA_Info.h"
#include "StreamCapture.h"

#include <gtest/gtest.h>

namespace {

TEST(HbaReport, FirstGatherAndMissingDirectoryPrintNothing) {
    const FrozenClock clock;
    const HostFixture host;
    CMM_HBA_Info ports;
    const StreamCapture streams;

    EXPECT_EQ(print_hba_info(&ports), -1);
    writeFcPort(host, "host0", {});
    EXPECT_EQ(print_hba_info(&ports), -1);
    EXPECT_EQ(streams.err(), "");
    EXPECT_EQ(streams.out(), "");
}

TEST(HbaReport, SecondGatherPrintsTheTableOnStandardError) {
    FrozenClock clock;
    const HostFixture host;
    writeFcPort(host, "host0", {.inputRequests = "0x10"});
    CMM_HBA_Info ports;
    const StreamCapture streams;

    print_hba_info(&ports);
    clock.advance(2);
    writeFcPort(host, "host0", {.inputRequests = "0x30"});
    EXPECT_EQ(print_hba_info(&ports), -1);

    // (0x30 - 0x10) / 2 = 16 requests per second.
    EXPECT_EQ(streams.err(),
              "HBAZEL= INDEX\x03\x1F~PORT_WWN\x03\x1F~NAME\x03\x1F~PORT_STATUS\x03\x1F~INPUT_REQUESTS\x03\x1F~"
              "OUTPUT_REQUESTS\x03\x1F~INPUT_MEGABYTES\x03\x1F~OUTPUT_MEGABYTES\x03\x1F~IO_MEGABYTES\x03\x1F~IOPS\x03"
              "\x1F~\x03\x1F|1\x03\x1F~21-00-00-24-FF-12-34-56\x03\x1F~host0\x03\x1F~Online\x03\x1F~16.00\x03\x1F~0.00"
              "\x03\x1F~0.00\x03\x1F~0.00\x03\x1F~0.00\x03\x1F~16.00\x03\x1F~\n");
    EXPECT_EQ(streams.out(), "");
}

// What the files of a device hold reaches the terminal as text only.
TEST(HbaReport, ControlBytesArePrintedAsBlanks) {
    FrozenClock clock;
    const HostFixture host;
    writeFcPort(host, "host0", {.portState = "On\x1b[2Jline\x07"});
    CMM_HBA_Info ports;
    const StreamCapture streams;

    print_hba_info(&ports);
    clock.advance(2);
    print_hba_info(&ports);

    EXPECT_NE(streams.err().find("~On [2Jline \x03"), std::string::npos) << streams.err();
}

TEST(GpuReport, FourEmptyTextsOfACollectorThatGathersNothing) {
    CMM_GPU_Info gpu;
    const StreamCapture streams;

    EXPECT_EQ(print_gpu_info(&gpu), 1);
    EXPECT_EQ(streams.err(), "INV= \nINV= \nZEL= \nPRO= \n");
    EXPECT_EQ(streams.out(), "");
}

TEST(GpuReport, TextsInTheirOrderDoNotDriveTheTerminal) {
    CMM_GPU_Info gpu;
    gpu.m_const_pstrGpuInvVerInfo = "version";
    gpu.m_const_pstrGpuInvCardInfo = "card";
    gpu.m_const_pstrGpuZelInfo = "performance";
    gpu.m_const_pstrGpuProcInfo = "processes \x1b[2J\x9b\xc2\x9b\xc3\x9b";
    const StreamCapture streams;

    EXPECT_EQ(print_gpu_info(&gpu), 1);
    EXPECT_EQ(streams.err(), "INV= version\nINV= card\nZEL= performance\nPRO= processes  [2J   \xc3\x9b\n");
}

} // namespace

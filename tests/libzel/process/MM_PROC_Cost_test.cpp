// What a scan may cost: system calls per process, and no allocation for a process that is known.
#include "MM_PROC_Info.h"
#include "ProcessHost.h"
#include "Settings.h"
#include "SystemCalls.h"
#include "SystemHooks.h"

#include <gtest/gtest.h>

namespace {

void addProcesses(const ProcessHost &host, int from, int to) {
    for (int pid = from; pid <= to; ++pid) {
        FakeProcess process;
        process.pid = pid;
        host.put(process);
    }
}

TEST(ProcessScanCost, ThirteenSystemCallsPerProcess) {
    ProcessHost host;
    CMM_PROC_Info collector;
    addProcesses(host, 1, 20);
    collector.fMGetProc(0);
    const long ofTwenty = systemCallsOf([&] { collector.fMGetProc(0); });
    if (ofTwenty < 0)
        GTEST_SKIP() << "processes cannot be traced here";
    addProcesses(host, 21, 50);
    collector.fMGetProc(0);
    const long ofFifty = systemCallsOf([&] { collector.fMGetProc(0); });

    // One stat of the directory; open, read and close of stat, statm, io and cmdline.
    EXPECT_EQ(ofFifty - ofTwenty, 30 * 13);
}

TEST(ProcessScanCost, UidWithoutANameCostsNoFurtherCall) {
    ProcessHost host;
    CMM_PROC_Info collector;
    int lookups = 0;
    systemHooks().getpwuid = [&lookups](uid_t) -> passwd * {
        ++lookups;
        return nullptr;
    };
    addProcesses(host, 1, 10);
    for (int cycle = 0; cycle < 3; ++cycle)
        collector.fMGetProc(0);
    EXPECT_EQ(lookups, 1);
}

TEST(ProcessScanCost, RealTimeListTakesSevenSystemCallsPerProcess) {
    ProcessHost host;
    CMM_PROC_Info collector;
    addProcesses(host, 1, 10);
    collector.fMGetRealProc();
    const long ofTen = systemCallsOf([&] { collector.fMGetRealProc(); });
    if (ofTen < 0)
        GTEST_SKIP() << "processes cannot be traced here";
    addProcesses(host, 11, 20);
    collector.fMGetRealProc();
    const long ofTwenty = systemCallsOf([&] { collector.fMGetRealProc(); });

    EXPECT_EQ(ofTwenty - ofTen, 10 * 7);
}

TEST(ProcessScanCost, KnownProcessesCostNoAllocation) {
    ProcessHost host;
    CMM_PROC_Info collector;
    const auto allocationsOfAScan = [&collector] {
        const long before = allocationsSoFar();
        collector.fMGetProc(0);
        return allocationsSoFar() - before;
    };
    addProcesses(host, 1, 10);
    const long fresh = allocationsOfAScan();
    const long ofTen = allocationsOfAScan();
    addProcesses(host, 11, 40);
    allocationsOfAScan();
    const long ofForty = allocationsOfAScan();

    EXPECT_GE(fresh, ofTen + 20) << "a new process costs its sample and its place in the map";
    EXPECT_EQ(ofForty, ofTen);
    const char *text = collector.fMGetProc(0);
    EXPECT_EQ(collector.fMGetProc(0), text) << "the text stays where it is";
}

} // namespace

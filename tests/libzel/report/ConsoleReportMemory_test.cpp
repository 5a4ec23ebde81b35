// The memory and VM reports, called directly and through the driver.
#include "ConsoleReport.h"

#include "DriverRun.h"
#include "MM_MEM_Info.h"
#include "ScratchHome.h"
#include "StreamCapture.h"
#include "SystemHooks.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

TEST(MemoryReport, PrintsMemoryOnStandardOutput) {
    const unsigned long long values[7] = {16000000, 5500000, 10500000, 500000, 6000000, 1, 2};
    StreamCapture streams;

    EXPECT_EQ(print_mem(values), 1);

    EXPECT_EQ(streams.out(),
              " mem : 16000000 (T)KB 5500000 (U)KB 10500000 (F)KB   500000 (Buf)KB, 6000000 (Cache)KB\n");
    EXPECT_EQ(streams.err(), "");
}

// 2^32 + 5 and 2^64 - 1 in their low 32 bits
TEST(MemoryReport, ShowsTheLow32Bits) {
    const unsigned long long values[7] = {
        4294967301ULL, 18446744073709551615ULL, 4294967295ULL, 4294967296ULL, 0, 0, 0};
    StreamCapture streams;

    print_mem(values);
    print_swp(values);

    EXPECT_EQ(streams.out(),
              " mem :       5 (T)KB 4294967295 (U)KB 4294967295 (F)KB        0 (Buf)KB,       0 (Cache)KB\n"
              " swp :       5 (T)KB 4294967295 (U)KB 4294967295 (F)KB,       0(in),       0(out)\n");
}

TEST(MemoryReport, PrintsSwapOnStandardOutput) {
    const unsigned long long values[5] = {8000000, 1000000, 7000000, 1500, 35000};
    StreamCapture streams;

    EXPECT_EQ(print_swp(values), 1);

    EXPECT_EQ(streams.out(), " swp : 8000000 (T)KB 1000000 (U)KB 7000000 (F)KB,    1500(in),   35000(out)\n");
    EXPECT_EQ(streams.err(), "");
}

TEST(MemoryReport, WithoutASampleNothingIsPrinted) {
    StreamCapture streams;

    EXPECT_EQ(print_mem(nullptr), 0);
    EXPECT_EQ(print_swp(nullptr), 0);
    EXPECT_EQ(print_vm(nullptr), 0);

    EXPECT_EQ(streams.out() + streams.err(), "");
}

TEST(MemoryReport, PrintsTheModules) {
    systemHooks().system = [](const char *) { return 0; };
    const ScratchHome home;
    home.write("agent/aproc/shell/MemCntInfo.dat", "4096\n0\n2048\n");
    CMM_MEM_Info memory;
    StreamCapture streams;

    EXPECT_EQ(prnit_memcnt(&memory), 1);
    home.remove("agent/aproc/shell/MemCntInfo.dat");
    EXPECT_EQ(prnit_memcnt(&memory), 0);

    EXPECT_EQ(streams.out(), "index[0] memsize [4096]\nindex[1] memsize [2048]\n");
    EXPECT_EQ(streams.err(), "");
}

TEST(VmReport, PrintsNineSlotsOnStandardOutput) {
    const double values[14] = {1, 99, 2.25, 3, 4, 5, 99, 7000.06, 99, 9, 99, 99, 12, 13.04};
    StreamCapture streams;

    EXPECT_EQ(print_vm(values), 1);

    EXPECT_EQ(streams.out(), "vm stat :  1.0(rq)  2.2(pi)  3.0(po)  4.0(si)  5.0(so) 7000.1(pf)  9.0(cs) "
                             "12.0(picnt) 13.0(pocnt)\n");
    EXPECT_EQ(streams.err(), "");
}

DriverResult run(const std::string &fixture, const char *release, const std::vector<std::string> &arguments) {
    return DriverRun().hosts({fixture + "/t0", fixture + "/t1"}).kernelRelease(release).frozenClock().run(arguments);
}

// 2.4: free 15812 + 96336 + 762200 = 874348, used 1030472 - 874348; swap in bytes, 2146787328 / 1024 = 2096472 ...
// 2.6: free 523456 + 204800 + 1843200 = 2571456, used 4147072 - 2571456. 5.10: see MM_MEM_Info_test.cpp.
TEST(MemoryDriver, PrintsMemoryAndSwapOfEveryKernelGeneration) {
    EXPECT_EQ(run("linux-2.4.20", "2.4.20-8", {"3", "5", "2"}).out,
              " mem : 1030472 (T)KB  156124 (U)KB  874348 (F)KB    96336 (Buf)KB,  762200 (Cache)KB\n"
              " swp : 2096472 (T)KB    8192 (U)KB 2088280 (F)KB,      10(in),      20(out)\n"
              " mem : 1030472 (T)KB  156124 (U)KB  874348 (F)KB    96336 (Buf)KB,  762200 (Cache)KB\n"
              " swp : 2096472 (T)KB    8192 (U)KB 2088280 (F)KB,      15(in),      40(out)\n");
    EXPECT_EQ(run("linux-2.6.18", "2.6.18-398.el5", {"3", "5", "1"}).out,
              " mem : 4147072 (T)KB 1575616 (U)KB 2571456 (F)KB   204800 (Buf)KB, 1843200 (Cache)KB\n"
              " swp : 2096472 (T)KB    8192 (U)KB 2088280 (F)KB,     100(in),     200(out)\n");
    EXPECT_EQ(run("linux-5.10", "5.10.0-28-amd64", {"3", "5", "1"}).out,
              " mem : 16000000 (T)KB 5500000 (U)KB 10500000 (F)KB   500000 (Buf)KB, 6000000 (Cache)KB\n"
              " swp : 8000000 (T)KB 1000000 (U)KB 7000000 (F)KB,    1500(in),   35000(out)\n");
}

TEST(MemoryDriver, TellsWhichStepFailed) {
    TempDirectory host;
    host.write("proc/stat", "cpu  1 2 3 4 5\n");
    DriverRun driver;
    driver.hostDirectories({host.path().string()}).frozenClock();
    EXPECT_EQ(driver.run({"3", "1", "1"}).err, "////////////////[ 1 ]/////////////////// \nMemory Gather failed\n");

    host.write("proc/meminfo", "MemTotal: 9 kB\nMemFree: 1 kB\nBuffers: 1 kB\nCached: 1 kB\n");
    EXPECT_EQ(driver.run({"3", "1", "1"}).err, "////////////////[ 1 ]/////////////////// \nSwap Gather failed\n");
}

// The first cycle has no predecessor and does not pause, so that the second still reads t0 and the third reads t1.
//   2.6   in 5000 / 5, out 10000 / 5, swap 50 / 5 and 25 / 5, faults (4000 + 1000) / 5, switches 12500 / 5;
//         400000 / 4096 = 97, 405000 / 4096 = 98: 1024 / 5; 800000 / 4096 = 195, 810000 / 4096 = 197: 2048 / 5
//   2.4   250 and 500 pages of 4 KB / 5; swap 5 / 5 and 20 / 5; faults 100+50+1000+5 = 1155 to 150+60+1400+15+30+5 =
//         1660: 505 / 5; switches 10000 / 5
//   5.10  in 100 / 5, out 4000 / 5, swap still and back, faults (5000 + 500) / 5, switches 10000 / 5; 5734400 / 4096 =
//         1400 exactly and still; 409603237 / 4096 = 100000, 409607237 / 4096 = 100001: 1024 / 5
TEST(VmDriver, PrintsRatesOfEveryKernelGeneration) {
    if (getpagesize() != 4096)
        GTEST_SKIP() << "computed for pages of 4096 bytes, this machine has " << getpagesize();
    const DriverResult result = run("linux-2.6.18", "2.6.18-398.el5", {"8", "5", "3"});
    EXPECT_EQ(result.err, "////////////////[ 1 ]/////////////////// \n"
                          "VM Gather failed\n"
                          "////////////////[ 2 ]/////////////////// \n"
                          "////////////////[ 3 ]/////////////////// \n");
    EXPECT_EQ(result.out, "vm stat :  0.0(rq)  0.0(pi)  0.0(po)  0.0(si)  0.0(so)  0.0(pf)  0.0(cs)  0.0(picnt)  "
                          "0.0(pocnt)\n"
                          "vm stat :  2.0(rq) 1000.0(pi) 2000.0(po) 10.0(si)  5.0(so) 1000.0(pf) 2500.0(cs) "
                          "204.8(picnt) 409.6(pocnt)\n");
    EXPECT_EQ(run("linux-2.4.20", "2.4.20-8", {"8", "5", "3"}).out,
              "vm stat :  2.0(rq)  0.0(pi)  0.0(po)  0.0(si)  0.0(so)  0.0(pf)  0.0(cs)  0.0(picnt)  0.0(pocnt)\n"
              "vm stat :  0.0(rq) 200.0(pi) 400.0(po)  1.0(si)  4.0(so) 101.0(pf) 2000.0(cs) 50.0(picnt) "
              "100.0(pocnt)\n");
    EXPECT_EQ(run("linux-5.10", "5.10.0-28-amd64", {"8", "5", "3"}).out,
              "vm stat :  0.0(rq)  0.0(pi)  0.0(po)  0.0(si)  0.0(so)  0.0(pf)  0.0(cs)  0.0(picnt)  0.0(pocnt)\n"
              "vm stat :  4.0(rq) 20.0(pi) 800.0(po)  0.0(si)  0.0(so) 1100.0(pf) 2000.0(cs)  0.0(picnt) "
              "204.8(pocnt)\n");
}

} // namespace

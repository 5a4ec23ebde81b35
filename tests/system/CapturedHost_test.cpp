// The real driver on a host that was captured twice, two seconds apart: figures worked out by hand from the two
// captures.
#include "DriverRun.h"

#include <algorithm>
#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

// Two samples: t0, and t1 two seconds later. A cycle that gives nothing is not followed by a pause: option 8, whose
// first sample fails, needs one cycle more to reach t1.
std::string driverText(int option, int cycles = 2) {
    DriverRun driver;
    driver.hosts({"linux-6.18/t0", "linux-6.18/t1"}).kernelRelease("6.18.44").frozenClock();
    const DriverResult run =
        driver.uniformFilesystemsAndUsers().run({std::to_string(option), "2", std::to_string(cycles)});
    EXPECT_EQ(run.status, 0);
    return run.out + run.err;
}

// The last row of the last table that holds `name`: its columns, with "~" between them.
std::string rowWith(const std::string &text, const std::string &name) {
    const std::string separator = "\x03\x1F";
    const std::size_t found = text.rfind(separator + "~" + name + separator);
    const std::size_t first = text.rfind(separator + "|", found);
    if (found == std::string::npos || first == std::string::npos)
        return {};
    std::string row = text.substr(first + 3, text.find(separator + "|", found) - first - 3);
    for (std::size_t at = row.find(separator); at != std::string::npos; at = row.find(separator))
        row.erase(at, separator.size());
    return row;
}

// proc/stat, line intr: (10815636 - 10809498) / 2 = 3069.
// Line cpu, growth: user 146, nice 170, system 132, idle 0, iowait 0, irq 0, softirq 1, steal 0; 449 ticks, none idle.
TEST(CapturedHost, ProcessorsAndInterrupts) {
    const std::string text = driverText(1);
    EXPECT_THAT(text, HasSubstr(" cpu interrupt : 3069\n"));
    EXPECT_THAT(text, HasSubstr("|CPUS\x03\x1F~100.00\x03\x1F~")) << text;
}

// proc/loadavg: 8.58 7.28 10.92 in both; the kernel computes it every five seconds.
TEST(CapturedHost, LoadAverages) {
    EXPECT_THAT(driverText(2), HasSubstr("[ 2 ]/////////////////// \n 1Min:  8.58, 5Min:  7.28, 15Min: 10.92\n"));
}

// proc/meminfo of t1: free is MemFree 22695784 + Buffers 19980 + Cached 770536 = 23486300, used is MemTotal 24684092
// less that, 1197792. There is no swap.
TEST(CapturedHost, Memory) {
    const std::string text = driverText(3);
    EXPECT_THAT(text, HasSubstr("24684092 (T)KB 1197792 (U)KB 23486300 (F)KB    19980 (Buf)KB,  770536 (Cache)KB"));
    EXPECT_THAT(text, testing::ContainsRegex("swp : +0 \\(T\\)KB +0 \\(U\\)KB +0 \\(F\\)KB"));
}

// etc/mtab: of its six mounts the driver leaves out proc, sysfs, tmpfs and devpts; what is left are devtmpfs and the
// root.
TEST(CapturedHost, Filesystems) {
    const std::string text = driverText(4);
    EXPECT_THAT(text, testing::ContainsRegex("Fs  000: [^\n]* \\| /dev devtmpfs devtmpfs\n"));
    EXPECT_THAT(text, testing::ContainsRegex("Fs  001: [^\n]* \\| / ext4 /dev/vda\n"));
    EXPECT_THAT(text, testing::Not(HasSubstr("Fs  002")));
}

// proc/diskstats, vda: reads (838784 - 837978) / 2 = 403; writes (448491 - 448450) / 2 = 20.5;
// sectors read (37658074 - 37588114) / 2 / 2 seconds = 17490 KB/s; written (55845768 - 55832336) / 2 / 2 = 3358 KB/s;
// busy (205568 - 205428) ms of 2000 = 7 %.
TEST(CapturedHost, Disks) {
    EXPECT_THAT(driverText(5), HasSubstr("403.00([R]cnt/s) 20.50([W]cnt/s) 17490.00([R]kb/s) 3358.00([W]kb/s)  "
                                         "7.00(Busy) /dev/vda "));
}

// proc/net/dev, eth0: packets (501 - 478) / 2 = 11.5 in, (353 - 329) / 2 = 12 out; bytes (19220651 - 18977534) / 2 =
// 121558.5 in, (30186 - 27945) / 2 = 1120.5 out.
TEST(CapturedHost, Interfaces) {
    EXPECT_THAT(driverText(6), HasSubstr("|eth0|LINKUP|11.50|12.00|121558.50|1120.50|0.00|0.00|"));
}

// proc/18853/statm: 730 and 445 pages of 4 KB are 2920 and 1780 KB, of 24684092 KB 0.01 %; it used no tick, its state
// is S, its nice value 0, its parent 18852. proc/14/stat: stime grew from 900 to 901, one tick of 1/100 s in two
// seconds is 0.5 %, and 0.25 % of both processors. proc/2 used nothing.
TEST(CapturedHost, Processes) {
    const std::string text = driverText(7);
    EXPECT_THAT(rowWith(text, "sleep 3600"), HasSubstr("~18853~sleep 3600~0.00~0.01~2920~1780~S~0~18852~"));
    EXPECT_THAT(rowWith(text, "[ksoftirqd/0]"), HasSubstr("~14~[ksoftirqd/0]~0.50~0.00~0~0~S~0~2~"));
    EXPECT_THAT(rowWith(text, "[ksoftirqd/0]"), HasSubstr("~ksoftirqd/0~0.25~"));
    EXPECT_THAT(rowWith(text, "[kthreadd]"), HasSubstr("~2~[kthreadd]~0.00~0.00~0~0~S~0~0~"));
    for (const char *name : {"[pool_workqueue_release]", "[kworker/R-mm_percpu_wq]", "[rcu_preempt]"})
        EXPECT_NE(rowWith(text, name), "") << name;
}

// proc/vmstat: pgpgin (18829037 - 18794045) / 2 = 17496 KB/s, pgpgout (27922884 - 27916168) / 2 = 3358 KB/s; faults
// pgfault 200597 and pgmajfault 65, (200597 + 65) / 2 = 100331. proc/stat, ctxt: (35063357 - 35014628) / 2 = 24364.5.
// proc/loadavg of t1: 6 tasks run, one of them is the reader: 5.
TEST(CapturedHost, VirtualMemory) {
    const std::string text = driverText(8, 3);
    EXPECT_THAT(text, HasSubstr(" 5.0(rq)"));
    EXPECT_THAT(text, HasSubstr("17496.0(pi) 3358.0(po)  0.0(si)  0.0(so) 100331.0(pf) 24364.5(cs)"));
}

} // namespace

// What the kernel did: the counters of /proc/stat, interrupts and softirqs.
#include "SampledHost.h"

#include <cerrno>

namespace {

using zel::Absence;
using zel::Area;

constexpr const char *stat = "cpu  1 2 3 4\nintr 5000 1 2 3\nctxt 932972\nbtime 1700000000\nprocesses 7500\n"
                             "procs_running 3\nprocs_blocked 1\nsoftirq 400 1 2\n";
constexpr const char *interrupts = "           CPU0       CPU2       \n"
                                   "  0:         18          4   IO-APIC   2-edge      timer\n"
                                   " 24:          1 4294967295  PCI-MSI 1-edge   eth0-rx-0,  eth0-tx\n"
                                   "NMI:          0          0   Non-maskable interrupts\n"
                                   "ERR:          7\n";

TEST(InterruptReader, CountersOfTheMachine) {
    SampledHost host(Area::Interrupts, {{"proc/stat", stat}});
    const zel::Activity &activity = host.take().activity;
    EXPECT_TRUE(holds(activity.interrupts, 5000U));
    EXPECT_TRUE(holds(activity.contextSwitches, 932972U));
    EXPECT_TRUE(holds(activity.bootTimeSeconds, 1700000000));
    EXPECT_TRUE(holds(activity.forks, 7500U));
    EXPECT_TRUE(holds(activity.running, 3U));
    EXPECT_TRUE(holds(activity.blocked, 1U));
    EXPECT_TRUE(holds(activity.softirqs, 400U));
}

TEST(InterruptReader, LinesAreSumsWithTheirDescription) {
    SampledHost host(Area::Interrupts, {{"proc/stat", stat}, {"proc/interrupts", interrupts}});
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.interrupts.size(), 4U);
    EXPECT_EQ(sample.interrupts[0].interrupt, "0");
    EXPECT_TRUE(holds(sample.interrupts[0].count, 22U));
    EXPECT_TRUE(holds(sample.interrupts[0].description, "IO-APIC 2-edge timer"));
    EXPECT_TRUE(holds(sample.interrupts[1].count, 4294967296U)) << "a sum of counters of 32 bits needs more";
    EXPECT_TRUE(holds(sample.interrupts[1].description, "PCI-MSI 1-edge eth0-rx-0, eth0-tx"));
    EXPECT_EQ(sample.interrupts[2].interrupt, "NMI");
    EXPECT_EQ(sample.interrupts[3].interrupt, "ERR");
    EXPECT_TRUE(holds(sample.interrupts[3].count, 7U));
    EXPECT_TRUE(lacks(sample.interrupts[3].description, Absence::Unsupported));
    EXPECT_TRUE(holds(sample.activity.interruptProcessors, 2U));
}

TEST(InterruptReader, HundredsOfProcessorsAreAddedUp) {
    std::string text = "   ", line = " 33: ";
    for (int cpu = 0; cpu < 512; ++cpu) {
        text += " CPU" + std::to_string(cpu);
        line += " " + std::to_string(cpu);
    }
    SampledHost host({Area::Interrupts});
    host.write("proc/interrupts", text + "\n" + line + "  PCI-MSI 524288-edge 9p\n");
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.interrupts[0].count, 130816U)); // 511 * 512 / 2
    EXPECT_TRUE(holds(sample.interrupts[0].description, "PCI-MSI 524288-edge 9p"));
}

TEST(InterruptReader, SoftIrqsAreSums) {
    SampledHost host(Area::Interrupts, {{"proc/softirqs", "                    CPU0       CPU1\n"
                                                          "          HI:          1          2\n"
                                                          "      NET_RX:         30         12\n"}});
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.softirqs.size(), 2U);
    EXPECT_EQ(sample.softirqs[1].softirq, "NET_RX");
    EXPECT_TRUE(holds(sample.softirqs[1].count, 42U));
}

TEST(InterruptReader, LineThatIsCutHasNoSum) {
    for (const char *line : {" 24:          1", " 24:          1  PCI-MSI eth0\n", " 24:\n", " 24:  x y\n",
                             " 24:  1 2z\n", " 24:  1 99999999999999999999\n", " 24:  -1 2\n"}) {
        SampledHost host({Area::Interrupts});
        host.write("proc/stat", stat);
        host.write("proc/interrupts", std::string("  CPU0 CPU1\n") + line);
        const zel::Sample &sample = host.take();
        ASSERT_EQ(sample.interrupts.size(), 1U) << line;
        EXPECT_TRUE(lacks(sample.interrupts[0].count, Absence::Malformed)) << line;
        EXPECT_EQ(failureOf(sample, Area::Interrupts), std::pair(EBADMSG, std::string("proc/interrupts"))) << line;
    }
}

TEST(InterruptReader, LineWithoutANameIsLeftOut) {
    SampledHost host({Area::Interrupts});
    host.write("proc/stat", stat);
    host.write("proc/interrupts", "  CPU0\n: 5\nno name 6\n" + std::string(100, 'x') + ": 7\n 8: 9\n");
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.interrupts.size(), 1U);
    EXPECT_EQ(sample.interrupts[0].interrupt, "8");
    EXPECT_EQ(failureOf(sample, Area::Interrupts).first, EBADMSG);
}

TEST(InterruptReader, EachFileCanFailAlone) {
    SampledHost host(Area::Interrupts, {{"proc/interrupts", interrupts}});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(lacks(sample.activity.interrupts, Absence::Unsupported));
    EXPECT_EQ(sample.interrupts.size(), 4U);
    EXPECT_TRUE(sample.softirqs.empty());
    EXPECT_EQ(sample.area(Area::Interrupts).absence, Absence::None) << "something is there";
    EXPECT_EQ(failureOf(sample, Area::Interrupts), std::pair(ENOENT, std::string("proc/stat")));
}

TEST(InterruptReader, WithoutAnyFileTheAreaIsLost) {
    SampledHost host({Area::Interrupts});
    const zel::Sample &sample = host.take();
    EXPECT_EQ(sample.area(Area::Interrupts).absence, Absence::Unsupported);
    EXPECT_EQ(failureOf(sample, Area::Interrupts), std::pair(ENOENT, std::string("proc/stat")));
}

TEST(InterruptReader, DamagedCountersAreMalformed) {
    SampledHost host(Area::Interrupts, {{"proc/stat", "ctxt \nprocesses 5\nbtime x\nprocs_running -1\n"},
                                        {"proc/interrupts", "no heading\n 1: 2\n"},
                                        {"proc/softirqs", ""}});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(lacks(sample.activity.contextSwitches, Absence::Malformed)) << "nothing of the next line";
    EXPECT_TRUE(holds(sample.activity.forks, 5U));
    EXPECT_TRUE(lacks(sample.activity.bootTimeSeconds, Absence::Malformed));
    EXPECT_TRUE(lacks(sample.activity.running, Absence::Malformed));
    EXPECT_TRUE(lacks(sample.activity.blocked, Absence::Unsupported));
    EXPECT_TRUE(sample.interrupts.empty());
    EXPECT_TRUE(lacks(sample.activity.interruptProcessors, Absence::Malformed));
    EXPECT_EQ(failureOf(sample, Area::Interrupts), std::pair(EBADMSG, std::string("proc/stat")));
}

TEST(InterruptReader, StatWithoutItsCountersIsMalformed) {
    for (const char *text : {"", "cpu  1 2 3\n", "garbage"}) {
        SampledHost host(Area::Interrupts, {{"proc/stat", text}});
        EXPECT_EQ(failureOf(host.take(), Area::Interrupts), std::pair(EBADMSG, std::string("proc/stat"))) << text;
        EXPECT_TRUE(lacks(host.take().activity.forks, Absence::Malformed)) << text;
    }
}

} // namespace

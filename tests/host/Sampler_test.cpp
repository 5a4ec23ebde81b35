// A sampler as a whole: roots, samples filled again, several samplers, several readers of one sample.
#include "host/Sampler.h"

#include "MemoryLedger.h"
#include "Paths.h"
#include "SampledHost.h"
#include "SystemHooks.h"
#include "TempDirectory.h"
#include "host/Rates.h"

#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using zel::Absence;
using zel::Area;

const std::vector<Area> ownAreas{Area::Cpu, Area::Load,       Area::Pressure, Area::Memory,
                                 Area::Vm,  Area::Interrupts, Area::Identity};

std::size_t valuesOf(const zel::Sample &sample) {
    std::size_t values = 0;
    sample.visit(
        [&values](const zel::Family &, const zel::Labels &, const zel::Value &value) { values += value.has(); });
    return values;
}

std::size_t openDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

TEST(Sampler, ReadsThisHost) {
    zel::Sampler sampler({.areas = ownAreas});
    const zel::Sample sample = sampler.take();
    EXPECT_GT(*sample.cpu.idleSeconds, 0);
    EXPECT_TRUE(holds(sample.cpu.online, static_cast<std::uint64_t>(sysconf(_SC_NPROCESSORS_ONLN))));
    EXPECT_TRUE(holds(sample.memory.totalBytes, sample.memory.totalBytes.valueOr(0)));
    EXPECT_NEAR(static_cast<double>(*sample.memory.totalBytes),
                static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE)), 4096);
    EXPECT_GT(*sample.vm.pgfault, 0U);
    EXPECT_GT(*sample.activity.contextSwitches, 0U);
    EXPECT_GT(*sample.identity.uptimeSeconds, 0);
    for (const Area area : ownAreas) {
        EXPECT_TRUE(sample.area(area).asked) << zel::areaName(area);
        EXPECT_GT(sample.area(area).monotonicNanoseconds, 0) << zel::areaName(area);
        EXPECT_GT(sample.area(area).costSeconds, 0) << zel::areaName(area);
    }
    EXPECT_FALSE(sample.area(Area::Disks).asked);
    EXPECT_GT(sample.elapsedSeconds, 0);
}

TEST(Sampler, CountersOnlyGrowOnThisHost) {
    zel::Sampler sampler({.areas = ownAreas});
    const zel::Sample before = sampler.take();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const zel::Sample now = sampler.take();
    for (const zel::CounterRate &rate : zel::between(before, now).counters) {
        if (rate.perSecond) {
            EXPECT_GE(*rate.perSecond, 0) << rate.family->name;
        }
    }
}

TEST(Sampler, RootThatCannotBeOpenedIsInTheStateOfEveryArea) {
    const TempDirectory scratch;
    const std::string file = scratch.write("file", "");
    const std::pair<std::string, int> roots[] = {{file, ENOTDIR}, {scratch.path() / "missing", ENOENT}};
    for (const auto &[root, error] : roots) {
        zel::Sampler sampler({.root = root});
        for (int round = 0; round < 2; ++round) {
            const zel::Sample sample = sampler.take();
            for (const Area area : ownAreas) {
                EXPECT_EQ(failureOf(sample, area), std::pair(error, root)) << zel::areaName(area);
                EXPECT_EQ(sample.area(area).absence, zel::absenceOf(error)) << zel::areaName(area);
            }
            EXPECT_TRUE(lacks(sample.load.load1, Absence::Unsupported));
            EXPECT_TRUE(sample.processors.empty());
        }
    }
}

TEST(Sampler, EmptyRootHasAReasonForEveryValue) {
    const TempDirectory scratch;
    zel::Sampler sampler({.root = scratch.path(), .areas = ownAreas});
    EXPECT_EQ(valuesOf(sampler.take()), 0U);
}

TEST(Sampler, FileThatTheUserMayNotReadIsDenied) {
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root, to become somebody else";
    const TempDirectory scratch;
    scratch.write("proc/loadavg", "1.00 1.00 1.00 1/1 1\n");
    std::filesystem::permissions(scratch.path(), std::filesystem::perms{0755});
    std::filesystem::permissions(scratch.path() / "proc/loadavg", std::filesystem::perms::none);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        constexpr uid_t nobody = 65534;
        if (setresuid(nobody, nobody, nobody) != 0)
            _exit(2);
        const zel::Sample sample = zel::Sampler({.root = scratch.path(), .areas = {Area::Load}}).take();
        const bool denied = sample.load.load1.absence() == Absence::Denied && sample.area(Area::Load).error == EACCES &&
                            sample.area(Area::Load).absence == Absence::Denied;
        _exit(denied ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(Sampler, SampleFilledAgainHoldsOnlyTheNewHost) {
    SampledHost full(Area::Interrupts, {{"proc/stat", "ctxt 5\nprocesses 7\n"},
                                        {"proc/interrupts", "  CPU0\n 1: 5 a b c\n 2: 6 d e f\n"}});
    zel::Sampler first({.root = full.path(), .areas = {Area::Interrupts}});
    SampledHost other(Area::Interrupts, {{"proc/stat", "ctxt 9\n"}, {"proc/interrupts", "  CPU0\n 8: 1\n"}});
    zel::Sampler second({.root = other.path(), .areas = {Area::Interrupts}});
    zel::Sample sample = first.take();
    EXPECT_EQ(sample.interrupts.size(), 2U);
    second.take(sample);
    ASSERT_EQ(sample.interrupts.size(), 1U);
    EXPECT_EQ(sample.interrupts[0].interrupt, "8");
    EXPECT_TRUE(lacks(sample.interrupts[0].description, Absence::Unsupported));
    EXPECT_TRUE(holds(sample.activity.contextSwitches, 9U));
    EXPECT_TRUE(lacks(sample.activity.forks, Absence::Unsupported));
}

TEST(Sampler, GoesOnAfterItWasMoved) {
    zel::Sampler sampler({.areas = ownAreas});
    sampler.take();
    zel::Sampler moved(std::move(sampler));
    EXPECT_GT(valuesOf(moved.take()), 100U);
    zel::Sampler assigned({.areas = {Area::Load}});
    assigned = std::move(moved);
    EXPECT_GT(valuesOf(assigned.take()), 100U);
}

TEST(Sampler, TwoLiveSideBySide) {
    SampledHost one(Area::Load, {{"proc/loadavg", "1.00 1.00 1.00 1/1 1\n"}});
    SampledHost two(Area::Load, {{"proc/loadavg", "2.00 2.00 2.00 2/2 2\n"}});
    zel::Sampler own({.areas = {Area::Load}});
    for (int round = 0; round < 3; ++round) {
        EXPECT_TRUE(holds(one.take().load.load1, 1));
        EXPECT_TRUE(holds(two.take().load.load1, 2));
        EXPECT_TRUE(own.take().load.load1);
    }
    std::thread other([] {
        zel::Sampler sampler({.areas = ownAreas});
        for (int round = 0; round < 20; ++round)
            EXPECT_GT(valuesOf(sampler.take()), 100U);
    });
    zel::Sampler sampler({.areas = ownAreas});
    for (int round = 0; round < 20; ++round)
        EXPECT_GT(valuesOf(sampler.take()), 100U);
    other.join();
}

TEST(Sampler, ConstSampleIsReadByManyThreads) {
    const zel::Sample sample = zel::Sampler({.areas = ownAreas}).take();
    const std::size_t expected = valuesOf(sample);
    std::vector<std::thread> threads;
    for (int index = 0; index < 4; ++index)
        threads.emplace_back([&] { EXPECT_EQ(valuesOf(sample), expected); });
    for (std::thread &thread : threads)
        thread.join();
}

TEST(Sampler, InSteadyStateNothingIsAllocated) {
    zel::Sampler sampler({.areas = ownAreas});
    zel::Sample sample, before;
    zel::Rates rates;
    for (int round = 0; round < 3; ++round) {
        sampler.take(before);
        sampler.take(sample);
        zel::between(before, sample, rates);
    }
    const long allocations = allocationsSoFar();
    const HeapHoldings holdings = heapHoldings();
    for (int round = 0; round < 20; ++round) {
        std::swap(before, sample);
        sampler.take(sample);
        zel::between(before, sample, rates);
    }
    EXPECT_EQ(allocationsSoFar(), allocations);
    EXPECT_EQ(heapHoldings(), holdings);
}

TEST(Sampler, KeepsNoMoreFilesThanItMay) {
    const std::size_t before = openDescriptors();
    for (const int limit : {0, 3}) {
        zel::Sampler sampler({.areas = ownAreas, .keptFiles = limit});
        sampler.take();
        EXPECT_LE(openDescriptors(), before + static_cast<std::size_t>(limit));
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST(Sampler, DescriptorsThatAProgramClosesAreOpenedAgain) {
    zel::Sampler sampler({.areas = ownAreas});
    const zel::Sample before = sampler.take();
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) { // a daemon
        for (int descriptor = 3; descriptor < 1000; ++descriptor)
            close(descriptor);
        for (int other = 0; other < 50; ++other)
            static_cast<void>(!std::fopen("/etc/passwd", "r"));
        const zel::Sample sample = sampler.take();
        const bool whole = sample.load.load1 && sample.cpu.idleSeconds && sample.vm.pgfault && sample.activity.forks &&
                           sample.memory.freeBytes;
        _exit(whole ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(sampler.take().load.load1) << "the parent goes on with its own";
}

// ZEL_CHURN_SAMPLES sets how many.
TEST(Sampler, ManySamplesKeepMemoryAndDescriptorsFlat) {
    const char *wanted = std::getenv("ZEL_CHURN_SAMPLES");
    const int samples = wanted != nullptr ? std::atoi(wanted) : 300;
    zel::Sampler sampler({.areas = ownAreas});
    SampledHost host(ownAreas);
    for (int index = 0; index < 4; ++index) { // every shape of the host once
        host.write("proc/interrupts",
                   "  CPU0\n" + std::string(index % 2 == 0 ? " 1: 5 one\n 2: 6 two\n" : " 3: 7 three\n"));
        host.take();
        sampler.take();
    }
    zel::Sample sample = sampler.take();
    const HeapHoldings holdings = heapHoldings();
    const std::size_t descriptors = openDescriptors();
    for (int index = 0; index < samples; ++index) {
        host.write("proc/interrupts",
                   "  CPU0\n" + std::string(index % 2 == 0 ? " 1: 5 one\n 2: 6 two\n" : " 3: 7 three\n"));
        host.take();
        sampler.take(sample);
    }
    EXPECT_LE(heapHoldings().bytes, holdings.bytes + 4096);
    EXPECT_EQ(openDescriptors(), descriptors);
}

} // namespace

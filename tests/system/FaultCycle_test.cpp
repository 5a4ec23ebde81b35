// Every system function that a cycle calls fails once, at every call in turn. Each time the cycle ends with the
// failures that its operations name, the heap and the descriptors are what they were, and the next cycles work as if
// nothing had happened.
#include "AllCollectors.h"
#include "FaultHost.h"
#include "Faults.h"
#include "MemoryLedger.h"
#include "SettingGuard.h"
#include "Settings.h"
#include "host/ScopedHandle.h"
#include "kernel/KeptFile.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <new>
#include <unistd.h>

namespace {

constexpr double seconds = 5.0;

// The sanitizers make a cycle ten times as dear: they see every seventh call, others in each kind.
// A block is up to 16 bytes larger than what was asked for, as the allocator finds room.
constexpr double allocatorRounding = 512;

constexpr long stride = HAS_MEMORY_LEDGER ? 1 : 7;

class FaultCycle : public testing::TestWithParam<Call> {};

std::string describe(const StepResult &result) {
    std::string text = result.step + (result.succeeded ? "" : " (failed)") + " " + result.malformed + "\n";
    for (const std::string &line : result.lines)
        text += "    " + line + "\n";
    return text;
}

bool sameResult(const StepResult &left, const StepResult &right) {
    return left.succeeded == right.succeeded && left.malformed == right.malformed && left.lines == right.lines;
}

void expectSame(const std::vector<StepResult> &results, const std::vector<StepResult> &expected) {
    ASSERT_EQ(results.size(), expected.size());
    for (std::size_t i = 0; i < results.size(); ++i)
        EXPECT_TRUE(sameResult(results[i], expected[i]))
            << describe(results[i]) << "instead of " << describe(expected[i]);
}

// The I/O figures of a process whose io file cannot be read are 0, and so are the percentages of an unknown memory.
std::string comparable(std::string line) {
    const auto erase = [&line](const char *from, const char *to) {
        const std::size_t start = line.find(from);
        if (start != std::string::npos)
            line.erase(start, line.find(to, start) - start);
    };
    erase("IOBYTECOM=", "NAME=");
    erase("PMEM=", "VSZ=");
    return line;
}

// What operations say instead of null: an adapter may be there, a device has no name, a process no command line.
bool namedFailure(const std::string &line) {
    return line == "1" || line == "NIC=|" || line == "CDROM=|" || line == "PCI=|NAME=|" ||
           line.find("|ARGS=[") != std::string::npos;
}

// A faulted cycle against the same one without a fault.
void expectSpecified(const std::vector<StepResult> &results, const std::vector<StepResult> &expected) {
    ASSERT_EQ(results.size(), expected.size());
    for (std::size_t i = 0; i < results.size(); ++i) {
        EXPECT_EQ(results[i].malformed, "") << describe(results[i]);
        for (const std::string &line : results[i].lines) {
            const auto &known = expected[i].lines;
            EXPECT_TRUE(namedFailure(line) ||
                        std::any_of(known.begin(), known.end(),
                                    [&line](const std::string &good) { return comparable(good) == comparable(line); }))
                << results[i].step << ": " << line << "\n of " << describe(expected[i]);
        }
    }
}

int countEntries(const char *directory) {
    int count = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator(directory))
        ++count;
    return count;
}

HeapHoldings holdingsAtRest() {
    FaultHost::waitForThreads();
    return heapHoldings();
}

// The reports go nowhere while it lives.
class Silence {
public:
    Silence() : m_out(dup(STDOUT_FILENO)), m_err(dup(STDERR_FILENO)) {
        std::fflush(stdout);
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
        close(nowhere);
    }
    ~Silence() {
        std::fflush(stdout);
        dup2(m_out, STDOUT_FILENO);
        dup2(m_err, STDERR_FILENO);
        close(m_out);
        close(m_err);
    }
    Silence(const Silence &) = delete;
    Silence &operator=(const Silence &) = delete;

private:
    int m_out;
    int m_err;
};

class Scene {
public:
    Scene() {
        for (int i = 0; i < 3; ++i) {
            sample(0);
            m_moved = sample(1);
            m_rested = sample(1);
        }
    }

    // Makes the call fail and looks at everything afterwards. False when the cycle has fewer calls.
    bool faulted(Call call, long number) {
        const HeapHoldings before = holdingsAtRest();
        const int descriptors = countEntries("/proc/self/fd");
        m_host.show(1);
        if (!cycleWithFault(call, number))
            return false;
        sample(0);
        expectSame(sample(1), m_moved);
        EXPECT_EQ(countEntries("/proc/self/fd"), descriptors);
        const HeapHoldings after = holdingsAtRest();
        EXPECT_EQ(after.blocks, before.blocks);
        EXPECT_NEAR(static_cast<double>(after.bytes), static_cast<double>(before.bytes), allocatorRounding);
        return true;
    }

    std::vector<StepResult> sample(int time) {
        m_host.show(time);
        const Silence silence;
        return m_all.cycle(seconds);
    }

    const std::vector<StepResult> &moved() const { return m_moved; }

private:
    bool cycleWithFault(Call call, long number) {
        std::vector<StepResult> results;
        bool thrown = false;
        bool happened = false;
        {
            const Silence silence;
            const Fault fault(call, number);
            try {
                results = m_all.cycle(seconds);
            } catch (const std::bad_alloc &) {
                thrown = true;
            }
            happened = Fault::happened();
        }
        EXPECT_FALSE(thrown) << "an exception behind the step \"" << m_all.lastStep() << '"';
        if (!thrown && happened)
            expectSpecified(results, m_rested);
        return happened;
    }

    FaultHost m_host;
    AllCollectors m_all;
    std::vector<StepResult> m_moved;  // five seconds after the first state of the host
    std::vector<StepResult> m_rested; // five seconds after the second one, in which nothing happened
};

TEST_P(FaultCycle, EndsWithTheNamedFailuresAndLeavesNoTrace) {
    Scene scene;
    long injected = 0;
    for (long number = 1; scene.faulted(GetParam(), number); number += stride) {
        ++injected;
        if (HasFailure())
            FAIL() << callName(GetParam()) << " call " << number;
    }
    EXPECT_GT(injected, 0);
    RecordProperty("faults", static_cast<int>(injected));
    std::printf("%s: %ld faults\n", callName(GetParam()), injected);
}

INSTANTIATE_TEST_SUITE_P(Every, FaultCycle,
                         testing::Values(Call::Allocation, Call::Open, Call::Read, Call::Fopen, Call::Fgets,
                                         Call::Getdents, Call::Socket, Call::Ioctl, Call::Statfs, Call::System,
                                         Call::Popen, Call::Thread),
                         [](const testing::TestParamInfo<Call> &each) { return std::string(callName(each.param)); });

// The text buffers of a collector are allocated when it is built; a missing one is made up for, or its text is refused.
TEST(FaultCycles, CollectorsBuiltWithoutOneOfTheirBuffersWork) {
    FaultHost host;
    bool every = false;
    int built = 0;
    for (int number = 0; !every; number += HAS_MEMORY_LEDGER ? 1 : 5, ++built) {
        systemHooks().failAllocationAfter = number;
        const auto all = std::make_unique<AllCollectors>();
        every = systemHooks().failAllocationAfter >= 0;
        systemHooks().failAllocationAfter = -1;
        for (int time : {0, 1}) {
            host.show(time);
            const Silence silence;
            for (const StepResult &result : all->cycle(seconds))
                EXPECT_EQ(result.malformed, "") << describe(result) << " without allocation " << number;
        }
    }
    std::printf("construction: %d faults\n", built - 1);
}

// This machine as it is: its files, mounts, users and threads, and the real home kit; with files that stay open and
// without.
class FaultsOnThisMachine : public testing::TestWithParam<int> {};

TEST_P(FaultsOnThisMachine, LeaveTheNextCycleWhole) {
    const SettingGuard keptFiles(g_nKeptFileLimit, GetParam());
    const ScratchHome home;
    home.installKit();
    AllCollectors all;
    const auto sample = [&all] {
        const Silence silence;
        return all.cycle(seconds);
    };
    sample();
    const std::vector<StepResult> sound = sample();
    // Files of processes stay open, and processes come and go.
    const auto descriptorsBesideKept = [] { return countEntries("/proc/self/fd") - zel::keptPlacesTaken(); };
    const int descriptors = descriptorsBesideKept();
    for (int kind = 0; kind < static_cast<int>(Call::Count); ++kind) {
        for (const long number : {1L, 9L}) {
            {
                const Silence silence;
                const Fault fault(static_cast<Call>(kind), number);
                for (const StepResult &result : all.cycle(seconds))
                    EXPECT_EQ(result.malformed, "") << callName(static_cast<Call>(kind)) << ": " << describe(result);
            }
            const std::vector<StepResult> next = sample();
            ASSERT_EQ(next.size(), sound.size());
            for (std::size_t i = 0; i < next.size(); ++i)
                EXPECT_EQ(next[i].succeeded, sound[i].succeeded) << describe(next[i]);
            EXPECT_EQ(descriptorsBesideKept(), descriptors) << callName(static_cast<Call>(kind));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Every, FaultsOnThisMachine, testing::Values(-1, 0));

// The files of both moments become pipes that nobody writes to, and, on the second round, that nobody fills.
TEST(FaultCycles, PipesInThePlaceOfKernelFilesHoldNobodyUp) {
    FaultHost host;
    AllCollectors all;
    std::vector<zel::ScopedDescriptor> writers;
    for (const bool held : {false, true}) {
        for (const int time : {0, 1}) {
            host.show(time);
            std::vector<std::filesystem::path> files;
            for (const auto &entry : std::filesystem::recursive_directory_iterator(g_strHostRoot)) {
                if (!entry.is_directory())
                    files.push_back(entry.path());
            }
            ASSERT_GT(files.size(), 10U);
            for (const auto &file : files) {
                std::filesystem::remove(file);
                ASSERT_EQ(mkfifo(file.c_str(), 0600), 0) << file;
                if (held)
                    writers.emplace_back(open(file.c_str(), O_RDWR | O_CLOEXEC));
            }
            const Silence silence;
            for (const StepResult &result : all.cycle(seconds))
                EXPECT_EQ(result.malformed, "") << describe(result);
        }
    }
}

TEST(FaultCycles, WithoutAFaultEveryStepSucceeds) {
    const Scene scene;
    for (const StepResult &result : scene.moved()) {
        EXPECT_TRUE(result.succeeded) << result.step;
        EXPECT_EQ(result.malformed, "") << result.step;
        EXPECT_FALSE(result.lines.empty()) << result.step;
    }
}

} // namespace

// Which files of processes stay open: within their places, for how long, and only while their numbers are ours.
#include "kernel/KeptProcesses.h"

#include "OwnProcess.h"
#include "ProcessReading.h"
#include "SystemHooks.h"
#include "TempDirectory.h"

#include <algorithm>
#include <atomic>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <memory>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <thread>

namespace {

using zel::ProcessFile;

constexpr ProcessFile everyFile[] = {ProcessFile::CommandLine, ProcessFile::Io, ProcessFile::Stat, ProcessFile::Statm};

class KeptProcessesTest : public testing::Test {
protected:
    KeptProcessesTest() {
        for (int i = 0; i < 3; ++i)
            children.push_back(std::make_unique<Child>());
        for (const auto &child : children)
            pids.push_back(child->pid());
        std::sort(pids.begin(), pids.end());
    }

    // The descriptors of a process that are open, looked at in a scan of their own.
    std::vector<int> descriptorsOf(KeptReading &reading, pid_t pid) {
        reading.scan(pids);
        std::vector<int> open;
        for (const ProcessFile file : everyFile) {
            const zel::KeptProcess *process = reading.kept.find(pid);
            if (process != nullptr && process->descriptor(file) >= 0)
                open.push_back(process->descriptor(file));
        }
        return open;
    }
    int descriptorOf(KeptReading &reading, pid_t pid, ProcessFile file) {
        reading.scan(pids);
        const zel::KeptProcess *process = reading.kept.find(pid);
        return process == nullptr ? -1 : process->descriptor(file);
    }

    void expectFresh(KeptReading &reading, const char *when) {
        const auto kept = reading.scan(pids);
        for (std::size_t i = 0; i < pids.size(); ++i)
            EXPECT_EQ(kept[i], reading.fresh(pids[i])) << when;
    }

    std::vector<std::unique_ptr<Child>> children;
    std::vector<pid_t> pids;
};

TEST_F(KeptProcessesTest, ProcessGetsPlacesInItsSecondScan) {
    KeptReading reading;
    reading.scan(pids);
    EXPECT_EQ(reading.kept.count(), 0);
    reading.scan(pids);
    EXPECT_EQ(reading.kept.count(), 12);
    EXPECT_EQ(reading.places.taken(), 12);
}

TEST_F(KeptProcessesTest, PlacesOfAProcessThatIsListedNoMoreAreFreeAfterTheScan) {
    KeptReading reading;
    reading.keep(pids);
    reading.scan({pids[0], pids[2]});
    EXPECT_EQ(reading.kept.count(), 8);
    EXPECT_EQ(reading.places.taken(), 8);
}

TEST_F(KeptProcessesTest, ScanThatWasNotFinishedFreesNothing) {
    KeptReading reading;
    reading.keep(pids);
    const zel::ScopedDescriptor proc(open("/proc", O_RDONLY | O_DIRECTORY));
    reading.kept.begin(proc.get(), true);
    textsOf(proc.get(), pids[0], &reading.kept);
    EXPECT_EQ(reading.kept.count(), 12);
    expectFresh(reading, "after it");
}

TEST_F(KeptProcessesTest, PidsMayComeInAnyOrderAndTwice) {
    KeptReading reading;
    const std::vector<pid_t> mixed{pids[2], pids[0], pids[2], pids[1], pids[0]};
    reading.keep(mixed);
    EXPECT_EQ(reading.kept.count(), 12);
    reading.scan(mixed);
    EXPECT_EQ(reading.kept.count(), 12);
    expectFresh(reading, "in order");
}

TEST_F(KeptProcessesTest, PlacesAreSpentFileByFile) {
    KeptReading reading(5);
    reading.keep(pids);
    EXPECT_EQ(reading.kept.count(), 5);
    int of[4] = {};
    for (const pid_t pid : pids) {
        for (const ProcessFile file : everyFile)
            of[static_cast<int>(file)] += descriptorOf(reading, pid, file) >= 0 ? 1 : 0;
    }
    EXPECT_EQ(of[static_cast<int>(ProcessFile::CommandLine)], 3);
    EXPECT_EQ(of[static_cast<int>(ProcessFile::Io)], 2);
    EXPECT_EQ(of[static_cast<int>(ProcessFile::Stat)], 0);
    EXPECT_EQ(of[static_cast<int>(ProcessFile::Statm)], 0);
    expectFresh(reading, "with five places");
}

TEST_F(KeptProcessesTest, NewcomersTakeNoPlacesFromThoseWhoHaveSome) {
    KeptReading reading(4);
    const std::vector<pid_t> last{pids[2]};
    reading.keep(last);
    ASSERT_EQ(reading.kept.count(), 4);
    for (int scan = 0; scan < 4; ++scan)
        reading.scan(pids);
    EXPECT_EQ(descriptorsOf(reading, pids[2]).size(), 4U);
    EXPECT_EQ(reading.kept.count(), 4);
    expectFresh(reading, "over the budget");
}

TEST_F(KeptProcessesTest, LimitOfNoneClosesEverything) {
    KeptReading reading;
    reading.keep(pids);
    reading.setting = 0;
    expectFresh(reading, "without places");
    EXPECT_EQ(reading.kept.count(), 0);
    EXPECT_EQ(reading.places.taken(), 0);
    reading.setting = 100;
    reading.keep(pids);
    EXPECT_EQ(reading.kept.count(), 12);
}

TEST_F(KeptProcessesTest, LowerLimitClosesWhatIsBeyondIt) {
    KeptReading reading;
    reading.keep(pids);
    reading.setting = 7;
    expectFresh(reading, "with fewer places");
    EXPECT_EQ(reading.kept.count(), 7);
}

TEST_F(KeptProcessesTest, PlacesAreSharedWithOthers) {
    KeptReading reading(6);
    ASSERT_TRUE(reading.places.takeWithin(6));
    ASSERT_TRUE(reading.places.takeWithin(6));
    reading.keep(pids);
    EXPECT_EQ(reading.kept.count(), 4);
    EXPECT_EQ(reading.places.taken(), 6);
}

TEST(KeptPlaces, EachIsTakenByOneThread) {
    const int setting = 2;
    zel::KeptPlaces places(setting);
    std::atomic<int> inUse = 0;
    const auto takeOften = [&] {
        for (int i = 0; i < 200000; ++i) {
            if (!places.takeWithin(1))
                continue;
            EXPECT_EQ(inUse.fetch_add(1), 0);
            inUse.fetch_sub(1);
            places.giveBack();
        }
    };
    std::thread other(takeOften);
    takeOften();
    other.join();
    EXPECT_EQ(places.taken(), 0);
}

// What a thread keeps open, the other neither reads nor closes.
TEST_F(KeptProcessesTest, PlacesAreSharedByTwoThreads) {
    const int setting = 18, scans = 1000;
    zel::KeptPlaces places(setting);
    std::vector<ProcessTexts> fresh;
    {
        const KeptReading reading;
        for (const pid_t pid : pids)
            fresh.push_back(reading.fresh(pid));
    }
    const auto scanOften = [&] {
        const zel::ScopedDescriptor proc(open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        zel::KeptProcesses kept(places);
        for (int scan = 0; scan < scans && !HasFailure(); ++scan) {
            kept.begin(proc.get(), true);
            for (std::size_t i = 0; i < pids.size(); ++i)
                EXPECT_EQ(textsOf(proc.get(), pids[i], &kept), fresh[i]);
            kept.finish();
            EXPECT_LE(places.taken(), setting);
            EXPECT_TRUE(scan % 50 == 0 || kept.count() >= 6) << "of eighteen places for two that want twelve";
            if (scan % 50 == 49)
                kept.dropAll();
        }
    };
    std::thread other(scanOften);
    scanOften();
    other.join();
    EXPECT_EQ(places.taken(), 0);
}

TEST_F(KeptProcessesTest, EndReturnsPlacesAndDescriptors) {
    const int setting = 100;
    zel::KeptPlaces places(setting);
    const zel::ScopedDescriptor proc(open("/proc", O_RDONLY | O_DIRECTORY));
    std::vector<int> numbers;
    {
        zel::KeptProcesses kept(places);
        for (int scan = 0; scan < 3; ++scan) {
            kept.begin(proc.get(), true);
            textsOf(proc.get(), pids[0], &kept);
            kept.finish();
        }
        for (const ProcessFile file : everyFile)
            numbers.push_back(kept.find(pids[0])->descriptor(file));
        EXPECT_EQ(places.taken(), 4);
    }
    EXPECT_EQ(places.taken(), 0);
    for (const int number : numbers)
        EXPECT_EQ(fcntl(number, F_GETFD), -1);
}

TEST_F(KeptProcessesTest, DescriptorsCloseOnExecAndLeaveLowNumbersToTheProgram) {
    KeptReading reading;
    reading.keep(pids);
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    for (const int number : descriptorsOf(reading, pids[0])) {
        EXPECT_EQ(fcntl(number, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
        EXPECT_TRUE(number >= 1024 || limit.rlim_cur < 1100) << number;
    }
}

TEST_F(KeptProcessesTest, LowSoftLimitStillKeepsFiles) {
    EXPECT_TRUE(trueInChild([this] {
        const rlimit few{100, 100};
        setrlimit(RLIMIT_NOFILE, &few);
        KeptReading reading(-1);
        reading.keep(pids);
        expectFresh(reading, "with few descriptors");
        return reading.kept.count() == 12 && reading.places.limit() == 25;
    }));
}

TEST_F(KeptProcessesTest, ChildOfAForkOpensItsOwn) {
    KeptReading reading;
    reading.keep(pids);
    const int number = descriptorOf(reading, pids[0], ProcessFile::Stat);
    EXPECT_TRUE(trueInChild([&] {
        const zel::ScopedDescriptor proc(open("/proc", O_RDONLY | O_DIRECTORY));
        reading.kept.begin(proc.get(), true);
        return reading.kept.count() == 0 && fcntl(number, F_GETFD) == -1;
    }));
    EXPECT_GE(fcntl(number, F_GETFD), 0) << "the parent's stay";
    expectFresh(reading, "in the parent");
    EXPECT_EQ(reading.kept.count(), 12);
}

TEST_F(KeptProcessesTest, AnotherProcIsReadFromThenOn) {
    EXPECT_TRUE(trueInChild([this] {
        const TempDirectory directory;
        if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("proc", directory.path().c_str(), "proc", 0, nullptr) != 0)
            return true; // no rights to mount here
        KeptReading reading;
        reading.keep(pids);
        EXPECT_EQ(reading.kept.count(), 12);
        reading.enter(directory.path().c_str());
        reading.scan(pids);
        EXPECT_EQ(reading.kept.count(), 0);
        reading.keep(pids);
        EXPECT_EQ(reading.kept.count(), 12);
        umount2(directory.path().c_str(), MNT_DETACH);
        return !testing::Test::HasFailure();
    }));
}

TEST_F(KeptProcessesTest, OtherRightsOpenAnew) {
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root";
    EXPECT_TRUE(trueInChild([this] {
        KeptReading reading;
        reading.keep(pids);
        EXPECT_EQ(reading.kept.count(), 12);
        EXPECT_EQ(setresgid(65534, 65534, 65534) + setresuid(65534, 65534, 65534), 0);
        expectFresh(reading, "as an ordinary user");
        expectFresh(reading, "as an ordinary user");
        EXPECT_EQ(reading.scan(pids)[0].io, "");
        EXPECT_EQ(reading.kept.count(), 9) << "without io";
        return !testing::Test::HasFailure();
    }));
}

// May look into every process, but opens only what its user may open.
bool giveUpOpeningEverything() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
    if (syscall(SYS_capget, &header, data) != 0 || (data[0].effective & 1U << CAP_SYS_PTRACE) == 0)
        return false;
    data[0].effective &= ~(1U << CAP_DAC_OVERRIDE | 1U << CAP_DAC_READ_SEARCH);
    return syscall(SYS_capset, &header, data) == 0;
}

TEST_F(KeptProcessesTest, IoIsNotKeptByOneWhoReadsWhatHeCannotOpen) {
    EXPECT_TRUE(trueInChild([this] {
        if (!giveUpOpeningEverything())
            return true; // no such rights here
        KeptReading reading;
        reading.keep(pids);
        expectFresh(reading, "without the right to open everything");
        return reading.kept.count() == 9 && descriptorOf(reading, pids[0], ProcessFile::Io) == -1;
    }));
}

TEST_F(KeptProcessesTest, SteadyStateAllocatesNothing) {
    KeptReading reading;
    const zel::ScopedDescriptor proc(open("/proc", O_RDONLY | O_DIRECTORY));
    static char text[16384];
    const auto scan = [&] {
        reading.kept.begin(proc.get(), true);
        for (const pid_t pid : pids) {
            zel::ProcessFiles files(proc.get(), pid, text, sizeof(text), &reading.kept);
            int user = 0;
            EXPECT_TRUE(files.owner(user) && files.stat() != nullptr && files.statm() != nullptr);
        }
        reading.kept.finish();
    };
    scan();
    scan();
    const long before = allocationsSoFar();
    scan();
    EXPECT_EQ(allocationsSoFar(), before);
    EXPECT_EQ(reading.kept.count(), 6);
}

// ---- numbers that mean something else by now ----

TEST_F(KeptProcessesTest, ClosedNumbersAreForgotten) {
    KeptReading reading;
    reading.keep(pids);
    for (const int number : descriptorsOf(reading, pids[1]))
        close(number);
    expectFresh(reading, "after the close");
    expectFresh(reading, "opened again");
    EXPECT_EQ(reading.kept.count(), 12);
    EXPECT_EQ(reading.places.taken(), 12);
}

TEST_F(KeptProcessesTest, ProgramThatClosesEverythingLosesNothing) {
    EXPECT_TRUE(trueInChild([this] {
        KeptReading reading;
        reading.keep(pids);
        int lowest = descriptorOf(reading, pids[0], ProcessFile::Stat);
        for (const pid_t pid : pids)
            lowest = std::min(lowest, std::ranges::min(descriptorsOf(reading, pid)));
        closefrom(lowest);
        expectFresh(reading, "after the close");
        expectFresh(reading, "opened again");
        EXPECT_EQ(reading.kept.count(), 12);
        return !testing::Test::HasFailure();
    }));
}

// Another file of the program in the place of each, one after the other.
TEST_F(KeptProcessesTest, NumberOfAnotherFileIsNeitherBelievedNorClosed) {
    const TempDirectory directory;
    const std::string foreign = directory.write("foreign", "foreign text");
    for (const ProcessFile file : everyFile) {
        KeptReading reading;
        reading.keep(pids);
        const int number = descriptorOf(reading, pids[1], file);
        ASSERT_GE(number, 0);
        const zel::ScopedDescriptor other(open(foreign.c_str(), O_RDONLY | O_CLOEXEC));
        ASSERT_EQ(dup2(other.get(), number), number);
        expectFresh(reading, "with a foreign file");
        EXPECT_NE(descriptorOf(reading, pids[1], file), number);
        EXPECT_GE(fcntl(number, F_GETFD), 0);
        reading.setting = 0;
        reading.scan(pids);
        EXPECT_GE(fcntl(number, F_GETFD), 0) << "it is not ours to close";
        close(number);
    }
}

// The same file of another process has the right form.
TEST_F(KeptProcessesTest, CommandLineOfAnotherProcessIsNotBelieved) {
    KeptReading reading;
    reading.keep(pids);
    const int number = descriptorOf(reading, pids[1], ProcessFile::CommandLine);
    const zel::ScopedDescriptor other(open("/proc/1/cmdline", O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(dup2(other.get(), number), number);
    expectFresh(reading, "with another command line");
    close(number);
}

TEST_F(KeptProcessesTest, StatOfAnotherProcessIsNotBelieved) {
    KeptReading reading;
    reading.keep(pids);
    const int number = descriptorOf(reading, pids[1], ProcessFile::Stat);
    const zel::ScopedDescriptor other(open("/proc/1/stat", O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(dup2(other.get(), number), number);
    expectFresh(reading, "with another stat");
    close(number);
}

// Taken by another file after the look that a scan begins with: the reading itself finds out.
TEST_F(KeptProcessesTest, NumberThatIsLostInTheMiddleOfAScanIsNotBelieved) {
    const zel::ScopedDescriptor proc(open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const auto nameOf = [](ProcessFile file) {
        return std::string(file == ProcessFile::CommandLine ? "/proc/1/cmdline" : "/proc/1/stat");
    };
    for (const ProcessFile file : everyFile) {
        KeptReading reading;
        reading.keep(pids);
        reading.kept.begin(proc.get(), true);
        const int number = reading.kept.find(pids[1])->descriptor(file);
        const zel::ScopedDescriptor other(open(nameOf(file).c_str(), O_RDONLY | O_CLOEXEC));
        ASSERT_EQ(dup2(other.get(), number), number);
        EXPECT_EQ(textsOf(proc.get(), pids[1], &reading.kept), reading.fresh(pids[1])) << static_cast<int>(file);
        close(number);
    }
}

// A file of the right kind, where everything was closed before.
TEST_F(KeptProcessesTest, SameFileOfAnotherProcessIsNotBelievedOnceFilesWereClosed) {
    const Child busy([] { std::ofstream("/dev/null") << "text for its figures" << std::flush; });
    for (const ProcessFile file : {ProcessFile::Io, ProcessFile::Statm}) {
        KeptReading reading;
        reading.keep(pids);
        const std::string ofOther =
            file == ProcessFile::Io ? "/proc/" + std::to_string(busy.pid()) + "/io" : std::string("/proc/1/statm");
        const int number = descriptorOf(reading, pids[1], file);
        for (const pid_t pid : pids)
            close(descriptorOf(reading, pid, ProcessFile::CommandLine));
        const zel::ScopedDescriptor other(open(ofOther.c_str(), O_RDONLY | O_CLOEXEC));
        ASSERT_EQ(dup2(other.get(), number), number);
        expectFresh(reading, "with the file of another");
        close(number);
    }
}

// Without stat, whose text names its process, the number itself tells.
TEST_F(KeptProcessesTest, NumberThatANewProcessGetsIsReadForItAlone) {
    const Child busy([] { std::ofstream("/dev/null") << "text for its figures" << std::flush; });
    KeptReading reading(4); // command lines and io of two
    const std::vector<pid_t> known{pids[0], pids[1]};
    const std::vector<pid_t> later{busy.pid(), pids[0], pids[1]};
    reading.keep(known);
    reading.scan(later); // it becomes known
    reading.setting = 6;
    const zel::ScopedDescriptor proc(open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    reading.kept.begin(proc.get(), true);
    const int number = reading.kept.find(pids[0])->descriptor(ProcessFile::Io);
    ASSERT_GE(number, 0);
    close(number);
    for (const pid_t pid : later)
        EXPECT_EQ(textsOf(proc.get(), pid, &reading.kept), reading.fresh(pid));
    EXPECT_EQ(reading.kept.find(busy.pid())->descriptor(ProcessFile::Io), number)
        << "which the system handed out again";
}

// Numbers that somebody closed go to files that are opened next: those of a new process.
TEST_F(KeptProcessesTest, NumberThatIsHandedOutAgainHasOneOwner) {
    KeptReading reading;
    const std::vector<pid_t> two{pids[0], pids[1]};
    reading.keep(two);
    reading.scan(pids); // the third becomes known
    reading.kept.find(pids[0]);
    std::vector<int> numbers;
    for (const ProcessFile file : everyFile)
        numbers.push_back(reading.kept.find(pids[0])->descriptor(file));
    for (const int number : numbers)
        close(number);
    const std::vector<pid_t> backwards{pids[2], pids[1], pids[0]};
    const auto texts = reading.scan(backwards);
    for (std::size_t i = 0; i < backwards.size(); ++i)
        EXPECT_EQ(texts[i], reading.fresh(backwards[i]));
    expectFresh(reading, "afterwards");
    EXPECT_EQ(reading.kept.count(), 12);
}

// ---- no descriptor left ----

// Uses up all descriptors but `left`.
std::vector<zel::ScopedDescriptor> useUp(int left) {
    std::vector<zel::ScopedDescriptor> used;
    for (int number = dup(STDIN_FILENO); number >= 0; number = dup(STDIN_FILENO))
        used.emplace_back(number);
    for (; left > 0 && !used.empty(); --left)
        used.pop_back();
    return used;
}

TEST_F(KeptProcessesTest, FilesMakeWayWhereDescriptorsAreUsedUp) {
    EXPECT_TRUE(trueInChild([this] {
        const rlimit few{64, 64};
        setrlimit(RLIMIT_NOFILE, &few);
        KeptReading reading(8);
        reading.keep({pids[0], pids[1]});
        EXPECT_EQ(reading.kept.count(), 8);
        const auto used = useUp(0);
        const auto kept = reading.scan(pids);
        for (const ProcessTexts &texts : kept)
            EXPECT_TRUE(!texts.stat.empty() && !texts.statm.empty() && !texts.io.empty() && !texts.commandLine.empty());
        EXPECT_LT(reading.kept.count(), 8);
        EXPECT_GE(reading.kept.count(), 4);
        return !testing::Test::HasFailure();
    }));
}

TEST_F(KeptProcessesTest, WayIsMadeInTheMiddleOfAScan) {
    EXPECT_TRUE(trueInChild([this] {
        const rlimit few{64, 64};
        setrlimit(RLIMIT_NOFILE, &few);
        KeptReading reading(8);
        reading.keep({pids[0], pids[1]});
        const zel::ScopedDescriptor proc(open("/proc", O_RDONLY | O_DIRECTORY));
        reading.kept.begin(proc.get(), true);
        const auto used = useUp(0);
        const ProcessTexts texts = textsOf(proc.get(), pids[2], &reading.kept);
        EXPECT_FALSE(texts.stat.empty());
        EXPECT_FALSE(texts.commandLine.empty());
        EXPECT_EQ(reading.kept.count(), 7);
        return !testing::Test::HasFailure();
    }));
}

// For what a scan opens beside the files of processes, such as the table of users.
TEST_F(KeptProcessesTest, ScanBeginsWithTwoDescriptorsToSpare) {
    EXPECT_TRUE(trueInChild([this] {
        const rlimit few{64, 64};
        setrlimit(RLIMIT_NOFILE, &few);
        KeptReading reading(8);
        reading.keep({pids[0], pids[1]});
        const zel::ScopedDescriptor proc(open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        const auto used = useUp(0);
        reading.kept.begin(proc.get(), true);
        EXPECT_EQ(reading.kept.count(), 6);
        const zel::ScopedDescriptor first(dup(proc.get())), second(dup(proc.get()));
        EXPECT_TRUE(first.valid() && second.valid());
        return !testing::Test::HasFailure();
    }));
}

TEST_F(KeptProcessesTest, WithoutAnythingOpenNoWayCanBeMade) {
    KeptReading reading;
    EXPECT_FALSE(reading.kept.makeWay());
    reading.keep(pids);
    EXPECT_TRUE(reading.kept.makeWay());
    EXPECT_EQ(reading.kept.count(), 11);
}

} // namespace

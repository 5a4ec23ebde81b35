// Processes of a tree of files: what the kernel of another host wrote, and what it never would.
#include "host/Sampler.h"

#include "Paths.h"
#include "ProcessHost.h"
#include "TempDirectory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using zel::Absence;
using zel::Process;
using zel::Sample;

class ProcessReader : public testing::Test {
protected:
    // A whole process.
    void put(const FakeProcess &process, const std::string &cgroup = "0::/user.slice\n") const {
        const std::string directory = "proc/" + std::to_string(process.pid) + "/";
        m_root.write(directory + "stat", statLine(process));
        m_root.write(directory + "statm", "10 20 30 40 0 50 0\n");
        m_root.write(directory + "io", "rchar: 1\nwchar: 2\nsyscr: 3\nsyscw: 4\nread_bytes: 5\nwrite_bytes: 6\n"
                                       "cancelled_write_bytes: 7\n");
        m_root.write(directory + "cmdline", process.commandLine);
        m_root.write(directory + "cgroup", cgroup);
    }
    void write(int pid, const std::string &file, const std::string &text) const {
        m_root.write("proc/" + std::to_string(pid) + "/" + file, text);
    }
    std::string path(const std::string &name) const { return m_root.path() / name; }

    const Sample &take() {
        m_sampler.take(m_sample);
        return m_sample;
    }
    // The process `pid`; the test fails when it is not in the list.
    const Process &process(std::uint64_t pid) const {
        for (const Process &each : m_sample.processes) {
            if (each.pid == pid)
                return each;
        }
        ADD_FAILURE() << pid << " is not in the list";
        static const Process none;
        return none;
    }
    std::vector<std::uint64_t> pids() const {
        std::vector<std::uint64_t> all;
        for (const Process &each : m_sample.processes)
            all.push_back(each.pid);
        return all;
    }

    TempDirectory m_root;
    zel::Sampler m_sampler{{.root = m_root.path(), .areas = {zel::Area::Processes}}};
    Sample m_sample;
};

const zel::AreaState &stateOf(const Sample &sample) {
    return sample.area(zel::Area::Processes);
}

TEST_F(ProcessReader, TakesEveryFile) {
    FakeProcess fake;
    fake.pid = 42;
    fake.state = 'D';
    fake.utime = 250;
    fake.start = 4200;
    fake.threads = 3;
    put(fake, "0::/system.slice/docker-" + std::string(64, 'a') + ".scope\n");
    const long page = sysconf(_SC_PAGESIZE);
    const double ticks = static_cast<double>(sysconf(_SC_CLK_TCK));
    take();
    ASSERT_EQ(pids(), std::vector<std::uint64_t>{42});
    const Process &taken = process(42);
    EXPECT_EQ(taken.name, "sleeper");
    EXPECT_EQ(*taken.state, "D");
    EXPECT_DOUBLE_EQ(*taken.userSeconds, 250 / ticks);
    EXPECT_DOUBLE_EQ(*taken.startSeconds, 4200 / ticks);
    EXPECT_EQ(*taken.threads, 3u);
    EXPECT_EQ(*taken.userId, getuid());
    EXPECT_EQ(*taken.commandLine, "/bin/sleeper");
    EXPECT_EQ(*taken.cgroup, "/system.slice/docker-" + std::string(64, 'a') + ".scope");
    EXPECT_EQ(*taken.container, std::string(64, 'a'));
    EXPECT_EQ(*taken.residentBytes, static_cast<std::uint64_t>(20 * page));
    EXPECT_EQ(*taken.readCharacters, 1u);
    EXPECT_EQ(*taken.writtenCharacters, 2u);
    EXPECT_EQ(*taken.readCalls, 3u);
    EXPECT_EQ(*taken.writeCalls, 4u);
    EXPECT_EQ(*taken.readBytes, 5u);
    EXPECT_EQ(*taken.writtenBytes, 6u);
    EXPECT_EQ(*taken.cancelledWriteBytes, 7u);
    EXPECT_EQ(stateOf(m_sample).error, 0);
    EXPECT_EQ(stateOf(m_sample).absence, Absence::None);
}

TEST_F(ProcessReader, ListIsInTheOrderOfThePids) {
    for (const int pid : {300, 2, 41, 1, 1000, 99999})
        put({.pid = pid});
    take();
    EXPECT_EQ(pids(), (std::vector<std::uint64_t>{1, 2, 41, 300, 1000, 99999}));
}

TEST_F(ProcessReader, OnlyNumbersOfProcessesAreProcesses) {
    put({.pid = 7});
    for (const char *name : {"0", "007", "7a", "a7", "+7", "-7", " 7", "99999999999", "18446744073709551623", "self"})
        m_root.write("proc/" + std::string(name) + "/stat", statLine({.pid = 7}));
    take();
    EXPECT_EQ(pids(), std::vector<std::uint64_t>{7});
}

TEST_F(ProcessReader, MissingFilesHaveAReason) {
    m_root.write("proc/7/stat", statLine({.pid = 7}));
    take();
    const Process &taken = process(7);
    EXPECT_EQ(*taken.state, "S");
    for (const auto *reading :
         {&taken.residentBytes, &taken.dataBytes, &taken.readBytes, &taken.writeCalls, &taken.descriptors})
        EXPECT_EQ(reading->absence(), Absence::Unsupported);
    EXPECT_EQ(taken.proportionalBytes.absence(), Absence::NotAsked);
    for (const auto *reading : {&taken.commandLine, &taken.cgroup, &taken.container, &taken.user})
        EXPECT_EQ(reading->absence(), Absence::Unsupported);
    EXPECT_EQ(*m_sample.processTotals.unread, 0u);
}

TEST_F(ProcessReader, ProcessWithoutAReadableStatStaysInTheList) {
    put({.pid = 7});
    write(7, "stat", "no stat line\n");
    put({.pid = 8});
    m_root.remove("proc/8/stat");
    put({.pid = 9});
    m_root.remove("proc/9/stat");
    ASSERT_EQ(mkfifo(path("proc/9/stat").c_str(), 0600), 0);
    put({.pid = 10});
    m_root.remove("proc/10/stat");
    std::filesystem::create_directory(path("proc/10/stat"));
    take();
    ASSERT_EQ(pids(), (std::vector<std::uint64_t>{7, 8, 9, 10}));
    EXPECT_EQ(process(7).state.absence(), Absence::Malformed);
    EXPECT_EQ(process(7).startSeconds.absence(), Absence::Malformed);
    EXPECT_EQ(*process(7).commandLine, "/bin/sleeper");
    EXPECT_EQ(*process(7).readBytes, 5u);
    EXPECT_EQ(process(8).state.absence(), Absence::Unsupported);
    EXPECT_EQ(process(9).state.absence(), Absence::Malformed); // an empty file
    EXPECT_EQ(process(10).state.absence(), Absence::Malformed);
    EXPECT_EQ(*m_sample.processTotals.total, 4u);
    EXPECT_EQ(*m_sample.processTotals.unread, 4u);
    EXPECT_EQ(stateOf(m_sample).file, "proc/7/stat");
    EXPECT_EQ(stateOf(m_sample).absence, Absence::None); // of the area as a whole
}

TEST_F(ProcessReader, NothingOfAnEarlierSampleStays) {
    put({.pid = 7, .utime = 5});
    take();
    write(7, "stat", "");
    write(7, "statm", "");
    write(7, "io", "");
    write(7, "cmdline", "");
    write(7, "cgroup", "");
    take();
    const Process &taken = process(7);
    for (const auto &field : zel::fieldsOf<Process>()) {
        if (field.family.kind != zel::Kind::Label && field.family.name != "user_id") {
            EXPECT_FALSE(field.of(taken).has()) << field.family.name;
        }
    }
    EXPECT_EQ(taken.name, "");
    EXPECT_EQ(*m_sample.processTotals.sleeping, 0u);
}

TEST_F(ProcessReader, ThreadOfTheKernelHasNeitherMemoryNorCommandLine) {
    put({.pid = 2, .name = "kthreadd"});
    write(2, "stat", "2 (kthreadd) S 0 0 0 0 -1 2129984 0 0 0 0 0 0 0 0 20 0 1 0 21 0 0\n");
    take();
    EXPECT_EQ(*process(2).kernelThread, 1u);
    EXPECT_EQ(process(2).residentBytes.absence(), Absence::Unsupported);
    EXPECT_EQ(process(2).commandLine.absence(), Absence::Unsupported);
    EXPECT_EQ(*process(2).readBytes, 5u);
    EXPECT_EQ(*process(2).cgroup, "/user.slice");
}

TEST_F(ProcessReader, ZombieIsOne) {
    FakeProcess fake;
    fake.pid = 7;
    fake.state = 'Z';
    fake.commandLine = "";
    put(fake);
    write(7, "statm", "0 0 0 0 0 0 0\n");
    take();
    EXPECT_EQ(*process(7).state, "Z");
    EXPECT_EQ(*process(7).residentBytes, 0u);
    EXPECT_EQ(process(7).commandLine.absence(), Absence::Unsupported);
    EXPECT_EQ(*m_sample.processTotals.zombies, 1u);
}

TEST_F(ProcessReader, TotalsCountByState) {
    int pid = 0;
    for (const char state : std::string("RSSDTtZXxIIIPWK"))
        put({.pid = ++pid, .state = state, .threads = 2});
    const zel::ProcessTotals &totals = take().processTotals;
    EXPECT_EQ(*totals.total, 15u);
    EXPECT_EQ(*totals.threads, 30u);
    EXPECT_EQ(*totals.running, 1u);
    EXPECT_EQ(*totals.sleeping, 2u);
    EXPECT_EQ(*totals.diskSleeping, 1u);
    EXPECT_EQ(*totals.stopped, 1u);
    EXPECT_EQ(*totals.traced, 1u);
    EXPECT_EQ(*totals.zombies, 1u);
    EXPECT_EQ(*totals.dead, 2u);
    EXPECT_EQ(*totals.idle, 3u);
    EXPECT_EQ(*totals.parked, 1u);
    EXPECT_EQ(*totals.other, 2u);
    EXPECT_EQ(*totals.unread, 0u);
}

TEST_F(ProcessReader, IoThatIsNoneIsMalformed) {
    put({.pid = 7});
    write(7, "io", "rchar: 1\nwchar: x\nread_bytes: -\nwrite_bytes: 6\ncancelled_write_bytes: -7\nnew_counter: 9\n");
    take();
    EXPECT_EQ(*process(7).readCharacters, 1u);
    EXPECT_EQ(process(7).writtenCharacters.absence(), Absence::Malformed);
    EXPECT_EQ(process(7).readBytes.absence(), Absence::Malformed);
    EXPECT_EQ(*process(7).writtenBytes, 6u);
    EXPECT_EQ(process(7).cancelledWriteBytes.absence(), Absence::Malformed);
}

TEST_F(ProcessReader, LongCommandLineIsCut) {
    put({.pid = 7, .commandLine = "/bin/a" + std::string(1, '\0') + std::string(100000, 'x')});
    take();
    EXPECT_EQ(*process(7).commandLine, "/bin/a " + std::string(4096 - 7, 'x'));
}

TEST_F(ProcessReader, DescriptorsAreCountedBelowARoot) {
    put({.pid = 7});
    for (const char *name : {"0", "1", "2", "255"})
        m_root.write("proc/7/fd/" + std::string(name), "");
    put({.pid = 8});
    std::filesystem::create_directory(path("proc/8/fd"));
    take();
    EXPECT_EQ(*process(7).descriptors, 4u);
    EXPECT_EQ(*process(8).descriptors, 0u);
}

TEST_F(ProcessReader, UsersHaveTheNamesOfTheRoot) {
    m_root.write("etc/passwd", "someone:x:" + std::to_string(getuid()) + ":0:::\n");
    put({.pid = 7});
    take();
    EXPECT_EQ(*process(7).user, "someone");
}

TEST_F(ProcessReader, LinkDoesNotLeadOut) {
    put({.pid = 7});
    std::filesystem::create_symlink("/proc/self", path("proc/8"));
    m_root.remove("proc/7/cmdline");
    std::filesystem::create_symlink("/etc/passwd", path("proc/7/cmdline"));
    take();
    EXPECT_EQ(pids(), std::vector<std::uint64_t>{7}); // the other leads nowhere
    EXPECT_EQ(process(7).commandLine.absence(), Absence::Unsupported);
    EXPECT_EQ(*m_sample.processTotals.unread, 1u);
}

TEST_F(ProcessReader, HostWithoutProcIsUnsupported) {
    take();
    EXPECT_EQ(m_sample.processes.size(), 0u);
    EXPECT_EQ(stateOf(m_sample).absence, Absence::Unsupported);
    EXPECT_EQ(stateOf(m_sample).error, ENOENT);
    EXPECT_EQ(stateOf(m_sample).file, "proc");
    EXPECT_EQ(m_sample.processTotals.total.absence(), Absence::Unsupported);
}

TEST_F(ProcessReader, CgroupIsUpToSevenSamplesOld) {
    put({.pid = 7});
    take();
    write(7, "cgroup", "0::/moved\n");
    int samples = 0;
    do {
        take();
        ++samples;
    } while (samples < 20 && *process(7).cgroup != "/moved");
    EXPECT_LE(samples, 8);
}

TEST_F(ProcessReader, DescriptorsOfAProcessThatRanAreCountedAtOnce) {
    // Of eight processes each has another turn: at most one of them is counted by its turn.
    for (int pid = 1; pid <= 8; ++pid) {
        put({.pid = pid});
        write(pid, "fd/0", "");
    }
    take();
    for (int pid = 1; pid <= 8; ++pid) {
        write(pid, "fd/1", "");
        if (pid % 2 == 0)
            put({.pid = pid, .utime = 1});
        else
            write(pid, "io", "rchar: 2\nwchar: 2\nsyscr: 3\nsyscw: 4\n");
    }
    take();
    for (std::uint64_t pid = 1; pid <= 8; ++pid)
        EXPECT_EQ(*process(pid).descriptors, 2u) << pid;
}

TEST_F(ProcessReader, MemoryAndCommandLineOfAProcessThatRanAreReadAtOnce) {
    for (int pid = 1; pid <= 8; ++pid)
        put({.pid = pid});
    take();
    for (int pid = 1; pid <= 8; ++pid) {
        put({.pid = pid, .commandLine = "renamed", .utime = 1});
        write(pid, "statm", "11 21 31 41 0 51 0\n");
    }
    take();
    const auto page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    for (std::uint64_t pid = 1; pid <= 8; ++pid) {
        EXPECT_EQ(*process(pid).commandLine, "renamed") << pid;
        EXPECT_EQ(*process(pid).virtualBytes, 11 * page) << pid;
        EXPECT_EQ(*process(pid).dataBytes, 51 * page) << pid;
    }
}

TEST_F(ProcessReader, MemoryAndCommandLineOfAnIdleProcessAreUpToSevenSamplesOld) {
    put({.pid = 7});
    take();
    write(7, "cmdline", "renamed");
    write(7, "statm", "11 21 31 41 0 51 0\n");
    const auto page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    int samples = 0;
    do {
        take();
        ++samples;
    } while (samples < 20 && (*process(7).commandLine != "renamed" || *process(7).residentBytes != 21 * page));
    EXPECT_LE(samples, 8);
}

// Another owner of the directory of a process, as after setuid().
class ProcessReaderOwner : public ProcessReader {
protected:
    static constexpr uid_t other = 54321;

    void giveAway(int pid) const { ASSERT_EQ(chown(path("proc/" + std::to_string(pid)).c_str(), other, 0), 0); }
};

TEST_F(ProcessReaderOwner, OfAProcessThatRanIsReadAtOnce) {
    if (getuid() != 0)
        GTEST_SKIP() << "only root gives files away";
    for (int pid = 1; pid <= 8; ++pid)
        put({.pid = pid});
    take();
    for (int pid = 1; pid <= 8; ++pid) {
        put({.pid = pid, .utime = 1});
        giveAway(pid);
    }
    take();
    for (std::uint64_t pid = 1; pid <= 8; ++pid)
        EXPECT_EQ(*process(pid).userId, other) << pid;
}

TEST_F(ProcessReaderOwner, OfAnIdleProcessIsUpToSevenSamplesOld) {
    if (getuid() != 0)
        GTEST_SKIP() << "only root gives files away";
    put({.pid = 7});
    take();
    giveAway(7);
    int samples = 0;
    do {
        take();
        ++samples;
    } while (samples < 20 && *process(7).userId != other);
    EXPECT_LE(samples, 8);
}

TEST_F(ProcessReaderOwner, IsThatOfANewProcessUnderAnOldNumber) {
    if (getuid() != 0)
        GTEST_SKIP() << "only root gives files away";
    put({.pid = 7});
    take();
    EXPECT_EQ(*process(7).userId, 0u);
    put({.pid = 7, .start = 99});
    giveAway(7);
    take();
    EXPECT_EQ(*process(7).userId, other);
}

TEST_F(ProcessReader, DescriptorsOfAProcessThatRunsAreCountedInEachSample) {
    put({.pid = 7, .state = 'R'});
    for (std::uint64_t count = 1; count <= 10; ++count) {
        write(7, "fd/" + std::to_string(count), "");
        take();
        EXPECT_EQ(*process(7).descriptors, count);
    }
}

TEST_F(ProcessReader, DescriptorsOfAnIdleProcessAreUpToSevenSamplesOld) {
    put({.pid = 7});
    write(7, "fd/0", "");
    take();
    write(7, "fd/1", "");
    int samples = 0;
    do {
        take();
        ++samples;
    } while (samples < 20 && *process(7).descriptors != 2);
    EXPECT_LE(samples, 8);
}

TEST_F(ProcessReader, CgroupOfANewOrARenamedProcessIsReadAtOnce) {
    // Of eight processes each has another turn: at most one of them is read by its turn.
    for (int pid = 1; pid <= 8; ++pid)
        put({.pid = pid});
    take();
    for (int pid = 1; pid <= 8; ++pid) {
        FakeProcess next{.pid = pid};
        if (pid % 2 == 0)
            next.name = "renamed";
        else
            next.start = 77;
        put(next, "0::/moved/" + std::string(64, 'b') + "\n");
    }
    take();
    for (std::uint64_t pid = 1; pid <= 8; ++pid) {
        EXPECT_EQ(*process(pid).cgroup, "/moved/" + std::string(64, 'b')) << pid;
        EXPECT_EQ(*process(pid).container, std::string(64, 'b')) << pid;
    }
}

TEST_F(ProcessReader, CgroupIsRememberedForItsProcess) {
    for (int pid = 10; pid < 30; ++pid)
        put({.pid = pid}, "0::/group" + std::to_string(pid) + "\n");
    for (int round = 0; round < 20; ++round) {
        const int changing = 10 + round;
        m_root.remove("proc/" + std::to_string(changing));
        take();
        for (const Process &each : m_sample.processes)
            EXPECT_EQ(*each.cgroup, "/group" + std::to_string(each.pid));
        put({.pid = changing, .start = round + 1L}, "0::/group" + std::to_string(changing) + "\n");
    }
}

// The figures were read off the files of the fixtures by eye: ticks of 10 ms, pages of 4096 bytes.
Sample fixture(const std::string &name) {
    zel::Sampler sampler({.root = paths::fixtures + ("/" + name), .areas = {zel::Area::Processes}});
    return sampler.take();
}

TEST(ProcessFixture, HostOfKernel61HasItsProcesses) {
    const Sample sample = fixture("linux-6.1.0/t0");
    ASSERT_EQ(sample.processes.size(), 3u);
    const Process &postgres = sample.processes[2];
    EXPECT_EQ(postgres.pid, 7421u);
    EXPECT_EQ(postgres.name, "postgres (wr) x");
    EXPECT_EQ(*postgres.commandLine, "postgres: writer -D /srv/data");
    EXPECT_DOUBLE_EQ(*postgres.userSeconds, 40);
    EXPECT_DOUBLE_EQ(*postgres.systemSeconds, 10);
    EXPECT_DOUBLE_EQ(*postgres.nice, -5);
    EXPECT_DOUBLE_EQ(*postgres.startSeconds, 5000);
    EXPECT_EQ(*postgres.residentBytes, 102400000u);
    EXPECT_EQ(*postgres.virtualBytes, 499998720u);
    EXPECT_EQ(*postgres.writtenBytes, 2097152u);
    EXPECT_EQ(*postgres.cancelledWriteBytes, 512u);
    EXPECT_EQ(postgres.terminal.absence(), Absence::Unsupported);
    EXPECT_EQ(*sample.processTotals.running, 1u);
    EXPECT_EQ(*sample.processTotals.threads, 6u);
}

TEST(ProcessFixture, CapturedHostHasThreadsOfTheKernel) {
    const Sample sample = fixture("linux-6.18/t0");
    ASSERT_EQ(sample.processes.size(), 6u);
    for (const Process &process : sample.processes) {
        EXPECT_EQ(*process.kernelThread, process.pid == 18853 ? 0u : 1u) << process.pid;
        EXPECT_EQ(process.residentBytes.has(), process.pid == 18853) << process.pid;
        EXPECT_EQ(process.commandLine.has(), process.pid == 18853) << process.pid;
    }
}

TEST(ProcessFixture, HostOfKernel24HasWhatThatKernelWrites) {
    const Sample sample = fixture("linux-2.4.20/t0");
    ASSERT_EQ(sample.processes.size(), 3u);
    for (const Process &process : sample.processes) {
        EXPECT_TRUE(process.state) << process.pid;
        EXPECT_TRUE(process.startSeconds) << process.pid;
        EXPECT_EQ(process.readBytes.absence(), Absence::Unsupported) << process.pid;
        EXPECT_EQ(process.delaySeconds.absence(), Absence::Unsupported) << process.pid;
    }
}

} // namespace

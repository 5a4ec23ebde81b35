// The process collector with files that stay open beside one that opens every file anew, on processes that come, go and
// change: the same rows, and no descriptor more than it has places.
//
// ZEL_DIFFERENTIAL_SECONDS asks for a longer comparison, such as 600; ZEL_PROCESS_CHURN_CYCLES for more cycles of
// churn, such as 10000, and ZEL_PROCESS_CHURN_PRESENT for more processes that are there at a time, such as 5000.
#include "Faults.h"
#include "MM_PROC_Info.h"
#include "OwnProcess.h"
#include "ProcessHost.h"
#include "ProcessReading.h"
#include "SettingGuard.h"
#include "Settings.h"
#include "host/ScopedHandle.h"
#include "kernel/KeptFile.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>

namespace {

constexpr int denied = 77;

long wanted(const char *variable, long usual) {
    const char *text = std::getenv(variable);
    return text == nullptr ? usual : std::max(usual, std::strtol(text, nullptr, 10));
}

int openDescriptors() {
    int count = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

// Raises the limit to what `files` need, where it may be. Returns how many there is room for, beside what tests open.
int makeRoomForDescriptors(int files) {
    constexpr rlim_t ofTests = 200;
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t needed = static_cast<rlim_t>(files) + ofTests;
    const rlimit raised{std::max(limit.rlim_cur, needed), std::max(limit.rlim_max, needed)};
    if (setrlimit(RLIMIT_NOFILE, &raised) == 0)
        return files;
    return std::min(files, static_cast<int>(limit.rlim_cur - ofTests));
}

int descriptorsOfAProgram() {
    int count = -1;
    const zel::ScopedPipe output(popen("ls /proc/self/fd | wc -l", "r"));
    EXPECT_TRUE(output != nullptr && std::fscanf(output.get(), "%d", &count) == 1);
    return count;
}

// Places that collectors of earlier tests still hold in this process: those of the driver's reports live as long as it.
int placesOfOthers = 0;

int placesTaken() {
    return zel::keptPlacesTaken() - placesOfOthers;
}

// Runs `body` as the first process of a pid namespace with a /proc of its own, so that every process there is of the
// test's making. Skips the test where that is not allowed.
template<class Body> void amongOwnProcesses(Body body) {
    std::fflush(nullptr);
    const pid_t outer = fork();
    if (outer == 0) {
        if (unshare(CLONE_NEWPID | CLONE_NEWNS) != 0)
            _exit(denied);
        const pid_t first = fork();
        if (first == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
                mount("proc", "/proc", "proc", 0, nullptr) != 0)
                _exit(denied);
            placesOfOthers = zel::keptPlacesTaken();
            body();
            std::fflush(nullptr);
            _exit(testing::Test::HasFailure() ? 1 : 0);
        }
        int status = 0;
        waitpid(first, &status, 0);
        _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 1);
    }
    int status = 0;
    waitpid(outer, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == denied)
        GTEST_SKIP() << "needs a pid namespace of its own";
    EXPECT_EQ(status, 0) << "see above";
}

// Processes that are made, ended, turned into other programs, stopped and made zombies at random.
class ChurningProcesses {
public:
    explicit ChurningProcesses(unsigned seed) : m_random(seed) {}
    ~ChurningProcesses() {
        while (!m_pids.empty())
            end(m_pids.size() - 1);
    }
    ChurningProcesses(const ChurningProcesses &) = delete;
    ChurningProcesses &operator=(const ChurningProcesses &) = delete;

    void bringTo(std::size_t count) {
        while (m_pids.size() < count)
            m_pids.push_back(make());
    }
    void replace(std::size_t count) {
        for (std::size_t i = 0; i < count && !m_pids.empty(); ++i) {
            end(pick());
            m_pids.push_back(make());
        }
    }
    void change() {
        static constexpr int signals[] = {SIGSTOP, SIGCONT, SIGUSR1, SIGUSR2, SIGTERM, SIGKILL};
        kill(m_pids[pick()], signals[m_random() % std::size(signals)]);
    }

private:
    std::size_t pick() { return m_random() % m_pids.size(); }

    void end(std::size_t at) {
        kill(m_pids[at], SIGKILL);
        waitpid(m_pids[at], nullptr, 0);
        m_pids[at] = m_pids.back();
        m_pids.pop_back();
    }

    // SIGTERM and SIGKILL leave a zombie until it is picked.
    static pid_t make() {
        const pid_t child = fork();
        if (child != 0)
            return child;
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        close_range(3, ~0U, 0);
        signal(SIGUSR1, [](int) { execl("/bin/sleep", "sleep", "1000", nullptr); });
        signal(SIGUSR2, [](int) { static_cast<void>(!setresuid(65534, 65534, 65534)); });
        for (;;)
            pause();
    }

    std::mt19937 m_random;
    std::vector<pid_t> m_pids;
};

using Rows = std::map<int, std::string>; // by pid: what does not follow the clock

Rows rowsOf(const ProcessTable &table) {
    const auto pids = table.values("PID");
    Rows rows;
    for (const char *column : {"ARGS", "VSZ", "RSS", "STAT", "NICE", "PPID", "USER", "CTIME", "THCNT", "APPID", "PRI",
                               "IOBYTECOM", "NAME"}) {
        const auto values = table.values(column);
        for (std::size_t i = 0; i < pids.size(); ++i)
            rows[std::atoi(pids[i].c_str())] += values[i] + "|";
    }
    return rows;
}

// A collector whose scans keep at most `places` files open.
struct Collector {
    explicit Collector(int limit) : places(limit) {}

    const char *text() {
        const SettingGuard limit(g_nKeptFileLimit, places);
        return processes.fMGetProc(0);
    }
    ProcessTable scan() { return ProcessTable(text()); }
    Rows rows() { return rowsOf(scan()); }

    int places;
    CMM_PROC_Info processes;
};

// A row that is the same before and after, of files that are opened anew, is so in between. Returns how many are. The
// sampling process itself is no witness: each scan changes its memory.
int expectBetween(const Rows &before, const Rows &kept, const Rows &after) {
    const auto rowOf = [](const Rows &rows, int pid) {
        const auto found = rows.find(pid);
        return found == rows.end() ? std::string("(none)") : found->second;
    };
    int compared = 0;
    Rows all = kept;
    all.insert(before.begin(), before.end());
    for (const auto &[pid, row] : all) {
        const std::string fresh = rowOf(before, pid);
        if (pid == getpid() || fresh != rowOf(after, pid))
            continue;
        ++compared;
        EXPECT_EQ(rowOf(kept, pid), fresh) << pid;
    }
    return compared;
}

TEST(KeptProcessScans, GiveTheRowsOfFreshScansOverAChurningSet) {
    amongOwnProcesses([] {
        using Clock = std::chrono::steady_clock;
        const auto end = Clock::now() + std::chrono::seconds(wanted("ZEL_DIFFERENTIAL_SECONDS", 5));
        g_nProcExtendFlag = 1;
        ChurningProcesses processes(1);
        processes.bringTo(150);
        Collector all(2000), few(100), none(0);
        long cycles = 0, compared = 0;
        for (; Clock::now() < end && !testing::Test::HasFailure(); ++cycles) {
            processes.replace(3);
            for (int i = 0; i < 5; ++i)
                processes.change();
            usleep(1000);
            const Rows before = none.rows();
            const Rows ofAll = all.rows();
            const Rows ofFew = few.rows();
            const Rows after = none.rows();
            compared += expectBetween(before, ofAll, after) + expectBetween(before, ofFew, after);
        }
        EXPECT_GT(compared, 100 * cycles);
        std::printf("%ld cycles, %ld rows compared, %d files open\n", cycles, compared, placesTaken());
    });
}

TEST(KeptProcessScans, DescriptorsStayFlatWhileProcessesComeAndGo) {
    amongOwnProcesses([] {
        constexpr int pids = 5000;
        const int present = static_cast<int>(wanted("ZEL_PROCESS_CHURN_PRESENT", 100));
        const int replaced = present / 10;
        const long cycles = wanted("ZEL_PROCESS_CHURN_CYCLES", pids / replaced);
        const int places = makeRoomForDescriptors(10 * present);
        const int atStart = openDescriptors();
        {
            ChurningProcesses processes(2);
            processes.bringTo(static_cast<std::size_t>(present));
            Collector all(places), few(64);
            all.scan();
            few.scan();
            for (long cycle = 0; cycle < cycles && !testing::Test::HasFailure(); ++cycle) {
                processes.replace(static_cast<std::size_t>(replaced));
                all.processes.fProcMapUpdate();
                all.text();
                all.processes.fProcMapErase();
                few.text();
                EXPECT_EQ(openDescriptors(), atStart + placesTaken());
                EXPECT_LE(placesTaken(), 4 * (present + 1));
                EXPECT_GE(placesTaken(), 3 * (present - replaced)) << "those who stay have their places";
            }
            std::printf("%ld cycles, %ld processes: %d descriptors, %d of them kept\n", cycles,
                        present + cycles * replaced, openDescriptors(), placesTaken());
        }
        EXPECT_EQ(placesTaken(), 0);
        EXPECT_EQ(openDescriptors(), atStart);
    });
}

TEST(KeptProcessScans, LoseNoProcessWhereDescriptorsAreUsedUp) {
    amongOwnProcesses([] {
        ChurningProcesses processes(3);
        processes.bringTo(40);
        g_nProcExtendFlag = 1;
        const rlim_t few = 200 + static_cast<rlim_t>(openDescriptors()); // other tests may have left some open
        const rlimit limit{few, few};
        setrlimit(RLIMIT_NOFILE, &limit);
        Collector kept(100), none(0);
        kept.rows();
        kept.rows();
        const Rows before = none.rows();
        std::vector<zel::ScopedDescriptor> used;
        for (int number = dup(STDIN_FILENO); number >= 0; number = dup(STDIN_FILENO))
            used.emplace_back(number);
        const Rows withoutAny = kept.rows();
        EXPECT_LT(placesTaken(), 100);
        EXPECT_GE(placesTaken(), 90);
        used.clear();
        EXPECT_GE(expectBetween(before, withoutAny, none.rows()), 40);
    });
}

TEST(KeptProcessScans, NothingIsInheritedByPrograms) {
    amongOwnProcesses([] {
        ChurningProcesses processes(4);
        processes.bringTo(600);
        const int before = descriptorsOfAProgram();
        Collector kept(3000);
        kept.scan();
        kept.scan();
        EXPECT_GT(placesTaken(), 2400);
        EXPECT_EQ(descriptorsOfAProgram(), before);
        EXPECT_GT(before, 0);
    });
}

// Every open, read and listing of a scan fails once: the next scan gives what a fresh one gives.
TEST(KeptProcessScans, FaultsLeaveNoTrace) {
    amongOwnProcesses([] {
        ChurningProcesses processes(5);
        processes.bringTo(6);
        g_nProcExtendFlag = 1;
        usleep(10000);
        for (const int places : {2000, 12, 0}) {
            Collector kept(places), none(0);
            kept.rows();
            kept.rows();
            for (const Call call : {Call::Open, Call::Read, Call::Getdents, Call::Allocation, Call::Getpwuid}) {
                bool happened = true;
                for (long number = 1; happened && !testing::Test::HasFailure(); ++number) {
                    {
                        const SettingGuard limit(g_nKeptFileLimit, places);
                        const Fault fault(call, number);
                        kept.processes.fMGetProc(0);
                        happened = Fault::happened();
                    }
                    const Rows before = none.rows();
                    EXPECT_GE(expectBetween(before, kept.rows(), none.rows()), 6) << callName(call) << " " << number;
                }
            }
        }
        EXPECT_EQ(placesTaken(), 0);
    });
}

TEST(KeptProcessScans, SettingAndHostRootMayChangeBetweenScans) {
    amongOwnProcesses([] {
        ChurningProcesses processes(6);
        processes.bringTo(10);
        Collector kept(2000), none(0);
        kept.rows();
        kept.rows();
        const int open = placesTaken();
        EXPECT_GT(open, 40);
        kept.places = 0;
        int compared = 0; // processes that still start change their rows
        for (int tries = 0; tries < 500 && compared < 10; ++tries)
            compared = expectBetween(none.rows(), kept.rows(), none.rows());
        EXPECT_GE(compared, 10);
        EXPECT_EQ(placesTaken(), 0);
        kept.places = 2000;
        kept.rows();
        kept.rows();
        EXPECT_EQ(placesTaken(), open);
        {
            ProcessHost tree;
            tree.put({.pid = 7});
            EXPECT_EQ(kept.scan().values("PID"), std::vector<std::string>{"7"});
            EXPECT_EQ(placesTaken(), 0);
        }
        EXPECT_GE(expectBetween(none.rows(), kept.rows(), none.rows()), 10);
    });
}

} // namespace

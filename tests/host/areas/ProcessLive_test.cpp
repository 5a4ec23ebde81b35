// Processes of this host, beside an independent reading of the same files; what comes and goes while they are read.
#include "host/Sampler.h"

#include "MemoryLedger.h"
#include "OrdinaryUser.h"
#include "PrivateMounts.h"
#include "SystemHooks.h"

#include <csignal>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sched.h>
#include <sstream>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using zel::Absence;
using zel::Process;
using zel::Sample;

constexpr unsigned long long kernelThreadFlag = 0x00200000;

std::string readFile(const std::string &path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// The words after the name in a stat line, the state first.
std::vector<std::string> statWords(pid_t pid) {
    const std::string text = readFile("/proc/" + std::to_string(pid) + "/stat");
    std::istringstream rest(text.substr(std::min(text.size(), text.rfind(')') + 1)));
    std::vector<std::string> words;
    for (std::string word; rest >> word;)
        words.push_back(word);
    return words;
}

// A child that sleeps until this object is gone.
class Sleeper {
public:
    explicit Sleeper(const char *name = "sleeper") : m_pid(fork()) {
        if (m_pid == 0)
            sleepAs(name);
    }
    ~Sleeper() { end(); }
    Sleeper(const Sleeper &) = delete;
    Sleeper &operator=(const Sleeper &) = delete;

    pid_t pid() const { return m_pid; }
    // Ends it and takes its status, so that nothing of it is left; or leaves it a zombie.
    void end() {
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
        }
        m_pid = -1;
    }
    // Under its name, however long a busy machine takes.
    void waitUntilAsleep(const char *name = "sleeper") const {
        constexpr std::size_t longestName = 15;
        const std::string comm = std::string(name).substr(0, longestName) + '\n';
        for (int step = 0; step < 10000; ++step) {
            const std::vector<std::string> words = statWords(m_pid);
            if (readFile("/proc/" + std::to_string(m_pid) + "/comm") == comm && !words.empty() && words[0] == "S")
                return;
            usleep(1000);
        }
        ADD_FAILURE() << name << " does not come to sleep";
    }
    void becomeZombie() const {
        kill(m_pid, SIGKILL);
        siginfo_t info{};
        waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOWAIT);
    }

private:
    [[noreturn]] static void sleepAs(const char *name) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        prctl(PR_SET_NAME, name);
        for (;;)
            pause();
    }
    pid_t m_pid;
};

const Process *find(const Sample &sample, pid_t pid) {
    for (const Process &each : sample.processes) {
        if (each.pid == static_cast<std::uint64_t>(pid))
            return &each;
    }
    return nullptr;
}

class ProcessLive : public testing::Test {
protected:
    const Sample &take() {
        m_sampler.take(m_sample);
        return m_sample;
    }

    zel::Sampler m_sampler{{.areas = {zel::Area::Processes}}};
    Sample m_sample;
};

TEST_F(ProcessLive, SleeperHasWhatItsFilesSay) {
    const Sleeper sleeper;
    usleep(20000);
    take();
    const Process *process = find(m_sample, sleeper.pid());
    ASSERT_NE(process, nullptr);
    const std::vector<std::string> words = statWords(sleeper.pid());
    ASSERT_GE(words.size(), 42u);
    const double ticks = static_cast<double>(sysconf(_SC_CLK_TCK));
    EXPECT_EQ(*process->state, words[0]);
    EXPECT_EQ(std::to_string(*process->parentPid), words[1]);
    EXPECT_EQ(*process->parentPid, static_cast<std::uint64_t>(getpid()));
    EXPECT_EQ(*process->session, static_cast<std::uint64_t>(getsid(0)));
    EXPECT_EQ(std::to_string(*process->minorFaults), words[7]);
    EXPECT_EQ(std::to_string(*process->threads), words[17]);
    EXPECT_DOUBLE_EQ(*process->startSeconds, std::stod(words[19]) / ticks);
    EXPECT_EQ(std::to_string(*process->policy), words[38]);
    EXPECT_EQ(*process->userId, geteuid());
    std::istringstream statm(readFile("/proc/" + std::to_string(sleeper.pid()) + "/statm"));
    std::uint64_t size = 0, resident = 0;
    statm >> size >> resident;
    EXPECT_EQ(*process->virtualBytes, size * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)));
    EXPECT_EQ(*process->residentBytes, resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)));
    std::string commandLine = readFile("/proc/" + std::to_string(sleeper.pid()) + "/cmdline");
    commandLine.resize(std::strlen(commandLine.c_str())); // its first argument
    EXPECT_EQ((*process->commandLine).substr(0, commandLine.size()), commandLine);
    EXPECT_EQ(*process->cgroup == "/", readFile("/proc/self/cgroup").find(*process->cgroup + "\n") == std::string::npos)
        << *process->cgroup;
}

TEST_F(ProcessLive, DescriptorsAreThoseThatAreOpen) {
    const Sleeper sleeper;
    take();
    long count = 0;
    DIR *directory = opendir(("/proc/" + std::to_string(sleeper.pid()) + "/fd").c_str());
    ASSERT_NE(directory, nullptr);
    while (const dirent *entry = readdir(directory))
        count += entry->d_name[0] != '.' ? 1 : 0;
    closedir(directory);
    EXPECT_EQ(static_cast<long>(*find(m_sample, sleeper.pid())->descriptors), count);
}

// Threads of the kernel have no memory and no command line: their files would say the same.
TEST_F(ProcessLive, ThreadsOfTheKernelAreThoseWithoutMemory) {
    take();
    long threads = 0;
    for (const Process &process : m_sample.processes) {
        const auto pid = static_cast<pid_t>(process.pid);
        const std::vector<std::string> words = statWords(pid);
        if (words.size() < 7 || *process.state == "Z" || words[0] == "Z")
            continue; // went since
        const bool isThread = (std::stoull(words[6]) & kernelThreadFlag) != 0;
        EXPECT_EQ(*process.kernelThread == 1, isThread) << pid;
        if (!isThread)
            continue;
        ++threads;
        EXPECT_EQ(process.residentBytes.absence(), Absence::Unsupported);
        EXPECT_EQ(process.commandLine.absence(), Absence::Unsupported);
        EXPECT_EQ(readFile("/proc/" + std::to_string(pid) + "/statm"), "0 0 0 0 0 0 0\n");
        EXPECT_EQ(readFile("/proc/" + std::to_string(pid) + "/cmdline"), "");
    }
    if (threads == 0)
        GTEST_SKIP() << "no thread of the kernel is visible here";
}

TEST_F(ProcessLive, ZombieHasNoCommandLineAndItsState) {
    const Sleeper sleeper;
    take();
    sleeper.becomeZombie();
    take();
    const Process *process = find(m_sample, sleeper.pid());
    ASSERT_NE(process, nullptr);
    EXPECT_EQ(*process->state, "Z");
    EXPECT_EQ(process->commandLine.absence(), Absence::Unsupported);
    EXPECT_EQ(process->residentBytes.valueOr(0), 0u);
    EXPECT_GE(*m_sample.processTotals.zombies, 1u);
}

TEST_F(ProcessLive, StoppedProcessIsStopped) {
    const Sleeper sleeper;
    take();
    kill(sleeper.pid(), SIGSTOP);
    waitpid(sleeper.pid(), nullptr, WUNTRACED);
    take();
    EXPECT_EQ(*find(m_sample, sleeper.pid())->state, "T");
    kill(sleeper.pid(), SIGCONT);
    usleep(20000);
    take();
    EXPECT_EQ(*find(m_sample, sleeper.pid())->state, "S");
}

TEST_F(ProcessLive, NameWithEveryByteIsKept) {
    const char name[] = "a) \n\x1b[m\xff(S 1";
    const Sleeper sleeper(name);
    const Process *process = nullptr;
    for (int tries = 0; tries < 100 && (process == nullptr || process->name != name); ++tries) {
        usleep(10000); // it gives itself the name
        process = find(take(), sleeper.pid());
    }
    ASSERT_NE(process, nullptr);
    EXPECT_EQ(process->name, name);
    EXPECT_EQ(*process->state, "S");
    EXPECT_EQ(*process->parentPid, static_cast<std::uint64_t>(getpid()));
}

// Ends the process at the first open or read of the file of its name.
TEST_F(ProcessLive, ProcessThatEndsBeforeAnyOpenIsLeftOutAndCounted) {
    for (const char *file : {"stat", "statm", "io", "cmdline", "cgroup"}) {
        Sleeper sleeper;
        const pid_t pid = sleeper.pid();
        zel::Sampler sampler({.areas = {zel::Area::Processes}, .keptFiles = 0});
        const std::string wanted = std::to_string(pid) + "/" + file;
        bool ended = false;
        systemHooks().beforeOpenat = [&](const char *path) {
            if (!ended && std::string(path).ends_with(wanted)) {
                ended = true;
                sleeper.end();
            }
        };
        const Sample sample = sampler.take();
        withdrawSystemHooks();
        EXPECT_TRUE(ended) << file;
        EXPECT_EQ(find(sample, pid), nullptr) << file;
        EXPECT_GE(*sample.processTotals.unread, 1u) << file;
        EXPECT_EQ(*sample.processTotals.total, sample.processes.size());
    }
}

TEST_F(ProcessLive, ProcessThatEndsBetweenOpenAndReadIsLeftOutAndCounted) {
    for (const char *file : {"stat", "statm", "io", "cmdline"}) {
        Sleeper sleeper;
        const pid_t pid = sleeper.pid();
        zel::Sampler sampler({.areas = {zel::Area::Processes}, .keptFiles = 0});
        const std::string wanted = std::to_string(pid) + "/" + file;
        bool opened = false, ended = false;
        systemHooks().beforeOpenat = [&](const char *path) { opened = std::string(path).ends_with(wanted); };
        systemHooks().beforeRead = [&](int) {
            if (opened && !ended) {
                ended = true;
                sleeper.end();
            }
        };
        const Sample sample = sampler.take();
        withdrawSystemHooks();
        EXPECT_TRUE(ended) << file;
        EXPECT_EQ(find(sample, pid), nullptr) << file;
        EXPECT_GE(*sample.processTotals.unread, 1u) << file;
    }
}

TEST_F(ProcessLive, OrdinaryUserIsDeniedTheCountersOfOthers) {
    if (getuid() != 0)
        GTEST_SKIP() << "needs root for a process of another user";
    const Sleeper roots;
    const ScratchHome home;
    asOrdinaryUser(home, [&] {
        const Sleeper own;
        zel::Sampler sampler({.areas = {zel::Area::Processes}});
        for (int round = 0; round < 3; ++round) { // fresh, and from what stays open
            const Sample sample = sampler.take();
            const Process *others = find(sample, roots.pid());
            const Process *mine = find(sample, own.pid());
            ASSERT_NE(others, nullptr);
            ASSERT_NE(mine, nullptr);
            EXPECT_EQ(others->readBytes.absence(), Absence::Denied);
            EXPECT_EQ(others->writeCalls.absence(), Absence::Denied);
            EXPECT_TRUE(others->commandLine);
            EXPECT_TRUE(others->residentBytes);
            EXPECT_EQ(*others->userId, 0u);
            EXPECT_EQ(*others->user, "root");
            EXPECT_TRUE(mine->readBytes);
            EXPECT_EQ(*mine->userId, getuid());
            EXPECT_EQ(sample.area(zel::Area::Processes).error, 0);
        }
    });
}

TEST_F(ProcessLive, HiddenProcessesAreNotListed) {
    if (getuid() != 0)
        GTEST_SKIP() << "needs root to mount";
    const std::string refused = withPrivateMounts([] {
        if (mount("proc", "/proc", "proc", 0, "hidepid=2") != 0)
            return; // an old kernel has one set of options for all mounts
        const Sleeper roots;
        const ScratchHome home;
        asOrdinaryUser(home, [&] {
            const Sleeper own;
            zel::Sampler sampler({.areas = {zel::Area::Processes}});
            const Sample sample = sampler.take();
            EXPECT_EQ(find(sample, roots.pid()), nullptr);
            EXPECT_NE(find(sample, own.pid()), nullptr);
            EXPECT_EQ(*sample.processTotals.unread, 0u);
        });
    });
    if (!refused.empty())
        GTEST_SKIP() << refused;
}

TEST_F(ProcessLive, ProportionalMemoryOnlyWhenAskedFor) {
    take();
    EXPECT_EQ(find(m_sample, getpid())->proportionalBytes.absence(), Absence::NotAsked);
    zel::Sampler asking({.areas = {zel::Area::Processes}, .proportionalMemory = true});
    const Sample sample = asking.take();
    const Process *self = find(sample, getpid());
    ASSERT_TRUE(self->proportionalBytes);
    EXPECT_GT(*self->proportionalBytes, 0u);
    EXPECT_LE(*self->proportionalBytes, *self->residentBytes + (std::uint64_t{8} << 20)); // pages come and go
    const Process *first = find(sample, 2);
    if (first != nullptr && first->name == "kthreadd") {
        EXPECT_EQ(first->proportionalBytes.absence(), Absence::Unsupported);
    }
}

// Runs `body` where only its own processes are listed; false when that is not allowed.
bool amongOwnProcesses(const std::function<void()> &body) {
    const std::string refused = withPrivateMounts([&] {
        if (unshare(CLONE_NEWPID) != 0)
            _exit(0);
        const pid_t first = fork();
        if (first == 0) {
            if (mount("proc", "/proc", "proc", 0, nullptr) == 0)
                body();
            std::fflush(nullptr);
            _exit(testing::Test::HasFailure() ? 1 : 0);
        }
        int status = -1;
        waitpid(first, &status, 0);
        EXPECT_EQ(status, 0);
    });
    return refused.empty();
}

int entriesOf(const char *path) {
    int count = 0;
    DIR *directory = opendir(path);
    while (readdir(directory) != nullptr)
        ++count;
    closedir(directory);
    return count;
}

// What is held when the thread of the sample before has ended, and let go of what it had.
HeapHoldings holdingsOnceThreadsEnded() {
    constexpr int onlyThisOne = 3; // with the two dots
    for (int tries = 0; tries < 5000 && entriesOf("/proc/self/task") > onlyThisOne; ++tries)
        usleep(1000);
    usleep(50000);
    return heapHoldings();
}

// A sample starts one call, whatever the number of processes.
TEST_F(ProcessLive, NothingIsAllocatedInSteadyStateButForTheCall) {
    if (getuid() != 0)
        GTEST_SKIP() << "needs root for a list of processes of its own";
    EXPECT_TRUE(amongOwnProcesses([] {
        constexpr int samples = 16; // twice the turn of every cgroup
        constexpr long perCall = 8; // the call, its work, its answer, its place among the calls, its thread
        zel::Sampler sampler({.areas = {zel::Area::Processes}});
        Sample sample;
        std::vector<std::unique_ptr<Sleeper>> sleepers;
        for (int i = 0; i < 50; ++i)
            sleepers.push_back(std::make_unique<Sleeper>());
        for (int i = 0; i < samples; ++i)
            sampler.take(sample);
        const HeapHoldings before = holdingsOnceThreadsEnded();
        const long allocations = allocationsSoFar();
        for (int i = 0; i < samples; ++i)
            sampler.take(sample);
        EXPECT_LE(allocationsSoFar() - allocations, samples * perCall);
        EXPECT_EQ(holdingsOnceThreadsEnded(), before);
        EXPECT_EQ(sample.processes.size(), 51u);
    }));
}

int openDescriptors() {
    return entriesOf("/proc/self/fd");
}

TEST_F(ProcessLive, BudgetIsKept) {
    std::vector<std::unique_ptr<Sleeper>> sleepers;
    for (int i = 0; i < 50; ++i)
        sleepers.push_back(std::make_unique<Sleeper>());
    for (const int budget : {0, 1, 64}) {
        const int before = openDescriptors();
        zel::Sampler sampler({.areas = {zel::Area::Processes}, .keptFiles = budget});
        Sample sample;
        for (int i = 0; i < 5; ++i)
            sampler.take(sample);
        EXPECT_LE(openDescriptors(), before + 1 + budget); // and the root
        if (budget == 64) {
            EXPECT_GE(openDescriptors(), before + budget - 2);
        }
        for (const auto &sleeper : sleepers)
            EXPECT_TRUE(find(sample, sleeper->pid())->residentBytes);
    }
}

// The soft limit is reached in the middle of a sample.
TEST_F(ProcessLive, WithoutDescriptorsTheReasonIsInTheSample) {
    const Sleeper sleeper;
    zel::Sampler sampler({.areas = {zel::Area::Processes}, .keptFiles = 0});
    Sample sample;
    sampler.take(sample);
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    // One is left for /proc itself.
    const int lowest = dup(0);
    close(lowest);
    rlimit none{static_cast<rlim_t>(lowest) + 1, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    sampler.take(sample);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(sample.area(zel::Area::Processes).error, EMFILE);
    ASSERT_NE(find(sample, sleeper.pid()), nullptr);
    EXPECT_FALSE(find(sample, sleeper.pid())->state);
    EXPECT_GE(*sample.processTotals.unread, *sample.processTotals.total); // and those that went meanwhile
    sampler.take(sample);
    EXPECT_EQ(*find(sample, sleeper.pid())->state, "S");
    EXPECT_EQ(sample.area(zel::Area::Processes).error, 0);
}

// What stays open gives what is opened anew, whoever comes and goes.
TEST_F(ProcessLive, KeptAndFreshFilesSayTheSame) {
    zel::Sampler fresh({.areas = {zel::Area::Processes}, .keptFiles = 0});
    zel::Sampler kept({.areas = {zel::Area::Processes}, .keptFiles = 100});
    std::vector<std::unique_ptr<Sleeper>> sleepers;
    for (int i = 0; i < 40; ++i)
        sleepers.push_back(std::make_unique<Sleeper>());
    Sample one, other;
    for (int round = 0; round < 30; ++round) {
        sleepers[static_cast<std::size_t>(round)] = std::make_unique<Sleeper>();
        for (const auto &sleeper : sleepers)
            sleeper->waitUntilAsleep();
        fresh.take(one);
        kept.take(other);
        for (const auto &sleeper : sleepers) {
            const Process *left = find(one, sleeper->pid());
            const Process *right = find(other, sleeper->pid());
            ASSERT_NE(left, nullptr);
            ASSERT_NE(right, nullptr);
            for (const auto &field : zel::fieldsOf<Process>()) {
                const zel::Value first = field.of(*left), second = field.of(*right);
                EXPECT_EQ(first.absence(), second.absence()) << field.family.name;
                EXPECT_EQ(first.asText(), second.asText()) << field.family.name;
                EXPECT_EQ(first.asReal(), second.asReal()) << field.family.name;
            }
        }
    }
}

// A reader that got no processor for a while is passed over, and has one file more until it is through.
bool descriptorsComeDownTo(int limit) {
    for (int tries = 0; tries < 5000 && openDescriptors() > limit; ++tries)
        usleep(1000);
    return openDescriptors() <= limit;
}

// 5,000 processes come and go.
TEST_F(ProcessLive, ChurnLeavesDescriptorsAndListFlat) {
    constexpr int rounds = 100, perRound = 50;
    zel::Sampler sampler({.areas = {zel::Area::Processes}, .keptFiles = 200});
    Sample sample;
    sampler.take(sample);
    const int limit = openDescriptors() + 200;
    std::vector<std::unique_ptr<Sleeper>> sleepers;
    for (int round = 0; round < rounds; ++round) {
        sleepers.clear();
        for (int i = 0; i < perRound; ++i)
            sleepers.push_back(std::make_unique<Sleeper>());
        for (int i = 0; i < 2; ++i)
            sampler.take(sample);
        for (const auto &sleeper : sleepers)
            ASSERT_NE(find(sample, sleeper->pid()), nullptr);
        EXPECT_TRUE(descriptorsComeDownTo(limit));
    }
    sleepers.clear();
    sampler.take(sample);
    sampler.take(sample);
    EXPECT_TRUE(descriptorsComeDownTo(limit));
}

} // namespace

// Files of processes that stay open give what files that are opened anew give, whatever becomes of the process.
#include "kernel/ProcessFiles.h"

#include "Faults.h"
#include "OwnProcess.h"
#include "ProcessReading.h"
#include "TempDirectory.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <thread>

namespace {

using zel::ProcessFile;

constexpr uid_t nobody = 65534;

#define SKIP_UNLESS_ROOT()                                                                                             \
    do {                                                                                                               \
        if (geteuid() != 0)                                                                                            \
            GTEST_SKIP() << "needs root";                                                                              \
    } while (false)

// Waits until `what` is true, for as long as a machine may take.
template<class What> bool eventually(What what) {
    for (int i = 0; i < 2000 && !what(); ++i)
        usleep(5000);
    return what();
}

bool isAsleep(const KeptReading &reading, pid_t pid) {
    return reading.fresh(pid).stat.find(") S ") != std::string::npos;
}

void becomeOrdinaryUser() {
    const bool root = geteuid() == 0;
    EXPECT_TRUE(!root || (setresgid(nobody, nobody, nobody) == 0 && setresuid(nobody, nobody, nobody) == 0));
    prctl(PR_SET_DUMPABLE, 1); // its files below /proc are its own again
}

bool holdOnly(int capability) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
    data[0].effective = data[0].permitted = 1U << capability;
    return syscall(SYS_capset, &header, data) == 0;
}

const char *program = nullptr;

void becomeProgram(int) {
    execl(program, "helper", "1000", nullptr);
    _exit(1);
}

void becomeSleep(int) {
    execl("/bin/sleep", "sleep", "1000", nullptr);
    _exit(1);
}

TEST(ProcessFiles, KeptTextsAreThoseOfFilesOpenedAnew) {
    const Child first, second;
    KeptReading reading;
    const std::vector<pid_t> pids{first.pid(), second.pid(), 1, 2};
    reading.keep(pids);
    ASSERT_GE(reading.kept.count(), 8);
    const auto kept = reading.scan({first.pid(), second.pid()});
    EXPECT_EQ(kept[0], reading.fresh(first.pid()));
    EXPECT_EQ(kept[1], reading.fresh(second.pid()));
    EXPECT_TRUE(kept[0].exists);
    EXPECT_FALSE(kept[0].stat.empty());
    EXPECT_FALSE(kept[0].statm.empty());
    EXPECT_FALSE(kept[0].commandLine.empty());
}

TEST(ProcessFiles, ProcessThatChangesShowsItsNewFigures) {
    const Child child([] { signal(SIGUSR1, [](int) { prctl(PR_SET_NAME, "renamed"); }); });
    KeptReading reading;
    reading.keep({child.pid()});
    child.wake();
    ASSERT_TRUE(eventually([&] { return reading.fresh(child.pid()).stat.find("(renamed)") != std::string::npos; }));
    EXPECT_NE(reading.scan(child.pid()).stat.find("(renamed)"), std::string::npos);
    EXPECT_EQ(reading.kept.count(), 4);
}

TEST(ProcessFiles, StoppedAndContinuedProcessIsReadAsItIs) {
    const Child child;
    KeptReading reading;
    reading.keep({child.pid()});
    kill(child.pid(), SIGSTOP);
    ASSERT_TRUE(eventually([&] { return reading.fresh(child.pid()).stat.find(") T ") != std::string::npos; }));
    EXPECT_EQ(reading.scan(child.pid()), reading.fresh(child.pid()));
    kill(child.pid(), SIGCONT);
    ASSERT_TRUE(eventually([&] { return isAsleep(reading, child.pid()); }));
    EXPECT_EQ(reading.scan(child.pid()), reading.fresh(child.pid()));
    EXPECT_EQ(reading.kept.count(), 4);
}

TEST(ProcessFiles, ProcessThatHasEndedIsNoProcess) {
    Child child;
    KeptReading reading;
    reading.keep({child.pid()});
    const pid_t pid = child.pid();
    child.end();
    EXPECT_FALSE(reading.scan(pid).exists);
    EXPECT_EQ(reading.kept.count(), 0);
}

TEST(ProcessFiles, ZombieIsReadAsOne) {
    const Child child;
    KeptReading reading;
    reading.keep({child.pid()});
    child.becomeZombie();
    const ProcessTexts kept = reading.scan(child.pid());
    EXPECT_EQ(kept, reading.fresh(child.pid()));
    EXPECT_NE(kept.stat.find(") Z "), std::string::npos);
    EXPECT_EQ(kept.commandLine, "");
    EXPECT_EQ(kept.statm, "0 0 0 0 0 0 0\n");
}

// The io of a process without memory belongs to root: its user opens it no more, but an open file still answers him.
TEST(ProcessFiles, ZombieHidesItsIoFromItsUser) {
    EXPECT_TRUE(trueInChild([] {
        becomeOrdinaryUser();
        const Child child;
        KeptReading reading;
        reading.keep({child.pid()});
        EXPECT_FALSE(reading.scan(child.pid()).io.empty());
        child.becomeZombie();
        for (int scan = 0; scan < 3; ++scan)
            EXPECT_EQ(reading.scan(child.pid()), reading.fresh(child.pid())) << scan;
        return !testing::Test::HasFailure();
    }));
}

// Its first thread has ended, another works on.
TEST(ProcessFiles, ProcessWhoseFirstThreadHasEndedIsReadAsItIs) {
    for (const bool ordinary : {false, true}) {
        EXPECT_TRUE(trueInChild([ordinary] {
            if (ordinary)
                becomeOrdinaryUser();
            const Child child([] {
                signal(SIGUSR1, [](int) { syscall(SYS_exit, 0); });
                std::thread([] { pause(); }).detach();
            });
            KeptReading reading;
            reading.keep({child.pid()});
            EXPECT_EQ(reading.kept.count(), 4);
            syscall(SYS_tgkill, child.pid(), child.pid(), SIGUSR1);
            EXPECT_TRUE(eventually([&] { return reading.fresh(child.pid()).stat.find(") Z ") != std::string::npos; }));
            for (int scan = 0; scan < 3; ++scan)
                EXPECT_EQ(reading.scan(child.pid()), reading.fresh(child.pid())) << scan;
            EXPECT_EQ(reading.scan(child.pid()).io.empty(), ordinary || geteuid() != 0);
            return !testing::Test::HasFailure();
        })) << ordinary;
    }
}

// The thread that runs another program takes the place of the first one, with its number.
TEST(ProcessFiles, ProgramThatAThreadRunsIsReadAsItIs) {
    const Child child([] {
        signal(SIGUSR1, becomeSleep);
        std::thread([] { pause(); }).detach();
        sigset_t ofTheThread;
        sigemptyset(&ofTheThread);
        sigaddset(&ofTheThread, SIGUSR1);
        pthread_sigmask(SIG_BLOCK, &ofTheThread, nullptr);
    });
    KeptReading reading;
    reading.keep({child.pid()});
    child.wake();
    ASSERT_TRUE(eventually(
        [&] { return reading.fresh(child.pid()).commandLine.starts_with("sleep") && isAsleep(reading, child.pid()); }));
    EXPECT_EQ(reading.scan(child.pid()), reading.fresh(child.pid()));
}

TEST(ProcessFiles, ProcessThatRunsAnotherProgramShowsItsCommandLine) {
    const Child child([] { signal(SIGUSR1, becomeSleep); });
    KeptReading reading;
    reading.keep({child.pid()});
    child.wake();
    ASSERT_TRUE(eventually(
        [&] { return reading.fresh(child.pid()).commandLine.starts_with("sleep") && isAsleep(reading, child.pid()); }));
    const ProcessTexts kept = reading.scan(child.pid());
    EXPECT_EQ(kept, reading.fresh(child.pid()));
    EXPECT_EQ(kept.commandLine, std::string("sleep\0001000\0", 11));
}

TEST(ProcessFiles, PidThatIsUsedAgainShowsTheNewProcess) {
    Child child;
    KeptReading reading;
    reading.keep({child.pid()});
    const pid_t pid = child.pid();
    child.end();
    const pid_t successor = childWithPid(pid);
    if (successor == 0)
        GTEST_SKIP() << "this user, or this kernel, does not choose pids";
    ASSERT_TRUE(eventually([&] { return isAsleep(reading, pid); }));
    const ProcessTexts kept = reading.scan(pid);
    EXPECT_EQ(kept, reading.fresh(pid));
    EXPECT_NE(kept.stat.find("(successor)"), std::string::npos);
    EXPECT_EQ(reading.scan(pid), reading.fresh(pid));
    EXPECT_EQ(reading.kept.count(), 4) << "those of the new process";
    kill(successor, SIGKILL);
    waitpid(successor, nullptr, 0);
}

TEST(ProcessFiles, ProcessOfAnotherOwnerNowIsOpenedAnew) {
    SKIP_UNLESS_ROOT();
    const Child child([] { signal(SIGUSR1, [](int) { static_cast<void>(!setresuid(nobody, nobody, nobody)); }); });
    KeptReading reading;
    reading.keep({child.pid()});
    child.wake();
    ASSERT_TRUE(eventually([&] { return reading.fresh(child.pid()).user == static_cast<int>(nobody); }));
    const Fault opened(Call::Open, 0);
    const ProcessTexts kept = reading.scan(child.pid());
    EXPECT_EQ(Fault::calls(), 4);
    EXPECT_EQ(kept, reading.fresh(child.pid()));
    EXPECT_EQ(kept.user, static_cast<int>(nobody));
}

// An ordinary user's processes may cease to be such that he may look into them, and become so again.
TEST(ProcessFiles, RightsToIoAreThoseOfTheMoment) {
    EXPECT_TRUE(trueInChild([] {
        becomeOrdinaryUser();
        const Child child(
            [] { signal(SIGUSR1, [](int) { prctl(PR_SET_DUMPABLE, prctl(PR_GET_DUMPABLE) == 1 ? 0 : 1); }); });
        KeptReading reading;
        reading.keep({child.pid()});
        EXPECT_EQ(reading.kept.count(), 4);
        for (int change = 0; change < 3; ++change) {
            const bool readable = !reading.fresh(child.pid()).io.empty();
            EXPECT_EQ(readable, change % 2 == 0);
            child.wake();
            EXPECT_TRUE(eventually([&] { return reading.fresh(child.pid()).io.empty() == readable; }));
            EXPECT_EQ(reading.scan(child.pid()), reading.fresh(child.pid())) << change;
        }
        return !testing::Test::HasFailure();
    }));
}

TEST(ProcessFiles, SetUidProgramHidesItsIoFromItsUser) {
    SKIP_UNLESS_ROOT();
    const TempDirectory directory;
    const std::string helper = (directory.path() / "helper").string();
    std::filesystem::copy_file("/bin/sleep", helper);
    ASSERT_EQ(chmod(directory.path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(helper.c_str(), 04755), 0);
    EXPECT_TRUE(trueInChild([&helper] {
        becomeOrdinaryUser();
        program = helper.c_str();
        const Child child([] { signal(SIGUSR1, becomeProgram); });
        KeptReading reading;
        reading.keep({child.pid()});
        EXPECT_FALSE(reading.scan(child.pid()).io.empty());
        child.wake();
        EXPECT_TRUE(eventually([&] {
            return reading.fresh(child.pid()).commandLine.starts_with("helper") && isAsleep(reading, child.pid());
        }));
        const ProcessTexts kept = reading.scan(child.pid());
        EXPECT_EQ(kept, reading.fresh(child.pid()));
        EXPECT_EQ(kept.user, 0);
        EXPECT_EQ(kept.io, "");
        EXPECT_FALSE(kept.stat.empty());
        return !testing::Test::HasFailure();
    }));
}

// A /proc that hides the processes of others: with 1 they can be seen but not read, with 2 not even be seen.
class HidingProc : public testing::TestWithParam<int> {};

TEST_P(HidingProc, HidesAProcessThatWasReadBefore) {
    SKIP_UNLESS_ROOT();
    const TempDirectory directory;
    const Child ofRoot;
    const std::string options = "hidepid=" + std::to_string(GetParam());
    ASSERT_EQ(chmod(directory.path().c_str(), 0755), 0);
    EXPECT_TRUE(trueInChild([&] {
        if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("proc", directory.path().c_str(), "proc", 0, options.c_str()) != 0)
            return true; // no rights to mount here
        KeptReading reading(1000, directory.path().c_str());
        becomeOrdinaryUser();
        const Child own(
            [] { signal(SIGUSR1, [](int) { prctl(PR_SET_DUMPABLE, prctl(PR_GET_DUMPABLE) == 1 ? 0 : 1); }); });
        reading.keep({ofRoot.pid(), own.pid()});
        EXPECT_EQ(reading.kept.count(), 4) << "of the one that may be read";
        EXPECT_EQ(reading.scan(ofRoot.pid()), reading.fresh(ofRoot.pid()));
        EXPECT_EQ(reading.scan(ofRoot.pid()).stat, "");
        reading.keep({own.pid()});
        own.wake();
        EXPECT_TRUE(eventually([&] { return reading.fresh(own.pid()).stat.empty(); }));
        EXPECT_EQ(reading.scan(own.pid()), reading.fresh(own.pid()));
        EXPECT_EQ(reading.scan(own.pid()).stat, "");
        own.wake();
        EXPECT_TRUE(eventually([&] { return isAsleep(reading, own.pid()); }));
        EXPECT_EQ(reading.scan(own.pid()), reading.fresh(own.pid()));
        return !testing::Test::HasFailure();
    }));
}

TEST_P(HidingProc, HidesFromTheRemountOn) {
    SKIP_UNLESS_ROOT();
    const TempDirectory directory;
    const Child ofRoot;
    const std::string options = "hidepid=" + std::to_string(GetParam());
    ASSERT_EQ(chmod(directory.path().c_str(), 0755), 0);
    EXPECT_TRUE(trueInChild([&] {
        const char *proc = directory.path().c_str();
        if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("proc", proc, "proc", 0, nullptr) != 0)
            return true; // no rights to mount here
        KeptReading reading(1000, proc);
        // An ordinary user but for the right to remount.
        EXPECT_EQ(prctl(PR_SET_KEEPCAPS, 1), 0);
        becomeOrdinaryUser();
        EXPECT_TRUE(holdOnly(CAP_SYS_ADMIN));
        reading.keep({ofRoot.pid()});
        EXPECT_EQ(reading.kept.count(), 3) << "without io";
        EXPECT_FALSE(reading.scan(ofRoot.pid()).stat.empty());
        EXPECT_EQ(mount("proc", proc, "proc", MS_REMOUNT, options.c_str()), 0);
        EXPECT_EQ(reading.scan(ofRoot.pid()), reading.fresh(ofRoot.pid()));
        EXPECT_EQ(reading.scan(ofRoot.pid()).stat, "");
        EXPECT_EQ(reading.kept.count(), 0);
        EXPECT_EQ(mount("proc", proc, "proc", MS_REMOUNT, "hidepid=0"), 0);
        EXPECT_EQ(reading.scan(ofRoot.pid()), reading.fresh(ofRoot.pid()));
        EXPECT_FALSE(reading.scan(ofRoot.pid()).stat.empty());
        return !testing::Test::HasFailure();
    }));
}

INSTANTIATE_TEST_SUITE_P(ProcessFiles, HidingProc, testing::Values(1, 2));

TEST(ProcessFiles, KernelThreadsHaveWhatTheirFilesWouldGive) {
    KeptReading reading;
    int threads = 0;
    for (const auto &entry : std::filesystem::directory_iterator("/proc")) {
        const int pid = std::atoi(entry.path().filename().c_str());
        if (pid == 0 || (flagsOf(reading.fresh(pid).stat) & 0x00200000) == 0)
            continue;
        const ProcessTexts fresh = reading.fresh(pid);
        const ProcessTexts kept = reading.scan(pid);
        if (!fresh.exists || !kept.exists)
            continue; // it has ended
        ++threads;
        EXPECT_EQ(kept.statm, fresh.statm) << pid;
        EXPECT_EQ(kept.commandLine, fresh.commandLine) << pid;
    }
    if (threads == 0)
        GTEST_SKIP() << "no kernel thread can be seen here";
    std::printf("%d kernel threads\n", threads);
}

TEST(ProcessFiles, FilesOfAKernelThreadInATreeAreRead) {
    const TempDirectory tree;
    tree.write("7/stat", "7 (kworker) S 2 0 0 0 -1 2129984 0\n");
    tree.write("7/statm", "1 2 3 4 5 6 7\n");
    tree.write("7/io", "read_bytes: 5\n");
    tree.write("7/cmdline", "text");
    const int setting = 100;
    zel::KeptPlaces places(setting);
    zel::KeptProcesses kept(places);
    const zel::ScopedDescriptor directory(open(tree.path().c_str(), O_RDONLY | O_DIRECTORY));
    for (int scan = 0; scan < 3; ++scan) {
        kept.begin(directory.get(), false);
        const ProcessTexts texts = textsOf(directory.get(), 7, &kept);
        kept.finish();
        EXPECT_EQ(texts.statm, "1 2 3 4 5 6 7\n");
        EXPECT_EQ(texts.commandLine, "text");
        EXPECT_EQ(texts.io, "read_bytes: 5\n");
    }
    EXPECT_EQ(kept.count(), 0);
}

} // namespace

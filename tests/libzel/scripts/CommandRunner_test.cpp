// ShCmd, the command runner of the home kit.
#include "Paths.h"
#include "ShellRun.h"
#include "TempDirectory.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <unistd.h>

namespace {

const std::string runner = paths::commandRunner;

// Whether a "sleep MARK" still runs.
bool stillRuns(const std::string &mark) {
    return runShell("pgrep -f '^sleep " + mark + "'").status == 0;
}

TEST(CommandRunner, TestsCanSeeAProcessThatStillRuns) {
    EXPECT_TRUE(runShell("sleep 98700 & pgrep -f '^sleep 98700'; kill $!").out.size() > 1);
    EXPECT_FALSE(stillRuns("98700"));
}

TEST(CommandRunner, PassesTheExitStatusOn) {
    EXPECT_EQ(runShell(runner + " 5 true").status, 0);
    EXPECT_EQ(runShell(runner + " 5 false").status, 1);
    EXPECT_EQ(runShell(runner + " 5 sh -c 'exit 7'").status, 7);
}

TEST(CommandRunner, DeathBySignalIsTheSignalAbove128) {
    EXPECT_EQ(runShell(runner + " 5 sh -c 'kill -9 $$'").status, 128 + 9);
}

TEST(CommandRunner, CallerThatIgnoresItsChildrenGetsTheStatusAtOnce) {
    const ShellResult result = runShell("env --ignore-signal=CHLD " + runner + " 5 sh -c 'exit 7'");
    EXPECT_EQ(result.status, 7);
    EXPECT_LT(result.seconds, 3.0);
}

TEST(CommandRunner, PassesOutputAndArgumentsAsTheyAre) {
    EXPECT_EQ(runShell(runner + " 5 echo 'a  b' '$HOME' ';'").out, "a  b $HOME ;\n");
}

TEST(CommandRunner, MissingAndUnrunnableCommandsSaySo) {
    const ShellResult missing = runShell(runner + " 5 /nonexistent/command 2>&1");
    EXPECT_EQ(missing.status, 127);
    EXPECT_EQ(missing.out, "ShCmd: /nonexistent/command: No such file or directory\n");
    EXPECT_EQ(runShell(runner + " 5 /etc/passwd 2>/dev/null").status, 126);
}

TEST(CommandRunner, WrongUsageIsRefused) {
    for (const char *arguments : {"", " 5", " x true", " 0 true", " -1 true", " 5s true", " 99999999999 true"})
        EXPECT_EQ(runShell(runner + arguments + " 2>/dev/null").status, 125) << arguments;
}

TEST(CommandRunner, EndsTheCommandWhenTheTimeIsOver) {
    const ShellResult result = runShell(runner + " 1 sleep 98701");
    EXPECT_EQ(result.status, 124);
    EXPECT_GE(result.seconds, 0.9);
    EXPECT_LT(result.seconds, 3.0);
    EXPECT_FALSE(stillRuns("98701"));
}

TEST(CommandRunner, KillsWhatIgnoresTerm) {
    const ShellResult result = runShell(runner + " 1 sh -c \"trap '' TERM; sleep 98702 & sleep 98702; sleep 98702\"");
    EXPECT_EQ(result.status, 124);
    EXPECT_LT(result.seconds, 6.0);
    EXPECT_FALSE(stillRuns("98702"));
}

TEST(CommandRunner, LeavesNoChildBehindWhenTheCommandEnds) {
    const ShellResult result = runShell(runner + " 5 sh -c 'sleep 98703 >/dev/null & exit 3'");
    EXPECT_EQ(result.status, 3);
    EXPECT_FALSE(stillRuns("98703"));
}

TEST(CommandRunner, EndsProcessesThatLeftTheGroup) {
    const ShellResult result = runShell(runner + " 1 sh -c 'setsid sleep 98704 & sleep 98704'");
    EXPECT_EQ(result.status, 124);
    EXPECT_FALSE(stillRuns("98704"));
    // One that ignores TERM, too, and whose parent is gone when the command ends.
    const std::string stubborn = R"(trap \"\" TERM; sleep 98707; sleep 98707)";
    EXPECT_EQ(runShell(runner + " 5 sh -c 'setsid sh -c \"" + stubborn + "\" >/dev/null & sleep 0.2; exit 4'").status,
              4);
    EXPECT_FALSE(stillRuns("98707"));
}

TEST(CommandRunner, EndsTheCommandWhenItIsEndedItself) {
    const ShellResult result = runShell(runner + " 60 sleep 98705 & pid=$!; sleep 0.3; kill $pid; wait $pid");
    EXPECT_EQ(result.status, 128 + 15);
    EXPECT_FALSE(stillRuns("98705"));
    runShell(runner + " 60 sleep 98706 & pid=$!; sleep 0.3; kill -9 $pid; sleep 0.3");
    EXPECT_FALSE(stillRuns("98706"));
}

// Both ways of keeping a command: in a namespace of its own, which the kernel ends as a whole, and among all others.
class KeptCommand : public testing::TestWithParam<const char *> {
protected:
    KeptCommand() { setenv("ZEL_SHARED_PIDS", GetParam(), 1); }
    ~KeptCommand() override { unsetenv("ZEL_SHARED_PIDS"); }
    static bool endsSoon(const std::string &mark) {
        for (int step = 0; step < 100 && stillRuns(mark); ++step)
            usleep(20000);
        return !stillRuns(mark);
    }
    // Runs no command for longer than this, whatever the runner does.
    static ShellResult runWithin(int seconds, const std::string &line) {
        return runShell("timeout -s KILL " + std::to_string(seconds) + " " + line);
    }
};

INSTANTIATE_TEST_SUITE_P(CommandRunner, KeptCommand, testing::Values("0", "1"));

TEST_P(KeptCommand, IsEndedWithAllItStartedWhenTheRunnerIsKilled) {
    runShell(
        runner +
        " 60 sh -c 'setsid sleep 98711 & trap \"\" TERM; sleep 98711 & sleep 98711' >/dev/null & pid=$!; sleep 0.3; " +
        "kill -9 $pid");
    EXPECT_TRUE(endsSoon("98711"));
}

TEST_P(KeptCommand, DoesNotEscapeTheLimitByStoppingItsParent) {
    for (const char *stop : {"kill -STOP $PPID", "while sleep 0.01; do kill -STOP $PPID; done"}) {
        const ShellResult result = runWithin(20, runner + " 1 sh -c '" + stop + "; sleep 98712' >/dev/null");
        EXPECT_EQ(result.status, 124) << stop;
        EXPECT_LT(result.seconds, 1 + 5.0) << stop;
        EXPECT_TRUE(endsSoon("98712")) << stop;
    }
}

TEST_P(KeptCommand, LeavesNothingWhenItKillsItsParent) {
    const ShellResult result =
        runWithin(20, runner + " 1 sh -c 'setsid sleep 98713 & kill -9 $PPID; sleep 98713' >/dev/null");
    EXPECT_NE(result.status, 0);
    EXPECT_LT(result.seconds, 1 + 5.0);
    EXPECT_TRUE(endsSoon("98713"));
}

TEST_P(KeptCommand, HasAProcessNumberOfItsOwn) {
    const std::string first = runShell(runner + " 5 sh -c 'echo $$'").out;
    const std::string second = runShell(runner + " 5 sh -c 'echo $$'").out;
    EXPECT_NE(first, second) << "temporary files are named by it";
}

// The nice values of the command and of its keeper.
std::pair<int, int> priorities(const std::string &before) {
    const ShellResult result = runShell(before + runner + " 5 sh -c 'cut -d\" \" -f19 /proc/$$/stat /proc/$PPID/stat'");
    std::istringstream numbers(result.out);
    int command = 0, keeper = 0;
    EXPECT_TRUE(numbers >> command >> keeper) << result.out;
    return {command, keeper};
}

TEST(CommandRunner, RunsItsCommandBelowItsOwnPriority) {
    const auto [command, keeper] = priorities("ZEL_SHARED_PIDS=1 ");
    EXPECT_GT(command, keeper);
    if (getuid() != 0)
        return;
    const auto [rootCommand, rootKeeper] =
        priorities("ZEL_SHARED_PIDS=1 prlimit --nice=0 setpriv --bounding-set=-sys_nice "
                   "--inh-caps=-sys_nice ");
    EXPECT_GT(rootCommand, rootKeeper) << "where nothing can be raised";
}

// A storm: processes that start others for ever, most of them outside the command's group, and ignore TERM. It is kept
// in a namespace of its own and to a hundred processes of a user that nobody else is.
class Storm : public testing::TestWithParam<const char *> {
protected:
    static constexpr int firstStormUser = 100000;
    static constexpr double secondsToStart = 5.0; // of all that a storm is contained by, on a busy machine

    Storm() {
        m_scratch.write("storm.sh", "#!/bin/sh\ntrap '' TERM\nwhile :; do\n  " + std::string(GetParam()) + "\ndone\n");
        // The storm user may not reach the build.
        std::filesystem::copy_file(runner, m_scratch.path() / "ShCmd");
        m_scratch.write("measure.sh", "#!/bin/sh\n./ShCmd 1 sh -c './storm.sh & exec sleep 60'\necho status $?\n"
                                      "grep -l 'storm[.]sh' /proc/[0-9]*/cmdline | wc -l\n");
        for (const char *file : {"", "storm.sh", "measure.sh", "ShCmd"})
            std::filesystem::permissions(m_scratch.path() / file, std::filesystem::perms(0755));
    }

    // The limit counts all processes of a user: two of these tests that run side by side must not share one.
    ShellResult runContained(const std::string &within) const {
        const std::string user = std::to_string(firstStormUser + getpid());
        return runShell("cd " + m_scratch.path().string() +
                        " && timeout -s KILL 30 unshare --pid --fork --kill-child --mount-proc"
                        " setpriv --reuid=" +
                        user + " --regid=" + user + " --clear-groups prlimit --nproc=100 " + within +
                        " ./measure.sh 2>/dev/null");
    }

    static void expectInTime(const ShellResult &result) {
        EXPECT_TRUE(result.out.starts_with("status 124\n")) << result.out;
        EXPECT_LT(result.seconds, 1 + 5.0 + secondsToStart);
    }
    static bool leftNothing(const ShellResult &result) { return result.out == "status 124\n0\n"; }

    TempDirectory m_scratch;
};

INSTANTIATE_TEST_SUITE_P(CommandRunner, Storm, testing::Values("setsid \"$0\" & \"$0\" &", "\"$0\" &"));

// Without a namespace the keeper races the storm, and may lose on a slow machine.
TEST_P(Storm, OfAnOrdinaryUserIsEndedInTime) {
    if (getuid() != 0)
        GTEST_SKIP() << "only root contains a storm";
    constexpr int races = 4;
    bool won = false;
    for (int race = 0; race < races && !won; ++race) {
        const ShellResult result = runContained("env ZEL_SHARED_PIDS=1");
        expectInTime(result);
        won = leftNothing(result);
    }
    EXPECT_TRUE(won) << "the storm outlived its keeper " << races << " times";
}

TEST_P(Storm, InANamespaceIsEndedInTime) {
    if (getuid() != 0)
        GTEST_SKIP() << "only root contains a storm";
    const std::string userNamespace = "unshare --user --map-root-user --pid --fork --kill-child --mount-proc";
    if (runContained(userNamespace + " true").status != 0)
        GTEST_SKIP() << "this system gives no user namespace";
    const ShellResult result = runContained(userNamespace);
    expectInTime(result);
    EXPECT_TRUE(leftNothing(result)) << result.out;
}

TEST(CommandRunner, EndlessOutputIsEndedInTime) {
    TempDirectory scratch;
    const ShellResult result = runShell(runner + " 1 yes | head -c 100000000 | wc -c");
    EXPECT_LT(result.seconds, 5.0);
    EXPECT_EQ(runShell(runner + " 1 yes >/dev/null").status, 124);
}

} // namespace

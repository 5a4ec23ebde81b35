// ShCmd, the command runner of the home kit.
#include "Paths.h"
#include "ShellRun.h"
#include "TempDirectory.h"

#include <gtest/gtest.h>
#include <string>

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

TEST(CommandRunner, EndlessOutputIsEndedInTime) {
    TempDirectory scratch;
    const ShellResult result = runShell(runner + " 1 yes | head -c 100000000 | wc -c");
    EXPECT_LT(result.seconds, 5.0);
    EXPECT_EQ(runShell(runner + " 1 yes >/dev/null").status, 124);
}

} // namespace

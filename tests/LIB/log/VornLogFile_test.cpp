// The logger's files: names, rotation, change of date, purge, compression.
#include "FrozenClock.h"
#include "ScratchHome.h"
#include "StreamCapture.h"
#include "VornLog.h"

#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>

namespace {

using testing::ElementsAre;

// A logger in a staged home whose clock shows 2023-11-14 22:13:20 and whose outside commands are only noted.
class LoggerFiles : public testing::Test {
protected:
    LoggerFiles() {
        systemHooks().system = [this](const char *command) {
            commands.emplace_back(command);
            return 0;
        };
    }

    static void say(CVornLog &log, const std::string &message) { log.fLogWrite(3, "u", message.c_str()); }

    std::string content(const std::string &name) const { return home.read("agent/bin/" + name); }

    void file(const std::string &name, const std::string &text = "") const { home.write("agent/bin/" + name, text); }

    std::set<std::string> files() const {
        std::set<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(home.path() / "agent/bin")) {
            if (entry.path().filename() != "shell")
                names.insert(entry.path().filename());
        }
        return names;
    }

    ScratchHome home;
    FrozenClock clock{1700000000};
    std::vector<std::string> commands;
};

TEST_F(LoggerFiles, NothingIsOpenBeforeTheFirstWrite) {
    { const CVornLog log(2, "app", 2); }
    EXPECT_TRUE(files().empty());
}

TEST_F(LoggerFiles, FirstFileHasDateAndName) {
    CVornLog log(2, "app", 2);
    say(log, "one");
    EXPECT_EQ(files(), std::set<std::string>{"20231114_app.log"});
    EXPECT_STREQ(log.m_pstrLogFile, "./20231114_app.log");
    EXPECT_STREQ(log.m_strCurrentDate, "20231114");
    EXPECT_TRUE(commands.empty());
}

TEST_F(LoggerFiles, FileIsReadableByAllAndClosedOnExec) {
    umask(0);
    CVornLog log(2, "app", 2);
    say(log, "one");
    struct stat status {};
    ASSERT_EQ(stat("20231114_app.log", &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0644U);
    EXPECT_NE(fcntl(log.m_nFileFd, F_GETFD) & FD_CLOEXEC, 0);
    umask(022);
}

TEST_F(LoggerFiles, PathIsUsedAsGiven) {
    CVornLog log(2, "app", 2);
    log.fSetLogPath("shell/x_");
    say(log, "one");
    EXPECT_EQ(content("shell/x_20231114_app.log"), "[221320][INFO][u]one\n");
}

TEST_F(LoggerFiles, PathCountsFromTheNextFileOn) {
    CVornLog log(2, "app", 2);
    say(log, "one");
    log.fSetLogPath("shell/");
    say(log, "two");
    clock.advance(86400);
    say(log, "three");
    EXPECT_EQ(content("20231114_app.log"), "[221320][INFO][u]one\n[221320][INFO][u]two\n");
    EXPECT_EQ(content("shell/20231115_app.log"), "[221320][INFO][u]three\n");
}

TEST_F(LoggerFiles, RestartContinuesTheFirstFile) {
    file("20231114_app.log", "before\n");
    CVornLog log(2, "app", 2);
    say(log, "after");
    EXPECT_EQ(content("20231114_app.log"), "before\n[221320][INFO][u]after\n");
}

TEST_F(LoggerFiles, LineThatFindsTheFileFullIsLostAndStartsTheNext) {
    CVornLog log(2, "app", 2);
    log.fSetLogSize(1, 2);
    // 17 bytes of time, level and name, 1006 of message and the line end: 1024, the limit itself.
    say(log, std::string(1006, 'm'));
    EXPECT_EQ(content("20231114_app.log").size(), 1024U);
    say(log, "lost");
    say(log, "kept");
    EXPECT_EQ(content("20231114_app.log").size(), 1024U);
    EXPECT_EQ(content("20231114_app_1.log"), "[221320][INFO][u]kept\n");
    EXPECT_EQ(log.m_nLogCnt, 1);
}

TEST_F(LoggerFiles, FileBelowItsLimitIsContinued) {
    CVornLog log(2, "app", 2);
    log.fSetLogSize(1, 2);
    say(log, std::string(1005, 'm')); // 1023 bytes
    say(log, "kept");
    EXPECT_EQ(content("20231114_app.log").size(), 1023U + 22U);
}

TEST_F(LoggerFiles, NumbersGoOnWithinTheDayAndStartAgainWithTheNext) {
    CVornLog log(2, "app", 9);
    log.fSetLogSize(0, 2);
    for (int i = 0; i < 3; ++i)
        say(log, "lost");
    EXPECT_EQ(files(), (std::set<std::string>{"20231114_app.log", "20231114_app_1.log", "20231114_app_2.log",
                                              "20231114_app_3.log"}));
    clock.advance(86400);
    say(log, "lost");
    EXPECT_EQ(log.m_nLogCnt, 1);
    EXPECT_TRUE(home.exists("agent/bin/20231115_app.log"));
    EXPECT_TRUE(home.exists("agent/bin/20231115_app_1.log"));
}

TEST_F(LoggerFiles, LimitOfNothingWritesNoLine) {
    CVornLog log(2, "app", 2);
    EXPECT_EQ(log.fSetLogSize(5, 3), 1);
    for (int i = 0; i < 4; ++i)
        say(log, "lost");
    for (const std::string &name : files())
        EXPECT_EQ(content(name), "") << name;
    EXPECT_EQ(files().size(), 5U);
}

TEST_F(LoggerFiles, FirstRotationAfterARestartAppendsToTheFileNumberedOne) {
    file("20231114_app.log", std::string(20000, 'x'));
    file("20231114_app_1.log", "older\n");
    CVornLog log(2, "app", 2);
    say(log, "lost");
    say(log, "kept");
    EXPECT_EQ(content("20231114_app_1.log"), "older\n[221320][INFO][u]kept\n");
}

TEST_F(LoggerFiles, FullFileIsCompressedWhateverTheSettingSays) {
    CVornLog log(2, "app", 2);
    std::strcpy(log.m_strCompressPath, "/usr/bin/packer");
    log.m_nCompressChk = 1;
    log.fSetLogSize(0, 2);
    say(log, "lost");
    EXPECT_THAT(commands, ElementsAre("../../utils/ETC/ShCmd 60 /usr/bin/packer ./20231114_app.log &"));
}

TEST_F(LoggerFiles, PreviousDayIsCompressedWhenAsked) {
    CVornLog log(2, "app", 2);
    std::strcpy(log.m_strCompressPath, "/usr/bin/packer");
    log.m_nCompressChk = 1;
    say(log, "first day");
    clock.advance(86400);
    say(log, "second day");
    EXPECT_TRUE(commands.empty());
    log.fSetLogCompress(1);
    clock.advance(86400);
    say(log, "third day");
    EXPECT_THAT(commands, ElementsAre("../../utils/ETC/ShCmd 60 /usr/bin/packer ./20231115_app.log &"));
}

TEST_F(LoggerFiles, FirstFileOfTheProcessCompressesNothing) {
    CVornLog log(2, "app", 2);
    log.m_nCompressChk = 1;
    log.fSetLogCompress(1);
    say(log, "one");
    log.fLogCompress();
    EXPECT_EQ(commands.size(), 1U) << "only the call of the test itself";
}

TEST_F(LoggerFiles, NothingIsCompressedWithoutACompressorOrAFile) {
    CVornLog log(2, "app", 2);
    log.m_nCompressChk = 1;
    log.fLogCompress();
    log.m_nCompressChk = 0;
    log.fSetLogSize(0, 2);
    say(log, "lost");
    EXPECT_TRUE(commands.empty());
}

TEST_F(LoggerFiles, NameThatIsUnsafeForTheShellIsNotCompressed) {
    const StreamCapture streams;
    CVornLog log(2, "a;touch x", 2);
    log.m_nCompressChk = 1;
    log.fSetLogSize(0, 2);
    say(log, "lost");
    EXPECT_TRUE(commands.empty());
    EXPECT_EQ(streams.err(), "./20231114_a;touch x.log log file compress refused : unsafe file name\n");
    EXPECT_TRUE(home.exists("agent/bin/20231114_a;touch x_1.log"));
}

TEST_F(LoggerFiles, ChangeOfDateStartsANewFile) {
    CVornLog log(2, "app", 2);
    say(log, "one");
    clock.set(1700006399); // 23:59:59
    say(log, "two");
    clock.set(1700006400); // 2023-11-15 00:00:00
    say(log, "three");
    EXPECT_EQ(content("20231114_app.log"), "[221320][INFO][u]one\n[235959][INFO][u]two\n");
    EXPECT_EQ(content("20231115_app.log"), "[000000][INFO][u]three\n");
}

TEST_F(LoggerFiles, OldFilesAreDeletedByTheDateInTheirName) {
    // Two days before 20231114 is 20231112: what is named lower goes.
    for (const char *name : {"20231111_app.log", "20231111_other_7.log", "20231111_app.log.gz", "20231111_app.log.Z",
                             "00000000_x.log", "20231112_app.log", "20231113_app.log.gz", "20231111_app.txt",
                             "20231111.log", "2023111.log", "20231111_app.log.bz2", "app_20231111.log"})
        file(name);
    CVornLog log(2, "app", 2);
    say(log, "one");
    // "20231111.log" has 12 characters and goes, too; "2023111.log" has 11 and compares as "2023111." below "20231112".
    EXPECT_EQ(files(), (std::set<std::string>{"20231112_app.log", "20231113_app.log.gz", "20231111_app.txt",
                                              "20231111_app.log.bz2", "app_20231111.log", "20231114_app.log"}));
}

TEST_F(LoggerFiles, NameOfTenCharactersIsNeverPurged) {
    file("202311.log");  // 10 characters
    file("2023110.log"); // 11
    CVornLog log(2, "app", 2);
    say(log, "one");
    EXPECT_EQ(files(), (std::set<std::string>{"202311.log", "20231114_app.log"}));
}

TEST_F(LoggerFiles, PurgeRunsAtTheChangeOfDateOnly) {
    CVornLog log(2, "app", 0);
    say(log, "one");
    file("20231101_app.log");
    log.fSetLogSize(0, 2);
    say(log, "lost");
    EXPECT_TRUE(home.exists("agent/bin/20231101_app.log"));
    clock.advance(86400);
    say(log, "lost");
    // Zero days are kept: of the days before the 15th nothing is left.
    EXPECT_EQ(files(), (std::set<std::string>{"20231115_app.log", "20231115_app_1.log"}));
}

TEST_F(LoggerFiles, PurgeCountsDaysBackFromTheGivenTime) {
    for (const char *name : {"20231001_a.log", "20231031_a.log", "20231101_a.log"})
        file(name);
    CVornLog log(2, "app", 14);
    log.fOldLogFileCheck(1700000000); // 14 days before the 14th: the 31st of October
    EXPECT_EQ(files(), (std::set<std::string>{"20231031_a.log", "20231101_a.log"}));
    log.fSetValidDay(2147483647);
    log.fOldLogFileCheck(1700000000);
    EXPECT_EQ(files().size(), 2U);
}

TEST_F(LoggerFiles, PurgeLeavesDirectoriesAndMissingPathsAlone) {
    std::filesystem::create_directory("20000101_dir.log");
    CVornLog log(2, "app", 2);
    log.fOldLogFileCheck(1700000000);
    EXPECT_TRUE(std::filesystem::exists("20000101_dir.log"));
    log.fSetLogPath("./nowhere/");
    log.fOldLogFileCheck(1700000000);
}

class AgentLogFiles : public LoggerFiles {
protected:
    // The script answers as it would: with the name of the newest file of the day.
    void answer(const std::string &line) const { home.write("agent/aproc/shell/recentlogfile.dat", line); }
};

TEST_F(AgentLogFiles, ContinueInTheFileThatTheScriptNames) {
    file("20231114_agent_3.log", "before\n");
    answer("20231114_agent_3.log\n");
    CVornLog log(2, "agent", 2);
    say(log, "after");
    EXPECT_THAT(commands, ElementsAre("../../utils/INSTALL/recentlogfile.sh 20231114"));
    EXPECT_EQ(content("20231114_agent_3.log"), "before\n[221320][INFO][u]after\n");
    EXPECT_EQ(files().size(), 1U);
}

TEST_F(AgentLogFiles, RealScriptIsRunThroughTheShell) {
    systemHooks().system = nullptr;
    home.script("utils/INSTALL/recentlogfile.sh", "echo \"$1_agent_2.log\" > ../aproc/shell/recentlogfile.dat\n");
    CVornLog log(2, "agent", 2);
    say(log, "one");
    EXPECT_EQ(content("20231114_agent_2.log"), "[221320][INFO][u]one\n");
}

TEST_F(AgentLogFiles, LastLineWithoutLineEndLosesNothing) {
    answer("20231114_agent_3.log");
    CVornLog log(2, "agent", 2);
    say(log, "one");
    EXPECT_EQ(files(), std::set<std::string>{"20231114_agent_3.log"});
}

TEST_F(AgentLogFiles, StartTheDaysFirstFileWithoutAnUsableAnswer) {
    for (const char *line :
         {"", "\n", "20231113_agent.log\n", "../20231114_agent.log\n", "/tmp/20231114_agent.log\n"}) {
        answer(line);
        CVornLog log(2, "agent", 2);
        say(log, "one");
        EXPECT_STREQ(log.m_pstrLogFile, "./20231114_agent.log") << line;
    }
    home.remove("agent/aproc/shell/recentlogfile.dat");
    CVornLog log(2, "agent", 2);
    say(log, "one");
    EXPECT_STREQ(log.m_pstrLogFile, "./20231114_agent.log");
}

TEST_F(AgentLogFiles, OnlyTheFirstLineUpTo255CharactersCounts) {
    answer(std::string(300, 'x') + "20231114\n");
    CVornLog log(2, "agent", 2);
    say(log, "one");
    EXPECT_STREQ(log.m_pstrLogFile, "./20231114_agent.log");
}

TEST_F(AgentLogFiles, AskOnlyForTheFirstFileOfTheProcess) {
    answer("20231115_agent_9.log\n");
    CVornLog log(2, "agent", 2);
    say(log, "one");
    clock.advance(86400);
    say(log, "two");
    EXPECT_EQ(commands.size(), 1U);
    EXPECT_EQ(files(), (std::set<std::string>{"20231114_agent.log", "20231115_agent.log"}));
}

TEST_F(AgentLogFiles, RotationOfAContinuedFileStartsAtNumberOne) {
    file("20231114_agent_3.log", std::string(20000, 'x'));
    answer("20231114_agent_3.log\n");
    CVornLog log(2, "agent", 2);
    say(log, "lost");
    say(log, "kept");
    EXPECT_EQ(content("20231114_agent_1.log"), "[221320][INFO][u]kept\n");
}

TEST_F(AgentLogFiles, DateThatIsUnsafeForTheShellStartsNoScript) {
    CVornLog log(2, "agent", 2);
    EXPECT_EQ(log.fGetRecentLogFile("20231114;id"), -1);
    EXPECT_EQ(log.fGetRecentLogFile(""), -1);
    EXPECT_EQ(log.fGetRecentLogFile(nullptr), -1);
    EXPECT_TRUE(commands.empty());
}

TEST_F(AgentLogFiles, OtherNamesNeverAsk) {
    answer("20231114_app_3.log\n");
    CVornLog log(2, "app", 2);
    say(log, "one");
    EXPECT_TRUE(commands.empty());
    EXPECT_EQ(files(), std::set<std::string>{"20231114_app.log"});
}

TEST_F(LoggerFiles, StepsCanBeCalledOneByOne) {
    CVornLog log(2, "app", 2);
    EXPECT_EQ(log.fOpenLogFile(), 0) << "no name yet";
    log.fLogNameChange(1);
    EXPECT_EQ(log.fOpenLogFile(), 1);
    EXPECT_EQ(log.fOpenLogFile(), 1) << "opened again";
    EXPECT_EQ(log.fLogSizeChk(), 1);
    log.fCloseLogFile();
    EXPECT_EQ(log.m_nFileFd, 0);
    log.fCloseLogFile();
    log.fLogNameChange(0);
    EXPECT_STREQ(log.m_pstrLogFile, "./20231114_app_1.log");
    EXPECT_EQ(log.fLogSizeChk(), 0) << "makes the file";
    EXPECT_EQ(log.fLogSizeChk(), 1);
}

TEST_F(LoggerFiles, StandardStreamThatIsClosedIsNotTakenForTheLog) {
    const int saved = dup(STDIN_FILENO);
    close(STDIN_FILENO);
    {
        CVornLog log(2, "app", 2);
        say(log, "one");
        EXPECT_GE(log.m_nFileFd, 3);
    }
    EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1) << "left as it was";
    dup2(saved, STDIN_FILENO);
    close(saved);
    EXPECT_EQ(content("20231114_app.log"), "[221320][INFO][u]one\n");
}

} // namespace

// The logger when its files and directories fail it: lines may be lost, never the caller nor what was written earlier.
#include "FrozenClock.h"
#include "OwnProcess.h"
#include "PrivateMounts.h"
#include "ScratchHome.h"
#include "StreamCapture.h"
#include "VornLog.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

class LoggerFaults : public testing::Test {
protected:
    LoggerFaults() {
        fs::create_directory("logs");
        log.fSetLogPath("logs/");
        log.m_nCompressChk = 0;
    }

    void say(const std::string &message) { log.fLogWrite(3, "u", message.c_str()); }

    static std::string line(const std::string &message) { return "[221320][INFO][u]" + message + "\n"; }

    static std::string lost(int messages) {
        return "[221320][INFO][VornLog]" + std::to_string(messages) + " messages lost\n";
    }

    static std::string content(const std::string &path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    ScratchHome home;
    FrozenClock clock{1700000000}; // 2023-11-14 22:13:20
    CVornLog log{2, "app", 2};
    const std::string path = "logs/20231114_app.log";
};

TEST_F(LoggerFaults, MissingDirectoryIsAnnouncedOncePerAttempt) {
    const StreamCapture streams;
    fs::remove("logs");
    const std::string message = path + " log file open failed : No such file or directory\n";
    say("lost"); // the first file of the day, then the check that finds no file
    EXPECT_EQ(streams.err(), message + message);
    say("lost");
    EXPECT_EQ(streams.err(), message + message + message);
    EXPECT_EQ(log.m_nFileFd, 0);
}

TEST_F(LoggerFaults, DirectoryThatAppearsIsUsed) {
    const StreamCapture streams;
    fs::remove("logs");
    say("lost");
    fs::create_directory("logs");
    say("makes the file");
    say("kept");
    EXPECT_EQ(content(path), line("kept"));
}

TEST_F(LoggerFaults, RemovedFileIsMadeAnewAndItsLineIsLost) {
    say("before");
    fs::remove(path);
    say("lost");
    say("after");
    EXPECT_EQ(content(path), line("after"));
}

TEST_F(LoggerFaults, RemovedDirectoryIsSurvived) {
    const StreamCapture streams;
    say("before");
    fs::remove_all("logs");
    say("lost");
    EXPECT_EQ(streams.err(), path + " log file open failed : No such file or directory\n");
    fs::create_directory("logs");
    say("makes the file");
    say("after");
    EXPECT_EQ(content(path), line("after"));
}

TEST_F(LoggerFaults, FileReplacedByADirectoryIsWrittenOnWhereItWent) {
    say("before");
    fs::rename(path, "moved.log");
    fs::create_directory(path);
    say("after");
    EXPECT_EQ(content("moved.log"), line("before") + line("after"));
}

TEST_F(LoggerFaults, DirectoryInThePlaceOfTheFileIsNotOpened) {
    const StreamCapture streams;
    fs::create_directory(path);
    say("lost");
    say("lost");
    EXPECT_EQ(streams.err(), path + " log file open failed : Is a directory\n");
    clock.advance(86400);
    say("next day");
    EXPECT_EQ(content("logs/20231115_app.log"), line("next day"));
}

TEST_F(LoggerFaults, FileReplacedByALinkToItIsContinued) {
    say("before");
    fs::rename(path, "moved.log");
    fs::create_symlink(fs::absolute("moved.log"), path);
    say("after");
    EXPECT_EQ(content("moved.log"), line("before") + line("after"));
}

TEST_F(LoggerFaults, LinkThatLeadsNowhereGetsItsFile) {
    say("before");
    fs::rename(path, "moved.log");
    fs::create_symlink(fs::absolute("target.log"), path);
    say("lost");
    say("after");
    EXPECT_EQ(content("moved.log"), line("before"));
    EXPECT_EQ(content("target.log"), line("after"));
}

TEST_F(LoggerFaults, LinkInACircleIsNotOpened) {
    const StreamCapture streams;
    fs::create_symlink(fs::path(path).filename(), path);
    say("lost");
    const std::string message = path + " log file open failed : Too many levels of symbolic links\n";
    EXPECT_EQ(streams.err(), message + message);
}

TEST_F(LoggerFaults, DeviceThatTakesNothingIsSurvived) {
    const StreamCapture streams;
    fs::create_symlink("/dev/full", path);
    for (int i = 0; i < 100; ++i)
        say("lost");
    EXPECT_EQ(streams.err(), "");
    EXPECT_GT(log.m_nFileFd, 0);
}

TEST_F(LoggerFaults, PipeWithoutReaderDoesNotBlock) {
    const StreamCapture streams;
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    say("lost");
    EXPECT_EQ(streams.err(), path + " log file open failed : No such device or address\n");
}

TEST_F(LoggerFaults, NameThatIsTooLongIsAnnounced) {
    const StreamCapture streams;
    const std::string directory(300, 'd');
    log.fSetLogPath((directory + "/").c_str());
    say("lost");
    const std::string message = directory + "/20231114_app.log log file open failed : File name too long\n";
    EXPECT_EQ(streams.err(), message + message);
}

TEST_F(LoggerFaults, FullFileSystemKeepsWhatWasWrittenAndAccountsForTheRest) {
    const std::string reason = withPrivateMounts([&] {
        ASSERT_TRUE(mountSmall("logs", 64));
        log.fSetLogSize(1, 1);
        std::string expected;
        // Lines of 101 bytes: 64 kilobytes take 648 whole ones.
        for (int i = 0; i < 1000; ++i) {
            const std::string message = std::to_string(1000 + i) + std::string(79, '.');
            say(message);
            expected += line(message);
        }
        expected.resize(648 * 101);
        EXPECT_EQ(content(path), expected);
        fs::resize_file(path, 101 * 10);
        say("room again");
        say("as before");
        EXPECT_EQ(content(path), expected.substr(0, 101 * 10) + lost(352) + line("room again") + line("as before"));
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST_F(LoggerFaults, FileSystemWithoutRoomForTheFileItselfIsAccountedFor) {
    const std::string reason = withPrivateMounts([&] {
        ASSERT_EQ(mount("logs", "logs", "tmpfs", 0, "nr_inodes=1"), 0) << "room for the directory alone";
        {
            const StreamCapture streams;
            say("lost");
            say("lost");
            const std::string message = path + " log file open failed : No space left on device\n";
            EXPECT_EQ(streams.err(), message + message + message);
        }
        ASSERT_EQ(mount("logs", "logs", "tmpfs", MS_REMOUNT, "nr_inodes=9"), 0);
        say("makes the file");
        say("room again");
        EXPECT_EQ(content(path), lost(2) + line("room again"));
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

// Ends the program unless the logger keeps the signal away.
TEST_F(LoggerFaults, LimitOfFileSizesEndsNoProgram) {
    const auto written = [&] {
        ASSERT_EQ(signal(SIGXFSZ, SIG_DFL), SIG_DFL);
        limitFileSize(100);
        say(std::string(60, 'a')); // 79 bytes with all that belongs to it
        say(std::string(60, 'b'));
        say("c"); // 20 bytes, and 41 for the account
        ASSERT_EQ(content(path), line(std::string(60, 'a')));
        limitFileSize(RLIM_INFINITY);
        say("d");
        ASSERT_EQ(content(path), line(std::string(60, 'a')) + lost(2) + line("d"));
    };
    EXPECT_SURVIVED(written);
}

TEST_F(LoggerFaults, PipeWithoutReaderEndsNoProgram) {
    const auto written = [&] {
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
        const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
        say("read");
        char text[128] = {};
        ASSERT_EQ(read(reader, text, sizeof(text) - 1), static_cast<ssize_t>(line("read").size()));
        close(reader);
        say("lost");
        const int next = open(path.c_str(), O_RDONLY | O_NONBLOCK);
        say("read again");
        std::memset(text, 0, sizeof(text));
        ASSERT_GT(read(next, text, sizeof(text) - 1), 0);
        ASSERT_EQ(text, lost(1) + line("read again"));
    };
    EXPECT_SURVIVED(written);
}

TEST_F(LoggerFaults, StandardErrorWithoutReaderEndsNoProgram) {
    const auto written = [&] {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        ASSERT_EQ(dup2(ends[1], STDERR_FILENO), STDERR_FILENO);
        close(ends[0]);
        g_nPrint = 1;
        say("printed");
        CVornLog::fSetLogModeBit("ERROR:");
        ASSERT_EQ(content(path), line("printed"));
    };
    EXPECT_SURVIVED(written);
}

// A pipe takes a part of what is longer than it guarantees, and nothing can be taken off it again.
TEST_F(LoggerFaults, CutLineThatStaysIsEndedBeforeTheNextOne) {
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_EQ(fcntl(reader, F_SETPIPE_SZ, 4096), 4096);
    const std::string longMessage(6000, 'x');
    say(longMessage);
    char text[8192] = {};
    EXPECT_EQ(read(reader, text, sizeof(text)), 4096);
    EXPECT_EQ(text, line(longMessage).substr(0, 4096));
    say("next");
    const ssize_t count = read(reader, text, sizeof(text));
    EXPECT_EQ(std::string(text, static_cast<std::size_t>(std::max<ssize_t>(count, 0))), "\n" + lost(1) + line("next"));
    close(reader);
}

TEST_F(LoggerFaults, DebugLinesThatAreNotWantedAreNotLost) {
    fs::create_symlink("/dev/full", path);
    log.fLogWrite(1, "u", "not wanted");
    log.fLogWrite(1, "u", "not wanted");
    say("lost");
    fs::remove(path);
    say("makes the file");
    say("room again");
    EXPECT_EQ(content(path), lost(1) + line("room again"));
}

TEST_F(LoggerFaults, FullFileSystemFromTheStartTakesNothing) {
    const std::string reason = withPrivateMounts([&] {
        ASSERT_TRUE(mountSmall("logs", 64));
        std::ofstream("logs/filler") << std::string(65536, 'x');
        say("lost");
        EXPECT_TRUE(fs::exists(path));
        EXPECT_EQ(content(path), "");
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST_F(LoggerFaults, ReadOnlyFileSystemIsAnnouncedOncePerAttempt) {
    const std::string reason = withPrivateMounts([&] {
        ASSERT_TRUE(mountSmall("logs", 64));
        say("before");
        log.fCloseLogFile();
        ASSERT_TRUE(remountReadOnly("logs"));
        const StreamCapture streams;
        clock.advance(86400);
        say("lost");
        const std::string message = "logs/20231115_app.log log file open failed : Read-only file system\n";
        EXPECT_EQ(streams.err(), message + message);
        EXPECT_EQ(content(path), line("before"));
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST_F(LoggerFaults, PurgeInAReadOnlyDirectoryDeletesNothing) {
    const std::string reason = withPrivateMounts([&] {
        ASSERT_TRUE(mountSmall("logs", 64));
        std::ofstream("logs/20230101_app.log") << "old";
        ASSERT_TRUE(remountReadOnly("logs"));
        log.fOldLogFileCheck(1700000000);
        EXPECT_EQ(content("logs/20230101_app.log"), "old");
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

} // namespace

// The buffer files.
#include "FrozenClock.h"
#include "LogCapture.h"
#include "NGFunctions.h"
#include "OwnProcess.h"
#include "PrivateMounts.h"
#include "ScratchHome.h"
#include "Separators.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;

// A fifth of ten megabytes: 10 * 1048576 / 5.
constexpr off_t fifthOfTen = 2097152;

class BufferFiles : public testing::Test {
protected:
    BufferFiles() { g_nDataBufferSaveMaxSize = 10; }

    // A file of `size` bytes that was last written `age` seconds ago.
    static void file(const std::string &name, off_t size, int age) {
        const std::string path = "../buffer/" + name;
        const int created = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        EXPECT_EQ(ftruncate(created, size), 0);
        const timespec times[2] = {{1000000000 - age, 0}, {1000000000 - age, 0}};
        EXPECT_EQ(futimens(created, times), 0);
        close(created);
    }

    static off_t size(const std::string &name) {
        struct stat status {};
        EXPECT_EQ(stat(("../buffer/" + name).c_str(), &status), 0) << name;
        return status.st_size;
    }

    static std::set<std::string> files() {
        std::set<std::string> names;
        for (const auto &entry : fs::directory_iterator("../buffer"))
            names.insert(entry.path().filename());
        return names;
    }

    std::string content(const std::string &name) const { return home.read("agent/buffer/" + name); }

    // What the record "a", "b" of this time looks like.
    std::string record(const std::string &time = "1700000000") const { return time + F + "a" + F + "b" + F + M + "\n"; }

    ScratchHome home;
    FrozenClock clock{1700000000}; // 2023-11-14 22:13:20
};

TEST_F(BufferFiles, FirstRecordStartsTheDaysFirstFile) {
    EXPECT_EQ(fgBufFileWrite("unused", "a", "b"), 1);
    EXPECT_EQ(files(), std::set<std::string>{"20231114-BUF_1.buf"});
    EXPECT_EQ(content("20231114-BUF_1.buf"), "1700000000\x03\x1F^"
                                             "a\x03\x1F^"
                                             "b\x03\x1F^\x03\x1F]\n");
}

TEST_F(BufferFiles, LaterRecordsAreAppended) {
    fgBufFileWrite(nullptr, "a", "b");
    clock.advance(5);
    EXPECT_EQ(fgBufFileWrite(nullptr, "a", "b"), 1);
    EXPECT_EQ(content("20231114-BUF_1.buf"), record() + record("1700000005"));
}

TEST_F(BufferFiles, TheTwoTagsShareTheDirectoryOnly) {
    EXPECT_EQ(fgNBufFileWrite("unused", "a", "b"), 1);
    EXPECT_EQ(files(), std::set<std::string>{"20231114-BUNF_1.buf"});
    EXPECT_EQ(fgBufFileWrite("unused", "a", "b"), 1);
    file("20231114-BUNF_1.buf", fifthOfTen + 1, 1);
    EXPECT_EQ(fgBufFileWrite("unused", "a", "b"), 1);
    EXPECT_EQ(fgNBufFileWrite("unused", "a", "b"), 1);
    EXPECT_EQ(content("20231114-BUF_1.buf"), record() + record());
    EXPECT_EQ(content("20231114-BUNF_2.buf"), record());
}

TEST_F(BufferFiles, TextsAreWrittenAsTheyAre) {
    const std::string table = "name\x03\x1F~value\x03\x1F|1\x03\x1F~2\n";
    const std::string large(3000000, 'x');
    EXPECT_EQ(fgBufFileWrite("", table.c_str(), large.c_str()), 1);
    EXPECT_EQ(content("20231114-BUF_1.buf"), "1700000000" + F + table + F + large + F + M + "\n");
}

TEST_F(BufferFiles, NullTextsAreEmpty) {
    EXPECT_EQ(fgBufFileWrite(nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(content("20231114-BUF_1.buf"), "1700000000" + F + F + F + M + "\n");
}

TEST_F(BufferFiles, FileIsContinuedUpToAFifthOfTheBudget) {
    file("20231114-BUF_1.buf", fifthOfTen, 10);
    EXPECT_EQ(fgBufFileWrite("", "a", "b"), 1);
    EXPECT_EQ(size("20231114-BUF_1.buf"), fifthOfTen + static_cast<off_t>(record().size()));
    EXPECT_EQ(fgBufFileWrite("", "a", "b"), 1);
    EXPECT_EQ(content("20231114-BUF_2.buf"), record());
}

TEST_F(BufferFiles, NewDayStartsWithItsFirstFile) {
    file("20231113-BUF_7.buf", 10, 10);
    EXPECT_EQ(fgBufFileWrite("", "a", "b"), 1);
    EXPECT_EQ(content("20231114-BUF_1.buf"), record());
    EXPECT_EQ(size("20231113-BUF_7.buf"), 10);
}

TEST_F(BufferFiles, FirstFileOfTheDayThatExistsIsMeasuredToo) {
    // Yesterday's file was written last, today's first one is there and full.
    file("20231114-BUF_1.buf", fifthOfTen + 1, 20);
    file("20231113-BUF_7.buf", 10, 10);
    EXPECT_EQ(fgBufFileWrite("", "a", "b"), 1);
    EXPECT_EQ(content("20231114-BUF_2.buf"), record());
}

TEST_F(BufferFiles, NewestFileIsToldByItsTime) {
    file("20231114-BUF_5.buf", 0, 20);
    file("20231114-BUF_2.buf", 0, 10);
    fgBufFileWrite("", "a", "b");
    EXPECT_EQ(content("20231114-BUF_2.buf"), record());
}

TEST_F(BufferFiles, FilesOfOneTickAreToldByTheirNumbers) {
    file("20231114-BUF_9.buf", 0, 10);
    file("20231114-BUF_10.buf", 0, 10);
    file("20231114-BUF_1.buf", 0, 10);
    fgBufFileWrite("", "a", "b");
    EXPECT_EQ(content("20231114-BUF_10.buf"), record());
}

TEST_F(BufferFiles, NumbersGoOnFromNineToTen) {
    file("20231114-BUF_9.buf", fifthOfTen + 1, 10);
    fgBufFileWrite("", "a", "b");
    EXPECT_EQ(content("20231114-BUF_10.buf"), record());
}

TEST_F(BufferFiles, AfterNinetyNineComesOneThatIsAppendedTo) {
    file("20231114-BUF_1.buf", 10, 20);
    file("20231114-BUF_99.buf", fifthOfTen + 1, 10);
    fgBufFileWrite("", "a", "b");
    EXPECT_EQ(size("20231114-BUF_1.buf"), 10 + static_cast<off_t>(record().size()));
}

TEST_F(BufferFiles, ForeignNamesGetANumberWithinTheRange) {
    const std::vector<std::pair<const char *, const char *>> cases = {
        {"20231114BUF_999999999999999999999.buf", "20231114BUF_1.buf"},
        {"20231114BUF_-7.buf", "20231114BUF_1.buf"},
        {"20231114-BUF", "20231114-BUF_1.buf"},
        {"20231114x_BUF_5.buf", "20231114x_1.buf"},
        {"20231114-BUF_98", "20231114-BUF_99.buf"}};
    for (const auto &[newest, next] : cases) {
        fs::remove_all("../buffer");
        fs::create_directory("../buffer");
        file(newest, fifthOfTen + 1, 10);
        EXPECT_EQ(fgBufFileWrite("", "a", "b"), 1);
        EXPECT_EQ(content(next), record()) << newest;
    }
}

TEST_F(BufferFiles, LongestNameIsContinuedWithoutOverrun) {
    const std::string name = "20231114BUF" + std::string(244, 'x'); // 255 characters
    file(name, fifthOfTen + 1, 10);
    const LogCapture log;
    EXPECT_EQ(fgBufFileWrite("", "a", "b"), -1) << "the next name is longer than a name may be";
    EXPECT_THAT(log.messages(), ElementsAre("buf file open fail [../buffer/" + name + "_1.buf]"));
}

TEST_F(BufferFiles, OldestFileGoesWhenTheBudgetIsReached) {
    const LogCapture log;
    file("20231112-BUF_1.buf", 8 * 1048576, 30);
    file("20231113-BUF_1.buf", 1048576, 20);
    file("20231114-BUF_1.buf", 1048576, 10); // together exactly ten megabytes
    EXPECT_EQ(fgBufFileWrite("", "a", "b"), 1);
    EXPECT_EQ(files(), (std::set<std::string>{"20231113-BUF_1.buf", "20231114-BUF_1.buf"}));
    EXPECT_THAT(log.messages(), ElementsAre("unlinkfile [../buffer/20231112-BUF_1.buf]"));
}

TEST_F(BufferFiles, OldestFileOfTheOtherTagHasItsOwnMessage) {
    const LogCapture log;
    file("20231113-BUNF_1.buf", 9 * 1048576, 20);
    file("20231114-BUNF_1.buf", 1048576, 10);
    fgNBufFileWrite("", "a", "b");
    EXPECT_EQ(files(), std::set<std::string>{"20231114-BUNF_1.buf"});
    EXPECT_THAT(log.messages(), ElementsAre("unlinkfile BUNF[../buffer/20231113-BUNF_1.buf]"));
}

TEST_F(BufferFiles, BudgetThatIsNotReachedDeletesNothing) {
    file("20231113-BUF_1.buf", 9 * 1048576, 20);
    file("20231114-BUF_1.buf", 1048575, 10);
    fgBufFileWrite("", "a", "b");
    EXPECT_EQ(files().size(), 2U);
    fgBufFileWrite("", "a", "b"); // the first record has filled it
    EXPECT_EQ(files(), std::set<std::string>{"20231114-BUF_1.buf"});
}

TEST_F(BufferFiles, NewFileOfTheDayDeletesNothing) {
    file("20231113-BUF_1.buf", 20 * 1048576, 20);
    fgBufFileWrite("", "a", "b");
    EXPECT_EQ(files().size(), 2U);
}

TEST_F(BufferFiles, BudgetOfNothingKeepsOnlyTheLastFile) {
    g_nDataBufferSaveMaxSize = 0;
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(fgBufFileWrite("", "a", "b"), 1);
    // Every record starts the next file and deletes the one before.
    EXPECT_EQ(files(), std::set<std::string>{"20231114-BUF_5.buf"});
    EXPECT_EQ(content("20231114-BUF_5.buf"), record());
}

TEST_F(BufferFiles, LargeBudgetsDoNotOverflow) {
    g_nDataBufferSaveMaxSize = 10000; // a fifth is 10000 * 1048576 / 5 = 2097152000
    file("20231114-BUF_1.buf", 2097152000, 10);
    fgBufFileWrite("", "a", "b");
    EXPECT_EQ(files(), std::set<std::string>{"20231114-BUF_1.buf"});
    fgBufFileWrite("", "a", "b");
    EXPECT_EQ(files(), (std::set<std::string>{"20231114-BUF_1.buf", "20231114-BUF_2.buf"}));
}

TEST_F(BufferFiles, MissingDirectoryGivesZero) {
    const LogCapture log;
    fs::remove("../buffer");
    EXPECT_EQ(fgBufFileWrite("", "a", "b"), 0);
    EXPECT_EQ(fgNBufFileWrite("", "a", "b"), 0);
    EXPECT_THAT(log.messages(), ElementsAre("buffer dir open fail", "buffer dir open fail"));
    EXPECT_EQ(log.lines()[0].substr(0, 20), "[INFO][NGFunctions][");
}

TEST_F(BufferFiles, UnreadableDirectoryGivesZero) {
    const LogCapture log;
    fs::permissions("../buffer", fs::perms::none);
    const bool root = geteuid() == 0;
    if (root) {
        ASSERT_EQ(seteuid(65534), 0);
    }
    const int result = fgBufFileWrite("", "a", "b");
    if (root) {
        ASSERT_EQ(seteuid(0), 0);
    }
    fs::permissions("../buffer", fs::perms::owner_all);
    EXPECT_EQ(result, 0);
    EXPECT_THAT(log.messages(), testing::Contains("buffer dir open fail"));
}

TEST_F(BufferFiles, WithoutALoggerNothingIsSaid) {
    const StreamCapture streams;
    fs::remove("../buffer");
    EXPECT_EQ(fgBufFileWrite("", "a", "b"), 0);
    EXPECT_EQ(streams.err(), "");
}

TEST_F(BufferFiles, EntryWithoutStatusEndsTheScan) {
    const LogCapture log;
    fs::create_symlink("nowhere", "../buffer/x-BUF");
    EXPECT_EQ(fgBufFileWrite("", "a", "b"), 1);
    EXPECT_EQ(content("20231114-BUF_1.buf"), record());
    EXPECT_THAT(log.messages(), ElementsAre("stat failed1"));
}

TEST_F(BufferFiles, CurrentFileWithoutStatusIsWrittenToIfItCan) {
    const LogCapture log;
    fs::create_symlink("20231114-BUF_1.buf", "../buffer/20231114-BUF_1.buf"); // a circle
    EXPECT_EQ(fgBufFileWrite("", "a", "b"), -1);
    EXPECT_THAT(log.messages(),
                ElementsAre("stat failed1", "stat failed2", "buf file open fail [../buffer/20231114-BUF_1.buf]"));
}

TEST_F(BufferFiles, FileThatCannotBeOpenedGivesMinusOne) {
    const LogCapture log;
    fs::create_directory("../buffer/20231114-BUF_1.buf");
    EXPECT_EQ(fgBufFileWrite("", "a", "b"), -1);
    EXPECT_THAT(log.messages(), ElementsAre("buf file open fail [../buffer/20231114-BUF_1.buf]"));
}

TEST_F(BufferFiles, PipeInThePlaceOfTheFileDoesNotBlock) {
    const LogCapture log;
    ASSERT_EQ(mkfifo("../buffer/20231114-BUF_1.buf", 0600), 0);
    EXPECT_EQ(fgBufFileWrite("", "a", "b"), -1);
}

TEST_F(BufferFiles, FailedWriteIsReported) {
    const LogCapture log;
    fs::create_symlink("/dev/full", "../buffer/20231114-BUF_1.buf");
    EXPECT_EQ(fgBufFileWrite("", "a", "b"), -1);
    EXPECT_THAT(log.messages(), ElementsAre("buf file write fail [../buffer/20231114-BUF_1.buf]"));
}

TEST_F(BufferFiles, FullFileSystemHoldsWholeRecordsOnly) {
    const std::string reason = withPrivateMounts([&] {
        ASSERT_TRUE(mountSmall("../buffer", 64));
        const std::string text(1000, 'x');
        // 10 digits of time, three separators of 3, two texts, 3 and the line end: 2023 bytes. 65536 / 2023 is 32.
        int written = 0;
        for (int i = 0; i < 40; ++i)
            written += fgBufFileWrite("", text.c_str(), text.c_str()) == 1 ? 1 : 0;
        EXPECT_EQ(written, 32);
        EXPECT_EQ(size("20231114-BUF_1.buf"), 32 * 2023);
        EXPECT_EQ(fgBufFileWrite("", text.c_str(), text.c_str()), -1);
        EXPECT_EQ(fgBufFileWrite("", "a", "b"), 1) << "a small record still fits";
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST_F(BufferFiles, TimesAfter2038AreWhole) {
    clock.set(4102444800L); // 2100-01-01
    fgBufFileWrite("", "a", "b");
    EXPECT_EQ(content("21000101-BUF_1.buf"), record("4102444800"));
}

// The signal of a full file ends the program unless it is kept away.
TEST_F(BufferFiles, LimitOfFileSizesLeavesWholeRecordsAndEndsNoProgram) {
    const auto body = [] {
        EXPECT_EQ(fgBufFileWrite(nullptr, "a", "b"), 1);
        limitFileSize(40); // a record has 25 bytes
        EXPECT_EQ(fgBufFileWrite(nullptr, "a", "b"), -1);
    };
    EXPECT_SURVIVED(body);
    EXPECT_EQ(content("20231114-BUF_1.buf"), record());
}

} // namespace

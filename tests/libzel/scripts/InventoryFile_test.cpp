// The marked line of inventory files: which one counts, and the buffers it is kept in.
#include "scripts/InventoryFile.h"

#include "LogCapture.h"
#include "LogGate.h"
#include "PerfText.h"
#include "SystemHooks.h"
#include "TempDirectory.h"

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr zel::InventoryFormat format{"TORVTEST", 512, {8, 8}, "test inv change"};

// What a collector has: a buffer with its size, a previous line with its size, a log buffer.
class InventoryFile : public testing::Test {
protected:
    ~InventoryFile() override {
        std::free(text);
        std::free(previous);
    }

    void write(const std::string &content) { path = directory.write("inventory.dat", content); }

    zel::InventoryLog log() { return {zel::errorLogOpen(), "InventoryTest", message}; }
    int fetch() { return zel::fetchInventory(path.c_str(), format, {text, size}, found, log()); }
    int check() { return zel::checkInventoryChange(path.c_str(), format, {previous, previousSize}, log()); }
    std::string line() { return std::string(zel::readMarkedLine(path.c_str(), format, log()).view()); }

    TempDirectory directory;
    std::string path = (directory.path() / "inventory.dat").string();
    char message[1024] = {};
    int size = 64;
    char *text = fgNewTextBuffer(size);
    int found = 7;
    int previousSize = 64;
    char *previous = fgNewTextBuffer(previousSize);
};

TEST_F(InventoryFile, TextIsWhatFollowsTheFirstBar) {
    write("TORVTEST|sda 500 GB|sdb\n");

    EXPECT_EQ(fetch(), 1);
    EXPECT_EQ(found, 1);
    EXPECT_STREQ(text, "sda 500 GB|sdb");
    EXPECT_EQ(size, 64);
}

TEST_F(InventoryFile, WholeLineIsGivenWithoutItsLineFeed) {
    write("TORVTEST|sda\nTORVTEST|sdb\n");

    EXPECT_EQ(line(), "TORVTEST|sda");
}

TEST_F(InventoryFile, BlankAndUpperCaseLinesArePassedOver) {
    write("\n\nTORVTEST|SDA 500\n12345\nTORVTEST|sdb\n");

    EXPECT_EQ(line(), "TORVTEST|sdb");
}

TEST_F(InventoryFile, OnlyTheFirstLineWithALowerCaseLetterCounts) {
    const LogCapture logged;
    write("a line of something else\nTORVTEST|sda\n");

    EXPECT_EQ(fetch(), -1);
    EXPECT_EQ(found, 0);
    EXPECT_THAT(logged.messages(), ElementsAre("fgets not contents"));
}

TEST_F(InventoryFile, MarkerMayStandAnywhereInTheLine) {
    write("x TORVTEST|sda\n");

    EXPECT_EQ(fetch(), 1);
    EXPECT_STREQ(text, "sda");
}

TEST_F(InventoryFile, LinesAroundThePieceSizeAreReadWhole) {
    for (std::size_t length = 500; length <= 530; ++length) {
        const std::string content = "TORVTEST|" + std::string(length - 9, 'x');
        write(content + "\nnext line\n");
        EXPECT_EQ(line(), content) << length;
    }
}

TEST_F(InventoryFile, LineLongerThanItsBuffersIsReadWhole) {
    for (const std::size_t length : {3000U, 10241U, 200000U}) {
        const std::string content(length, 'x');
        write("TORVTEST|" + content + "\n");
        EXPECT_EQ(fetch(), 1);
        EXPECT_EQ(text, content);
    }
}

// 64 bytes are less than the line of 9 + 100 characters: 64 + 109 + 16 = 189.
TEST_F(InventoryFile, BufferSmallerThanTheLineIsReplaced) {
    write("TORVTEST|" + std::string(100, 'x') + "\n");

    EXPECT_EQ(fetch(), 1);
    EXPECT_EQ(size, 189);

    write("TORVTEST|y\n");
    EXPECT_EQ(fetch(), 1);
    EXPECT_EQ(size, 189);
    EXPECT_STREQ(text, "y");
    for (int i = 1; i < size; ++i)
        ASSERT_EQ(text[i], '\0') << i;
}

TEST_F(InventoryFile, NullBufferIsAllocated) {
    std::free(text);
    text = nullptr;
    size = 0;
    write("TORVTEST|sda\n");

    EXPECT_EQ(fetch(), 1);
    EXPECT_STREQ(text, "sda");
    EXPECT_EQ(size, 0 + 12 + 16);
}

TEST_F(InventoryFile, PieceSizeOfEveryCollectorGivesTheSameLine) {
    const std::string content = "TORVTEST|" + std::string(5000, 'x') + "|end";
    write("\n" + content + "\n");
    for (const std::size_t pieceSize : {1U, 511U, 512U, 1024U}) {
        for (const zel::InventoryGrowth growth : {zel::InventoryGrowth{0, 0}, {8, 8}, {512, 1024}, {2048, 2048}}) {
            const zel::InventoryFormat other{"TORVTEST", pieceSize, growth, ""};
            EXPECT_EQ(zel::readMarkedLine(path.c_str(), other, log()).view(), content) << pieceSize;
        }
    }
}

TEST_F(InventoryFile, LastLineWithoutALineFeedIsPartialAndNotUsed) {
    const LogCapture logged;
    write("\nTORVTEST|sda");

    EXPECT_EQ(fetch(), -1);
    EXPECT_EQ(check(), -1);
    EXPECT_THAT(logged.messages(), ElementsAre("fgets not contents", "fgets not contents"));
}

TEST_F(InventoryFile, LineWithoutABarHasNoText) {
    const LogCapture logged;
    std::strcpy(text, "old");
    write("TORVTEST sda\n");

    EXPECT_EQ(fetch(), -1);
    EXPECT_EQ(found, 0);
    EXPECT_STREQ(text, "");
    EXPECT_THAT(logged.lines(), ElementsAre(testing::MatchesRegex("\\[INFO\\]\\[InventoryTest\\]\\[[0-9]+\\]inv not "
                                                                  "contents")));
}

TEST_F(InventoryFile, NothingAfterTheBarIsAnEmptyText) {
    const LogCapture logged;
    for (const char *content : {"TORVTEST a|\n", "TORVTEST a||\n", "TORVTEST a|||\n"}) {
        write("TORVTEST|known\n");
        ASSERT_EQ(fetch(), 1);
        found = 7;
        write(content);
        EXPECT_EQ(fetch(), 1) << content;
        EXPECT_EQ(found, 1);
        EXPECT_STREQ(text, "");
    }
    EXPECT_THAT(logged.messages(), IsEmpty());
}

TEST_F(InventoryFile, NothingAfterTheBarIsNoInventoryWhereATextIsRequired) {
    constexpr zel::InventoryFormat withText{"TORVTEST", 512, {8, 8}, "test inv change", true};
    const LogCapture logged;
    for (const char *content : {"TORVTEST a|\n", "TORVTEST a||\n", "TORVTEST a|||\n"}) {
        found = 7;
        write(content);
        EXPECT_EQ(zel::fetchInventory(path.c_str(), withText, {text, size}, found, log()), -1) << content;
        EXPECT_EQ(found, 0);
    }
    EXPECT_EQ(logged.messages().size(), 3U);
    write("TORVTEST|a\n");
    EXPECT_EQ(zel::fetchInventory(path.c_str(), withText, {text, size}, found, log()), 1);
}

TEST_F(InventoryFile, RunOfBarsCountsAsOne) {
    write("TORVTEST a||b||c\n");

    EXPECT_EQ(fetch(), 1);
    EXPECT_STREQ(text, "b||c");
}

TEST_F(InventoryFile, ZeroBytesBecomeBlanks) {
    write(std::string("TORVTEST|a\0b\0\n", 14));

    EXPECT_EQ(fetch(), 1);
    EXPECT_STREQ(text, "a b ");
}

TEST_F(InventoryFile, MissingFileIsReportedWithItsError) {
    const LogCapture logged;
    std::strcpy(text, "old");

    EXPECT_EQ(fetch(), -1);
    EXPECT_EQ(check(), -1);
    EXPECT_EQ(found, 0);
    EXPECT_STREQ(text, "old");
    EXPECT_THAT(logged.messages(), ElementsAre("fopen failed(2)", "fopen failed(2)")); // ENOENT
    EXPECT_STREQ(message, "fopen failed(2)");
}

TEST_F(InventoryFile, EmptyFileIsReported) {
    const LogCapture logged;
    write("");

    EXPECT_EQ(fetch(), -1);
    EXPECT_EQ(check(), -1);
    EXPECT_THAT(logged.messages(), ElementsAre("inv file size zero", "inv file size zero"));
}

TEST_F(InventoryFile, DirectoryAndPipeUnderTheNameAreRefusedWithoutWaiting) {
    const LogCapture logged;
    path = (directory.path() / "pipe").string();
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(fetch(), -1);

    path = directory.path().string();
    EXPECT_EQ(fetch(), -1);
    EXPECT_EQ(logged.messages().size(), 2U);
}

TEST_F(InventoryFile, ClosedGateLogsNothing) {
    const LogCapture logged(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB5);

    EXPECT_EQ(fetch(), -1);
    EXPECT_THAT(logged.messages(), IsEmpty());
    EXPECT_STREQ(message, "");
}

TEST_F(InventoryFile, WithoutMemoryTheResultIsAFailureAndTheTextStays) {
    std::strcpy(text, "old");
    write("TORVTEST|" + std::string(100, 'x') + "\n");
    for (int call = 0; call < 2; ++call) { // the line, then the replacement
        systemHooks().failAllocationAfter = call;
        EXPECT_EQ(fetch(), -1) << call;
        EXPECT_STREQ(text, "old");
        EXPECT_EQ(size, 64);
        EXPECT_EQ(found, 0);
    }
    systemHooks().failAllocationAfter = -1;
    EXPECT_EQ(fetch(), 1);
}

TEST(InventoryLine, PieceBeyondTheLimitIsRefusedAndTheTextStays) {
    constexpr std::size_t pieceSize = 1024 * 1024;
    const std::string piece(pieceSize, 'x');
    zel::InventoryLine line;
    for (std::size_t length = 0; length < zel::INVENTORY_LINE_LIMIT; length += pieceSize)
        ASSERT_TRUE(line.append(piece, {8, 8}));

    EXPECT_FALSE(line.append("y", {8, 8}));
    EXPECT_EQ(line.length(), zel::INVENTORY_LINE_LIMIT);
    EXPECT_EQ(line.view().find_first_not_of('x'), std::string_view::npos);
}

TEST_F(InventoryFile, FirstLineIsNoChange) {
    const LogCapture logged;
    write("TORVTEST|sda\n");

    EXPECT_EQ(check(), 0);
    EXPECT_STREQ(previous, "TORVTEST|sda");
    EXPECT_THAT(logged.messages(), IsEmpty());
}

TEST_F(InventoryFile, StoredTextOfOneCharacterIsNoLineYet) {
    std::strcpy(previous, "1");
    write("TORVTEST|sda\n");

    EXPECT_EQ(check(), 0);
    EXPECT_STREQ(previous, "TORVTEST|sda");
}

TEST_F(InventoryFile, SameLineIsNoChangeAndADifferentOneIsAChangeOnce) {
    const LogCapture logged;
    write("TORVTEST|sda\n");
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(check(), 0);

    write("TORVTEST|sdb\n");
    EXPECT_EQ(check(), 1);
    EXPECT_EQ(check(), 0);
    EXPECT_STREQ(previous, "TORVTEST|sdb");
    EXPECT_THAT(logged.messages(), ElementsAre("test inv change"));
}

TEST_F(InventoryFile, LineThatOnlyExtendsTheKnownOneIsAChange) {
    write("TORVTEST|sda\n");
    EXPECT_EQ(check(), 0);
    write("TORVTEST|sda1\n");
    EXPECT_EQ(check(), 1);
    write("TORVTEST|sda\n");
    EXPECT_EQ(check(), 1);
    EXPECT_STREQ(previous, "TORVTEST|sda");
}

TEST_F(InventoryFile, LineWithoutABarIsCompared) {
    write("TORVTEST a\n");
    EXPECT_EQ(check(), 0);
    write("TORVTEST b\n");
    EXPECT_EQ(check(), 1);
}

// 64 bytes are less than 109 characters: 64 + 109 + 16 = 189.
TEST_F(InventoryFile, KnownLineGrowsItsBuffer) {
    const std::string content = "TORVTEST|" + std::string(100, 'x');
    write(content + "\n");

    EXPECT_EQ(check(), 0);
    EXPECT_EQ(previousSize, 189);
    EXPECT_EQ(previous, content);
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(previousSize, 189);
    EXPECT_EQ(previous, content);
}

// A line of exactly the stated size replaces nothing by the size rule, and yet needs a byte more for its end.
TEST_F(InventoryFile, KnownLineAsLongAsItsBufferIsStoredWhole) {
    const std::string content = "TORVTEST|" + std::string(64 - 9, 'x');
    write(content + "\n");

    EXPECT_EQ(check(), 0);
    EXPECT_EQ(previousSize, 64);
    EXPECT_EQ(previous, content);
    write("TORVTEST|" + std::string(64 - 9, 'y') + "\n");
    EXPECT_EQ(check(), 1);
    EXPECT_EQ(check(), 0);
}

TEST_F(InventoryFile, SizeOfAReplacementMayBeStatedElsewhere) {
    const std::string content = "TORVTEST|" + std::string(100, 'x');
    std::size_t capacity = 64;
    int elsewhere = 5;
    const auto checkCrossed = [&] {
        return zel::checkInventoryChange(path.c_str(), format, {previous, previousSize, &elsewhere, &capacity}, log());
    };
    write(content + "\n");

    EXPECT_EQ(checkCrossed(), 0);
    EXPECT_EQ(previousSize, 64);
    EXPECT_EQ(elsewhere, 189);
    EXPECT_GE(capacity, 110U);
    EXPECT_EQ(previous, content);

    EXPECT_EQ(checkCrossed(), 0);
    EXPECT_EQ(previous, content);
}

TEST_F(InventoryFile, OverstatedSizeNeverMisleadsACopy) {
    std::size_t capacity = 64;
    size = 4096;
    const std::string content(1000, 'x');
    write("TORVTEST|" + content + "\n");

    EXPECT_EQ(zel::fetchInventory(path.c_str(), format, {text, size, nullptr, &capacity}, found, log()), 1);
    EXPECT_EQ(text, content);
    EXPECT_EQ(size, 4096);
    EXPECT_EQ(capacity, 4096U);
}

TEST_F(InventoryFile, ChangeCheckWithoutMemoryFailsAndKeepsTheKnownLine) {
    write("TORVTEST|sda\n");
    EXPECT_EQ(check(), 0);
    write("TORVTEST|" + std::string(100, 'x') + "\n");
    systemHooks().failAllocationAfter = 1; // the line is read, the replacement fails
    EXPECT_EQ(check(), -1);
    systemHooks().failAllocationAfter = -1;
    EXPECT_STREQ(previous, "TORVTEST|sda");
    EXPECT_EQ(previousSize, 64);
    EXPECT_EQ(check(), 1);
}

} // namespace

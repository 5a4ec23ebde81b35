// Kernel files read whole, and the walk over their lines.
#include "kernel/WholeFile.h"

#include "HostFixture.h"
#include "SystemHooks.h"

#include <gtest/gtest.h>

namespace {

TEST(WholeFile, TextIsTheContentOfTheFileBelowTheHostRoot) {
    const HostFixture host;
    host.write("proc/diskstats", "first\nsecond");
    zel::WholeFile file;

    EXPECT_TRUE(file.read("/proc/diskstats"));
    EXPECT_EQ(file.text(), "first\nsecond");
}

TEST(WholeFile, EmptyFileIsNoFailure) {
    const HostFixture host;
    host.write("proc/diskstats", "");
    zel::WholeFile file;

    EXPECT_TRUE(file.read("/proc/diskstats"));
    EXPECT_EQ(file.text(), "");
}

TEST(WholeFile, MissingFileFailsAndLeavesNoText) {
    const HostFixture host;
    host.write("proc/diskstats", "text");
    zel::WholeFile file;
    ASSERT_TRUE(file.read("/proc/diskstats"));

    EXPECT_FALSE(file.read("/proc/other"));
    EXPECT_EQ(file.text(), "");
}

TEST(WholeFile, DirectoryHasNoText) {
    const HostFixture host;
    host.write("proc/diskstats/file", "");
    zel::WholeFile file;

    EXPECT_TRUE(file.read("/proc/diskstats"));
    EXPECT_EQ(file.text(), "");
}

TEST(WholeFile, FilesAroundAndBeyondTheBufferAreReadWhole) {
    const HostFixture host;
    zel::WholeFile file;
    for (const std::size_t size : {16383U, 16384U, 16385U, 1000000U, 3U}) {
        std::string content;
        while (content.size() < size)
            content += std::to_string(content.size());
        content.resize(size);
        host.write("file", content);
        ASSERT_TRUE(file.read("/file"));
        EXPECT_EQ(file.text(), content) << size;
    }
}

TEST(WholeFile, KernelFileOfManyPagesIsReadToItsEnd) {
    zel::WholeFile file;
    ASSERT_TRUE(file.read("/proc/self/smaps")); // some thousand lines, handed out a page at a time
    EXPECT_GT(file.text().size(), 8192U);
    EXPECT_TRUE(file.text().ends_with("\n"));
}

TEST(WholeFile, WithoutGrowthNothingIsAllocated) {
    const HostFixture host;
    host.write("file", std::string(5000, 'x'));
    zel::WholeFile file;
    ASSERT_TRUE(file.read("/file"));

    systemHooks().failAllocationAfter = 0;
    EXPECT_TRUE(file.read("/file"));
    EXPECT_EQ(systemHooks().failAllocationAfter, 0);
    EXPECT_EQ(file.text().size(), 5000U);
}

TEST(WholeFile, WithoutMemoryReadingFails) {
    const HostFixture host;
    host.write("file", std::string(20000, 'x'));
    zel::WholeFile file;
    for (int call = 0; call < 2; ++call) { // the first buffer, then the larger one
        systemHooks().failAllocationAfter = call;
        EXPECT_FALSE(file.read("/file"));
        EXPECT_EQ(file.text(), "");
    }
    systemHooks().failAllocationAfter = -1;
    EXPECT_TRUE(file.read("/file"));
}

std::vector<std::string> linesOf(std::string text, std::size_t limit) {
    std::vector<std::string> lines;
    const std::string before = text;
    {
        zel::LineWalk walk(text.data(), text.size(), limit);
        while (const char *line = walk.next())
            lines.emplace_back(line);
        EXPECT_EQ(walk.next(), nullptr);
    }
    EXPECT_EQ(text, before);
    return lines;
}

TEST(LineWalk, LinesKeepTheirLineFeed) {
    EXPECT_EQ(linesOf("a\n\nbc\nd", 10), (std::vector<std::string>{"a\n", "\n", "bc\n", "d"}));
    EXPECT_EQ(linesOf("", 10), std::vector<std::string>{});
    EXPECT_EQ(linesOf("a\n", 10), std::vector<std::string>{"a\n"});
}

TEST(LineWalk, LongLineIsTakenInPieces) {
    EXPECT_EQ(linesOf("abcdefg\nh", 3), (std::vector<std::string>{"abc", "def", "g\n", "h"}));
    EXPECT_EQ(linesOf("abc\nd", 3), (std::vector<std::string>{"abc", "\n", "d"}));
}

TEST(LineWalk, TextIsWholeAgainAfterAWalkThatBrokeOff) {
    std::string text = "abc\ndef\n";
    {
        zel::LineWalk walk(text.data(), text.size(), 10);
        EXPECT_STREQ(walk.next(), "abc\n");
        EXPECT_EQ(text[4], '\0');
    }
    EXPECT_EQ(text, "abc\ndef\n");
}

TEST(LineWalk, FileCanBeWalkedAgain) {
    const HostFixture host;
    host.write("file", "a\nb\n");
    zel::WholeFile file;
    {
        zel::LineWalk walk = file.lines(10);
        EXPECT_EQ(walk.next(), nullptr); // nothing read yet
    }
    ASSERT_TRUE(file.read("/file"));
    for (int round = 0; round < 2; ++round) {
        zel::LineWalk walk = file.lines(10);
        EXPECT_STREQ(walk.next(), "a\n");
        EXPECT_STREQ(walk.next(), "b\n");
        EXPECT_EQ(walk.next(), nullptr);
    }
}

// The same pieces that fgets gives with a buffer one larger.
TEST(LineWalk, PiecesAreThoseOfFgets) {
    std::string content;
    for (int length : {0, 1, 1021, 1022, 1023, 1024, 1025, 2046, 5000, 3})
        content += std::string(static_cast<std::size_t>(length), 'x') + "\n";
    content += "end";
    std::vector<std::string> expected;
    std::FILE *file = fmemopen(content.data(), content.size(), "r");
    ASSERT_NE(file, nullptr);
    char piece[1024];
    while (std::fgets(piece, sizeof(piece), file) != nullptr)
        expected.emplace_back(piece);
    std::fclose(file);

    EXPECT_EQ(linesOf(content, sizeof(piece) - 1), expected);
}

TEST(LineWalk, KnownLineIsPassedOver) {
    std::string text = "first\nsecond\nthird\n";
    zel::LineWalk walk(text.data(), text.size(), 100);
    EXPECT_EQ(walk.rest(), "first\nsecond\nthird\n");
    EXPECT_STREQ(walk.next(), "first\n");
    EXPECT_EQ(walk.rest(), "second\nthird\n"); // whole again
    walk.skip(7);
    EXPECT_STREQ(walk.next(), "third\n");
    EXPECT_EQ(walk.rest(), "");
}

TEST(WholeFile, TextOutlivesTheNextReadInAnother) {
    const HostFixture host;
    host.write("file", "first\n");
    zel::WholeFile file;
    zel::WholeFile before;
    ASSERT_TRUE(file.read("/file"));
    before.swapText(file);
    before.growLike(file);
    EXPECT_EQ(file.text(), "");
    host.write("file", "second\n");
    ASSERT_TRUE(file.read("/file"));
    EXPECT_EQ(file.text(), "second\n");
    EXPECT_EQ(before.text(), "first\n");
}

} // namespace

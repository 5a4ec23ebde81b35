// The lines of a table beside those that fgets gives, over texts whose lines end anywhere in a block.
#include "network/TableLines.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t BLOCK = 65536;
constexpr std::size_t LIMIT = zel::TableLines::LINE_LIMIT;

struct Closer {
    void operator()(std::FILE *file) const { std::fclose(file); }
};

std::vector<std::string> linesOf(std::string text) {
    // An empty memory stream cannot be opened: a byte that is read beforehand is put in front.
    text.insert(text.begin(), '#');
    const std::unique_ptr<std::FILE, Closer> stream(fmemopen(text.data(), text.size(), "r"));
    EXPECT_EQ(std::fgetc(stream.get()), '#');
    const auto lines = std::make_unique<zel::TableLines>();
    lines->start(stream.get());
    std::vector<std::string> found;
    std::size_t length = 0;
    while (const char *line = lines->next(length)) {
        EXPECT_EQ(line[length], '\0');
        found.emplace_back(line);
    }
    EXPECT_EQ(lines->next(length), nullptr) << "the end stays the end";
    return found;
}

// Split at every line feed, each line up to its first zero byte and at most LIMIT characters.
std::vector<std::string> expectedLines(const std::string &text) {
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        lines.emplace_back(text.substr(start, std::min(end - start, LIMIT)).c_str());
        start = end + 1;
    }
    return lines;
}

TEST(TableLines, EveryLineIsGivenWithoutItsLineFeed) {
    EXPECT_THAT(linesOf("one\ntwo\n\nthree"), ElementsAre("one", "two", "", "three"));
    EXPECT_THAT(linesOf(""), IsEmpty());
    EXPECT_THAT(linesOf("\n"), ElementsAre(""));
    EXPECT_THAT(linesOf(std::string("a\0b\nc\n", 6)), ElementsAre("a", "c"));
}

TEST(TableLines, LongLineIsCutAndItsRestIsNoLine) {
    const std::string limit(LIMIT, 'x');
    EXPECT_THAT(linesOf(limit + "\nb\n"), ElementsAre(limit, "b"));
    EXPECT_THAT(linesOf(limit + "y\nb\n"), ElementsAre(limit, "b"));
    for (const std::size_t length : {BLOCK - 1, BLOCK, BLOCK + 1, 2 * BLOCK, 5 * BLOCK + 7}) {
        EXPECT_THAT(linesOf(std::string(length, 'x') + "\nb\n"), ElementsAre(limit, "b")) << length;
        EXPECT_THAT(linesOf("a\n" + std::string(length, 'x')), ElementsAre("a", limit)) << length;
    }
}

TEST(TableLines, LinesThatCrossABlockAreWhole) {
    for (std::size_t before = BLOCK - 12; before <= BLOCK + 2; ++before) {
        std::string text;
        while (text.size() + 101 < before)
            text += std::string(100, 'f') + "\n";
        text += std::string(before - text.size() - 1, 'g') + "\n0123456789\nlast";
        EXPECT_EQ(linesOf(text), expectedLines(text)) << before;
    }
}

TEST(TableLines, RandomTextsAreSplitAtEveryLineFeed) {
    std::mt19937 random(20240518);
    for (int round = 0; round < 40; ++round) {
        std::string text(random() % (4 * BLOCK), 'x');
        const unsigned rarity = 1U << (random() % 18);
        for (char &character : text)
            character =
                random() % rarity == 0 ? '\n' : static_cast<char>(random() % 300 == 0 ? 0 : 'a' + random() % 26);
        ASSERT_EQ(linesOf(text), expectedLines(text)) << round;
    }
}

} // namespace

// Reading lines into a buffer of a fixed size.
#include "text/LineReader.h"

#include "host/ScopedHandle.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

// The lines of `text` as a buffer of 8 bytes holds them, each with what it is: "w" whole, "c" cut.
std::vector<std::string> linesOf(std::string text) {
    const zel::ScopedFile file(fmemopen(text.data(), text.size(), "r"));
    std::vector<std::string> lines;
    char line[8];
    for (zel::Line kind{}; (kind = zel::readLine(file.get(), line)) != zel::Line::None;)
        lines.push_back((kind == zel::Line::Whole ? "w " : "c ") + std::string(line));
    return lines;
}

using Lines = std::vector<std::string>;

TEST(LineReader, LinesComeWithoutTheirLineFeed) {
    EXPECT_EQ(linesOf("one\n\ntwo\n"), (Lines{"w one", "w ", "w two"}));
    EXPECT_EQ(linesOf("one\ntwo"), (Lines{"w one", "w two"})) << "the last one needs none";
    EXPECT_EQ(linesOf("\n"), (Lines{"w "}));
}

TEST(LineReader, LineThatDoesNotFitIsCutAndItsRestPassedOver) {
    EXPECT_EQ(linesOf("1234567\n8\n"), (Lines{"w 1234567", "w 8"})) << "it fits with its terminator";
    EXPECT_EQ(linesOf("12345678\n9\n"), (Lines{"c 1234567", "w 9"}));
    EXPECT_EQ(linesOf("123456789abcdefghij\n9"), (Lines{"c 1234567", "w 9"}));
    EXPECT_EQ(linesOf("123456"), (Lines{"w 123456"}));
    EXPECT_EQ(linesOf("1234567"), (Lines{"w 1234567"}));
    EXPECT_EQ(linesOf("12345678"), (Lines{"c 1234567"}));
}

TEST(LineReader, ZeroBytesEndTheTextAndNotTheLine) {
    EXPECT_EQ(linesOf(std::string("a\0b\nc\n", 6)), (Lines{"w a", "w c"}));
    EXPECT_EQ(linesOf(std::string("\0\0\nc", 4)), (Lines{"w ", "w c"}));
    EXPECT_EQ(linesOf(std::string("a\0cdefghij\nk\n", 13)), (Lines{"c a", "w k"}));
    EXPECT_EQ(linesOf(std::string("a\0", 2)), (Lines{"w a"}));
}

} // namespace

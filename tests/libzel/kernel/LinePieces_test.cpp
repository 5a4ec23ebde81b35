// Lines that are taken in pieces.
#include "kernel/LinePieces.h"

#include "HostFixture.h"
#include "host/HostOpen.h"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::size_t bufferSize = 16; // 15 bytes and the terminator

std::vector<std::string> piecesOf(const HostFixture &host, const std::string &content) {
    host.write("file", content);
    char buffer[bufferSize];
    zel::LinePieces pieces(zel::openHostFile("/file"), buffer, sizeof(buffer));
    std::vector<std::string> result;
    while (const char *lines = pieces.next()) {
        result.emplace_back(lines, pieces.end());
        EXPECT_EQ(*pieces.end(), '\0');
    }
    return result;
}

using Pieces = std::vector<std::string>;

TEST(LinePieces, ShortFileIsOnePiece) {
    const HostFixture host;
    EXPECT_EQ(piecesOf(host, "one\ntwo\n"), (Pieces{"one\ntwo\n"}));
    EXPECT_EQ(piecesOf(host, "one\ntwo"), (Pieces{"one\ntwo"}));
    EXPECT_EQ(piecesOf(host, ""), (Pieces{""}));
}

TEST(LinePieces, LongFileIsCutAfterWholeLines) {
    const HostFixture host;
    EXPECT_EQ(piecesOf(host, "one\ntwo\nthree\nfour\nfive"), (Pieces{"one\ntwo\nthree", "four\nfive"}));
    EXPECT_EQ(piecesOf(host, "12345678901234\n"), (Pieces{"12345678901234", ""})) << "exactly the buffer";
}

TEST(LinePieces, OfALineLongerThanTheBufferTheBeginningIsGiven) {
    const HostFixture host;
    EXPECT_EQ(piecesOf(host, "a long line that does not fit\nnext\n"), (Pieces{"a long line tha", "next\n"}));
    EXPECT_EQ(piecesOf(host, std::string(40, 'x')), (Pieces{std::string(15, 'x'), ""}));
    EXPECT_EQ(piecesOf(host, "one\n" + std::string(30, 'x') + "\ntwo"), (Pieces{"one", std::string(15, 'x'), "two"}));
}

TEST(LinePieces, ZeroBytesAreContent) {
    const HostFixture host;
    EXPECT_EQ(piecesOf(host, std::string("a\0b\nc", 5)), (Pieces{std::string("a\0b\nc", 5)}));
}

TEST(LinePieces, FileThatCannotBeOpenedHasNone) {
    const HostFixture host;
    char buffer[bufferSize];
    zel::LinePieces pieces(zel::openHostFile("/absent"), buffer, sizeof(buffer));

    EXPECT_EQ(pieces.next(), nullptr);
}

// Whatever the file: its lines come in order, each at most once, cut where they exceed the buffer.
TEST(LinePieces, LinesOfAnyFileComeInOrder) {
    const HostFixture host;
    std::mt19937 random(16);
    for (int round = 0; round < 500; ++round) {
        std::string content;
        std::vector<std::string> expected;
        for (auto lines = random() % 8; lines > 0; --lines) {
            const std::string line(1 + random() % 24, static_cast<char>('a' + lines));
            content += line + "\n";
            expected.push_back(line);
        }
        std::vector<std::string> found;
        for (const std::string &piece : piecesOf(host, content)) {
            for (std::size_t at = 0; at < piece.size();) {
                const std::size_t end = std::min(piece.find('\n', at), piece.size());
                found.push_back(piece.substr(at, end - at));
                at = end + 1;
            }
        }
        ASSERT_EQ(found.size(), expected.size()) << content;
        for (std::size_t i = 0; i < found.size(); ++i) {
            ASSERT_TRUE(expected[i].starts_with(found[i])) << content;
            ASSERT_GE(found[i].size(), std::min<std::size_t>(expected[i].size(), 15)) << content;
        }
    }
}

TEST(LinePieces, TextThatWasReadBeforeIsGivenOnce) {
    char text[] = "one\ntwo\n";
    zel::LinePieces pieces(text, sizeof(text) - 1);
    EXPECT_STREQ(pieces.next(), "one\ntwo\n");
    EXPECT_EQ(pieces.end(), text + sizeof(text) - 1);
    EXPECT_EQ(pieces.next(), nullptr);
}

} // namespace

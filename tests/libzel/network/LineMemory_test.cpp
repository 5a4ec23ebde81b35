// Lines of the interface table that are remembered, beside the same lines parsed anew.
#include "network/LineMemory.h"

#include "SystemHooks.h"
#include "network/InterfaceLine.h"

#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

using zel::LineMemory;

constexpr const char *ETH0 = "  eth0: 18687536  491 1 2 0 0 0 7  25259  301 3 4 0 5 0 0";

/// The entry is what the line says to a parser that remembers nothing.
void expectParsed(const LineMemory::Entry &entry, const std::string &line, int layout) {
    LineMemory::Entry fresh{};
    zel::parseInterfaceCounters(layout, zel::takeInterfaceName(line.c_str(), fresh.name), fresh.stats);
    EXPECT_STREQ(entry.name, fresh.name) << line;
    EXPECT_EQ(std::memcmp(&entry.stats, &fresh.stats, sizeof(fresh.stats)), 0) << line;
}

void walk(LineMemory &memory, const std::vector<std::string> &lines, int layout = INTERFACE_LAYOUT_COMPRESSED) {
    memory.start();
    for (const std::string &line : lines)
        expectParsed(memory.next(layout, line.c_str(), line.size()), line, layout);
}

TEST(LineMemory, FirstAndSecondWalkSayTheSame) {
    LineMemory memory;
    for (int pass = 0; pass < 2; ++pass) {
        memory.start();
        const LineMemory::Entry &entry = memory.next(INTERFACE_LAYOUT_COMPRESSED, ETH0, std::strlen(ETH0));
        EXPECT_STREQ(entry.name, "eth0");
        EXPECT_EQ(entry.stats.rx_bytes, 18687536U);
        EXPECT_EQ(entry.stats.tx_packets, 301U);
        EXPECT_EQ(entry.stats.collisions, 5U);
    }
}

TEST(LineMemory, OtherLineInThePlaceOfAKnownOneIsParsed) {
    LineMemory memory;
    walk(memory, {ETH0, "  eth1: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16"});
    walk(memory, {"  eth1: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16", ETH0});
    walk(memory, {ETH0, "  eth1: 1 2 3", "  eth2: 1"});
    walk(memory, {"  eth1: 1 2 3 4", ""});
    walk(memory, {""});
    walk(memory, {"", ETH0});
}

TEST(LineMemory, SameLineInAnotherLayoutIsParsed) {
    LineMemory memory;
    for (const int layout :
         {INTERFACE_LAYOUT_COMPRESSED, INTERFACE_LAYOUT_BYTES, INTERFACE_LAYOUT_PACKETS, INTERFACE_LAYOUT_COMPRESSED})
        walk(memory, {ETH0}, layout);
}

TEST(LineMemory, LineThatIsTooLongToRememberIsParsed) {
    LineMemory memory;
    const std::string blanks(500, ' ');
    for (const char *end : {"1", "2", "2"})
        walk(memory, {"  eth0:" + blanks + end, ETH0});
}

TEST(LineMemory, WithoutMemoryLinesAreParsed) {
    LineMemory memory;
    const std::vector<std::string> lines{ETH0, "  eth1: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16", ETH0};
    for (int allowed = 0; allowed < 3; ++allowed) {
        memory.start();
        for (const std::string &line : lines) {
            systemHooks().failNewAfter = 0;
            const LineMemory::Entry &entry = memory.next(INTERFACE_LAYOUT_COMPRESSED, line.c_str(), line.size());
            systemHooks().failNewAfter = -1;
            expectParsed(entry, line, INTERFACE_LAYOUT_COMPRESSED);
        }
    }
    walk(memory, lines);
    walk(memory, lines);
}

// Digits change, lines come, go and change places.
TEST(LineMemory, ChangingTablesAreReadAsIfNothingWereRemembered) {
    std::mt19937 random(20261122);
    const auto below = [&random](std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
    };
    std::vector<std::string> lines(20, ETH0);
    LineMemory memory;
    for (int pass = 0; pass < 3000; ++pass) {
        std::string &line = lines[below(lines.size())];
        switch (below(5)) {
        case 0:
            line[below(line.size())] = static_cast<char>(" 0123456789:a"[below(13)]);
            break;
        case 1:
            std::swap(line, lines[below(lines.size())]);
            break;
        case 2:
            line = ETH0;
            break;
        case 3:
            if (lines.size() > 3)
                lines.pop_back();
            break;
        default:
            lines.push_back(line);
        }
        walk(memory, lines);
        ASSERT_FALSE(HasFailure());
    }
}

} // namespace

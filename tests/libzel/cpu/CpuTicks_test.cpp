// The processor lines of /proc/stat in both layouts.
#include "cpu/CpuTicks.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

using zel::CpuLayout;
using zel::CpuRow;

struct Rows {
    CpuRow row[zel::CPU_ROWS] = {};
    int count = 0;
};

Rows parsed(const std::string &text, CpuLayout layout) {
    Rows rows;
    rows.count = zel::parseCpuTicks(text, layout, rows.row);
    return rows;
}

void expectRow(const CpuRow &row, unsigned long long system, unsigned long long user, unsigned long long idle,
               unsigned long long wait, unsigned long long nice) {
    EXPECT_EQ(row[0], system);
    EXPECT_EQ(row[1], user);
    EXPECT_EQ(row[2], idle);
    EXPECT_EQ(row[3], wait);
    EXPECT_EQ(row[4], nice);
}

constexpr const char *twoProcessors = "cpu  301 612 111 8979 355 2 394 0 44 36\n"
                                      "cpu0 201 600 61 4979 155 1 194 0 4 3\n"
                                      "cpu1 100 12 50 4000 200 1 200 0 40 33\n"
                                      "intr 5384898 17 0 0 0\n"
                                      "ctxt 79658381\n"
                                      "btime 1711000123\n"
                                      "softirq 4144991 491129 6489130\n";

TEST(CpuTicks, FiveFieldsAreUserNiceSystemIdleAndWait) {
    const Rows rows = parsed(twoProcessors, CpuLayout::FiveFields);

    ASSERT_EQ(rows.count, 3);
    expectRow(rows.row[0], 111, 301, 8979, 355, 612);
    expectRow(rows.row[1], 61, 201, 4979, 155, 600);
    expectRow(rows.row[2], 50, 100, 4000, 200, 12);
}

TEST(CpuTicks, FourFieldsPutTheNiceTicksIntoTheWaitColumnToo) {
    const Rows rows = parsed(twoProcessors, CpuLayout::FourFields);

    ASSERT_EQ(rows.count, 3);
    expectRow(rows.row[0], 111, 301, 8979, 612, 612);
    expectRow(rows.row[1], 61, 201, 4979, 600, 600);
    expectRow(rows.row[2], 50, 100, 4000, 12, 12);
}

TEST(CpuTicks, WithoutTheLineOfTheMachineThereIsNothing) {
    for (const char *text : {"", "intr 1 2 3\n", "cpu0 1 2 3 4 5\ncpu1 1 2 3 4 5\n", "cpu\n"})
        EXPECT_EQ(parsed(text, CpuLayout::FiveFields).count, 0) << text;
}

TEST(CpuTicks, MachineAloneIsOneRow) {
    const Rows rows = parsed("cpu  1 2 3 4 5\n", CpuLayout::FiveFields);

    ASSERT_EQ(rows.count, 1);
    expectRow(rows.row[0], 3, 1, 4, 5, 2);
}

TEST(CpuTicks, LinesBeforeTheMachineAreSkipped) {
    const Rows rows = parsed("version 7\ncpu  1 2 3 4 5\ncpu0 6 7 8 9 10\n", CpuLayout::FiveFields);

    ASSERT_EQ(rows.count, 2);
    expectRow(rows.row[1], 8, 6, 9, 10, 7);
}

TEST(CpuTicks, ShortLineReadsAsZeroAndKeepsTheNextRow) {
    const Rows rows = parsed("cpu  1 2 3 4\ncpu0 5 6\ncpu1 7 8 9 10 11\n", CpuLayout::FiveFields);

    ASSERT_EQ(rows.count, 3);
    expectRow(rows.row[0], 3, 1, 4, 0, 2);
    expectRow(rows.row[1], 0, 5, 0, 0, 6);
    expectRow(rows.row[2], 9, 7, 10, 11, 8);
}

TEST(CpuTicks, CutTextEndsAtItsEnd) {
    const Rows rows = parsed("cpu  1 2 3 4 5\ncpu0 6 7", CpuLayout::FiveFields);

    ASSERT_EQ(rows.count, 2);
    expectRow(rows.row[1], 0, 6, 0, 0, 7);
    EXPECT_EQ(parsed("cpu  1 2 3 4 5\ncpu", CpuLayout::FiveFields).count, 2);
}

TEST(CpuTicks, NumbersThatDoNotFitAreAllOnes) {
    const Rows rows = parsed("cpu  18446744073709551615 18446744073709551616 0 4 5\n", CpuLayout::FiveFields);

    expectRow(rows.row[0], 0, 18446744073709551615ULL, 4, 5, 18446744073709551615ULL);
}

TEST(CpuTicks, ProcessorsBeyondThe512thAreLeftOut) {
    for (const int processors : {511, 512, 513, 600}) {
        std::string text = "cpu  1 2 3 4 5\n";
        for (int number = 0; number < processors; ++number)
            text += "cpu" + std::to_string(number) + " " + std::to_string(number + 1) + " 0 0 7 0\n";

        const Rows rows = parsed(text, CpuLayout::FiveFields);

        const int kept = processors < 512 ? processors : 512;
        ASSERT_EQ(rows.count, kept + 1);
        EXPECT_EQ(rows.row[kept][zel::CPU_USER], static_cast<unsigned long long>(kept));
    }
}

// The same reading with the functions of the C library.
Rows readWithLibraryFunctions(const std::string &text, CpuLayout layout) {
    Rows rows;
    const char *line = std::strstr(text.c_str(), "cpu ");
    while (line != nullptr && rows.count < zel::CPU_ROWS) {
        while (*line != '\0' && std::isspace(static_cast<unsigned char>(*line)) == 0)
            ++line;
        char *end = nullptr;
        auto &row = rows.row[rows.count++];
        row[1] = std::strtoull(line, &end, 10);
        row[4] = std::strtoull(end, &end, 10);
        row[0] = std::strtoull(end, &end, 10);
        row[2] = std::strtoull(end, &end, 10);
        row[3] = layout == CpuLayout::FiveFields ? std::strtoull(end, &end, 10) : row[4];
        line = std::strstr(end, "cpu");
    }
    return rows;
}

TEST(CpuTicks, AgreesWithTheLibraryFunctionsOnMutatedText) {
    std::mt19937 random(31);
    const std::string alphabet = "cpu 0123456789\n-+x";
    for (int round = 0; round < 5000; ++round) {
        std::string text = twoProcessors;
        for (auto changes = random() % 12; changes > 0; --changes) {
            const std::size_t position = random() % text.size();
            if (random() % 3 == 0)
                text.erase(position, 1);
            else
                text[position] = alphabet[random() % alphabet.size()];
        }
        for (const CpuLayout layout : {CpuLayout::FourFields, CpuLayout::FiveFields}) {
            const Rows actual = parsed(text, layout);
            const Rows expected = readWithLibraryFunctions(text, layout);
            ASSERT_EQ(actual.count, expected.count) << text;
            ASSERT_EQ(std::memcmp(actual.row, expected.row, sizeof(actual.row)), 0) << text;
        }
    }
}

} // namespace

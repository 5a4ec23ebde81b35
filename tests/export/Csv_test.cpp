// CSV of a sample, read back by a reader of RFC 4180 of the test's own.
#include "export/Csv.h"

#include "FullSample.h"
#include "SystemHooks.h"

#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace {

using zel::Area;
using Line = std::vector<std::string>;

// As the RFC has it: lines end with CR LF, a cell in quotes holds anything, two quotes in it are one.
std::vector<Line> readCsv(const std::string &text) {
    std::vector<Line> lines;
    std::size_t at = 0;
    while (at < text.size()) {
        Line line(1);
        bool quoted = false;
        for (; at < text.size(); ++at) {
            if (quoted && text[at] == '"' && at + 1 < text.size() && text[at + 1] == '"')
                line.back() += text[++at];
            else if (text[at] == '"')
                quoted = !quoted;
            else if (!quoted && text[at] == ',')
                line.emplace_back();
            else if (!quoted && text.compare(at, 2, "\r\n") == 0)
                break;
            else
                line.back() += text[at];
        }
        EXPECT_FALSE(quoted) << text;
        EXPECT_LT(at, text.size()) << "the last line has no end";
        lines.push_back(line);
        at += 2;
    }
    return lines;
}

std::string cellOf(std::string_view text) {
    std::string out;
    zel::appendCsvText(out, text);
    const std::vector<Line> lines = readCsv(out + "\r\n");
    EXPECT_EQ(lines.size(), 1U) << text;
    EXPECT_EQ(lines[0].size(), 1U) << text;
    return lines[0][0];
}

zel::Sample sampleOf(std::initializer_list<Area> areas) {
    zel::Sample sample;
    for (const Area area : areas)
        sample.area(area).asked = true;
    sample.realtimeNanoseconds = 1795238415260000001;
    return sample;
}

std::string textOf(const zel::Sample &sample, bool header = true) {
    std::string out;
    zel::writeCsv(sample, {}, header, out);
    return out;
}

std::string cell(const std::vector<Line> &lines, std::size_t row, const std::string &column) {
    for (std::size_t i = 0; i < lines[0].size(); ++i) {
        if (lines[0][i] == column)
            return lines[row].at(i);
    }
    ADD_FAILURE() << "no column " << column;
    return {};
}

constexpr const char *sign = "\xef\xbf\xbd"; // U+FFFD

TEST(CsvText, EveryByteStaysInItsCell) {
    for (unsigned byte = 0; byte < 0x100; ++byte) {
        const std::string text = {'a', static_cast<char>(byte), 'z'};
        const bool plain = byte >= 0x20 && byte < 0x7f;
        EXPECT_EQ(cellOf(text), plain ? text : std::string("a") + sign + "z") << byte;
    }
}

TEST(CsvText, EveryFirstByteIsWrittenOrDefused) {
    for (unsigned byte = 1; byte < 0x100; ++byte) {
        const std::string text = {static_cast<char>(byte), '1'};
        const std::string cell = cellOf(text);
        if (std::string("=+-@'").find(text[0]) != std::string::npos)
            EXPECT_EQ(cell, "'" + text);
        else
            EXPECT_EQ(std::string("=+-@\t\r\n").find(cell[0]), std::string::npos) << byte;
    }
}

TEST(CsvText, WhatIsNoUtf8OrTurnsALineIsReplaced) {
    EXPECT_EQ(cellOf("\xc0\xaf"), std::string(sign) + sign);
    EXPECT_EQ(cellOf("\xed\xa0\x80"), std::string(sign) + sign + sign);
    EXPECT_EQ(cellOf("\xe2\x80\xae"
                     "txt"),
              std::string(sign) + "txt"); // right-to-left override
    EXPECT_EQ(cellOf("\xc2\x9b"
                     "2J"),
              std::string(sign) + "2J");
    EXPECT_EQ(cellOf("\xc3\xa9\xe2\x82\xac"), "\xc3\xa9\xe2\x82\xac");
}

TEST(CsvText, SeparatorsAreQuotedAndNothingElseIs) {
    std::string out;
    zel::appendCsvText(out, "a b;c");
    EXPECT_EQ(out, "a b;c");
    EXPECT_EQ(cellOf("a,\"b\",c"), "a,\"b\",c");
    EXPECT_EQ(cellOf("\""), "\"");
}

TEST(CsvText, AnEmptyTextIsAPairOfQuotes) {
    std::string out;
    zel::appendCsvText(out, "");
    EXPECT_EQ(out, "\"\"");
}

TEST(Csv, OneSectionIsOneTable) {
    zel::Sample sample = sampleOf({Area::Load});
    sample.load = {0.5, 0.25, 0.125, 1, 100, 4711};
    EXPECT_EQ(textOf(sample), "section,time,load1,load5,load15,runnable,entities,last_pid\r\n"
                              "load,2026-11-21T05:20:15.260000001Z,0.5,0.25,0.125,1,100,4711\r\n");
    EXPECT_EQ(textOf(sample, false), "load,2026-11-21T05:20:15.260000001Z,0.5,0.25,0.125,1,100,4711\r\n");
}

TEST(Csv, ASectionWithoutRowsStillHasItsHeader) {
    const std::vector<Line> lines = readCsv(textOf(sampleOf({Area::Pressure})));
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0][2], "resource");
}

TEST(Csv, SeveralSectionsAreTablesWithAnEmptyLineAfterEach) {
    zel::Sample sample = sampleOf({Area::Load, Area::Pressure, Area::Interrupts});
    sample.pressure.append().resource = "io";
    const std::vector<Line> lines = readCsv(textOf(sample, false));
    // load, pressure, activity: a header, a row, an empty line each; no table for interrupts and softirqs without rows.
    ASSERT_EQ(lines.size(), 9U);
    EXPECT_EQ(lines[0][0], "section");
    EXPECT_EQ(lines[1][0], "load");
    EXPECT_EQ(lines[2], Line{""});
    EXPECT_EQ(lines[3][2], "resource");
    EXPECT_EQ(lines[4][0], "pressure");
    EXPECT_EQ(lines[4][2], "io");
    EXPECT_EQ(lines[7][0], "activity");
    EXPECT_EQ(lines[8], Line{""});
}

TEST(Csv, EveryRowHasAsManyCellsAsTheHeader) {
    zel::Sample sample = sampleOf({Area::Pressure});
    for (const char *name : {"cpu", "a,b", "\"", "x\r\ny", ""})
        sample.pressure.append().resource = name;
    const std::vector<Line> lines = readCsv(textOf(sample));
    ASSERT_EQ(lines.size(), 6U);
    for (const Line &line : lines)
        EXPECT_EQ(line.size(), lines[0].size());
    EXPECT_EQ(cell(lines, 2, "resource"), "a,b");
    EXPECT_EQ(cell(lines, 4, "resource"), std::string("x") + sign + sign + "y");
}

TEST(Csv, AnAbsentValueIsAnEmptyCell) {
    zel::Sample sample = sampleOf({Area::Load});
    sample.load.load1 = zel::Absence::Denied;
    sample.load.load5 = std::numeric_limits<double>::infinity();
    sample.load.load15 = 0.0;
    const std::vector<Line> lines = readCsv(textOf(sample));
    EXPECT_EQ(cell(lines, 1, "load1"), "");
    EXPECT_EQ(cell(lines, 1, "load5"), "");
    EXPECT_EQ(cell(lines, 1, "load15"), "0");
}

TEST(Csv, NumbersAreExact) {
    zel::Sample sample = sampleOf({Area::Vm});
    sample.vm.pgfault = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(cell(readCsv(textOf(sample)), 1, "pgfault_total"), "18446744073709551615");
}

TEST(CsvOfRates, HasTheIntervalAndRatesInThePlaceOfCounters) {
    zel::Sample before = sampleOf({Area::Pressure});
    zel::Sample now = before;
    before.pressure.append().resource = now.pressure.append().resource = "io";
    before.pressure[0].someSeconds = 1.0;
    now.pressure[0].someSeconds = 1.5;
    now.monotonicNanoseconds = now.area(Area::Pressure).monotonicNanoseconds = 2000000000;
    std::string text;
    zel::writeCsv(now, zel::between(before, now), {}, true, text);
    const std::vector<Line> lines = readCsv(text);
    EXPECT_EQ(cell(lines, 1, "interval_seconds"), "2");
    EXPECT_EQ(cell(lines, 1, "some_ratio"), "0.25");
    EXPECT_EQ(lines[0].size(), lines[1].size());
    EXPECT_EQ(text.find("some_seconds_total"), text.npos);
}

TEST(Csv, InSteadyStateNothingIsAllocated) {
    const zel::Sample earlier = FullSample::make();
    zel::Sample sample = earlier;
    sample.monotonicNanoseconds += 1000000000;
    const zel::Rates rates = zel::between(earlier, sample);
    std::string out;
    const auto allocated = [&out](auto &&write) {
        write();
        out.clear();
        const long before = allocationsSoFar();
        write();
        return allocationsSoFar() - before;
    };
    EXPECT_EQ(allocated([&] { zel::writeCsv(sample, {}, true, out); }), 0);
    EXPECT_EQ(allocated([&] { zel::writeCsv(sample, rates, {}, true, out); }), 0);
}

} // namespace

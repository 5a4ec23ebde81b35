// The writer of the performance text, byte by byte.
#include "PerfText.h"

#include "Separators.h"
#include "SystemHooks.h"

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

namespace {

// A text buffer with its size, as collectors hold them.
struct OwnedText {
    explicit OwnedText(int bytes) : buffer(fgNewTextBuffer(bytes)), size(bytes) {}
    ~OwnedText() { std::free(buffer); }
    OwnedText(const OwnedText &) = delete;
    OwnedText &operator=(const OwnedText &) = delete;

    char *buffer;
    int size;
};

bool zeroFrom(const OwnedText &text, std::size_t position) {
    for (std::size_t i = position; i < static_cast<std::size_t>(text.size); ++i) {
        if (text.buffer[i] != '\0')
            return false;
    }
    return true;
}

std::string printed(double value) {
    char text[400];
    std::snprintf(text, sizeof(text), "%.2f", value);
    return text;
}

std::string written(double value) {
    OwnedText text(512);
    CPerfText writer(text.buffer, text.size);
    writer.field(value);
    return std::string(writer.view()).substr(0, writer.length() - C.size());
}

TEST(PerfSeparators, AreThreeBytesAndATerminator) {
    PerfSplit table;
    PerfSplit push;

    fgSetTableSplit(table);
    fgSetPushSplit(push);

    EXPECT_EQ(std::memcmp(table[0], "\x03\x1F|\0", 4), 0);
    EXPECT_EQ(std::memcmp(table[1], "\x03\x1F~\0", 4), 0);
    EXPECT_EQ(std::memcmp(push[0], "\x03\x1F]\0", 4), 0);
    EXPECT_EQ(std::memcmp(push[1], "\x03\x1F^\0", 4), 0);
}

TEST(PerfTable, WithoutRowsItIsTheHeaderAlone) {
    OwnedText text(PERF_TABLE_SIZE);
    CPerfText table(text.buffer, text.size);

    table.header({"NAME", "USED"});

    EXPECT_EQ(text.buffer, "NAME" + C + "USED" + C);
}

TEST(PerfTable, RowsFollowTheHeader) {
    OwnedText text(PERF_TABLE_SIZE);
    CPerfText table(text.buffer, text.size);

    table.column("name1");
    table.column("name2");
    table.beginRow();
    table.field("key1");
    table.field("value");
    table.beginRow();
    table.field("key2");
    table.field("value");

    EXPECT_EQ(text.buffer, "name1" + C + "name2" + C + R + "key1" + C + "value" + C + R + "key2" + C + "value" + C);
}

TEST(PerfTable, EndMarkerFollowsARowSeparator) {
    OwnedText text(PERF_TABLE_SIZE);
    CPerfText table(text.buffer, text.size);

    table.header({"INDEX"});
    table.beginRow();
    table.field(1);
    table.endMarker();

    EXPECT_EQ(text.buffer, "INDEX" + C + R + "1" + C + R + "torv_token_end");
}

TEST(PerfTable, ValuesOfEveryKind) {
    OwnedText text(PERF_TABLE_SIZE);
    CPerfText table(text.buffer, text.size);

    table.field(std::numeric_limits<int>::min());
    table.field(-1);
    table.field(4294967296UL);
    table.field(18446744073709551615ULL);
    table.field(33.333);
    table.field(-1.0);
    table.field(2.5F);
    table.field('S');
    table.field("");
    table.field(static_cast<const char *>(nullptr));
    table.numberedField("CPU", 512);

    EXPECT_EQ(text.buffer, "-2147483648" + C + "-1" + C + "4294967296" + C + "18446744073709551615" + C + "33.33" + C +
                               "-1.00" + C + "2.50" + C + "S" + C + C + C + "CPU512" + C);
}

TEST(PerfTable, SeparatorBytesInsideAValueBecomeBlanks) {
    OwnedText text(PERF_TABLE_SIZE);
    CPerfText table(text.buffer, text.size);
    using namespace std::string_view_literals;

    table.field("eth0\x03\x1F|2\x03\x1F~forged");
    table.field("cut\0off"sv);
    table.field('\x03');

    EXPECT_EQ(text.buffer, "eth0  |2  ~forged" + C + "cut off" + C + " " + C);
    EXPECT_EQ(table.length(), std::strlen(text.buffer));
}

// "%.2f" of the C library is the reference: plain values, ties, both zeros, the largest and what is no number.
// Long values are copied several bytes at a time.
TEST(PerfTable, EveryByteAtEveryPlaceOfAValueIsCopiedOrBecomesABlank) {
    for (int byte = 0; byte < 256; ++byte) {
        const bool forbidden = byte == 0x00 || byte == 0x03 || byte == 0x1F;
        for (std::size_t place = 0; place < 20; ++place) {
            std::string value(20, 'v');
            value[place] = static_cast<char>(byte);
            std::string expected = value;
            if (forbidden)
                expected[place] = ' ';
            OwnedText text(64);
            CPerfText writer(text.buffer, text.size);
            writer.field(value);
            ASSERT_EQ(writer.view(), expected + C) << byte << " at " << place;
        }
    }
}

TEST(PerfTable, NumbersAreWrittenAsPrintfWritesThem) {
    for (const double value : {0.0,
                               -0.0,
                               0.005,
                               0.015,
                               0.125,
                               0.375,
                               -0.125,
                               1.005,
                               2.675,
                               0.994999999,
                               0.995,
                               99.995,
                               99.994999,
                               -0.001,
                               999999999.994,
                               999999999.995,
                               1e9,
                               1e15,
                               123456789012345678.0,
                               DBL_MAX,
                               -DBL_MAX,
                               DBL_MIN,
                               std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(written(value), printed(value));
}

TEST(PerfTable, RandomNumbersAreWrittenAsPrintfWritesThem) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> small(-200.0, 200.0);
    std::uniform_real_distribution<double> exponent(-6.0, 13.0);
    for (int round = 0; round < 20000; ++round) {
        const double plain = small(random);
        ASSERT_EQ(written(plain), printed(plain));
        const double wide = std::pow(10.0, exponent(random));
        ASSERT_EQ(written(wide), printed(wide));
        const double nearTie = (static_cast<double>(random() % 2000000) + 0.5) / 100.0;
        ASSERT_EQ(written(nearTie), printed(nearTie));
        const double tenth = static_cast<double>(static_cast<float>(random() % 1001) / 10.0F);
        ASSERT_EQ(written(tenth), printed(tenth));
    }
}

// 1024 bytes: a row is 3 + 61 + 3 = 67 bytes. Eleven rows take 737 bytes and leave 287; the twelfth finds room for 256
// and is appended (804, 220 left); the thirteenth does not and doubles the buffer first.
// A value is written in place where there is plenty of room and piecewise where there is not: the text is the same.
TEST(PerfTable, ValuesAtTheEdgeOfTheBufferAreWrittenWhole) {
    for (int size = 1; size < 400; ++size) {
        OwnedText text(size);
        CPerfText writer(text.buffer, text.size);

        writer.field(-2147483647 - 1);
        writer.field(18446744073709551615ULL);
        writer.field(1234.565);

        ASSERT_EQ(writer.view(), "-2147483648" + C + "18446744073709551615" + C + "1234.57" + C) << size;
        ASSERT_EQ(text.buffer[writer.length()], '\0');
    }
}

TEST(PerfTable, RowOfAScriptKeepsItsColumnsAndNoOtherSeparator) {
    OwnedText text(64);
    CPerfText writer(text.buffer, text.size);

    writer.beginRow();
    writer.columns("1" + C + "a" + R + "b" + C + C + "\x03~\x1F" + C + "rest\x1F");

    EXPECT_EQ(writer.view(), R + "1" + C + "a  |b" + C + C + " ~ " + C + "rest ");
}

TEST(PerfTable, TimeStampLeadsAHeader) {
    OwnedText text(64);
    CPerfText writer(text.buffer, text.size);

    writer.timeStamp(1700000000);
    writer.column("INDEX");

    EXPECT_EQ(writer.view(), "1700000000" + M + "INDEX" + C);
}

TEST(PerfGrowth, BufferDoublesWhenARowFindsFewerThan256Bytes) {
    OwnedText text(1024);
    CPerfText table(text.buffer, text.size);
    const std::string value(61, 'v');

    std::string expected;
    for (int row = 0; row < 12; ++row) {
        table.beginRow();
        table.field(value);
        expected += R + value + C;
    }
    EXPECT_EQ(text.size, 1024);
    table.beginRow();
    EXPECT_EQ(text.size, 2048);
    table.field(value);
    expected += R + value + C;

    EXPECT_EQ(text.buffer, expected);
    EXPECT_TRUE(zeroFrom(text, expected.size()));
    EXPECT_FALSE(table.incomplete());
}

// 512 - 256 = 256 bytes of text leave exactly the room of a row; one byte more does not.
TEST(PerfGrowth, ExactlyTheRoomOfARowIsEnough) {
    for (const int textLength : {256, 257}) {
        OwnedText text(512);
        CPerfText table(text.buffer, text.size);
        table.column(std::string(static_cast<std::size_t>(textLength - 3), 'h'));

        table.beginRow();

        EXPECT_EQ(text.size, textLength == 256 ? 512 : 1024);
    }
}

TEST(PerfGrowth, ManyRowsDoubleAsOftenAsNeededAndNothingIsCut) {
    OwnedText text(PERF_TABLE_SIZE);
    CPerfText table(text.buffer, text.size);
    table.header({"INDEX", "NAME"});

    std::string expected = "INDEX" + C + "NAME" + C;
    for (int row = 1; row <= 5000; ++row) {
        table.beginRow();
        table.field(row);
        table.field("disk");
        expected += R + std::to_string(row) + C + "disk" + C;
    }

    EXPECT_EQ(text.buffer, expected);
    // A row is 13 bytes and its number: 5000 * 13 + 9 + 180 + 2700 + 16004 = 83893 bytes and a header of 15.
    EXPECT_EQ(table.length(), 83908U);
    EXPECT_EQ(text.size, 10240 * 16);
}

TEST(PerfGrowth, RowLongerThanTheRoomOfARowIsWrittenWhole) {
    OwnedText text(512);
    CPerfText table(text.buffer, text.size);
    const std::string path(3000, 'p');

    table.beginRow();
    table.field(path);
    table.field("behind");

    EXPECT_EQ(text.buffer, R + path + C + "behind" + C);
    EXPECT_EQ(text.size, 4096);
}

TEST(PerfGrowth, RowMayAskForMoreRoom) {
    OwnedText text(1024);
    CPerfText table(text.buffer, text.size);

    table.beginRow(1024);
    EXPECT_EQ(text.size, 1024);
    table.beginRow(1024);
    EXPECT_EQ(text.size, 2048);
}

TEST(PerfGrowth, GrowToKeepsTheTextAndNeverShrinks) {
    OwnedText text(16);
    CPerfText table(text.buffer, text.size);
    table.column("abc");

    table.growTo(8);
    EXPECT_EQ(text.size, 16);
    table.growTo(1000);
    EXPECT_EQ(text.size, 1000);
    EXPECT_EQ(text.buffer, "abc" + C);
    EXPECT_TRUE(zeroFrom(text, table.length()));
}

TEST(PerfGrowth, MissingBufferIsAllocatedWhenItIsNeeded) {
    char *buffer = nullptr;
    int size = 0;
    CPerfText table(buffer, size);
    table.clear();
    EXPECT_EQ(table.view(), "");

    table.column("NAME");

    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(size, PERF_TABLE_SIZE);
    EXPECT_EQ(buffer, "NAME" + C);
    std::free(buffer);
}

TEST(PerfGrowth, WithoutMemoryTheTextStopsWhereItStands) {
    OwnedText text(512);
    CPerfText table(text.buffer, text.size);
    table.column(std::string(300, 'h'));

    systemHooks().failAllocationAfter = 0;
    table.beginRow();
    EXPECT_TRUE(table.incomplete());
    table.field("value");
    table.beginRow();
    table.endMarker();

    EXPECT_EQ(text.buffer, std::string(300, 'h') + C);
    EXPECT_EQ(text.size, 512);

    table.clear();
    EXPECT_FALSE(table.incomplete());
    table.column("again");
    EXPECT_EQ(text.buffer, "again" + C);
}

TEST(PerfTextState, ClearZeroesTheWholeText) {
    OwnedText text(512);
    CPerfText table(text.buffer, text.size);
    table.column(std::string(200, 'x'));

    table.clear();

    EXPECT_TRUE(zeroFrom(text, 0));
    EXPECT_EQ(table.length(), 0U);
}

TEST(PerfTextState, BindingKeepsTheTextThatStands) {
    OwnedText text(512);
    {
        CPerfText table(text.buffer, text.size);
        table.column("NAME");
    }
    CPerfText table(text.buffer, text.size);

    EXPECT_EQ(table.view(), "NAME" + C);
    table.column("USED");
    EXPECT_EQ(text.buffer, "NAME" + C + "USED" + C);
}

TEST(PerfTextState, NewBufferIsZeroFilled) {
    OwnedText text(512);
    ASSERT_NE(text.buffer, nullptr);
    EXPECT_TRUE(zeroFrom(text, 0));
    EXPECT_EQ(fgNewTextBuffer(0), nullptr);
    EXPECT_EQ(fgNewTextBuffer(-1), nullptr);
    systemHooks().failAllocationAfter = 0;
    EXPECT_EQ(fgNewTextBuffer(16), nullptr);
}

TEST(PerfPush, ScalarsFollowTheAgentKey) {
    OwnedText text(PERF_PUSH_SIZE);
    CPerfText push(text.buffer, text.size, CPerfText::Growth::Fixed);

    push.agentKey("agent_key");
    push.metric("4.4.1.0", 16384ULL);
    push.metric("4.4.5.0", 12.345);

    EXPECT_EQ(text.buffer, "agent_key" + M + "4.4.1.0" + F + "16384" + F + M + "4.4.5.0" + F + "12.35" + F);
}

TEST(PerfPush, TableStandsBehindKeyAndCode) {
    OwnedText text(PERF_TABLE_SIZE);
    CPerfText push(text.buffer, text.size);

    push.agentKey("agent_key");
    push.tableMetric("4.5.11.0");
    push.header({"INDEX"});
    push.beginRow();
    push.field(1);

    EXPECT_EQ(text.buffer, "agent_key" + M + "4.5.11.0" + F + "INDEX" + C + R + "1" + C);
}

TEST(PerfPush, CpuTableHasNeitherKeyNorLeadingSeparator) {
    OwnedText text(PERF_TABLE_SIZE);
    CPerfText push(text.buffer, text.size);

    push.keylessTableMetric("4.3.24.0");
    push.header({"NAME"});

    EXPECT_EQ(text.buffer, "4.3.24.0" + F + "NAME" + C);
}

TEST(PerfPush, NullKeyIsEmptyAndSeparatorBytesInAKeyBecomeBlanks) {
    OwnedText text(PERF_PUSH_SIZE);
    CPerfText push(text.buffer, text.size, CPerfText::Growth::Fixed);

    push.agentKey(nullptr);
    push.metric("4.4.1.0", 1ULL);
    EXPECT_EQ(text.buffer, M + "4.4.1.0" + F + "1" + F);

    push.clear();
    push.agentKey("a\x03\x1F]b");
    EXPECT_STREQ(text.buffer, "a  ]b");
}

// A metric "4.4.1.0" of a one-digit value is 3 + 7 + 3 + 1 + 3 = 17 bytes: 32 bytes hold one and the terminator.
TEST(PerfPush, FixedBufferLeavesOutWhatDoesNotFitAndAllThatFollows) {
    OwnedText text(32);
    CPerfText push(text.buffer, text.size, CPerfText::Growth::Fixed);

    push.metric("4.4.1.0", 1ULL);
    EXPECT_FALSE(push.incomplete());
    push.metric("4.4.3.0", 2.0);
    push.metric("4.4.4.0", 3ULL);

    EXPECT_TRUE(push.incomplete());
    EXPECT_EQ(text.size, 32);
    EXPECT_EQ(text.buffer, M + "4.4.1.0" + F + "1" + F);
    EXPECT_TRUE(zeroFrom(text, push.length()));
}

TEST(PerfPush, FixedBufferIsFilledToItsLastByte) {
    // 17 bytes of metric and the terminator.
    for (const int size : {17, 18}) {
        OwnedText text(size);
        CPerfText push(text.buffer, text.size, CPerfText::Growth::Fixed);

        push.metric("4.4.1.0", 1ULL);

        EXPECT_EQ(push.incomplete(), size == 17);
        EXPECT_EQ(push.length(), size == 17 ? 0U : 17U);
    }
}

TEST(PerfPush, FixedBufferDoesNotGrowForARow) {
    OwnedText text(100);
    CPerfText push(text.buffer, text.size, CPerfText::Growth::Fixed);

    push.beginRow();
    push.field("CPUS");

    EXPECT_EQ(text.size, 100);
    EXPECT_EQ(text.buffer, R + "CPUS" + C);
}

TEST(PerfPush, KeyThatFillsTheBufferLeavesAnEmptyText) {
    OwnedText text(64);
    CPerfText push(text.buffer, text.size, CPerfText::Growth::Fixed);

    push.agentKey(std::string(64, 'k').c_str());
    push.metric("4.4.1.0", 1ULL);

    EXPECT_TRUE(push.incomplete());
    EXPECT_STREQ(text.buffer, "");
}

TEST(PerfPush, MissingFixedBufferStaysMissing) {
    char *buffer = nullptr;
    int size = PERF_PUSH_SIZE;
    CPerfText push(buffer, size, CPerfText::Growth::Fixed);

    push.clear();
    push.agentKey("agent_key");
    push.metric("4.4.1.0", 1ULL);

    EXPECT_EQ(buffer, nullptr);
    EXPECT_TRUE(push.incomplete());
    EXPECT_EQ(push.view(), "");
}

} // namespace

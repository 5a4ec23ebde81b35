// Tables and push texts read back, and malformed ones refused at their offset.
#include "PerfTextReader.h"
#include "Separators.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace {

using testing::ElementsAre;

struct Table {
    explicit Table(std::string tableText) : text(std::move(tableText)), ok(fgReadPerfTable(text, table, error)) {}
    std::string text;
    PerfTable table;
    PerfTextError error;
    bool ok;
};

struct Push {
    explicit Push(std::string pushText) : text(std::move(pushText)), ok(fgReadPerfPush(text, push, error)) {}
    std::string text;
    PerfPush push;
    PerfTextError error;
    bool ok;
};

TEST(PerfTableReader, HeaderAndRows) {
    const Table read("NAME" + C + "USED" + C + R + "CPUS" + C + "1.00" + C + R + "CPU1" + C + "2.00" + C);
    ASSERT_TRUE(read.ok) << read.error.reason;
    EXPECT_THAT(read.table.columns, ElementsAre("NAME", "USED"));
    ASSERT_EQ(read.table.rows.size(), 2U);
    EXPECT_THAT(read.table.rows[0], ElementsAre("CPUS", "1.00"));
    EXPECT_THAT(read.table.rows[1], ElementsAre("CPU1", "2.00"));
    EXPECT_FALSE(read.table.ended);
    EXPECT_EQ(read.error.reason, nullptr);
}

TEST(PerfTableReader, ViewsPointIntoTheText) {
    const Table read("A" + C + R + "x" + C);
    ASSERT_TRUE(read.ok);
    EXPECT_EQ(read.table.rows[0][0].data(), read.text.data() + 7);
}

TEST(PerfTableReader, HeaderAloneIsATableWithoutRows) {
    const Table read("A" + C + "B" + C);
    ASSERT_TRUE(read.ok);
    EXPECT_TRUE(read.table.rows.empty());
}

TEST(PerfTableReader, EndMarkerIsNoRow) {
    const Table read("A" + C + R + "x" + C + R + "torv_token_end");
    ASSERT_TRUE(read.ok) << read.error.reason;
    EXPECT_EQ(read.table.rows.size(), 1U);
    EXPECT_TRUE(read.table.ended);
}

TEST(PerfTableReader, EndMarkerAsAValueIsAValue) {
    const Table read("A" + C + R + "torv_token_end" + C);
    ASSERT_TRUE(read.ok);
    EXPECT_THAT(read.table.rows[0], ElementsAre("torv_token_end"));
    EXPECT_FALSE(read.table.ended);
}

TEST(PerfTableReader, ValuesMayBeEmptyAndHoldPrintableSeparatorCharacters) {
    const Table read("A" + C + "B" + C + R + C + "a|b~c]d^e" + C);
    ASSERT_TRUE(read.ok);
    EXPECT_THAT(read.table.rows[0], ElementsAre("", "a|b~c]d^e"));
}

TEST(PerfTableReader, ValueByColumnName) {
    const Table read("A" + C + "B" + C + R + "1" + C + "2" + C);
    EXPECT_EQ(read.table.value(0, "B"), "2");
    EXPECT_EQ(read.table.value(0, "C"), "");
    EXPECT_EQ(read.table.value(1, "A"), "");
}

void expectRefused(const std::string &text, std::size_t offset) {
    const Table read(text);
    EXPECT_FALSE(read.ok) << text;
    EXPECT_NE(read.error.reason, nullptr);
    EXPECT_EQ(read.error.offset, offset) << text;
}

TEST(PerfTableReader, MalformedTextIsRefusedWithItsOffset) {
    expectRefused("", 0);
    expectRefused("A", 1);                              // no separator after the name
    expectRefused(R + "x" + C, 0);                      // no columns
    expectRefused("A" + C + R + "x", 8);                // value without separator
    expectRefused("A" + C + "B" + C + R + "x" + C, 15); // too few values
    expectRefused("A" + C + R + "x" + C + "y" + C, 11); // too many values
    expectRefused("A" + C + R + "x" + M, 8);            // a push separator
    expectRefused("A" + C + R +
                      "x\x03"
                      "y" +
                      C,
                  8);                                                      // half a separator
    expectRefused("A" + C + R + "x" + C + R + "torv_token_end" + "x", 29); // not the marker: a value without separator
}

TEST(PerfPushReader, Scalars) {
    const Push read("key" + M + "4.4.1.0" + F + "100" + F + M + "4.4.5.0" + F + "1.50" + F);
    ASSERT_TRUE(read.ok) << read.error.reason;
    EXPECT_EQ(read.push.key, "key");
    ASSERT_EQ(read.push.metrics.size(), 2U);
    EXPECT_EQ(read.push.metrics[0].code, "4.4.1.0");
    EXPECT_EQ(read.push.metrics[0].value, "100");
    EXPECT_FALSE(read.push.metrics[0].isTable);
    EXPECT_EQ(read.push.metrics[1].value, "1.50");
}

TEST(PerfPushReader, TableMetric) {
    const Push read("key" + M + "4.5.11.0" + F + "A" + C + R + "x" + C);
    ASSERT_TRUE(read.ok) << read.error.reason;
    ASSERT_EQ(read.push.metrics.size(), 1U);
    EXPECT_TRUE(read.push.metrics[0].isTable);
    EXPECT_THAT(read.push.metrics[0].table.rows[0], ElementsAre("x"));
}

TEST(PerfPushReader, CpuTextHasNoKey) {
    const Push read("4.3.24.0" + F + "NAME" + C + R + "CPUS" + C);
    ASSERT_TRUE(read.ok) << read.error.reason;
    EXPECT_EQ(read.push.key, "");
    EXPECT_EQ(read.push.metrics[0].code, "4.3.24.0");
    EXPECT_TRUE(read.push.metrics[0].isTable);
}

TEST(PerfPushReader, EmptyKeyIsAKey) {
    const Push read(M + "4.4.1.0" + F + "1" + F);
    ASSERT_TRUE(read.ok) << read.error.reason;
    EXPECT_EQ(read.push.key, "");
    EXPECT_EQ(read.push.metrics[0].value, "1");
}

TEST(PerfPushReader, RealTimeListIsATableBehindItsTime) {
    const Push read("1700000000" + M + "INDEX" + C + "PID" + C + R + "1" + C + "7" + C + R + "torv_token_end");
    ASSERT_TRUE(read.ok) << read.error.reason;
    EXPECT_EQ(read.push.key, "1700000000");
    ASSERT_EQ(read.push.metrics.size(), 1U);
    EXPECT_EQ(read.push.metrics[0].code, "");
    EXPECT_TRUE(read.push.metrics[0].table.ended);
    EXPECT_EQ(read.push.metrics[0].table.value(0, "PID"), "7");
}

void expectPushRefused(const std::string &text, std::size_t offset) {
    const Push read(text);
    EXPECT_FALSE(read.ok) << text;
    EXPECT_NE(read.error.reason, nullptr);
    EXPECT_EQ(read.error.offset, offset) << text;
}

TEST(PerfPushReader, MalformedTextIsRefusedWithItsOffset) {
    expectPushRefused("", 0);
    expectPushRefused("key", 3);                                           // no metric
    expectPushRefused("key" + C + "x", 3);                                 // a table separator after the key
    expectPushRefused("key" + M + "4.4.1.0", 13);                          // a code without its separator
    expectPushRefused("key" + M + "4.4.1.0" + F + "1", 17);                // neither scalar nor table
    expectPushRefused("key" + M + "4.4.1.0" + F + "1" + F + "2", 20);      // text after the value
    expectPushRefused("key" + M + "4.4.1.0" + F + "1" + C + F, 17);        // a separator inside the value
    expectPushRefused("key" + M + "4.5.11.0" + F + "A" + C + R + "x", 25); // a broken table
}

} // namespace

// The example agent's delivery: records wait in memory or in files, and arrive in order, at least once, however the
// receiver behaves and whatever the clock does.
#include "../../examples/agent/Delivery.h"
#include "../../examples/agent/StandardOutput.h"
#include "../../examples/agent/TcpReceiver.h"

#include "AgentHome.h"
#include "FakeReceiver.h"
#include "FrozenClock.h"
#include "StreamCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using agent::Backlog;
using agent::Delivery;
using agent::Numbering;
using agent::Record;
using agent::StopTime;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace std::chrono_literals;

// The number in a record's line.
int numberOf(const std::string &line) {
    unsigned long number = 0;
    std::sscanf(line.c_str(), "%*s %*s %lu", &number);
    return static_cast<int>(number);
}

std::vector<int> numbersOf(const std::vector<std::string> &lines) {
    std::vector<int> numbers;
    for (const std::string &line : lines)
        numbers.push_back(numberOf(line));
    return numbers;
}

class AgentBacklog : public testing::Test {
protected:
    std::string nextText() {
        Record record;
        return backlog.next(record, 0ms) ? record.text : "none";
    }
    void deliverNext() {
        Record record;
        ASSERT_TRUE(backlog.next(record, 0ms));
        backlog.acknowledge(record.head);
    }

    AgentHome home;
    Numbering numbering{"web1"};
    Backlog backlog{numbering};
};

TEST_F(AgentBacklog, NamesARecord) {
    FrozenClock clock(1700000000);
    backlog.put("cpu", "text");
    Record record;
    ASSERT_TRUE(backlog.next(record, 0ms));
    EXPECT_EQ(record.head.line(), "web1 " + numbering.series() + " 1 cpu 1700000000 4");
    EXPECT_EQ(record.text, "text");
}

TEST_F(AgentBacklog, NullAndEmptyTextsAreNoRecords) {
    backlog.put("cpu", nullptr);
    backlog.put("cpu", "");
    EXPECT_EQ(nextText(), "none");
    EXPECT_EQ(numbering.last(), 0U);
}

TEST_F(AgentBacklog, RecordStaysUntilItIsAcknowledged) {
    backlog.put("cpu", "one");
    backlog.put("cpu", "two");
    EXPECT_EQ(nextText(), "one");
    EXPECT_EQ(nextText(), "one");
    deliverNext();
    EXPECT_EQ(nextText(), "two");
}

TEST_F(AgentBacklog, WhatIsKeptComesBeforeWhatWaits) {
    backlog.put("cpu", "one");
    backlog.keep();
    backlog.put("cpu", "two");
    EXPECT_EQ(nextText(), "one");
    deliverNext();
    EXPECT_EQ(nextText(), "two");
    EXPECT_THAT(AgentHome::files(), IsEmpty());
}

TEST_F(AgentBacklog, RecordThatIsKeptWhileItIsDeliveredIsAcknowledgedInItsFile) {
    backlog.put("cpu", "one");
    backlog.put("cpu", "two");
    Record record;
    ASSERT_TRUE(backlog.next(record, 0ms));
    backlog.keep();
    backlog.acknowledge(record.head);
    EXPECT_EQ(nextText(), "two");
}

TEST_F(AgentBacklog, ShortWaitKeepsNothing) {
    backlog.put("cpu", "one");
    backlog.keepLongWaiting();
    EXPECT_THAT(AgentHome::files(), IsEmpty());
}

TEST_F(AgentBacklog, LongWaitKeeps) {
    backlog.put("cpu", "one");
    std::this_thread::sleep_for(1100ms);
    backlog.keepLongWaiting();
    EXPECT_EQ(AgentHome::files().size(), 1U);
    EXPECT_EQ(nextText(), "one");
}

TEST_F(AgentBacklog, WithoutABufferTheOldestRecordsAreLostOnceEightMegabytesWait) {
    std::filesystem::remove_all("../buffer");
    const std::string text(1 << 20, 'x');
    const StreamCapture streams;
    for (int i = 0; i < 12; ++i)
        backlog.put("cpu", text.c_str());
    Record record;
    ASSERT_TRUE(backlog.next(record, 0ms));
    EXPECT_EQ(record.head.number, 5U);
    EXPECT_THAT(streams.err(), HasSubstr("records from 1 on are lost"));
    std::filesystem::create_directory("../buffer");
    backlog.keep();
    EXPECT_THAT(streams.err(), HasSubstr("4 records were lost"));
    EXPECT_EQ(AgentHome::files().empty(), false);
}

class AgentDelivery : public testing::Test {
protected:
    void start(const std::string &address) { delivery.emplace(backlog, std::make_unique<agent::TcpReceiver>(address)); }

    AgentHome home;
    const StreamCapture streams;
    Numbering numbering{"web1"};
    Backlog backlog{numbering};
    std::optional<Delivery> delivery;
};

TEST_F(AgentDelivery, RecordsArriveInOrder) {
    FakeReceiver receiver;
    start(receiver.address());
    for (int i = 0; i < 5; ++i)
        backlog.put("cpu", "text");
    ASSERT_TRUE(soon([&] { return receiver.lines().size() == 5; }));
    EXPECT_THAT(numbersOf(receiver.lines()), ElementsAre(1, 2, 3, 4, 5));
}

TEST_F(AgentDelivery, ConnectsAgainAfterTheClockWasSetBack) {
    int port = 0;
    {
        FakeReceiver first;
        port = first.port();
    }
    FrozenClock clock(1700000000);
    start("127.0.0.1:" + std::to_string(port));
    backlog.put("cpu", "one");
    ASSERT_TRUE(soon([&] { return streams.err().find("refused") != std::string::npos; }));
    clock.set(1700000000 - 86400);
    FakeReceiver receiver(port);
    ASSERT_TRUE(receiver.isListening());
    EXPECT_TRUE(soon([&] { return receiver.lines().size() == 1; }));
}

TEST_F(AgentDelivery, SilentReceiverDoesNotHoldUpWhoPutsRecords) {
    FakeReceiver receiver;
    receiver.answerRecords(false);
    start(receiver.address());
    const auto before = std::chrono::steady_clock::now();
    for (int i = 0; i < 20; ++i) {
        backlog.put("cpu", "text");
        std::this_thread::sleep_for(10ms);
        backlog.keepLongWaiting();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - before, 2s);
    receiver.answerRecords(true);
    // The answer that did not come is waited for, then the record comes again.
    ASSERT_TRUE(soon([&] { return !receiver.lines().empty() && numberOf(receiver.lines().back()) == 20; }));
    std::vector<int> expected{1};
    for (int number = 1; number <= 20; ++number)
        expected.push_back(number);
    EXPECT_EQ(numbersOf(receiver.lines()), expected);
}

TEST_F(AgentDelivery, EndKeepsWhatIsNotDelivered) {
    start("127.0.0.1:1");
    backlog.put("cpu", "one");
    backlog.put("cpu", "two");
    delivery.reset();
    Backlog later(numbering);
    Record record;
    ASSERT_TRUE(later.next(record, 0ms));
    EXPECT_EQ(record.text, "one");
    later.acknowledge(record.head);
    ASSERT_TRUE(later.next(record, 0ms));
    EXPECT_EQ(record.text, "two");
}

TEST_F(AgentDelivery, EndComesSoonWithASilentReceiver) {
    FakeReceiver receiver;
    receiver.answerRecords(false);
    start(receiver.address());
    backlog.put("cpu", "one");
    ASSERT_TRUE(soon([&] { return receiver.lines().size() == 1; }));
    const auto before = std::chrono::steady_clock::now();
    delivery.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 3s);
    EXPECT_EQ(AgentHome::files().size(), 1U);
}

TEST_F(AgentDelivery, WrongAddressesAreRefused) {
    for (const char *address : {"", ":", "host", "host:", ":80", "[]:"})
        EXPECT_FALSE(agent::TcpReceiver::isAddress(address)) << address;
    for (const char *address : {"host:80", "127.0.0.1:80", "[::1]:80"})
        EXPECT_TRUE(agent::TcpReceiver::isAddress(address)) << address;
}

TEST_F(AgentDelivery, StandardOutputTakesARecordAsItIs) {
    FrozenClock clock(1700000000);
    backlog.put("load", ("a" + C + "b").c_str());
    delivery.emplace(backlog, std::make_unique<agent::StandardOutput>());
    EXPECT_TRUE(soon([&] { return !streams.out().empty(); }));
    delivery.reset();
    EXPECT_EQ(streams.out(), "web1 " + numbering.series() + " 1 load 1700000000 5\na" + C + "b");
}

} // namespace

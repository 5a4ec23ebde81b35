// Rates of Fibre Channel ports by hand-computed numbers, and where there is none.
#include "SampledHost.h"
#include "host/Rates.h"

namespace {

using zel::Absence;
using zel::Area;
using zel::FibreChannelPort;
using zel::FibreChannelRates;
using zel::Sample;

constexpr std::int64_t second = 1000000000;

FibreChannelPort &add(Sample &sample, std::int64_t time) {
    sample.area(Area::FibreChannel).asked = true;
    sample.area(Area::FibreChannel).monotonicNanoseconds = time;
    FibreChannelPort &port = sample.fibreChannelPorts.append();
    port.name = "host0";
    port.portName.set("0x10000090fa123456");
    for (const auto &field : zel::fieldsOf<FibreChannelPort>()) {
        if (const auto *count = std::get_if<zel::Count FibreChannelPort::*>(&field.member))
            port.**count = 0;
    }
    port.speedBytesPerSecond = 1000000000; // 8 Gbit
    return port;
}

// Two samples of one port, two seconds apart.
struct Pair {
    Sample before, now;
    FibreChannelPort *first = &add(before, second), *last = &add(now, 3 * second);

    FibreChannelRates rates() const { return zel::between(before, now).fibreChannelPorts[0]; }
};

void expectNothingYet(const FibreChannelRates &rates) {
    for (const auto &field : zel::fieldsOf<FibreChannelRates>()) {
        if (field.family.kind == zel::Kind::Label)
            continue;
        EXPECT_FALSE(field.of(rates).has()) << field.family.name;
        EXPECT_EQ(field.of(rates).absence(), Absence::NotYet) << field.family.name;
    }
}

TEST(FibreChannelRates, ArePerSecond) {
    Pair pair;
    pair.first->transmitFrames = 100;
    pair.last->transmitFrames = 300;
    pair.last->receiveFrames = 50;
    pair.last->inputRequests = 8;
    pair.last->outputRequests = 6;
    pair.last->errorFrames = 1;
    pair.last->packetAborts = 4;
    const FibreChannelRates rates = pair.rates();
    EXPECT_EQ(rates.name, "host0");
    EXPECT_TRUE(holds(rates.transmitFrames, 100));
    EXPECT_TRUE(holds(rates.receiveFrames, 25));
    EXPECT_TRUE(holds(rates.inputRequests, 4));
    EXPECT_TRUE(holds(rates.outputRequests, 3));
    EXPECT_TRUE(holds(rates.errorFrames, 0.5));
    EXPECT_TRUE(holds(rates.packetAborts, 2));
    EXPECT_TRUE(holds(rates.linkFailures, 0));
}

// 125,000,000 words in two seconds are 250,000,000 bytes per second: a quarter of 1,000,000,000.
TEST(FibreChannelRates, WordsOfFourBytesGiveTheShareOfTheSpeed) {
    Pair pair;
    pair.last->transmitWords = 125000000;
    pair.last->receiveWords = 250000000;
    const FibreChannelRates rates = pair.rates();
    EXPECT_TRUE(holds(rates.transmitBytes, 250000000));
    EXPECT_TRUE(holds(rates.receiveBytes, 500000000));
    EXPECT_TRUE(holds(rates.transmitUtilisation, 0.25));
    EXPECT_TRUE(holds(rates.receiveUtilisation, 0.5));
    EXPECT_TRUE(holds(rates.utilisation, 0.5));
}

TEST(FibreChannelRates, WithoutASpeedThereIsNoShare) {
    Pair pair;
    pair.last->transmitWords = 125000000;
    pair.last->speedBytesPerSecond = Absence::TimedOut;
    EXPECT_TRUE(holds(pair.rates().transmitBytes, 250000000));
    EXPECT_TRUE(lacks(pair.rates().utilisation, Absence::TimedOut));
}

TEST(FibreChannelRates, AStatisticThatThePortLacksIsUnsupportedAlone) {
    Pair pair;
    pair.first->dumpedFrames = pair.last->dumpedFrames = Absence::Unsupported;
    EXPECT_TRUE(lacks(pair.rates().dumpedFrames, Absence::Unsupported));
    EXPECT_TRUE(holds(pair.rates().errorFrames, 0));
}

TEST(FibreChannelRates, ACounterThatFellMeansAllWereReset) {
    Pair pair;
    pair.first->invalidCrcs = 5;
    pair.last->invalidCrcs = 4;
    pair.last->transmitFrames = 9;
    expectNothingYet(pair.rates());
}

TEST(FibreChannelRates, AResetOfTheStatisticsIsSeenByItsClock) {
    Pair pair;
    pair.first->secondsSinceReset = 1000;
    pair.last->secondsSinceReset = 1;
    pair.last->transmitFrames = 9; // more than before, and yet not what it grew by
    expectNothingYet(pair.rates());
}

TEST(FibreChannelRates, AnotherAdapterUnderTheNameIsNew) {
    Pair pair;
    pair.last->portName.set("0x10000090fa999999");
    expectNothingYet(pair.rates());
}

TEST(FibreChannelRates, APortThatDidNotAnswerBeforeSaysSo) {
    Pair pair;
    pair.first->transmitFrames = Absence::TimedOut;
    EXPECT_TRUE(lacks(pair.rates().transmitFrames, Absence::TimedOut));
    EXPECT_TRUE(holds(pair.rates().receiveFrames, 0));
}

} // namespace

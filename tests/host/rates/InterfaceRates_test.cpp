// Rates of interfaces by hand-computed numbers, and where there is none.
#include "SampledHost.h"
#include "host/Rates.h"

namespace {

using zel::Absence;
using zel::Area;
using zel::Interface;
using zel::InterfaceRates;
using zel::Sample;

constexpr std::int64_t second = 1000000000;

void begin(Sample &sample, std::int64_t nanoseconds) {
    sample.area(Area::Interfaces).asked = true;
    sample.area(Area::Interfaces).monotonicNanoseconds = nanoseconds;
}

Interface &add(Sample &sample, const char *name = "eth0") {
    Interface &interface = sample.interfaces.append();
    interface.name = name;
    interface.index = 2;
    for (const auto &field : zel::fieldsOf<Interface>()) {
        const auto *count = std::get_if<zel::Count Interface::*>(&field.member);
        if (count != nullptr && field.family.kind == zel::Kind::Counter)
            interface.**count = 0;
    }
    return interface;
}

// Two samples of one interface, two seconds apart.
struct Pair {
    Sample before, now;
    Interface *first, *last;

    explicit Pair(std::int64_t time = 2 * second) {
        begin(before, second);
        begin(now, second + time);
        first = &add(before);
        last = &add(now);
    }
    InterfaceRates rates() const { return zel::between(before, now).interfaces[0]; }
};

TEST(InterfaceRates, ArePerSecond) {
    Pair pair;
    pair.first->receiveBytes = 1000;
    pair.last->receiveBytes = 3000;
    pair.last->receivePackets = 20;
    pair.last->receiveErrors = 2;
    pair.last->receiveDrops = 4;
    pair.last->receiveMulticast = 6;
    pair.last->transmitBytes = 8000;
    pair.last->transmitPackets = 10;
    pair.last->transmitErrors = 12;
    pair.last->transmitDrops = 14;
    pair.last->transmitCollisions = 16;
    const InterfaceRates rates = pair.rates();
    EXPECT_EQ(rates.name, "eth0");
    EXPECT_TRUE(holds(rates.receiveBytes, 1000));
    EXPECT_TRUE(holds(rates.receivePackets, 10));
    EXPECT_TRUE(holds(rates.receiveErrors, 1));
    EXPECT_TRUE(holds(rates.receiveDrops, 2));
    EXPECT_TRUE(holds(rates.receiveMulticast, 3));
    EXPECT_TRUE(holds(rates.transmitBytes, 4000));
    EXPECT_TRUE(holds(rates.transmitPackets, 5));
    EXPECT_TRUE(holds(rates.transmitErrors, 6));
    EXPECT_TRUE(holds(rates.transmitDrops, 7));
    EXPECT_TRUE(holds(rates.transmitCollisions, 8));
    EXPECT_TRUE(lacks(rates.utilisation, Absence::Unsupported)); // no speed is known
}

// 1 Gbit/s is 125,000,000 bytes per second in each direction.
struct Busy : Pair {
    Busy() {
        last->speedBytesPerSecond = 125000000;
        last->receiveBytes = 125000000; // half of what two seconds hold
        last->transmitBytes = 62500000; // a quarter
    }
};

TEST(InterfaceRates, AFullDuplexLinkIsAsBusyAsItsBusierDirection) {
    Busy pair;
    pair.last->duplex.set("full");
    const InterfaceRates rates = pair.rates();
    EXPECT_TRUE(holds(rates.receiveUtilisation, 0.5));
    EXPECT_TRUE(holds(rates.transmitUtilisation, 0.25));
    EXPECT_TRUE(holds(rates.utilisation, 0.5));
}

TEST(InterfaceRates, AHalfDuplexLinkSharesItsSpeed) {
    Busy pair;
    pair.last->duplex.set("half");
    EXPECT_TRUE(holds(pair.rates().utilisation, 0.75));
}

TEST(InterfaceRates, WithoutAWordOnTheDuplexItCountsAsFull) {
    EXPECT_TRUE(holds(Busy().rates().utilisation, 0.5));
}

TEST(InterfaceRates, ASpeedThatDidNotAnswerIsTheReason) {
    Busy pair;
    pair.last->speedBytesPerSecond = Absence::TimedOut;
    EXPECT_TRUE(lacks(pair.rates().receiveUtilisation, Absence::TimedOut));
    EXPECT_TRUE(lacks(pair.rates().utilisation, Absence::TimedOut));
    EXPECT_TRUE(holds(pair.rates().receiveBytes, 62500000));
}

void expectNothingYet(const InterfaceRates &rates) {
    for (const auto &field : zel::fieldsOf<InterfaceRates>()) {
        if (field.family.kind == zel::Kind::Label)
            continue;
        EXPECT_FALSE(field.of(rates).has()) << field.family.name;
        EXPECT_EQ(field.of(rates).absence(), Absence::NotYet) << field.family.name;
    }
}

TEST(InterfaceRates, AnInterfaceWhoseTrafficFellStartsAnew) {
    Busy pair;
    pair.first->transmitPackets = 5;
    pair.last->transmitPackets = 4;
    expectNothingYet(pair.rates());
}

TEST(InterfaceRates, AnotherCounterThatFellIsNotYetAlone) {
    Pair pair;
    pair.first->receiveDrops = 5;
    pair.last->receiveDrops = 4;
    EXPECT_TRUE(lacks(pair.rates().receiveDrops, Absence::NotYet));
    EXPECT_TRUE(holds(pair.rates().receiveBytes, 0));
}

TEST(InterfaceRates, AnotherInterfaceUnderTheNameIsNew) {
    Busy pair;
    pair.last->index = 7;
    expectNothingYet(pair.rates());
}

TEST(InterfaceRates, CountersOf32BitsThatFellWereReset) {
    Busy pair;
    pair.first->receiveBytes = 4294967295ULL;
    pair.last->receiveBytes = 100;
    expectNothingYet(pair.rates());
}

TEST(InterfaceRates, OverNoTimeNothingCanBeSaid) {
    Pair pair(0);
    pair.last->receiveBytes = 4;
    EXPECT_TRUE(lacks(pair.rates().receiveBytes, Absence::NotYet));
}

TEST(InterfaceRates, InterfacesThatComeAndGoLeaveTheOthers) {
    Pair pair;
    add(pair.before, "veth1");
    add(pair.before, "veth2").receiveBytes = 10;
    add(pair.now, "veth9");
    add(pair.now, "veth2").receiveBytes = 14;
    const zel::Rates rates = zel::between(pair.before, pair.now);
    ASSERT_EQ(rates.interfaces.size(), 3U);
    EXPECT_TRUE(lacks(rates.interfaces[1].receiveBytes, Absence::NotYet));
    EXPECT_TRUE(holds(rates.interfaces[2].receiveBytes, 2));
}

} // namespace

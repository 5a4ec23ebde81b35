// Units as a message bus gives them: one that answers, and buses that hang, end, refuse or talk nonsense.
#include "zel/systemd/SystemdMetrics.h"
#include "zel/systemd/UnitBus.h"

#include "FakeSystemd.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

using namespace std::chrono_literals;
using zel::SystemdUnit;
using zel::UnitBus;
using zel::UnitsRead;

constexpr std::chrono::milliseconds limit = 20s, shortLimit = 200ms, soon = 10s;

FakeSystemd::Unit service(const std::string &name) {
    return {name, "loaded", "active", {{"Type", "notify"}}, {}};
}

TEST(UnitBus, UnitsAreReadWithTheirProperties) {
    FakeSystemd systemd;
    systemd.units = {service("a.service"),
                     {"t.timer", "loaded", "active", {}, {{"LastTriggerUSec", 1795356307564174}}},
                     {"s.socket", "loaded", "failed", {}, {{"NAccepted", 7}, {"NConnections", 2}, {"NRefused", 1}}},
                     {"-.mount", "loaded", "active", {}, {}},
                     {"gone.service", "not-found", "inactive", {}, {}}};
    systemd.start();
    UnitBus bus;
    const UnitsRead read = bus.read(limit);
    ASSERT_EQ(read.error, 0) << read.problem;
    EXPECT_EQ(read.state.version, "252.39-1~deb12u2");
    EXPECT_EQ(read.state.systemState, "running");
    EXPECT_EQ(read.state.units.at("active"), 3U);
    EXPECT_EQ(read.state.units.at("inactive"), 1U);
    ASSERT_EQ(read.state.shown.size(), 3U);
    EXPECT_EQ(read.state.shown[0].name, "a.service");
    EXPECT_EQ(read.state.shown[0].serviceType, "notify");
    EXPECT_EQ(read.state.shown[1].lastTriggerMicroseconds, 1795356307564174U);
    EXPECT_EQ(read.state.shown[2].activeState, "failed");
    EXPECT_EQ(read.state.shown[2].accepted, 7U);
    EXPECT_EQ(read.state.shown[2].current, 2U);
    EXPECT_EQ(read.state.shown[2].refused, 1U);
}

TEST(UnitBus, OlderSystemdLacksProperties) {
    FakeSystemd systemd;
    systemd.units = {{"s.socket", "loaded", "active", {}, {{"NAccepted", 7}, {"NConnections", 2}}}};
    systemd.start();
    UnitBus bus;
    const UnitsRead read = bus.read(limit);
    ASSERT_EQ(read.error, 0) << read.problem;
    EXPECT_EQ(read.state.shown.at(0).accepted, 7U);
    EXPECT_EQ(read.state.shown.at(0).refused, std::nullopt);
}

TEST(UnitBus, TypesAndVersionAreNotAskedForEachTime) {
    FakeSystemd systemd;
    systemd.units = {service("a.service"), service("b.service")};
    systemd.start();
    UnitBus bus;
    ASSERT_EQ(bus.read(limit).error, 0);
    EXPECT_EQ(systemd.calls(), 1 + 2 + 2); // the list, the version and state of the host, two types
    systemd.add(service("c.service"));
    const UnitsRead again = bus.read(limit);
    EXPECT_EQ(systemd.calls(), 5 + 1 + 1 + 1);
    EXPECT_EQ(again.state.version, "252.39-1~deb12u2");
    ASSERT_EQ(again.state.shown.size(), 3U);
    for (const SystemdUnit &unit : again.state.shown)
        EXPECT_EQ(unit.serviceType, "notify") << unit.name;
}

TEST(UnitBus, UnitsBeyondTheLimitAreCountedAndNotAskedFor) {
    FakeSystemd systemd;
    for (int number = 0; number < 300; ++number)
        systemd.units.push_back(service("u" + std::to_string(number) + ".service"));
    systemd.start();
    UnitBus bus(200);
    const UnitsRead read = bus.read(limit);
    ASSERT_EQ(read.error, 0) << read.problem;
    EXPECT_EQ(read.state.shown.size(), 200U);
    EXPECT_EQ(read.state.leftOut, 100U);
    EXPECT_EQ(read.state.units.at("active"), 300U);
    EXPECT_EQ(systemd.calls(), 3 + 200);
}

TEST(UnitBus, BusThatSaysNothingEndsWithTheLimit) {
    for (const auto behaviour : {FakeSystemd::Behaviour::Silent, FakeSystemd::Behaviour::NoList}) {
        FakeSystemd systemd(behaviour);
        systemd.start();
        UnitBus bus;
        const auto begun = std::chrono::steady_clock::now();
        EXPECT_EQ(bus.read(shortLimit).error, ETIMEDOUT);
        EXPECT_LT(std::chrono::steady_clock::now() - begun, soon);
    }
}

TEST(UnitBus, NonsenseIsAFailure) {
    for (const auto behaviour :
         {FakeSystemd::Behaviour::Garbage, FakeSystemd::Behaviour::Closes, FakeSystemd::Behaviour::OtherTypes}) {
        FakeSystemd systemd(behaviour);
        systemd.units = {service("a.service")};
        systemd.start();
        UnitBus bus;
        const UnitsRead read = bus.read(1s);
        EXPECT_NE(read.error, 0);
        EXPECT_NE(read.problem, "");
        EXPECT_TRUE(read.state.shown.empty());
        EXPECT_TRUE(read.state.units.empty());
    }
}

TEST(UnitBus, RefusalIsSaidInTheWordsOfTheBus) {
    FakeSystemd systemd(FakeSystemd::Behaviour::Refuses);
    systemd.start();
    UnitBus bus;
    const UnitsRead read = bus.read(limit);
    EXPECT_EQ(read.error, EACCES);
    EXPECT_EQ(read.problem, "you may not");
}

TEST(UnitBus, ConnectionThatHasEndedIsMadeAnew) {
    FakeSystemd systemd;
    systemd.units = {service("a.service")};
    systemd.start();
    UnitBus bus;
    ASSERT_EQ(bus.read(limit).error, 0);
    systemd.stop();
    EXPECT_NE(bus.read(limit).error, 0);
    systemd.start();
    ASSERT_EQ(bus.read(limit).error, 0);
    systemd.stop();
    systemd.start();
    const UnitsRead read = bus.read(limit); // nobody sees that it was gone
    ASSERT_EQ(read.error, 0) << read.problem;
    EXPECT_EQ(read.state.version, "252.39-1~deb12u2");
}

TEST(UnitBus, AfterAFailureThereIsAPause) {
    FakeSystemd systemd(FakeSystemd::Behaviour::Refuses);
    systemd.start();
    zel::SystemdMetrics metrics(true);
    const auto now = std::chrono::steady_clock::now();
    metrics.refresh(limit, now);
    std::this_thread::sleep_for(500ms); // calls that are on their way are counted after the first is refused
    const int calls = systemd.calls();
    EXPECT_EQ(metrics.newProblems(), std::vector<std::string>{"systemd: you may not"});
    metrics.refresh(limit, now + zel::SYSTEMD_PAUSE - 1ms);
    EXPECT_EQ(systemd.calls(), calls);
    systemd.behave(FakeSystemd::Behaviour::Answers);
    metrics.refresh(limit, now + zel::SYSTEMD_PAUSE);
    EXPECT_GT(systemd.calls(), calls);
    std::string page;
    metrics.append(zel::MetricFormat::PrometheusText, page);
    EXPECT_TRUE(page.ends_with("\nzel_systemd_up 1\n"));
    EXPECT_EQ(metrics.newProblems(), std::vector<std::string>{"systemd: it answers again"});
}

} // namespace

// Units as metrics, and a host without systemd.
#include "zel/systemd/SystemdMetrics.h"

#include "TempDirectory.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using namespace std::chrono_literals;
using zel::MetricFormat;
using zel::SystemdMetrics;

zel::SystemdUnit &add(zel::SystemdState &state, zel::SystemdUnit::Kind kind, const char *name, const char *active) {
    zel::SystemdUnit &unit = state.shown.emplace_back();
    unit.kind = kind;
    unit.name = name;
    unit.activeState = active;
    zel::countSystemdUnit(active, state);
    return unit;
}

zel::SystemdState threeUnits() {
    using Kind = zel::SystemdUnit::Kind;
    zel::SystemdState state;
    state.version = "252.39-1~deb12u2";
    state.systemState = "degraded";
    add(state, Kind::Service, "a\\x2d\"b.service", "failed").serviceType = "oneshot";
    add(state, Kind::Timer, "t.timer", "reloading").lastTriggerMicroseconds = 1795356307564174;
    zel::SystemdUnit &socket = add(state, Kind::Socket, "s.socket", "active");
    socket.accepted = 3000000000U;
    socket.current = 2;
    state.leftOut = 4;
    return state;
}

std::string text(const zel::SystemdState *state, MetricFormat format = MetricFormat::PrometheusText) {
    zel::MetricSink sink;
    std::string out;
    zel::appendSystemdFamilies(state, format, sink, out);
    return out;
}

bool has(const std::string &whole, const std::string &part) {
    return whole.find(part) != std::string::npos;
}

TEST(SystemdMetrics, HostIsDescribed) {
    const zel::SystemdState state = threeUnits();
    const std::string page = text(&state);
    EXPECT_TRUE(
        has(page, "# TYPE node_systemd_version gauge\nnode_systemd_version{version=\"252.39-1~deb12u2\"} 252.39\n"));
    EXPECT_TRUE(has(page, "# TYPE node_systemd_system_running gauge\nnode_systemd_system_running 0\n"));
    EXPECT_TRUE(has(page, "# TYPE node_systemd_units gauge\n"
                          "node_systemd_units{state=\"activating\"} 0\nnode_systemd_units{state=\"active\"} 1\n"
                          "node_systemd_units{state=\"deactivating\"} 0\nnode_systemd_units{state=\"failed\"} 1\n"
                          "node_systemd_units{state=\"inactive\"} 0\nnode_systemd_units{state=\"reloading\"} 1\n"));
    EXPECT_TRUE(has(page, "\nzel_systemd_units_left_out 4\n"));
    EXPECT_TRUE(page.ends_with("\nzel_systemd_up 1\n"));
}

TEST(SystemdMetrics, EachUnitHasASeriesOfEachState) {
    const zel::SystemdState state = threeUnits();
    const std::string page = text(&state), name = R"(node_systemd_unit_state{name="a\\x2d\"b.service",state=)";
    EXPECT_TRUE(has(page, name + R"("activating",type="oneshot"} 0)" + '\n' + name + R"("active",type="oneshot"} 0)" +
                              '\n' + name + R"("deactivating",type="oneshot"} 0)" + '\n' + name +
                              R"("failed",type="oneshot"} 1)" + '\n' + name + R"("inactive",type="oneshot"} 0)" +
                              '\n'));
    EXPECT_TRUE(has(page, "{name=\"s.socket\",state=\"active\",type=\"\"} 1\n"));
    EXPECT_FALSE(has(page, "name=\"t.timer\",state=\"reloading\"")); // it is only counted
    EXPECT_TRUE(has(page, "{name=\"t.timer\",state=\"active\",type=\"\"} 0\n"));
}

TEST(SystemdMetrics, NumbersOfTimersAndSocketsAreShownWhereTheyAreKnown) {
    const zel::SystemdState state = threeUnits();
    const std::string page = text(&state);
    EXPECT_TRUE(has(page, "\nnode_systemd_timer_last_trigger_seconds{name=\"t.timer\"} 1795356307.564174\n"));
    EXPECT_TRUE(
        has(page, "_total counter\nnode_systemd_socket_accepted_connections_total{name=\"s.socket\"} 3000000000\n"));
    EXPECT_TRUE(has(page, "\nnode_systemd_socket_current_connections{name=\"s.socket\"} 2\n"));
    EXPECT_FALSE(has(page, "refused"));
    const std::string open = text(&state, MetricFormat::OpenMetrics);
    EXPECT_TRUE(has(open, "# TYPE node_systemd_socket_accepted_connections counter\n"));
}

TEST(SystemdMetrics, WhatIsNotKnownHasNoSeries) {
    const zel::SystemdState empty;
    EXPECT_FALSE(has(text(&empty), "node_systemd_"));
    EXPECT_EQ(text(nullptr).find("zel_systemd_up 0\n"), text(nullptr).size() - 17);
    EXPECT_FALSE(has(text(nullptr), "node_systemd_"));
}

// --- A host whose message bus is not there --------------------------------------------------------------------------

class NoBus : public testing::Test {
protected:
    NoBus() { setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + (m_directory.path() / "none").string()).c_str(), 1); }
    ~NoBus() override { unsetenv("DBUS_SYSTEM_BUS_ADDRESS"); }
    TempDirectory m_directory;
};

TEST_F(NoBus, HostWithoutSystemdHasNothingAndNothingIsWrong) {
    SystemdMetrics metrics(false);
    metrics.refresh(10s);
    std::string page = "# EOF\n";
    metrics.append(MetricFormat::OpenMetrics, page);
    EXPECT_EQ(page, "# EOF\n");
    EXPECT_TRUE(metrics.newProblems().empty());
}

TEST_F(NoBus, HostThatSystemdStartedSaysSoOnce) {
    SystemdMetrics metrics(true);
    metrics.refresh(10s);
    std::string page = "a 1\n# EOF\n";
    metrics.append(MetricFormat::OpenMetrics, page);
    EXPECT_TRUE(page.starts_with("a 1\n# HELP zel_systemd_up "));
    EXPECT_TRUE(page.ends_with("\nzel_systemd_up 0\n# EOF\n"));
    EXPECT_EQ(metrics.newProblems().size(), 1U);
    EXPECT_TRUE(metrics.newProblems().empty());
    metrics.refresh(10s);
    EXPECT_TRUE(metrics.newProblems().empty());
}

} // namespace

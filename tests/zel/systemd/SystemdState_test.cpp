// Which units are shown, and what their names and states say.
#include "zel/systemd/SystemdState.h"

#include <gtest/gtest.h>

namespace {

using zel::SystemdUnit;

TEST(SystemdState, KindIsTheEndingOfTheName) {
    EXPECT_EQ(zel::systemdUnitKind("ssh.service"), SystemdUnit::Kind::Service);
    EXPECT_EQ(zel::systemdUnitKind("a.timer.service"), SystemdUnit::Kind::Service);
    EXPECT_EQ(zel::systemdUnitKind("dbus.socket"), SystemdUnit::Kind::Socket);
    EXPECT_EQ(zel::systemdUnitKind("apt-daily.timer"), SystemdUnit::Kind::Timer);
    for (const char *other : {"dev-vda.swap", "service", ".service", "x.Service", "x.", ""})
        EXPECT_EQ(zel::systemdUnitKind(other), SystemdUnit::Kind::Other) << other;
}

TEST(SystemdState, LoadedUnitsAreShownButForSixKinds) {
    for (const char *name : {"a.service", "a.socket", "a.timer", "a.path", "a.swap", "a.mount.service"})
        EXPECT_TRUE(zel::isShownUnit(name, "loaded")) << name;
    for (const char *name : {"a.automount", "a.device", "-.mount", "init.scope", "-.slice", "a.target", ""})
        EXPECT_FALSE(zel::isShownUnit(name, "loaded")) << name;
    for (const char *load : {"not-found", "masked", "error", "bad-setting", ""})
        EXPECT_FALSE(zel::isShownUnit("a.service", load)) << load;
}

TEST(SystemdState, VersionIsItsFirstNumber) {
    EXPECT_EQ(zel::systemdVersionNumber("252.39-1~deb12u2"), 252.39);
    EXPECT_EQ(zel::systemdVersionNumber("systemd 219"), 219);
    EXPECT_EQ(zel::systemdVersionNumber("v255.4.1"), 255.4);
    EXPECT_EQ(zel::systemdVersionNumber("257."), 257);
    EXPECT_EQ(zel::systemdVersionNumber("258~rc2"), 258);
    EXPECT_EQ(zel::systemdVersionNumber(""), std::nullopt);
    EXPECT_EQ(zel::systemdVersionNumber("unknown"), std::nullopt);
    EXPECT_EQ(zel::systemdVersionNumber(std::string(400, '9')), std::nullopt); // no number has so many digits
}

TEST(SystemdState, StatesAreCountedWithThoseThatNoUnitIsIn) {
    zel::SystemdState state;
    for (const char *active : {"active", "active", "failed", "reloading"})
        zel::countSystemdUnit(active, state);
    const decltype(state.units) wanted{{"activating", 0}, {"active", 2},   {"deactivating", 0},
                                       {"failed", 1},     {"inactive", 0}, {"reloading", 1}};
    EXPECT_EQ(state.units, wanted);
}

TEST(SystemdState, StatesThatNobodyKnowsAreLimited) {
    zel::SystemdState state;
    for (int number = 0; number < 1000; ++number)
        zel::countSystemdUnit("state" + std::to_string(number), state);
    EXPECT_EQ(state.units.size(), zel::SYSTEMD_STATES.size() + zel::SYSTEMD_OTHER_STATES_AT_MOST);
}

} // namespace

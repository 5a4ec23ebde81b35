// The known names of SELinux.
#include "tests/support/KnownText.h"

#include <gtest/gtest.h>

namespace {

TEST(KnownSecurity, ModesAreNumbers) {
    zel::Sample sample;
    sample.securityModules.selinuxEnabled = std::uint64_t{1};
    sample.securityModules.selinuxEnforcing = std::uint64_t{0};
    for (const auto &[mode, number] : std::initializer_list<std::pair<const char *, const char *>>{
             {"enforcing", "1"}, {"permissive", "0"}, {"disabled", "-1"}}) {
        sample.securityModules.selinuxConfigured.set(mode);
        EXPECT_EQ(KnownText(zel::knownSecurity, sample).series(),
                  (Lines{"node_selinux_enabled 1", std::string("node_selinux_config_mode ") + number,
                         "node_selinux_current_mode 0"}));
    }
}

TEST(KnownSecurity, WithoutSelinuxOnlyThatIsSaid) {
    zel::Sample sample;
    sample.securityModules.selinuxEnabled = std::uint64_t{0};
    EXPECT_EQ(KnownText(zel::knownSecurity, sample).series(), (Lines{"node_selinux_enabled 0"}));
}

} // namespace

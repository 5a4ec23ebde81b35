// Whether SELinux limits what programs may do.
#include "host/areas/SecurityReader.h"

#include "SampledHost.h"

namespace {

using zel::Absence;
using zel::Area;

TEST(SecurityReader, SelinuxIsWhatItsFileSystemAndItsConfigurationSay) {
    SampledHost host(Area::Limits, {{"proc/sys/fs/file-nr", "1\t0\t9\n"},
                                    {"sys/fs/selinux/enforce", "1"},
                                    {"etc/selinux/config", "# modes\n# SELINUX=disabled\nSELINUX=permissive \n"
                                                           "SELINUXTYPE=targeted\n"}});
    const zel::SecurityModules &security = host.take().securityModules;
    EXPECT_TRUE(holds(security.selinuxEnabled, 1));
    EXPECT_TRUE(holds(security.selinuxEnforcing, 1));
    EXPECT_TRUE(holds(security.selinuxConfigured, "permissive"));
    host.write("sys/fs/selinux/enforce", "0");
    EXPECT_TRUE(holds(host.take().securityModules.selinuxEnforcing, 0));
}

TEST(SecurityReader, WithoutItsFileSystemItIsNotEnabled) {
    SampledHost host(Area::Limits,
                     {{"proc/sys/fs/file-nr", "1\t0\t9\n"}, {"etc/selinux/config", "SELINUX=enforcing\n"}});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.securityModules.selinuxEnabled, 0));
    EXPECT_TRUE(lacks(sample.securityModules.selinuxEnforcing, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample.securityModules.selinuxConfigured, Absence::Unsupported));
    EXPECT_EQ(failureOf(sample, Area::Limits), NO_FAILURE);
}

TEST(SecurityReader, AModeThatNobodyKnowsIsMalformed) {
    zel::Reading<std::string> mode;
    for (const char *text : {"SELINUX=\n", "SELINUX=Enforcing\n", "SELINUX=on\n", "SELINUX=enforcing permissive"}) {
        zel::takeSelinuxMode(text, mode);
        if (std::string_view(text).find(' ') != std::string_view::npos)
            EXPECT_TRUE(holds(mode, "enforcing")) << "the first word";
        else
            EXPECT_TRUE(lacks(mode, Absence::Malformed)) << text;
    }
    zel::takeSelinuxMode("SELINUXTYPE=targeted\n SELINUX=enforcing\n", mode);
    EXPECT_TRUE(lacks(mode, Absence::Unsupported));
    SampledHost host(Area::Limits, {{"sys/fs/selinux/enforce", "0"}, {"etc/selinux/config", "SELINUX=x\n"}});
    EXPECT_EQ(failureOf(host.take(), Area::Limits), std::pair(EBADMSG, std::string("etc/selinux/config")));
}

} // namespace

// Which host this is.
#include "SampledHost.h"

#include <cerrno>

namespace {

using zel::Absence;
using zel::Area;

TEST(IdentityReader, NamesOfHostAndKernel) {
    SampledHost host(Area::Identity, {{"proc/sys/kernel/hostname", "web-7\n"},
                                      {"proc/sys/kernel/domainname", "(none)\n"},
                                      {"proc/sys/kernel/ostype", "Linux\n"},
                                      {"proc/sys/kernel/osrelease", "6.1.0-13-amd64\n"},
                                      {"proc/sys/kernel/version", "#1 SMP PREEMPT_DYNAMIC Debian 6.1.55-1\n"},
                                      {"proc/sys/kernel/arch", "x86_64\n"},
                                      {"proc/sys/kernel/random/boot_id", "8d20b5a5-1b9e-4b32-8ee3-1f7ab6d6f7c1\n"},
                                      {"proc/uptime", "10000.25 15000.50\n"}});
    const zel::Sample &sample = host.take();
    const zel::Identity &identity = sample.identity;
    EXPECT_TRUE(holds(identity.hostName, "web-7"));
    EXPECT_TRUE(lacks(identity.domainName, Absence::Unsupported)) << "the kernel's word for a name that is not set";
    EXPECT_TRUE(holds(identity.kernelName, "Linux"));
    EXPECT_TRUE(holds(identity.kernelRelease, "6.1.0-13-amd64"));
    EXPECT_TRUE(holds(identity.kernelVersion, "#1 SMP PREEMPT_DYNAMIC Debian 6.1.55-1"));
    EXPECT_TRUE(holds(identity.architecture, "x86_64"));
    EXPECT_TRUE(holds(identity.bootId, "8d20b5a5-1b9e-4b32-8ee3-1f7ab6d6f7c1"));
    EXPECT_TRUE(holds(identity.uptimeSeconds, 10000.25));
    EXPECT_TRUE(holds(identity.idleSeconds, 15000.5));
    EXPECT_EQ(failureOf(sample, Area::Identity), NO_FAILURE);
}

TEST(IdentityReader, ReleaseFileIsReadAsAShellReadsIt) {
    SampledHost host(Area::Identity, {{"proc/uptime", "1.00 1.00\n"},
                                      {"etc/os-release", "# NAME=comment\nNAME=\"Quoted \\\"Name\\\" \\$5 \\x\"\n"
                                                         "ID=debian\nVERSION_ID='12 \\'\n"
                                                         "PRETTY_NAME=plain\\ words and more\nID_LIKE=other\n"}});
    const zel::Identity &identity = host.take().identity;
    EXPECT_TRUE(holds(identity.osName, "Quoted \"Name\" $5 \\x"));
    EXPECT_TRUE(holds(identity.osId, "debian"));
    EXPECT_TRUE(holds(identity.osVersion, "12 \\")) << "between single quotes a backslash is one";
    EXPECT_TRUE(holds(identity.osPrettyName, "plain words"));
}

TEST(IdentityReader, ReleaseFileHasAllOfItsNames) {
    SampledHost host(Area::Identity,
                     {{"etc/os-release", "NAME=\"Ubuntu\"\nID=ubuntu\nID_LIKE=debian\n"
                                         "VERSION=\"20.04.2 LTS (Focal Fossa)\"\nVERSION_ID=\"20.04\"\n"
                                         "VERSION_CODENAME=focal\nBUILD_ID=7\nIMAGE_ID=cloud\nIMAGE_VERSION=33\n"
                                         "VARIANT=\"Server Edition\"\nVARIANT_ID=server\n"}});
    const zel::Identity &identity = host.take().identity;
    EXPECT_TRUE(holds(identity.osVersion, "20.04"));
    EXPECT_TRUE(holds(identity.osIdLike, "debian"));
    EXPECT_TRUE(holds(identity.osVersionName, "20.04.2 LTS (Focal Fossa)"));
    EXPECT_TRUE(holds(identity.osCodename, "focal"));
    EXPECT_TRUE(holds(identity.osBuildId, "7"));
    EXPECT_TRUE(holds(identity.osImageId, "cloud"));
    EXPECT_TRUE(holds(identity.osImageVersion, "33"));
    EXPECT_TRUE(holds(identity.osVariant, "Server Edition"));
    EXPECT_TRUE(holds(identity.osVariantId, "server"));
}

TEST(IdentityReader, FirmwareHasItsTextsAndEmptyOnesAreEmpty) {
    SampledHost host(Area::Identity, {{"sys/class/dmi/id/sys_vendor", "Dell Inc.\n"},
                                      {"sys/class/dmi/id/product_name", "PowerEdge R6515\n"},
                                      {"sys/class/dmi/id/product_version", " \n"},
                                      {"sys/class/dmi/id/board_serial", ".7N62AI2.\n"},
                                      {"sys/class/dmi/id/bios_date", "04/12/2021\n"},
                                      {"sys/class/dmi/id/chassis_type", "23\n"}});
    const zel::Dmi &dmi = host.take().dmi;
    EXPECT_TRUE(holds(dmi.systemVendor, "Dell Inc."));
    EXPECT_TRUE(holds(dmi.productName, "PowerEdge R6515"));
    EXPECT_TRUE(holds(dmi.productVersion, ""));
    EXPECT_TRUE(holds(dmi.boardSerial, ".7N62AI2."));
    EXPECT_TRUE(holds(dmi.biosDate, "04/12/2021"));
    EXPECT_TRUE(lacks(dmi.productSerial, Absence::Unsupported));
}

TEST(IdentityReader, AMachineWithoutFirmwareTextsLacksThemAll) {
    SampledHost host(Area::Identity, {{"proc/uptime", "1 1\n"}});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(lacks(sample.dmi.systemVendor, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample.dmi.productUuid, Absence::Unsupported));
    EXPECT_EQ(failureOf(sample, Area::Identity), NO_FAILURE);
}

TEST(IdentityReader, LastAssignmentCounts) {
    SampledHost host(Area::Identity, {{"etc/os-release", "ID=one\nID=two"}});
    EXPECT_TRUE(holds(host.take().identity.osId, "two"));
}

TEST(IdentityReader, QuotesThatDoNotEndAreMalformed) {
    SampledHost host(Area::Identity, {{"etc/os-release", "NAME=\"Debian\nID=\nVERSION_ID='12\n"}});
    host.write("proc/uptime", "1.00 1.00\n");
    const zel::Sample &sample = host.take();
    const zel::Identity &identity = sample.identity;
    EXPECT_EQ(failureOf(sample, Area::Identity), std::pair(EBADMSG, std::string("etc/os-release")));
    EXPECT_TRUE(lacks(identity.osName, Absence::Malformed));
    EXPECT_TRUE(lacks(identity.osId, Absence::Unsupported)) << "an empty value is none";
    EXPECT_TRUE(lacks(identity.osVersion, Absence::Malformed));
    EXPECT_TRUE(lacks(identity.osPrettyName, Absence::Unsupported));
}

TEST(IdentityReader, VendorsFileCountsWhereThereIsNoOther) {
    SampledHost host(Area::Identity, {{"usr/lib/os-release", "ID=vendor\n"}});
    EXPECT_TRUE(holds(host.take().identity.osId, "vendor"));
    host.write("etc/os-release", "NAME=Admin\n");
    EXPECT_TRUE(lacks(host.take().identity.osId, Absence::Unsupported));
    EXPECT_TRUE(holds(host.take().identity.osName, "Admin"));
}

TEST(IdentityReader, UptimeThatIsNoneIsMalformed) {
    for (const char *text : {"", "x", "10", "-5.00 1.00", "1e300 1"}) {
        SampledHost host(Area::Identity, {{"proc/uptime", text}});
        const zel::Sample &sample = host.take();
        EXPECT_TRUE(lacks(sample.identity.idleSeconds, Absence::Malformed)) << text;
        EXPECT_EQ(failureOf(sample, Area::Identity), std::pair(EBADMSG, std::string("proc/uptime"))) << text;
    }
}

TEST(IdentityReader, MissingFilesAreUnsupported) {
    SampledHost host({Area::Identity});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(lacks(sample.identity.hostName, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample.identity.architecture, Absence::Unsupported)) << "before 6.1 the kernel has no such file";
    EXPECT_TRUE(lacks(sample.identity.osId, Absence::Unsupported));
    EXPECT_EQ(failureOf(sample, Area::Identity), std::pair(ENOENT, std::string("proc/uptime")));
}

TEST(IdentityReader, LinkThatLeadsOutOfTheRootStaysInIt) {
    SampledHost host(Area::Identity, {{"usr/lib/os-release", "ID=inside\n"}, {"etc/other", ""}});
    std::filesystem::create_symlink("/usr/lib/os-release", host.path() + "/etc/os-release");
    EXPECT_TRUE(holds(host.take().identity.osId, "inside"));
}

} // namespace

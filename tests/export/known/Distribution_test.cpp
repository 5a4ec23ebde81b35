// The known names of the distribution and of the machine.
#include "tests/support/KnownText.h"

#include <gtest/gtest.h>

namespace {

KnownText versionText(const char *version) {
    zel::Sample sample;
    sample.identity.osId.set("debian");
    sample.identity.osName.set("Debian GNU/Linux");
    sample.identity.osVersion.set(version);
    return KnownText(zel::knownDistribution, sample);
}

TEST(KnownDistribution, TheVersionIsItsFirstTwoParts) {
    for (const auto &[version, number] : std::initializer_list<std::pair<const char *, const char *>>{
             {"12", "12"}, {"20.04", "20.04"}, {"8.6.20220901", "8.6"}, {"7.9.", "7.9"}})
        EXPECT_EQ(versionText(version).series("node_os_version"),
                  (Lines{std::string(R"(node_os_version{id="debian",id_like="",name="Debian GNU/Linux"} )") + number}))
            << version;
    for (const char *version : {"rolling", "1x", "-1", "x.1", "1.x"})
        EXPECT_TRUE(versionText(version).series("node_os_version").empty()) << version;
}

TEST(KnownDistribution, TextsThatItLacksAreEmptyLabels) {
    EXPECT_EQ(versionText("12").series("node_os_info"),
              (Lines{R"(node_os_info{build_id="",id="debian",id_like="",image_id="",image_version="",)"
                     R"(name="Debian GNU/Linux",pretty_name="",variant="",variant_id="",version="",)"
                     R"(version_codename="",version_id="12"} 1)"}));
    EXPECT_TRUE(KnownText(zel::knownDistribution, zel::Sample()).series().empty()) << "a host without os-release";
}

TEST(KnownDistribution, OfTheMachineOnlyWhatIsThereIsALabel) {
    zel::Sample sample;
    sample.dmi.systemVendor.set("Dell Inc.");
    sample.dmi.productVersion.set("");
    sample.dmi.productSerial.clear(zel::Absence::Denied);
    EXPECT_EQ(KnownText(zel::knownDistribution, sample).series(),
              (Lines{R"(node_dmi_info{product_version="",system_vendor="Dell Inc."} 1)"}));
}

} // namespace

// The known names of clocks, of limits and of the host itself.
#include "tests/support/KnownText.h"

#include <gtest/gtest.h>

namespace {

TEST(KnownTime, ClockSourcesAreOneSeriesEach) {
    zel::Sample sample;
    sample.time.sources = std::string("tsc hpet  acpi_pm");
    sample.time.source = std::string("hpet");
    const KnownText text(zel::knownTime, sample);
    EXPECT_EQ(text.series(), (Lines{R"(node_time_clocksource_available_info{clocksource="tsc",device="0"} 1)",
                                    R"(node_time_clocksource_available_info{clocksource="hpet",device="0"} 1)",
                                    R"(node_time_clocksource_available_info{clocksource="acpi_pm",device="0"} 1)",
                                    R"(node_time_clocksource_current_info{clocksource="hpet",device="0"} 1)"}));
    EXPECT_EQ(text.type("node_time_clocksource_current_info"), "gauge");
}

TEST(KnownTime, ZoneIsALabelOfItsOffset) {
    zel::Sample sample;
    sample.time.zone = std::string("CET");
    sample.time.zoneOffset = 3600.0;
    EXPECT_EQ(KnownText(zel::knownTime, sample).series(),
              (Lines{R"(node_time_zone_offset_seconds{time_zone="CET"} 3600)"}));
}

TEST(KnownTime, NumbersOfAdjtimexHaveTheirFamilies) {
    zel::Sample sample;
    zel::Timekeeping &time = sample.time;
    time.realtime = 1795343481.25;
    time.synchronised = std::uint64_t{1};
    time.frequency = 1.0000125;
    time.offset = -0.5;
    time.status = std::uint64_t{8193};
    time.taiOffset = 37.0;
    const KnownText text(zel::knownTime, sample);
    EXPECT_EQ(text.series(), (Lines{"node_time_seconds 1795343481.25", "node_timex_sync_status 1",
                                    "node_timex_offset_seconds -0.5", "node_timex_frequency_adjustment_ratio 1.0000125",
                                    "node_timex_status 8193", "node_timex_tai_offset_seconds 37"}));
}

TEST(KnownTime, IntervalOfPulsesIsAPowerOfTwo) {
    zel::Sample sample;
    sample.time.ppsInterval = 16.0;
    sample.time.ppsErrors = std::uint64_t{2};
    const KnownText text(zel::knownTime, sample);
    EXPECT_EQ(text.series(), (Lines{"node_timex_pps_error_total 2", "node_timex_pps_shift_seconds 4"}));
    EXPECT_EQ(text.type("node_timex_pps_error_total"), "counter");
}

TEST(KnownLimits, FilesAndEntropy) {
    zel::Sample sample;
    sample.limits.entropyAvailableBits = std::uint64_t{1337};
    sample.limits.entropyPoolBits = std::uint64_t{4096};
    sample.limits.filesAllocated = std::uint64_t{1024};
    sample.limits.filesLimit = std::uint64_t{9223372036854775807};
    EXPECT_EQ(KnownText(zel::knownLimits, sample).series(),
              (Lines{"node_entropy_available_bits 1337", "node_entropy_pool_size_bits 4096",
                     "node_filefd_allocated 1024", "node_filefd_maximum 9223372036854775807"}));
}

TEST(KnownIdentity, UnameIsOneSeries) {
    zel::Sample sample;
    zel::Identity &identity = sample.identity;
    identity.kernelName = std::string("Linux");
    identity.kernelRelease = std::string("6.1.0-13-amd64");
    identity.kernelVersion = std::string("#1 SMP");
    identity.architecture = std::string("x86_64");
    identity.hostName = std::string("web1");
    const std::string rest =
        R"(machine="x86_64",nodename="web1",release="6.1.0-13-amd64",sysname="Linux",version="#1 SMP"} 1)";
    EXPECT_EQ(KnownText(zel::knownIdentity, sample).series(),
              (Lines{R"-(node_uname_info{domainname="(none)",)-" + rest}));
    identity.domainName = std::string("example.org");
    EXPECT_EQ(KnownText(zel::knownIdentity, sample).series(),
              (Lines{R"(node_uname_info{domainname="example.org",)" + rest}));
}

TEST(KnownIdentity, HostThatSaysNothingHasNoSeries) {
    EXPECT_EQ(KnownText(zel::knownIdentity, {}).series(), Lines{});
}

} // namespace

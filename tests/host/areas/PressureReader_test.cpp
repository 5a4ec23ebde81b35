// Pressure stall information of kernels that have all, some or none of it.
#include "SampledHost.h"

#include <cerrno>

namespace {

using zel::Absence;
using zel::Area;

constexpr const char *ioText = "some avg10=0.23 avg60=7.99 avg300=13.40 total=233938024\n"
                               "full avg10=0.07 avg60=1.00 avg300=100.00 total=1\n";

TEST(PressureReader, SharesAndSecondsOfEveryResource) {
    SampledHost host(Area::Pressure, {{"proc/pressure/io", ioText}});
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.pressure.size(), 1U);
    const zel::Pressure &io = sample.pressure[0];
    EXPECT_EQ(io.resource, "io");
    EXPECT_TRUE(holds(io.someAverage10, 0.0023));
    EXPECT_TRUE(holds(io.someAverage60, 0.0799));
    EXPECT_TRUE(holds(io.someAverage300, 0.134));
    EXPECT_TRUE(holds(io.someSeconds, 233.938024));
    EXPECT_TRUE(holds(io.fullAverage10, 0.0007));
    EXPECT_TRUE(holds(io.fullAverage60, 0.01));
    EXPECT_TRUE(holds(io.fullAverage300, 1));
    EXPECT_TRUE(holds(io.fullSeconds, 0.000001));
    EXPECT_EQ(failureOf(sample, Area::Pressure), NO_FAILURE) << "a kernel may lack the other resources";
}

TEST(PressureReader, ResourcesComeInTheOrderOfTheirNames) {
    SampledHost host(Area::Pressure, {{"proc/pressure/irq", "full avg10=0.00 avg60=0.00 avg300=0.00 total=5000000\n"},
                                      {"proc/pressure/memory", ioText},
                                      {"proc/pressure/cpu", "some avg10=1.00 avg60=2.00 avg300=3.00 total=4\n"}});
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.pressure.size(), 3U);
    EXPECT_EQ(sample.pressure[0].resource, "cpu");
    EXPECT_EQ(sample.pressure[1].resource, "memory");
    EXPECT_EQ(sample.pressure[2].resource, "irq");
    EXPECT_TRUE(lacks(sample.pressure[0].fullSeconds, Absence::Unsupported)) << "before 5.13";
    EXPECT_TRUE(lacks(sample.pressure[2].someSeconds, Absence::Unsupported)) << "irq has only full";
    EXPECT_TRUE(holds(sample.pressure[2].fullSeconds, 5));
}

TEST(PressureReader, KernelWithoutItIsUnsupportedAsAWhole) {
    SampledHost host({Area::Pressure});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(sample.pressure.empty());
    EXPECT_EQ(sample.area(Area::Pressure).absence, Absence::Unsupported);
    EXPECT_EQ(failureOf(sample, Area::Pressure), std::pair(ENOENT, std::string("proc/pressure/cpu")));
}

TEST(PressureReader, DamagedLineIsMalformedFromTheDamageOn) {
    SampledHost host(Area::Pressure, {{"proc/pressure/io", "some avg10=0.23 avg60=oops avg300=13.40 total=9\n"
                                                           "full avg10=0.07 avg60=1.00 avg300=2.00 total=3000000\n"}});
    const zel::Sample &sample = host.take();
    const zel::Pressure &io = sample.pressure[0];
    EXPECT_TRUE(holds(io.someAverage10, 0.0023));
    EXPECT_TRUE(lacks(io.someAverage60, Absence::Malformed));
    EXPECT_TRUE(lacks(io.someSeconds, Absence::Malformed));
    EXPECT_TRUE(holds(io.fullSeconds, 3)) << "the other line is whole";
    EXPECT_EQ(failureOf(sample, Area::Pressure), std::pair(EBADMSG, std::string("proc/pressure/io")));
}

TEST(PressureReader, FileWithoutALineOfTheKernelIsMalformed) {
    for (const char *text : {"", "\n\n", "none avg10=1\n", "some"}) {
        SampledHost host(Area::Pressure, {{"proc/pressure/io", text}});
        const zel::Sample &sample = host.take();
        ASSERT_EQ(sample.pressure.size(), 1U);
        EXPECT_TRUE(lacks(sample.pressure[0].someSeconds, Absence::Malformed)) << text;
        EXPECT_EQ(failureOf(sample, Area::Pressure).first, EBADMSG) << text;
    }
}

TEST(PressureReader, LineThatIsCutTakesNothingOfTheNext) {
    SampledHost host(Area::Pressure,
                     {{"proc/pressure/io", "some avg10=\n0.5 avg60=1.00 avg300=1.00 total=1\nfull avg10=1.00"}});
    const zel::Pressure &io = host.take().pressure[0];
    EXPECT_TRUE(lacks(io.someAverage10, Absence::Malformed));
    EXPECT_TRUE(holds(io.fullAverage10, 0.01));
    EXPECT_TRUE(lacks(io.fullSeconds, Absence::Malformed));
}

TEST(PressureReader, FileThatCannotBeReadIsNamed) {
    SampledHost host({Area::Pressure});
    host.write("proc/pressure/cpu/not_a_file", "");
    const zel::Sample &sample = host.take();
    EXPECT_EQ(failureOf(sample, Area::Pressure), std::pair(EISDIR, std::string("proc/pressure/cpu")));
    EXPECT_NE(sample.area(Area::Pressure).absence, Absence::None);
}

} // namespace

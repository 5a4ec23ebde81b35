// Numbers as people read them.
#include "zel/Units.h"

#include <gtest/gtest.h>

namespace {

using zel::Charset;

TEST(Units, BytesHaveThreeDigitsThatCount) {
    EXPECT_EQ(zel::bytesText(0), "0 B");
    EXPECT_EQ(zel::bytesText(1023), "1023 B");
    EXPECT_EQ(zel::bytesText(1024), "1.00 KiB");
    EXPECT_EQ(zel::bytesText(10240), "10.0 KiB");
    EXPECT_EQ(zel::bytesText(1048576.0 * 300), "300 MiB");
    EXPECT_EQ(zel::bytesText(1048575), "1.00 MiB"); // not "1024 KiB"
    EXPECT_EQ(zel::bytesText(1099511627776.0), "1.00 TiB");
    EXPECT_EQ(zel::bytesText(18446744073709551615.0), "16.0 EiB");
}

TEST(Units, TimesHaveTheUnitThatFits) {
    EXPECT_EQ(zel::secondsText(0, Charset::Ascii), "0");
    EXPECT_EQ(zel::secondsText(0.00005, Charset::Ascii), "50.0 us");
    EXPECT_EQ(zel::secondsText(0.00005, Charset::Utf8), "50.0 \xc2\xb5s");
    EXPECT_EQ(zel::secondsText(0.00125, Charset::Ascii), "1.25 ms");
    EXPECT_EQ(zel::secondsText(1, Charset::Ascii), "1.00 s");
    EXPECT_EQ(zel::secondsText(75, Charset::Ascii), "1 min 15 s");
    EXPECT_EQ(zel::secondsText(3 * 3600 + 12 * 60 + 5, Charset::Ascii), "3 h 12 min");
    EXPECT_EQ(zel::secondsText(12 * 86400 + 3 * 3600, Charset::Ascii), "12 d 3 h");
}

TEST(Units, SharesAreInPercent) {
    EXPECT_EQ(zel::percentText(0), "0.0%");
    EXPECT_EQ(zel::percentText(0.125), "12.5%");
    EXPECT_EQ(zel::percentText(1), "100%");
    EXPECT_EQ(zel::percentText(0.9999), "100%");
    EXPECT_EQ(zel::percentText(3.5), "350%");
}

TEST(Units, FrequenciesSpeedsAndRates) {
    EXPECT_EQ(zel::hertzText(2400000000.0), "2.40 GHz");
    EXPECT_EQ(zel::bitsText(1e9), "1.00 Gbit");
    EXPECT_EQ(zel::numberText(0), "0");
    EXPECT_EQ(zel::numberText(0.5), "0.50");
    EXPECT_EQ(zel::numberText(1234.4), "1234");
}

TEST(Units, ValuesHaveTheUnitOfTheirFamily) {
    const auto family = [](zel::Unit unit) {
        return zel::Family{zel::Area::Disks, "disks", "x", unit, zel::Kind::Gauge, "", ""};
    };
    const auto text = [&](zel::Unit unit, const zel::Value &value) {
        return zel::valueText(family(unit), value, Charset::Ascii);
    };
    EXPECT_EQ(text(zel::Unit::Bytes, std::uint64_t{2048}), "2.00 KiB");
    EXPECT_EQ(text(zel::Unit::Ratio, 0.5), "50.0%");
    EXPECT_EQ(text(zel::Unit::Celsius, -5.5), "-5.5 C");
    EXPECT_EQ(text(zel::Unit::Volts, 12.096), "12.1 V");
    EXPECT_EQ(text(zel::Unit::Amperes, 0.25), "0.25 A");
    EXPECT_EQ(text(zel::Unit::Watts, 125.5), "126 W");
    EXPECT_EQ(text(zel::Unit::Joules, 131400.0), "131 kJ");
    EXPECT_EQ(text(zel::Unit::Coulombs, 10800.0), "3.00 Ah");
    EXPECT_EQ(text(zel::Unit::RevolutionsPerMinute, 1180.0), "1180 rpm");
    EXPECT_EQ(text(zel::Unit::None, std::uint64_t{18446744073709551615ULL}), "18446744073709551615");
    EXPECT_EQ(text(zel::Unit::None, std::string_view("a\x1b[2J")), "a?[2J");
}

TEST(Units, AReasonIsAWord) {
    const zel::Family family{zel::Area::Disks, "disks", "x", zel::Unit::Bytes, zel::Kind::Gauge, "", ""};
    const auto text = [&](zel::Absence reason) { return zel::valueText(family, reason, Charset::Ascii); };
    EXPECT_EQ(text(zel::Absence::Unsupported), "-");
    EXPECT_EQ(text(zel::Absence::NotYet), "not yet");
    EXPECT_EQ(text(zel::Absence::Denied), "denied");
    EXPECT_EQ(text(zel::Absence::TimedOut), "timed out");
}

} // namespace

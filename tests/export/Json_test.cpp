// JSON of a sample, read back by an independent reader.
#include "export/Json.h"

#include "CommaLocale.h"
#include "FullSample.h"
#include "SystemHooks.h"

#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;
using zel::Absence;
using zel::Area;

// What a strict reader makes of a text in quotes.
std::string readBack(std::string_view text) {
    std::string out;
    zel::appendJsonText(out, text);
    return Json::parse(out).get<std::string>();
}

zel::Sample sampleOf(std::initializer_list<Area> areas) {
    zel::Sample sample;
    for (const Area area : areas)
        sample.area(area).asked = true;
    return sample;
}

std::string textOf(const zel::Sample &sample, std::span<const Area> areas = {}) {
    std::string out;
    zel::writeJson(sample, areas, out);
    return out;
}

Json jsonOf(const zel::Sample &sample) {
    return Json::parse(textOf(sample));
}

TEST(JsonText, EveryByteGivesAValidText) {
    for (unsigned byte = 0; byte < 0x100; ++byte) {
        const std::string text = {'a', static_cast<char>(byte), 'z'};
        const std::string expected = byte < 0x80 ? text : "a\xef\xbf\xbdz";
        EXPECT_EQ(readBack(text), expected) << byte;
    }
}

TEST(JsonText, EveryPairOfBytesIsKeptOrReplaced) {
    for (unsigned first = 0x80; first < 0x100; ++first) {
        for (unsigned second = 0; second < 0x100; ++second) {
            const std::string text = {static_cast<char>(first), static_cast<char>(second)};
            const bool isCharacter = first >= 0xc2 && first < 0xe0 && second >= 0x80 && second < 0xc0;
            const std::string rest = second < 0x80 ? text.substr(1) : "\xef\xbf\xbd";
            EXPECT_EQ(readBack(text), isCharacter ? text : "\xef\xbf\xbd" + rest) << first << ' ' << second;
        }
    }
}

TEST(JsonText, WhatIsNoUtf8IsReplacedByteByByte) {
    const std::string sign = "\xef\xbf\xbd";
    EXPECT_EQ(readBack("\xc0\xaf"), sign + sign);                                  // overlong
    EXPECT_EQ(readBack("\xe0\x80\xaf"), sign + sign + sign);                       // overlong, three bytes
    EXPECT_EQ(readBack("\xf0\x80\x80\xaf"), sign + sign + sign + sign);            // overlong, four bytes
    EXPECT_EQ(readBack("\xed\xa0\x80"), sign + sign + sign);                       // a surrogate
    EXPECT_EQ(readBack("\xf4\x90\x80\x80"), sign + sign + sign + sign);            // beyond U+10FFFF
    EXPECT_EQ(readBack("\xf8\x88\x80\x80\x80"), sign + sign + sign + sign + sign); // five bytes
    EXPECT_EQ(readBack("\xe2\x82"), sign + sign);                                  // cut
    EXPECT_EQ(readBack("\xf0\x9f\x98"), sign + sign + sign);
    EXPECT_EQ(readBack("\x80"), sign);
    EXPECT_EQ(readBack("\xff\xfe"), sign + sign);
    EXPECT_EQ(readBack("\xc3\x28"), sign + "(");
}

TEST(JsonText, LettersOfEveryLengthStay) {
    EXPECT_EQ(readBack("d\xc3\xa9j\xc3\xa0 \xe2\x82\xac \xf0\x9f\x98\x80"),
              "d\xc3\xa9j\xc3\xa0 \xe2\x82\xac \xf0\x9f\x98\x80");
}

TEST(JsonText, WhatActsOnATerminalIsEscapedAndComesBackExactly) {
    // Escape, delete, a control of two bytes, direction marks, zero width, line separator, a tag beyond the first
    // plane.
    for (const std::string text : {"\x1b[2J", "\x7f", "\xc2\x9b", "\xe2\x80\xae", "\xe2\x81\xa6", "\xe2\x80\x8b",
                                   "\xe2\x80\xa8", "\xef\xbb\xbf", "\xf3\xa0\x81\x81"}) {
        std::string out;
        zel::appendJsonText(out, text);
        for (const char byte : out)
            EXPECT_TRUE(byte >= ' ' && byte <= '~') << out;
        EXPECT_EQ(Json::parse(out).get<std::string>(), text);
    }
}

TEST(JsonText, QuotesAndBackslashesAreEscaped) {
    EXPECT_EQ(readBack(R"("a\b\"c"\)"), R"("a\b\"c"\)");
    EXPECT_EQ(readBack(""), "");
}

TEST(Json, NumbersAreExact) {
    zel::Sample sample = sampleOf({Area::Vm, Area::Load});
    sample.vm.pgfault = std::numeric_limits<std::uint64_t>::max();
    sample.load.load1 = 0.1;
    sample.load.load5 = 1e300;
    const std::string text = textOf(sample);
    EXPECT_NE(text.find("\"pgfault_total\":18446744073709551615,"), text.npos);
    EXPECT_NE(text.find("\"load1\":0.1,"), text.npos) << text;
    EXPECT_EQ(Json::parse(text)["load"]["load5"].get<double>(), 1e300);
}

TEST(Json, ANumberWithoutEndIsMalformed) {
    zel::Sample sample = sampleOf({Area::Load});
    sample.load.load1 = std::numeric_limits<double>::infinity();
    sample.load.load5 = std::numeric_limits<double>::quiet_NaN();
    const Json json = jsonOf(sample);
    EXPECT_TRUE(json["load"]["load1"].is_null());
    EXPECT_EQ(json["load"]["absent"]["load1"], "malformed");
    EXPECT_EQ(json["load"]["absent"]["load5"], "malformed");
}

TEST(Json, AnAbsentFieldIsNullAndItsReasonIsNamedOnce) {
    zel::Sample sample = sampleOf({Area::Pressure});
    zel::Pressure &row = sample.pressure.append();
    row.resource = "cpu";
    row.someSeconds = 1.5;
    row.someAverage10 = Absence::Denied;
    row.someAverage60 = Absence::TimedOut;
    const Json json = jsonOf(sample)["pressure"][0];
    EXPECT_EQ(json["resource"], "cpu");
    EXPECT_EQ(json["some_seconds_total"], 1.5);
    EXPECT_TRUE(json["some_average_10_ratio"].is_null());
    EXPECT_EQ(json["absent"]["some_average_10_ratio"], "denied");
    EXPECT_EQ(json["absent"]["some_average_60_ratio"], "timed_out");
    EXPECT_EQ(json["absent"]["full_seconds_total"], "unsupported");
    EXPECT_FALSE(json["absent"].contains("some_seconds_total"));
}

TEST(Json, ARowWithEveryFieldNamesNoReasons) {
    zel::Sample sample = sampleOf({Area::Load});
    sample.load = {0.5, 0.25, 0.125, 1, 100, 4711};
    EXPECT_FALSE(jsonOf(sample)["load"].contains("absent"));
}

TEST(Json, TimeIsSecondsAndText) {
    zel::Sample sample = sampleOf({});
    sample.realtimeNanoseconds = 1795238415260000001; // 2026-11-21, as `date -u -d @1795238415` has it
    const std::string text = textOf(sample);
    EXPECT_NE(text.find("\"time_seconds\":1795238415.260000001,"), text.npos) << text;
    EXPECT_EQ(Json::parse(text)["time"], "2026-11-21T05:20:15.260000001Z");
}

TEST(Json, ATimeBeforeTheEpochIsATime) {
    zel::Sample sample = sampleOf({});
    sample.realtimeNanoseconds = -500000000;
    const Json json = jsonOf(sample);
    EXPECT_EQ(json["time_seconds"], -0.5);
    EXPECT_EQ(json["time"], "1969-12-31T23:59:59.500000000Z");
}

TEST(Json, AreasSayWhatFailed) {
    zel::Sample sample = sampleOf({Area::Disks, Area::Load});
    zel::AreaState &state = sample.area(Area::Disks);
    state.costSeconds = 0.25;
    state.error = EACCES;
    state.file = "/proc/disk\"stats";
    state.absence = Absence::Denied;
    const Json json = jsonOf(sample)["areas"];
    EXPECT_EQ(json["disks"]["cost_seconds"], 0.25);
    EXPECT_EQ(json["disks"]["error"]["errno"], EACCES);
    EXPECT_EQ(json["disks"]["error"]["file"], "/proc/disk\"stats");
    EXPECT_EQ(json["disks"]["error"]["text"], "Permission denied");
    EXPECT_EQ(json["disks"]["absent"], "denied");
    EXPECT_FALSE(json["load"].contains("error"));
    EXPECT_FALSE(json.contains("cpu"));
}

TEST(Json, AnAreaThatIsSilentSaysSinceWhen) {
    zel::Sample sample = sampleOf({Area::Filesystems});
    sample.realtimeNanoseconds = 100000000000;
    sample.elapsedSeconds = 2;
    sample.area(Area::Filesystems).silentSeconds = 12;
    const Json json = jsonOf(sample)["areas"]["filesystems"];
    EXPECT_EQ(json["silent_seconds"], 12);
    EXPECT_EQ(json["silent_since"], "1970-01-01T00:01:30.000000000Z");
}

TEST(Json, OnlyTheNamedAreasAreWritten) {
    const zel::Sample sample = sampleOf({Area::Disks, Area::Load});
    const Area wanted[] = {Area::Load};
    const Json json = Json::parse(textOf(sample, wanted));
    EXPECT_TRUE(json.contains("load"));
    EXPECT_FALSE(json.contains("disks"));
    EXPECT_FALSE(json["areas"].contains("disks"));
}

TEST(Json, IsAppendedAndHoldsNoLineFeed) {
    zel::Sample sample = sampleOf({Area::Identity});
    sample.identity.hostName = std::string("a\nb");
    std::string out = "before ";
    zel::writeJson(sample, {}, out);
    EXPECT_TRUE(out.starts_with("before {"));
    EXPECT_EQ(out.find('\n'), out.npos);
}

TEST(Json, IsTheSameInALocaleWithCommas) {
    zel::Sample sample = sampleOf({Area::Load});
    sample.load.load1 = 1234.5;
    const CommaLocale locale;
    if (locale.whyNot() != nullptr)
        GTEST_SKIP() << locale.whyNot();
    EXPECT_NE(textOf(sample).find("\"load1\":1234.5,"), std::string::npos);
}

// Two samples a second apart in which interrupts grew by 10, and pressure by a quarter of a second.
struct Pair {
    zel::Sample before = sampleOf({Area::Interrupts, Area::Pressure, Area::Cpu});
    zel::Sample now = before;
    zel::Rates rates;

    Pair() {
        fill(before, 0);
        fill(now, 1);
        rates = zel::between(before, now);
    }
    static void fill(zel::Sample &sample, std::uint64_t step) {
        for (zel::AreaState &state : sample.areas)
            state.monotonicNanoseconds = static_cast<std::int64_t>(step) * 1000000000;
        sample.monotonicNanoseconds = static_cast<std::int64_t>(step) * 1000000000;
        sample.activity.interrupts = 100 + 10 * step;
        sample.activity.running = 3;
        sample.cpu.userSeconds = 5.0 + 0.25 * static_cast<double>(step);
        sample.cpu.idleSeconds = 5.0 + 0.75 * static_cast<double>(step);
        sample.cpu.online = 1;
        for (const char *name : {"cpu", "io"}) {
            zel::Pressure &row = sample.pressure.append();
            row.resource = name;
            row.someSeconds = 0.25 * static_cast<double>(step);
            row.someAverage10 = 0.5;
        }
    }
};

TEST(JsonOfRates, RatesStandInForCounters) {
    const Pair pair;
    std::string text;
    zel::writeJson(pair.now, pair.rates, {}, text);
    const Json json = Json::parse(text);
    EXPECT_EQ(json["interval_seconds"], 1);
    EXPECT_EQ(json["activity"]["interrupts_per_second"], 10);
    EXPECT_FALSE(json["activity"].contains("interrupts_total"));
    EXPECT_EQ(json["activity"]["running"], 3);
    EXPECT_EQ(json["pressure"][1]["resource"], "io");
    EXPECT_EQ(json["pressure"][1]["some_ratio"], 0.25);
    EXPECT_EQ(json["pressure"][1]["some_average_10_ratio"], 0.5);
}

TEST(JsonOfRates, AStructOfRatesComesAfterWhatIsNoCounter) {
    const Pair pair;
    std::string text;
    zel::writeJson(pair.now, pair.rates, {}, text);
    const Json json = Json::parse(text)["cpu"];
    EXPECT_EQ(json["online"], 1);
    EXPECT_EQ(json["user_ratio"], 0.25);
    EXPECT_EQ(json["busy_ratio"], 0.25);
    EXPECT_FALSE(json.contains("user_seconds_total"));
}

TEST(JsonOfRates, CountersOfTheNamedAreasAreFoundBehindOthers) {
    const Pair pair;
    const Area wanted[] = {Area::Interrupts};
    std::string text;
    zel::writeJson(pair.now, pair.rates, wanted, text);
    const Json json = Json::parse(text);
    EXPECT_EQ(json["activity"]["interrupts_per_second"], 10);
    EXPECT_FALSE(json.contains("pressure"));
}

TEST(JsonOfRates, ACounterOfANewRowIsNotYet) {
    Pair pair;
    zel::Pressure &row = pair.now.pressure.append();
    row.resource = "memory";
    row.someSeconds = 1.0;
    pair.rates = zel::between(pair.before, pair.now);
    std::string text;
    zel::writeJson(pair.now, pair.rates, {}, text);
    const Json json = Json::parse(text)["pressure"][2];
    EXPECT_TRUE(json["some_ratio"].is_null());
    EXPECT_EQ(json["absent"]["some_ratio"], "not_yet");
}

TEST(Json, InSteadyStateNothingIsAllocated) {
    const zel::Sample earlier = FullSample::make();
    zel::Sample sample = earlier;
    sample.monotonicNanoseconds += 1000000000;
    const zel::Rates rates = zel::between(earlier, sample);
    std::string out;
    const auto allocated = [&out](auto &&write) {
        write();
        out.clear();
        const long before = allocationsSoFar();
        write();
        return allocationsSoFar() - before;
    };
    EXPECT_EQ(allocated([&] { zel::writeJson(sample, {}, out); }), 0);
    EXPECT_EQ(allocated([&] { zel::writeJson(sample, rates, {}, out); }), 0);
}

} // namespace

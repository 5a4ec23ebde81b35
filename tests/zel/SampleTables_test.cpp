// Tables of a sample: their columns are those of the schema, rows are chosen and ordered, hostile names are harmless.
#include "zel/SampleTables.h"

#include "export/Walk.h"
#include "zel/Views.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>

namespace {

using testing::HasSubstr;
using testing::Not;
using zel::Area;

zel::Sample sampleOf(std::initializer_list<Area> areas) {
    zel::Sample sample;
    for (const Area area : areas)
        sample.area(area).asked = true;
    return sample;
}

std::string textOf(const zel::Sample &sample, const zel::Shown &shown = {}, const zel::Style &style = {}) {
    std::string out;
    zel::writeTables(sample, nullptr, shown, style, out);
    return out;
}

TEST(Views, NameFieldsOfTheSchema) {
    std::map<std::string_view, std::set<std::string_view>> fields;
    for (const zel::AnySection<zel::Sample> &section : zel::sections()) {
        fields[section.name];
        for (const bool rates : {false, true})
            zel::forEachFamily(section, rates,
                               [&](const zel::Family &family) { fields[section.name].insert(family.name); });
    }
    for (const zel::View *view : zel::allViews()) {
        ASSERT_TRUE(fields.contains(view->section)) << view->section;
        for (const zel::ViewColumn &column : view->columns)
            EXPECT_TRUE(fields[view->section].contains(column.field)) << view->section << '.' << column.field;
        for (const std::string_view order : {view->order, view->orderWithoutRates})
            EXPECT_TRUE(order.empty() || fields[view->section].contains(order)) << view->section << '.' << order;
    }
}

TEST(Views, EverySectionHasOne) {
    for (const zel::AnySection<zel::Sample> &section : zel::sections())
        EXPECT_NE(zel::viewOf(section.name), nullptr) << section.name;
    EXPECT_EQ(zel::viewOf("nothing"), nullptr);
}

TEST(SampleTables, AskForRatesOnlyWhereTheyShowSome) {
    const Area load[] = {Area::Load}, cpu[] = {Area::Cpu}, both[] = {Area::Load, Area::Cpu};
    EXPECT_FALSE(zel::needRates({load, false}));
    EXPECT_TRUE(zel::needRates({cpu, false}));
    EXPECT_TRUE(zel::needRates({both, false}));
    EXPECT_TRUE(zel::needRates({}));
}

TEST(SampleTables, AColumnWithoutAnyValueIsLeftOut) {
    zel::Sample sample = sampleOf({Area::Pressure});
    zel::Pressure &row = sample.pressure.append();
    row.resource = "io";
    row.someAverage10 = 0.5;
    const std::string text = textOf(sample);
    EXPECT_THAT(text, HasSubstr("some 10 s"));
    EXPECT_THAT(text, HasSubstr("50.0%"));
    EXPECT_THAT(text, Not(HasSubstr("full")));
}

TEST(SampleTables, AColumnThatTimedOutIsShown) {
    zel::Sample sample = sampleOf({Area::Pressure});
    zel::Pressure &row = sample.pressure.append();
    row.resource = "io";
    row.someAverage10 = zel::Absence::TimedOut;
    EXPECT_THAT(textOf(sample), HasSubstr("timed out"));
}

TEST(SampleTables, AllProcessorsComeFirst) {
    zel::Sample sample = sampleOf({Area::Cpu});
    sample.cpu.userSeconds = 3.0;
    for (std::uint64_t cpu = 0; cpu < 2; ++cpu) {
        zel::Processor &processor = sample.processors.append();
        processor.cpu = cpu;
        processor.userSeconds = 1.5;
    }
    EXPECT_THAT(textOf(sample), HasSubstr("  cpu    user\n  all  3.00 s\n    0  1.50 s\n    1  1.50 s\n"));
}

TEST(SampleTables, AnOverviewShowsTheLargestInterruptsAndSaysHowManyThereAre) {
    zel::Sample sample = sampleOf({Area::Interrupts});
    for (std::uint64_t number = 0; number < 9; ++number) {
        zel::InterruptLine &line = sample.interrupts.append();
        line.interrupt = "line" + std::to_string(number);
        line.count = number * 100;
    }
    const std::string text = textOf(sample);
    EXPECT_THAT(text, HasSubstr("INTERRUPTS  5 of 8, zel show interrupts has all; 1 quiet not shown"));
    EXPECT_LT(text.find("line8"), text.find("line4"));
    EXPECT_THAT(text, Not(HasSubstr("line3")));
    const Area named[] = {Area::Interrupts};
    EXPECT_THAT(textOf(sample, {named, false}), HasSubstr("line1"));
}

TEST(SampleTables, AnAreaThatWasNamedSaysThatItHasNothing) {
    const Area named[] = {Area::Pressure};
    EXPECT_THAT(textOf(sampleOf({Area::Pressure}), {named, false}), HasSubstr("PRESSURE  none"));
    EXPECT_THAT(textOf(sampleOf({Area::Pressure})), Not(HasSubstr("PRESSURE")));
}

TEST(SampleTables, ASectionOfOneRowWithoutValuesIsNoBareHeading) {
    const Area named[] = {Area::Limits};
    EXPECT_THAT(textOf(sampleOf({Area::Limits}), {named, false}), HasSubstr("\nLIMITS  none\n"));
    EXPECT_THAT(textOf(sampleOf({Area::Limits})), Not(HasSubstr("LIMITS")));
}

TEST(SampleTables, AColumnOfReasonsIsShownUnlessTheHostHasNone) {
    zel::Sample sample = sampleOf({Area::Sensors});
    zel::PowerZone &zone = sample.powerZones.append();
    zone.zone = "intel-rapl:0";
    zone.limit0 = 95;
    const Area named[] = {Area::Sensors};
    zone.consumed = zel::Absence::Unsupported;
    EXPECT_THAT(textOf(sample, {named, false}), Not(HasSubstr("consumed")));
    zone.consumed = zel::Absence::Denied;
    EXPECT_THAT(textOf(sample, {named, false}), HasSubstr("denied  95.0 W"));
    zone.consumed = zel::Absence::Malformed;
    EXPECT_THAT(textOf(sample, {named, false}), HasSubstr("malformed  95.0 W"));
}

TEST(SampleTables, ASampleOfWhichNothingIsKnownIsAHeadLine) {
    zel::Sample sample;
    for (zel::AreaState &state : sample.areas)
        state.asked = true;
    EXPECT_EQ(textOf(sample).find("CPU"), std::string::npos);
    const Area named[] = {Area::Cpu};
    EXPECT_THAT(textOf(sample, {named, false}), HasSubstr("CPU  none\n"));
}

TEST(SampleTables, AllShowsEveryFieldByItsName) {
    zel::Sample sample = sampleOf({Area::Pressure});
    sample.pressure.append().resource = "io";
    const std::string text = textOf(sample, {{}, true});
    EXPECT_THAT(text, HasSubstr("pressure io\n"));
    for (const auto &field : zel::fieldsOf<zel::Pressure>()) {
        const bool inHeading = field.family.kind == zel::Kind::Label;
        EXPECT_THAT(text, HasSubstr(std::string(inHeading ? "pressure" : field.family.name)));
    }
}

TEST(SampleTables, NoNameMovesTheCursor) {
    for (unsigned byte = 0; byte < 0x100; ++byte) {
        zel::Sample sample = sampleOf({Area::Interrupts, Area::Identity});
        const std::string hostile = {'a', static_cast<char>(byte), 'z'};
        sample.identity.hostName = hostile;
        zel::InterruptLine &line = sample.interrupts.append();
        line.interrupt = hostile;
        line.description = hostile;
        line.count = 1;
        for (const zel::Charset charset : {zel::Charset::Ascii, zel::Charset::Utf8}) {
            for (const bool everything : {false, true}) {
                const std::string text = textOf(sample, {{}, everything}, {.charset = charset});
                for (const char character : text) {
                    const bool harmless = character == '\n' || (character >= ' ' && character <= '~') ||
                                          (charset == zel::Charset::Utf8 &&
                                           std::string("\xef\xbf\xbd").find(character) != std::string::npos);
                    EXPECT_TRUE(harmless) << byte << ": " << static_cast<int>(character);
                }
                EXPECT_EQ(std::count(text.begin(), text.end(), '\n') > 3, true);
            }
        }
    }
}

TEST(SampleTables, TheHeadLineNamesHostAndInterval) {
    zel::Sample sample = sampleOf({Area::Identity});
    sample.identity.hostName = std::string("web1");
    sample.identity.uptimeSeconds = 7200.0;
    zel::Rates rates;
    rates.seconds = 1;
    std::string out;
    zel::writeTables(sample, &rates, {}, {}, out);
    EXPECT_THAT(out, HasSubstr("  web1  up 2 h 0 min  rates over 1.00 s\n"));
}

TEST(SampleTables, EveryWidthIsKept) {
    zel::Sample sample = sampleOf({Area::Interrupts, Area::Pressure, Area::Load, Area::Identity});
    sample.identity.hostName = std::string(200, 'h');
    sample.load = {0.5, 0.25, 0.125, 1, 100, 4711};
    zel::Pressure &row = sample.pressure.append();
    row.resource = "memory";
    row.someAverage10 = row.someAverage60 = row.someAverage300 = row.fullAverage10 = 0.5;
    zel::InterruptLine &line = sample.interrupts.append();
    line.interrupt = "24";
    line.description = std::string(300, 'd');
    line.count = 12345678;
    for (std::size_t width = 40; width <= 200; width += 7) {
        const std::string text = textOf(sample, {}, {.charset = zel::Charset::Utf8, .width = width});
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t end = text.find('\n', at);
            EXPECT_LE(zel::displayWidth(std::string_view(text).substr(at, end - at)), width);
            at = end + 1;
        }
    }
}

} // namespace

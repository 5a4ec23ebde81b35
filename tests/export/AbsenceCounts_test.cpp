// How many readings hold nothing, and why.
#include "export/AbsenceCounts.h"

#include <gtest/gtest.h>

namespace {

using zel::Absence;
using zel::Area;

std::uint64_t countOf(const zel::Sample &sample, Area area, Absence reason) {
    return zel::countAbsences(sample)[static_cast<std::size_t>(area)][static_cast<std::size_t>(reason)];
}

TEST(AbsenceCounts, EveryReadingCountsByItsReason) {
    zel::Sample sample;
    sample.area(Area::Load).asked = true;
    EXPECT_EQ(countOf(sample, Area::Load, Absence::Unsupported), zel::fieldsOf<zel::Load>().size());
    sample.load.load1 = 0.5;
    sample.load.load5 = Absence::Denied;
    EXPECT_EQ(countOf(sample, Area::Load, Absence::Unsupported), zel::fieldsOf<zel::Load>().size() - 2);
    EXPECT_EQ(countOf(sample, Area::Load, Absence::Denied), 1U);
}

TEST(AbsenceCounts, RowsCountEach) {
    zel::Sample sample;
    sample.area(Area::Interrupts).asked = true;
    const std::uint64_t before = countOf(sample, Area::Interrupts, Absence::TimedOut);
    for (int row = 0; row < 3; ++row)
        sample.interrupts.append().count = Absence::TimedOut;
    EXPECT_EQ(countOf(sample, Area::Interrupts, Absence::TimedOut) - before, 3U);
}

TEST(AbsenceCounts, AnAreaThatIsLostCountsThoughItHasNoRows) {
    zel::Sample sample;
    sample.area(Area::Pressure).asked = true;
    EXPECT_EQ(countOf(sample, Area::Pressure, Absence::Unsupported), 0U);
    sample.area(Area::Pressure).absence = Absence::Unsupported;
    EXPECT_EQ(countOf(sample, Area::Pressure, Absence::Unsupported), 1U);
}

TEST(AbsenceCounts, WhatWasNotAskedForCountsNothing) {
    zel::Sample sample;
    sample.area(Area::Load).absence = Absence::Denied;
    for (const auto &reasons : zel::countAbsences(sample))
        for (const std::uint64_t count : reasons)
            EXPECT_EQ(count, 0U);
}

} // namespace

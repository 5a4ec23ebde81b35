// What JSON says of the areas themselves: when they were read, what that cost, what failed, and what does not answer.
#include "export/Json.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::Not;
using zel::Area;
using zel::Sample;

std::string jsonOf(const Sample &sample) {
    std::string out;
    zel::writeJson(sample, {}, out);
    return out;
}

Sample sampleOf(Area area) {
    Sample sample;
    sample.realtimeNanoseconds = 1000000000000; // 1000 s
    sample.elapsedSeconds = 0.5;
    sample.area(area).asked = true;
    sample.area(area).monotonicNanoseconds = 2500000000;
    sample.area(area).costSeconds = 0.25;
    return sample;
}

TEST(JsonAreas, AnAreaThatWasReadSaysWhenAndWhatItCost) {
    EXPECT_THAT(jsonOf(sampleOf(Area::Load)),
                HasSubstr(R"("areas":{"load":{"monotonic_seconds":2.500000000,"cost_seconds":0.25}})"));
}

// Silent for 12.5 s when the sample was complete, at 1000.5 s.
TEST(JsonAreas, WhatDoesNotAnswerIsToldWithSinceWhen) {
    Sample sample = sampleOf(Area::Filesystems);
    sample.area(Area::Filesystems).silentSeconds = 12.5;
    sample.area(Area::Filesystems).error = ETIMEDOUT;
    sample.area(Area::Filesystems).file = "/mnt/dead";
    EXPECT_THAT(jsonOf(sample),
                HasSubstr(R"("silent_seconds":12.5,"silent_since":"1970-01-01T00:16:28.000000000Z",)"
                          R"("error":{"file":"/mnt/dead","errno":110,"text":"Connection timed out"}})"));
}

TEST(JsonAreas, AnAreaThatIsTimedOutNamesItsReason) {
    Sample sample = sampleOf(Area::Cpu);
    sample.area(Area::Cpu).silentSeconds = 1;
    sample.area(Area::Cpu).absence = zel::Absence::TimedOut;
    EXPECT_THAT(jsonOf(sample), HasSubstr(R"("absent":"timed_out"})"));
}

TEST(JsonAreas, AreasThatWereNotAskedAreLeftOut) {
    EXPECT_THAT(jsonOf(sampleOf(Area::Load)), Not(HasSubstr("\"vm\"")));
}

} // namespace

// The example agent's numbers: they rise across restarts, kills and clock steps, and never repeat within a series.
#include "../../examples/agent/Numbering.h"

#include "AgentHome.h"
#include "FrozenClock.h"
#include "StreamCapture.h"

#include <gtest/gtest.h>

namespace {

using agent::Numbering;

class AgentNumbering : public testing::Test {
protected:
    AgentHome home;
};

TEST_F(AgentNumbering, StartsAtOneInANewHome) {
    Numbering numbering("web1");
    EXPECT_EQ(numbering.next(), 1U);
    EXPECT_EQ(numbering.next(), 2U);
    EXPECT_EQ(numbering.series().size(), 16U);
}

TEST_F(AgentNumbering, ContinuesWithoutAGapAfterACleanEnd) {
    std::string series;
    {
        Numbering numbering("web1");
        series = numbering.series();
        numbering.next();
        numbering.next();
    }
    Numbering numbering("web1");
    EXPECT_EQ(numbering.series(), series);
    EXPECT_EQ(numbering.next(), 3U);
}

TEST_F(AgentNumbering, ContinuesWhenTheClockWasSetBack) {
    FrozenClock clock(1700000000);
    { Numbering("web1").next(); }
    clock.set(1700000000 - 86400);
    EXPECT_EQ(Numbering("web1").next(), 2U);
}

// What a kill leaves is the file as it is while the agent runs.
TEST_F(AgentNumbering, NeverRepeatsANumberAfterAKill) {
    std::string file;
    unsigned long long last = 0;
    {
        Numbering numbering("web1");
        for (int i = 0; i < 25000; ++i) {
            last = numbering.next();
            if (i % 1000 == 0) {
                file = home.home.read("agent/buffer/numbering");
                EXPECT_GE(std::stoull(file.substr(file.rfind(numbering.series()) + 16)), last);
            }
        }
        file = home.home.read("agent/buffer/numbering");
    }
    home.home.write("agent/buffer/numbering", file);
    EXPECT_GT(Numbering("web1").next(), last);
}

TEST_F(AgentNumbering, CopiedHomeBeginsANewSeries) {
    std::string series;
    {
        Numbering numbering("web1");
        series = numbering.series();
        numbering.next();
    }
    const StreamCapture streams;
    Numbering numbering("web2");
    EXPECT_NE(numbering.series(), series);
    EXPECT_EQ(numbering.next(), 1U);
}

TEST_F(AgentNumbering, FileOfAnythingElseBeginsANewSeries) {
    for (const char *content : {"garbage", "web1 ../../x 5\n", "web1 abc\n", "\n\n\n"}) {
        home.home.write("agent/buffer/numbering", content);
        const StreamCapture streams;
        Numbering numbering("web1");
        EXPECT_EQ(numbering.next(), 1U) << content;
        EXPECT_EQ(numbering.series().size(), 16U) << content;
    }
}

TEST_F(AgentNumbering, SecondAgentInTheSameHomeIsRefused) {
    {
        const Numbering first("web1");
        EXPECT_FALSE(first.isTaken());
        EXPECT_TRUE(Numbering("web1").isTaken());
    }
    EXPECT_FALSE(Numbering("web1").isTaken());
}

TEST_F(AgentNumbering, NumbersAreGivenWithoutABuffer) {
    std::filesystem::remove_all("../buffer");
    const StreamCapture streams;
    Numbering numbering("web1");
    EXPECT_FALSE(numbering.isTaken());
    EXPECT_EQ(numbering.next(), 1U);
}

} // namespace

// Which processes use most.
#include "export/ProcessChoice.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using Chosen = std::vector<std::uint32_t>;

struct Uses {
    double cpu, memory, io;
};

zel::Sample sampleOf(std::initializer_list<Uses> all) {
    zel::Sample sample;
    for (const Uses &uses : all) {
        zel::Process &process = sample.processes.append();
        process.pid = sample.processes.size();
        process.userSeconds = uses.cpu / 2;
        process.systemSeconds = uses.cpu / 2;
        process.residentBytes = static_cast<std::uint64_t>(uses.memory);
        process.readBytes = static_cast<std::uint64_t>(uses.io);
    }
    return sample;
}

Chosen choose(const zel::Sample &sample, std::size_t most, const zel::Rates *rates = nullptr) {
    zel::ProcessChoice choice;
    const auto chosen = choice.choose(sample, rates, most);
    return {chosen.begin(), chosen.end()};
}

TEST(ProcessChoice, TakesTheMostOfEachAndEveryOneOnce) {
    const zel::Sample sample = sampleOf({{1, 1, 9}, {9, 1, 1}, {1, 9, 1}, {2, 2, 2}, {8, 8, 8}});
    EXPECT_EQ(choose(sample, 1), (Chosen{0, 1, 2}));
    EXPECT_EQ(choose(sample, 2), (Chosen{0, 1, 2, 4}));
    EXPECT_EQ(choose(sample, 100), (Chosen{0, 1, 2, 3, 4}));
    EXPECT_EQ(choose(sample, 0), Chosen{});
}

TEST(ProcessChoice, WhoUsesNothingIsNotChosen) {
    EXPECT_EQ(choose(sampleOf({{0, 0, 0}, {0, 0, 1}}), 10), Chosen{1});
    EXPECT_EQ(choose(zel::Sample(), 10), Chosen{});
}

TEST(ProcessChoice, AbsentValuesCountForNothing) {
    zel::Sample sample = sampleOf({{1, 0, 0}, {5, 0, 7}});
    sample.processes[1].readBytes = zel::Absence::Denied;
    sample.processes[1].userSeconds = zel::Absence::Malformed;
    sample.processes[1].systemSeconds = zel::Absence::Malformed;
    EXPECT_EQ(choose(sample, 10), Chosen{0});
}

TEST(ProcessChoice, OfEqualsTheOlderOnesAreChosen) {
    EXPECT_EQ(choose(sampleOf({{1, 0, 0}, {1, 0, 0}, {1, 0, 0}}), 2), (Chosen{0, 1}));
}

TEST(ProcessChoice, RatesRankWhatGrows) {
    const zel::Sample sample = sampleOf({{100, 5, 100}, {1, 1, 1}, {1, 1, 1}});
    zel::Rates rates;
    for (int row = 0; row < 3; ++row)
        rates.processes.append();
    rates.processes[0].cpu = 0.0;
    rates.processes[1].cpu = 0.5;
    rates.processes[2].writtenBytes = 1.0;
    EXPECT_EQ(choose(sample, 1, &rates), (Chosen{0, 1, 2})); // the first one for its memory
    EXPECT_EQ(choose(sample, 1), Chosen{0});
}

TEST(ProcessChoice, RatesOfFewerProcessesAreUsedAsFarAsTheyGo) {
    const zel::Sample sample = sampleOf({{1, 0, 0}, {1, 0, 0}});
    zel::Rates rates;
    rates.processes.append().cpu = 1.0;
    EXPECT_EQ(choose(sample, 5, &rates), Chosen{0});
}

} // namespace

// What holds for all known names: written of a sample in which every field of every section has a value.
#include "FullSample.h"
#include "tests/support/KnownText.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <set>

namespace {

template<class Row>
void addRows(zel::Rows<Row> &rows, std::string Row::*label, std::initializer_list<const char *> names) {
    const Row row = rows[0];
    rows.clear();
    for (const char *name : names) {
        Row &added = rows.append();
        added = row;
        added.*label = name;
    }
}

zel::Sample wholeSample() {
    zel::Sample sample = FullSample::make();
    addRows(sample.pressure, &zel::Pressure::resource, {"cpu", "io", "memory", "irq"});
    addRows(sample.ip, &zel::Ip::protocol, {"ip", "ip6"});
    addRows(sample.icmp, &zel::Icmp::protocol, {"icmp", "icmp6"});
    addRows(sample.udp, &zel::Udp::protocol, {"udp", "udp6", "udplite", "udplite6"});
    addRows(sample.neighbours, &zel::Neighbours::protocol, {"arp", "ndisc"});
    sample.filesystems[0].stuck = std::uint64_t{0};
    return sample;
}

struct Written {
    std::vector<std::string> names;          // of families, as often as they have a header
    std::map<std::string, std::string> type; // by name
    std::vector<std::string> helps;
    std::map<std::string, std::size_t> series;
};

Written writeAll() {
    const zel::Sample sample = wholeSample();
    Written written;
    for (const zel::KnownMetrics *metrics : zel::knownMetrics()) {
        const KnownText text(*metrics, sample);
        for (const std::string &line : text.lines()) {
            std::istringstream words(line);
            std::string mark, keyword, name, rest;
            words >> mark >> keyword >> name;
            std::getline(words, rest);
            if (mark != "#")
                ++written.series[mark.substr(0, mark.find('{'))];
            else if (keyword == "HELP")
                written.helps.push_back(rest);
            else
                written.type[written.names.emplace_back(name)] = rest.substr(1);
        }
    }
    return written;
}

TEST(Known, EveryFamilyHasOneNameAndSeries) {
    const Written written = writeAll();
    EXPECT_GT(written.names.size(), 300U);
    const std::set<std::string> once(written.names.begin(), written.names.end());
    EXPECT_EQ(once.size(), written.names.size());
    for (const std::string &name : once)
        EXPECT_GT(written.series.count(name), 0U) << name;
}

TEST(Known, NamesAreOfTheHostExporter) {
    for (const std::string &name : writeAll().names) {
        EXPECT_TRUE(name.starts_with("node_")) << name;
        EXPECT_EQ(name.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_"), name.npos)
            << name;
    }
}

// The other way round does not hold: of some totals nobody says whether they only grow.
TEST(Known, CountersEndInTotal) {
    for (const auto &[name, type] : writeAll().type) {
        EXPECT_TRUE(type != "counter" || name.ends_with("_total")) << name;
    }
}

TEST(Known, HelpIsASentence) {
    for (const std::string &help : writeAll().helps)
        EXPECT_TRUE(help.ends_with('.')) << help;
}

TEST(Known, AreaOfEveryFileIsOneOfSamples) {
    for (const zel::KnownMetrics *metrics : zel::knownMetrics())
        EXPECT_LT(static_cast<std::size_t>(metrics->area), zel::AREA_COUNT);
}

TEST(Known, EmptySampleHasNoSeries) {
    for (const zel::KnownMetrics *metrics : zel::knownMetrics())
        EXPECT_EQ(KnownText(*metrics, {}).lines(), Lines{}) << zel::areaName(metrics->area);
}

} // namespace

// Which sections are written as families of our own.
#include "export/MetricSections.h"

#include "export/known/Known.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <string>

namespace {

using zel::MetricSections;

const zel::AnySection<zel::Sample> *sectionNamed(std::string_view name) {
    const auto found = std::ranges::find(zel::sections(), name, &zel::AnySection<zel::Sample>::name);
    return found == zel::sections().end() ? nullptr : &*found;
}

TEST(MetricSections, EveryDefaultNamesWhatTheSchemaHas) {
    std::set<std::string> named;
    for (const zel::DefaultSection &entry : zel::defaultSections()) {
        EXPECT_TRUE(named.insert(std::string(entry.section)).second) << entry.section;
        const zel::AnySection<zel::Sample> *const section = sectionNamed(entry.section);
        ASSERT_NE(section, nullptr) << entry.section;
        for (const std::string_view name : entry.fields) {
            EXPECT_TRUE(std::ranges::any_of(
                section->fields.families,
                [name](const zel::Family *family) { return family->name == name && family->kind != zel::Kind::Label; }))
                << entry.section << " " << name;
        }
    }
}

// What has a known name is not written again: an entry of such fields alone would promise what nobody gets.
TEST(MetricSections, EveryDefaultIsWritten) {
    zel::KnownFields known;
    for (const zel::KnownMetrics *metrics : zel::knownMetrics())
        metrics->listFields(known);
    const MetricSections defaults = MetricSections::defaults();
    for (const zel::DefaultSection &entry : zel::defaultSections()) {
        const zel::AnySection<zel::Sample> *const section = sectionNamed(entry.section);
        ASSERT_NE(section, nullptr) << entry.section;
        EXPECT_TRUE(std::ranges::any_of(section->fields.families, [&](const zel::Family *family) {
            return family->kind != zel::Kind::Label && !known.has(*family) && defaults.has(section->name, family->name);
        })) << section->name;
    }
}

TEST(MetricSections, DefaultsAreAChoiceOfFields) {
    const MetricSections sections = MetricSections::defaults();
    EXPECT_TRUE(sections.has("cgroups", "memory_current_bytes"));
    EXPECT_FALSE(sections.has("cgroups", "slab_reclaimable_bytes"));
    EXPECT_TRUE(sections.has("tcp_states", "established"));
    EXPECT_FALSE(sections.has("vm", "nr_free_pages"));
    EXPECT_FALSE(sections.has("nothing", "at_all"));
}

TEST(MetricSections, ANamedSectionIsWhole) {
    MetricSections sections;
    EXPECT_FALSE(sections.has("vm", "nr_free_pages"));
    EXPECT_TRUE(sections.add("vm"));
    EXPECT_TRUE(sections.has("vm", "nr_free_pages"));
    EXPECT_FALSE(sections.has("cgroups", "memory_current_bytes"));
    EXPECT_TRUE(sections.add("default"));
    EXPECT_TRUE(sections.has("cgroups", "memory_current_bytes"));
    EXPECT_TRUE(sections.has("vm", "nr_free_pages"));
    EXPECT_TRUE(sections.add("all"));
    EXPECT_TRUE(sections.has("cgroups", "slab_reclaimable_bytes"));
}

TEST(MetricSections, OtherWordsNameNothing) {
    MetricSections sections;
    EXPECT_FALSE(sections.add("disk"));
    EXPECT_FALSE(sections.add(""));
    EXPECT_FALSE(sections.add("Default"));
}

} // namespace

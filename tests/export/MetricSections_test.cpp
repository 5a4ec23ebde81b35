// Which sections are written as families of our own.
#include "export/MetricSections.h"

#include "export/known/Known.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <string>

namespace {

using zel::MetricSections;

TEST(MetricSections, EveryDefaultNamesWhatTheSchemaHas) {
    std::set<std::string> named;
    for (const zel::DefaultSection &entry : zel::defaultSections()) {
        EXPECT_TRUE(named.insert(std::string(entry.section)).second) << entry.section;
        bool found = false;
        zel::forEachSection([&]<class Row>(const zel::Section<Row> &section) {
            if (section.name != entry.section)
                return;
            found = true;
            for (const std::string_view name : entry.fields) {
                const auto fields = zel::fieldsOf<Row>();
                EXPECT_TRUE(std::any_of(fields.begin(), fields.end(),
                                        [name](const zel::Field<Row> &field) {
                                            return field.family.name == name && field.family.kind != zel::Kind::Label;
                                        }))
                    << section.name << " " << name;
            }
        });
        EXPECT_TRUE(found) << entry.section;
    }
}

// What has a known name is not written again: an entry of such fields alone would promise what nobody gets.
TEST(MetricSections, EveryDefaultIsWritten) {
    zel::KnownFields known;
    for (const zel::KnownMetrics *metrics : zel::knownMetrics())
        metrics->listFields(known);
    const MetricSections defaults = MetricSections::defaults();
    for (const zel::DefaultSection &entry : zel::defaultSections()) {
        zel::forEachSection([&]<class Row>(const zel::Section<Row> &section) {
            if (section.name != entry.section)
                return;
            const auto fields = zel::fieldsOf<Row>();
            EXPECT_TRUE(std::any_of(fields.begin(), fields.end(), [&](const zel::Field<Row> &field) {
                return field.family.kind != zel::Kind::Label && !known.has(field.family) &&
                       defaults.has(section.name, field.family.name);
            })) << section.name;
        });
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

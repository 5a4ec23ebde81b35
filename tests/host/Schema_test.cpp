// The schema holds every field of every struct, under names that follow the rules, and docs/host.md lists it.
#include "Paths.h"
#include "host/Hardware.h"
#include "host/Rates.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <vector>

namespace {

using zel::Field;
using zel::Kind;
using zel::Unit;

// Where the member of an entry is in its struct.
struct Place {
    std::size_t start, size;
    bool isLabel, canBeAbsent;
};

template<class Row> std::vector<Place> placesOf() {
    constexpr std::size_t readings = 3; // the types of members that can be without a value come first
    const Row row{};
    const auto *const start = reinterpret_cast<const char *>(&row);
    std::vector<Place> places;
    for (const Field<Row> &field : zel::fieldsOf<Row>()) {
        places.push_back(zel::withMember<Row>(field.member, [&](auto member) {
            const auto *const at = reinterpret_cast<const char *>(&(row.*member));
            return Place{static_cast<std::size_t>(at - start), sizeof(row.*member), field.family.kind == Kind::Label,
                         field.member.index() < readings};
        }));
    }
    return places;
}

// What is wrong with the entries of a struct of this size; nothing when all is right. Members of these types stand side
// by side: one without an entry, with two or in another place leaves a gap.
std::string faultOf(std::size_t size, const std::vector<Place> &places) {
    std::size_t end = 0, labels = 0;
    for (const Place &place : places) {
        const std::string entry = "entry " + std::to_string(&place - places.data());
        if (place.start != end)
            return entry + " is not of the next member";
        if (place.isLabel && place.canBeAbsent)
            return entry + " is a label that can be without a value";
        end += place.size;
        labels += place.isLabel ? 1 : 0;
    }
    if (end != size)
        return "a member has no entry";
    return labels > zel::Labels::LIMIT ? "too many labels" : "";
}

template<class Row> void expectEntries(std::string_view section) {
    EXPECT_EQ(faultOf(sizeof(Row), placesOf<Row>()), "") << section;
}

template<const auto &All> void expectEntriesOfAll() {
    std::apply([]<class... Each>(const Each &...each) { (expectEntries<typename Each::RowType>(each.name), ...); },
               All);
}

TEST(Schema, EveryMemberHasOneEntryInItsOrder) {
    expectEntriesOfAll<zel::SECTIONS>();
    expectEntriesOfAll<zel::RATE_SECTIONS>();
    expectEntriesOfAll<zel::HARDWARE_SECTIONS>();
}

TEST(Schema, RuleFindsEntriesThatAreMissingTwiceOrElsewhere) {
    const Place first{0, 16, false, true}, second{16, 32, true, false}, third{48, 8, false, false};
    EXPECT_EQ(faultOf(56, {first, second, third}), "");
    EXPECT_NE(faultOf(56, {first, second}), "");
    EXPECT_NE(faultOf(56, {first, third}), "");
    EXPECT_NE(faultOf(56, {second, third}), "");
    EXPECT_NE(faultOf(56, {first, third, second}), "");
    EXPECT_NE(faultOf(56, {first, first, second, third}), "");
    EXPECT_NE(faultOf(56, {{0, 16, true, true}, second, third}), "");
    EXPECT_NE(faultOf(56, {}), "");
    EXPECT_EQ(faultOf(40, {{0, 8, true, false},
                           {8, 8, true, false},
                           {16, 8, true, false},
                           {24, 8, true, false},
                           {32, 8, false, false}}),
              "");
    EXPECT_NE(faultOf(40, {{0, 8, true, false},
                           {8, 8, true, false},
                           {16, 8, true, false},
                           {24, 8, true, false},
                           {32, 8, true, false}}),
              "");
}

// A section of samples, of rates or of the inventory.
struct Entries {
    zel::Area area;
    std::string_view name;
    bool isList;
    std::vector<const zel::Family *> families;
};

std::vector<Entries> everySection() {
    std::vector<Entries> all;
    const auto add = [&all](const auto &section) {
        all.push_back({section.area, section.name, section.isList, section.fields.families});
    };
    std::ranges::for_each(zel::sections(), add);
    std::ranges::for_each(zel::rateSections(), add);
    std::ranges::for_each(zel::hardwareSections(), add);
    return all;
}

template<class Use> void forEveryFamily(Use &&use) {
    for (const Entries &section : everySection()) {
        for (const zel::Family *family : section.families)
            use(section, *family, std::string(section.name) + "." + std::string(family->name));
    }
}

TEST(Schema, SectionsWithoutTypesAreThoseWithTypes) {
    std::vector<std::string_view> names;
    const auto add = [&names](const auto &...section) { (names.push_back(section.name), ...); };
    std::apply(add, zel::SECTIONS);
    std::apply(add, zel::RATE_SECTIONS);
    std::apply(add, zel::HARDWARE_SECTIONS);
    std::vector<std::string_view> found;
    for (const Entries &section : everySection())
        found.push_back(section.name);
    EXPECT_EQ(found, names);
}

TEST(Schema, EntriesKnowTheirAreaAndSection) {
    forEveryFamily([](const Entries &section, const zel::Family &family, const std::string &name) {
        EXPECT_EQ(family.area, section.area) << name;
        EXPECT_EQ(family.section, section.name) << name;
    });
}

TEST(Schema, RowsOfListsHaveLabels) {
    for (const Entries &section : everySection()) {
        const bool hasLabels = std::ranges::any_of(
            section.families, [](const zel::Family *family) { return family->kind == Kind::Label; });
        EXPECT_EQ(hasLabels, section.isList) << section.name;
    }
}

// Which ending a unit has, and no other has.
const std::map<Unit, std::string> endings{{Unit::Seconds, "_seconds"},
                                          {Unit::Bytes, "_bytes"},
                                          {Unit::Ratio, "_ratio"},
                                          {Unit::Hertz, "_hertz"},
                                          {Unit::Celsius, "_celsius"},
                                          {Unit::Volts, "_volts"},
                                          {Unit::Amperes, "_amperes"},
                                          {Unit::Watts, "_watts"},
                                          {Unit::Joules, "_joules"},
                                          {Unit::Coulombs, "_coulombs"},
                                          {Unit::RevolutionsPerMinute, "_rpm"}};

std::string withoutEnding(std::string name, const std::string &ending) {
    if (name.ends_with(ending))
        name.resize(name.size() - ending.size());
    return name;
}

// What is wrong with a name; nothing when all is right.
std::string faultOf(const zel::Family &family) {
    const std::string name(family.name);
    if (!std::regex_match(name, std::regex("[a-z][a-z0-9]*(_[a-z0-9]+)*")))
        return "is not in snake case";
    if ((family.kind == Kind::Counter) != name.ends_with("_total"))
        return "ends in _total where it is no counter, or does not where it is one";
    if (family.kind == Kind::Label)
        return "";
    const std::string stem = withoutEnding(withoutEnding(name, "_total"), "_per_second");
    for (const auto &[unit, ending] : endings) {
        if (stem.ends_with(ending) != (unit == family.unit))
            return "has the ending of another unit than its own";
    }
    return "";
}

TEST(Schema, NamesFollowTheRules) {
    for (const Entries &section : everySection())
        EXPECT_TRUE(std::regex_match(std::string(section.name), std::regex("[a-z]+(_[a-z]+)*"))) << section.name;
    std::set<std::string> seen;
    forEveryFamily([&seen](const Entries &, const zel::Family &family, const std::string &name) {
        EXPECT_EQ(faultOf(family), "") << name;
        const bool label = family.kind == Kind::Label; // rates have those of their samples
        EXPECT_TRUE(seen.insert(name).second || label) << name << " is there twice";
    });
}

TEST(Schema, RuleFindsWrongNames) {
    const auto fault = [](std::string_view name, Unit unit, Kind kind) {
        return faultOf({zel::Area::Cpu, "cpu", name, unit, kind, "/proc/stat", "Help."});
    };
    EXPECT_EQ(fault("read_bytes_total", Unit::Bytes, Kind::Counter), "");
    EXPECT_NE(fault("read_bytes", Unit::Bytes, Kind::Counter), "");
    EXPECT_NE(fault("read_total", Unit::Bytes, Kind::Counter), "");
    EXPECT_NE(fault("read_total", Unit::None, Kind::Gauge), "");
    EXPECT_NE(fault("readBytes", Unit::Bytes, Kind::Gauge), "");
    EXPECT_NE(fault("wait_seconds", Unit::None, Kind::Gauge), "");
    EXPECT_NE(fault("wait", Unit::Seconds, Kind::Gauge), "");
    EXPECT_NE(fault("wait__seconds", Unit::Seconds, Kind::Gauge), "");
}

TEST(Schema, EveryEntryHasHelpASourceAndAWidth) {
    forEveryFamily([](const Entries &, const zel::Family &family, const std::string &name) {
        EXPECT_TRUE(family.help.ends_with(".")) << name;
        EXPECT_GT(family.help.size(), 4U) << name;
        EXPECT_FALSE(family.source.empty()) << name;
        EXPECT_TRUE(family.counterBits == 32 || family.counterBits == 64) << name;
    });
}

// docs/host.md, docs/hardware.md

std::string rowOf(const zel::Family &family) {
    std::ostringstream row;
    row << "| `" << family.name << "` | " << zel::kindName(family.kind);
    if (family.kind == Kind::Counter && family.counterBits == 32)
        row << ", 32 bits";
    row << " | " << zel::unitName(family.unit) << " | `" << family.source << "` | " << zel::rightsName(family.rights)
        << " | " << family.help << " |\n";
    return row.str();
}

std::string tableOf(const std::vector<const zel::Family *> &families) {
    std::string table = "| field | kind | unit | source | rights | |\n|---|---|---|---|---|---|\n";
    for (const zel::Family *family : families)
        table += rowOf(*family);
    return table;
}

std::string fileText(const std::string &path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// Replaces what is between the two marks; false when one of them is missing.
bool replaceBetween(std::string &text, const std::string &mark, const std::string &table) {
    const std::string opening = "<!-- " + mark + " -->\n", closing = "<!-- end -->";
    const std::size_t start = text.find(opening);
    const std::size_t end = start == std::string::npos ? start : text.find(closing, start);
    if (end == std::string::npos)
        return false;
    text.replace(start + opening.size(), end - start - opening.size(), table);
    return true;
}

// The first line in which the texts differ; none when they are the same.
std::string firstDifference(const std::string &expected, const std::string &found) {
    std::istringstream expectedLines(expected), foundLines(found);
    std::string expectedLine, foundLine;
    while (expected != found) {
        const bool more = static_cast<bool>(std::getline(expectedLines, expectedLine));
        if (!std::getline(foundLines, foundLine) || !more || expectedLine != foundLine)
            return "expected: " + expectedLine + "\nfound: " + foundLine;
    }
    return "";
}

// Calls replace(text) with the text of a document, which has to be what that makes of it. With ZEL_UPDATE_DOCS=1 it is
// written anew.
void expectDocument(const std::string &name, const std::function<void(std::string &)> &replace) {
    const std::string path = std::string(paths::sourceRoot) + "/docs/" + name;
    const std::string before = fileText(path);
    std::string after = before;
    replace(after);
    if (std::getenv("ZEL_UPDATE_DOCS") != nullptr)
        std::ofstream(path) << after;
    else
        EXPECT_EQ(firstDifference(after, before), "") << "ZEL_UPDATE_DOCS=1 writes the tables of " << name << " anew";
}

// Replaces the tables of sections, each between its marks.
template<class List> void replaceTables(std::string &text, const std::string &mark, const List &list) {
    for (const auto &section : list) {
        const std::string table = tableOf(section.fields.families);
        EXPECT_TRUE(replaceBetween(text, mark + std::string(section.name), table)) << section.name;
    }
}

TEST(Schema, DocumentListsEveryField) {
    expectDocument("host.md", [](std::string &text) {
        replaceTables(text, "fields ", zel::sections());
        replaceTables(text, "rates ", zel::rateSections());
    });
}

TEST(Schema, DocumentOfTheInventoryListsEveryField) {
    expectDocument("hardware.md", [](std::string &text) { replaceTables(text, "fields ", zel::hardwareSections()); });
}

TEST(Schema, AreasHaveNamesAndSections) {
    std::set<std::string_view> names;
    for (std::size_t area = 0; area < zel::AREA_COUNT; ++area)
        EXPECT_TRUE(names.insert(zel::areaName(static_cast<zel::Area>(area))).second);
    std::set<zel::Area> areas;
    for (const auto &section : zel::sections())
        areas.insert(section.area);
    EXPECT_EQ(areas.size(), zel::AREA_COUNT);
}

} // namespace

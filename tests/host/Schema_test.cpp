// The schema holds every field of every struct, under names that follow the rules, and docs/host.md lists it.
#include "MemberCount.h"
#include "Paths.h"
#include "host/Hardware.h"
#include "host/Rates.h"

#include <cstdlib>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace {

using zel::Field;
using zel::Kind;
using zel::Unit;

struct Three {
    zel::Count one;
    std::string two;
    std::uint64_t three = 0;
};
static_assert(members::countOf<Three>() == 3);
static_assert(members::countOf<zel::Load>() == 6);

// Calls use(section) for the sections of samples, of rates and of the inventory.
template<class Use> void forEverySection(Use &&use) {
    zel::forEachSection(use);
    std::apply([&use](const auto &...section) { (use(section), ...); }, zel::RATE_SECTIONS);
    zel::forEachHardwareSection([&use]<class Row>(const zel::HardwareSection<Row> &section) {
        use(static_cast<const zel::Section<Row, zel::Hardware> &>(section));
    });
}

template<class Row> const void *addressOf(const Field<Row> &field, const Row &row) {
    return std::visit([&row](auto place) { return static_cast<const void *>(&(row.*place)); }, field.member);
}

TEST(Schema, EveryMemberHasOneEntryInItsOrder) {
    forEverySection([]<class Row, class Whole>(const zel::Section<Row, Whole> &section) {
        const Row row{};
        const std::span<const Field<Row>> fields = zel::fieldsOf<Row>();
        EXPECT_EQ(fields.size(), members::countOf<Row>()) << section.name;
        const void *before = nullptr;
        for (const Field<Row> &field : fields) {
            EXPECT_LT(before, addressOf(field, row)) << section.name << " " << field.family.name;
            before = addressOf(field, row);
        }
    });
}

TEST(Schema, EntriesKnowTheirAreaAndSection) {
    forEverySection([]<class Row, class Whole>(const zel::Section<Row, Whole> &section) {
        for (const Field<Row> &field : zel::fieldsOf<Row>()) {
            EXPECT_EQ(field.family.area, section.area) << section.name << " " << field.family.name;
            EXPECT_EQ(field.family.section, section.name) << field.family.name;
        }
    });
}

TEST(Schema, RowsOfListsHaveLabelsThatNoReasonReplaces) {
    forEverySection([]<class Row, class Whole>(const zel::Section<Row, Whole> &section) {
        const Row row{};
        std::size_t labels = 0;
        for (const Field<Row> &field : zel::fieldsOf<Row>()) {
            if (field.family.kind != Kind::Label)
                continue;
            ++labels;
            EXPECT_TRUE(field.of(row).has()) << section.name << " " << field.family.name;
        }
        EXPECT_LE(labels, zel::Labels::LIMIT) << section.name;
        EXPECT_EQ(labels > 0, section.many != nullptr) << section.name;
    });
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
    std::set<std::string> seen;
    forEverySection([&seen]<class Row, class Whole>(const zel::Section<Row, Whole> &section) {
        EXPECT_TRUE(std::regex_match(std::string(section.name), std::regex("[a-z]+(_[a-z]+)*"))) << section.name;
        for (const Field<Row> &field : zel::fieldsOf<Row>()) {
            const std::string name = std::string(section.name) + "." + std::string(field.family.name);
            EXPECT_EQ(faultOf(field.family), "") << name;
            const bool label = field.family.kind == Kind::Label; // rates have those of their samples
            EXPECT_TRUE(seen.insert(name).second || label) << name << " is there twice";
        }
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
    forEverySection([]<class Row, class Whole>(const zel::Section<Row, Whole> &section) {
        for (const Field<Row> &field : zel::fieldsOf<Row>()) {
            const zel::Family &family = field.family;
            const std::string name = std::string(section.name) + "." + std::string(family.name);
            EXPECT_TRUE(family.help.ends_with(".")) << name;
            EXPECT_GT(family.help.size(), 4U) << name;
            EXPECT_FALSE(family.source.empty()) << name;
            EXPECT_TRUE(family.counterBits == 32 || family.counterBits == 64) << name;
        }
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

template<class Row, class Whole> std::string tableOf(const zel::Section<Row, Whole> &) {
    std::string table = "| field | kind | unit | source | rights | |\n|---|---|---|---|---|---|\n";
    for (const Field<Row> &field : zel::fieldsOf<Row>())
        table += rowOf(field.family);
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

TEST(Schema, DocumentListsEveryField) {
    expectDocument("host.md", [](std::string &text) {
        zel::forEachSection([&text](const auto &section) {
            EXPECT_TRUE(replaceBetween(text, "fields " + std::string(section.name), tableOf(section))) << section.name;
        });
        std::apply(
            [&text](const auto &...section) {
                const auto replace = [&text](const auto &each) {
                    EXPECT_TRUE(replaceBetween(text, "rates " + std::string(each.name), tableOf(each))) << each.name;
                };
                (replace(section), ...);
            },
            zel::RATE_SECTIONS);
    });
}

TEST(Schema, DocumentOfTheInventoryListsEveryField) {
    expectDocument("hardware.md", [](std::string &text) {
        zel::forEachHardwareSection([&text](const auto &section) {
            EXPECT_TRUE(replaceBetween(text, "fields " + std::string(section.name), tableOf(section))) << section.name;
        });
    });
}

TEST(Schema, AreasHaveNamesAndSections) {
    std::set<std::string_view> names;
    for (std::size_t area = 0; area < zel::AREA_COUNT; ++area)
        EXPECT_TRUE(names.insert(zel::areaName(static_cast<zel::Area>(area))).second);
    std::set<zel::Area> areas;
    zel::forEachSection([&areas](const auto &section) { areas.insert(section.area); });
    EXPECT_EQ(areas.size(), zel::AREA_COUNT);
}

} // namespace

// Entry points and structures of the firmware's tables, also those that no firmware should have.
#include "Mutation.h"
#include "SampledHost.h"
#include "SmbiosImage.h"
#include "host/hardware/SmbiosRows.h"

namespace {

using zel::Absence;
using zel::parseSmbiosEntry;
using zel::Reading;
using zel::SmbiosStructure;
using zel::SmbiosWalk;

Reading<std::string> textOf(const SmbiosStructure &structure, std::size_t at) {
    Reading<std::string> text;
    structure.text(at, text);
    return text;
}

// How many structures a walk gives, and whether it came to a proper end.
std::pair<std::size_t, bool> walked(std::string_view table, std::uint64_t length = zel::SMBIOS_TABLE_LIMIT) {
    SmbiosWalk walk(table, length);
    std::size_t count = 0;
    while (walk.next())
        ++count;
    return {count, walk.whole()};
}

// A structure of type 1 with this many bytes and one text.
std::string small(std::size_t length = 6) {
    return SmbiosFields(1, length, 7).byte(4, 1).with({"text"});
}

TEST(SmbiosEntry, HasLengthAndVersionInEachForm) {
    const auto longForm = parseSmbiosEntry(smbiosEntry64(70000));
    ASSERT_TRUE(longForm);
    EXPECT_EQ(longForm->tableLength, 70000U);
    EXPECT_EQ(longForm->major, 3U);
    EXPECT_EQ(longForm->minor, 3U);
    const auto shortForm = parseSmbiosEntry(smbiosEntry32(4000, 40));
    ASSERT_TRUE(shortForm);
    EXPECT_EQ(shortForm->tableLength, 4000U);
    EXPECT_EQ(shortForm->major, 2U);
    EXPECT_EQ(shortForm->minor, 8U);
    const auto innerForm = parseSmbiosEntry(smbiosEntry32(4000, 40).substr(16));
    ASSERT_TRUE(innerForm);
    EXPECT_EQ(innerForm->tableLength, 4000U);
    EXPECT_EQ(innerForm->major, 2U);
    EXPECT_EQ(innerForm->minor, 8U);
}

TEST(SmbiosEntry, IsNoneWhenItIsCutOrAByteIsWrong) {
    for (const std::string &entry : {smbiosEntry64(70000), smbiosEntry32(4000, 40), smbiosEntry32(9, 1).substr(16)}) {
        for (std::size_t length = 0; length < entry.size(); ++length)
            EXPECT_FALSE(parseSmbiosEntry(entry.substr(0, length))) << length;
        for (std::size_t at = 0; at < entry.size(); ++at) {
            std::string damaged = entry;
            damaged[at] = static_cast<char>(damaged[at] + 1);
            EXPECT_FALSE(parseSmbiosEntry(damaged)) << at;
        }
        EXPECT_TRUE(parseSmbiosEntry(entry + "what follows"));
    }
    EXPECT_FALSE(parseSmbiosEntry(""));
    EXPECT_FALSE(parseSmbiosEntry(std::string(64, '\0')));
}

TEST(SmbiosEntry, IsNoneWhenTheLengthOfItselfIsTooSmallOrTooLarge) {
    for (const int length : {0, 5, 23, 25, 255}) {
        std::string entry = smbiosEntry64(70000);
        entry[6] = static_cast<char>(length);
        setChecksum(entry, 5, 0, entry.size());
        EXPECT_FALSE(parseSmbiosEntry(entry)) << length;
    }
}

TEST(SmbiosWalk, GivesStructuresWithTheirTexts) {
    const std::string table =
        SmbiosFields(17, 12, 0x1122).byte(4, 2).byte(5, 3).byte(6, 1).word(8, 0x3344).with({" first ", "second"}) +
        small() + smbiosEnd();
    SmbiosWalk walk(table, table.size());
    const auto structure = walk.next();
    ASSERT_TRUE(structure);
    EXPECT_EQ(structure->type(), 17U);
    EXPECT_EQ(structure->handle(), 0x1122U);
    EXPECT_TRUE(holds(structure->word(8), 0x3344));
    EXPECT_TRUE(holds(structure->doubleWord(8), 0x3344));
    EXPECT_TRUE(lacks(structure->doubleWord(9), Absence::Unsupported)); // the last byte of it is beyond
    EXPECT_TRUE(lacks(structure->byte(12), Absence::Unsupported));
    EXPECT_TRUE(holds(textOf(*structure, 4), "second"));
    EXPECT_TRUE(holds(textOf(*structure, 6), "first"));              // without the blanks around it
    EXPECT_TRUE(lacks(textOf(*structure, 7), Absence::Unsupported)); // number 0
    EXPECT_TRUE(lacks(textOf(*structure, 50), Absence::Unsupported));
    ASSERT_TRUE(walk.next());
    EXPECT_FALSE(walk.next());
    EXPECT_TRUE(walk.whole());
    EXPECT_FALSE(walk.next());
}

TEST(SmbiosWalk, TextThatTheStructureHasNotIsMalformed) {
    const std::string none = SmbiosFields(1, 8, 1).byte(4, 1).byte(5, 255).with({});
    const std::string one = SmbiosFields(1, 8, 1).byte(4, 1).byte(5, 2).byte(6, 255).with({"only"});
    const std::string table = none + one;
    SmbiosWalk walk(table, table.size());
    const auto without = walk.next();
    ASSERT_TRUE(without);
    EXPECT_TRUE(lacks(textOf(*without, 4), Absence::Malformed));
    EXPECT_TRUE(lacks(textOf(*without, 5), Absence::Malformed));
    const auto with = walk.next();
    ASSERT_TRUE(with);
    EXPECT_TRUE(holds(textOf(*with, 4), "only"));
    EXPECT_TRUE(lacks(textOf(*with, 5), Absence::Malformed));
    EXPECT_TRUE(lacks(textOf(*with, 6), Absence::Malformed));
}

TEST(SmbiosWalk, EndsAtTheEndOfTheTableHoweverItEnds) {
    EXPECT_EQ(walked(""), std::pair(std::size_t{0}, true));
    EXPECT_EQ(walked(small() + small()), std::pair(std::size_t{2}, true)); // old tables have no last structure
    EXPECT_EQ(walked(small() + smbiosEnd() + small()), std::pair(std::size_t{1}, true));
    EXPECT_EQ(walked(small() + smbiosEnd().substr(0, 4)), std::pair(std::size_t{1}, true));
    EXPECT_EQ(walked(small() + smbiosEnd() + small(), small().size()), std::pair(std::size_t{1}, true));
}

TEST(SmbiosWalk, StopsAtALengthThatIsNone) {
    for (const int length : {0, 1, 2, 3}) {
        std::string broken = small();
        broken[1] = static_cast<char>(length);
        EXPECT_EQ(walked(small() + broken + small()), std::pair(std::size_t{1}, false)) << length;
    }
}

TEST(SmbiosWalk, StopsAtAStructureThatReachesBeyondTheTable) {
    std::string broken = small();
    broken[1] = '\xFF';
    EXPECT_EQ(walked(small() + broken), std::pair(std::size_t{1}, false));
    const std::string whole = small() + small();
    for (std::size_t length = small().size() + 1; length < whole.size(); ++length) {
        EXPECT_EQ(walked(whole.substr(0, length)), std::pair(std::size_t{1}, false)) << length; // cut
        EXPECT_EQ(walked(whole, length), std::pair(std::size_t{1}, false)) << length;           // by its entry point
    }
}

TEST(SmbiosWalk, StopsAtTextsWithoutAnEnd) {
    EXPECT_EQ(walked(small() + SmbiosFields(1, 6, 7).with({}).substr(0, 6) + "endless"),
              std::pair(std::size_t{1}, false));
}

TEST(SmbiosWalk, EndsInATableOfSixteenMebibytes) {
    std::string table = SmbiosFields(1, 4, 7).with({});
    while (table.size() < std::size_t{16} * 1024 * 1024)
        table += table;
    EXPECT_EQ(walked(table, table.size()), std::pair(zel::SMBIOS_STRUCTURES_AT_MOST, false));
    EXPECT_EQ(walked(std::string(table.size(), '\1'), table.size()), std::pair(std::size_t{0}, false));
    EXPECT_EQ(walked(std::string(table.size(), '\0'), table.size()), std::pair(std::size_t{0}, false));
}

// Under the sanitizers of the gate no byte outside the table may be read.
TEST(SmbiosWalk, SurvivesDamagedTables) {
    const std::string table = SmbiosFields(17, 0x5C, 1).byte(0x10, 1).with({"slot", "bank"}) +
                              SmbiosFields(16, 0x17, 2).with({}) +
                              SmbiosFields(4, 0x30, 3).byte(4, 1).with({"socket"}) + smbiosEnd();
    Mutation mutation(1);
    for (int round = 0; round < 3000; ++round) {
        const std::string damaged = mutation.of(table);
        SmbiosWalk walk(damaged, damaged.size());
        std::size_t count = 0;
        while (const auto structure = walk.next()) {
            zel::MemoryModule module;
            zel::MemoryArray array;
            zel::ProcessorSocket socket;
            takeMemoryModule(*structure, Absence::None, module);
            takeMemoryArray(*structure, array);
            takeProcessorSocket(*structure, Absence::None, socket);
            ASSERT_LE(module.slot.size(), damaged.size());
            ASSERT_LE(++count, damaged.size());
        }
    }
}

} // namespace

// Keywords of the log gate. The expected bits are those of the table of keywords.
#include "StreamCapture.h"
#include "VornLog.h"

#include <gtest/gtest.h>

namespace {

// The nine words in one value, so that a test says everything that is set and everything that is not.
struct Words {
    int error[3];
    int normal[3];
    int debug[3];

    bool operator==(const Words &) const = default;
};

std::ostream &operator<<(std::ostream &out, const Words &words) {
    out << std::hex;
    for (const auto *level : {&words.error, &words.normal, &words.debug}) {
        for (const int word : *level)
            out << word << ' ';
    }
    return out << std::dec;
}

Words current() {
    return {{g_nLogModERROR, g_nLoggingERROR1, g_nLoggingERROR2},
            {g_nLogModNORMAL, g_nLoggingNORMAL1, g_nLoggingNORMAL2},
            {g_nLogModDEBUG, g_nLoggingDEBUG1, g_nLoggingDEBUG2}};
}

Words after(const char *spec) {
    EXPECT_EQ(CVornLog::fSetLogModeBit(spec), 1);
    return current();
}

const Words nothing{};

class LogMode : public testing::Test {
protected:
    ~LogMode() override { CVornLog::fSetLogModeBit("NOLOG"); }

    StreamCapture streams;
};

TEST_F(LogMode, ShortFormsOpenWholeLevels) {
    EXPECT_EQ(after("ERROR"), (Words{{-1, -1, -1}, {0, 0, 0}, {0, 0, 0}}));
    EXPECT_EQ(after("NORMAL"), (Words{{-1, -1, -1}, {-1, -1, -1}, {0, 0, 0}}));
    EXPECT_EQ(after("DEBUG"), (Words{{-1, -1, -1}, {-1, -1, -1}, {-1, -1, -1}}));
    EXPECT_EQ(streams.err(), "");
}

TEST_F(LogMode, AnyOtherWordClosesEverything) {
    for (const char *spec : {"NOLOG", "", "error", "ERROR ", "ERROR|NORMAL", "14"}) {
        after("DEBUG");
        EXPECT_EQ(after(spec), nothing) << spec;
    }
    EXPECT_EQ(streams.err(), "");
}

TEST_F(LogMode, NullClosesEverythingAndFails) {
    after("DEBUG");
    EXPECT_EQ(CVornLog::fSetLogModeBit(nullptr), -1);
    EXPECT_EQ(current(), nothing);
}

TEST_F(LogMode, TheObjectsOperationSetsTheSameWords) {
    CVornLog log(2, "app", 2);
    EXPECT_EQ(log.fSetLogModeBit("ERROR"), 1);
    EXPECT_EQ(current(), (Words{{-1, -1, -1}, {0, 0, 0}, {0, 0, 0}}));
}

TEST_F(LogMode, ErrorGroupOpensErrorsOnly) {
    EXPECT_EQ(after("ERROR:LAB:14"), (Words{{128, 0, 0x1000}, {0, 0, 0}, {0, 0, 0}}));
}

TEST_F(LogMode, NormalAndDebugGroupsOpenTheLevelsAbove) {
    EXPECT_EQ(after("NORMAL:UNI:LIB"), (Words{{16, 0, 0x2}, {16, 0, 0x2}, {0, 0, 0}}));
    EXPECT_EQ(after("DEBUG:TCP:UNI"), (Words{{32, 0, 0x400000}, {32, 0, 0x400000}, {32, 0, 0x400000}}));
}

TEST_F(LogMode, GroupsAddUp) {
    // Module words: LAB 128 and UNI 16 together 144. Detail words: 14 is 0x1000, LIB is 2.
    EXPECT_EQ(after("NORMAL:LAB:14|ERROR:UNI:LIB"), (Words{{144, 0, 0x1002}, {128, 0, 0x1000}, {0, 0, 0}}));
}

TEST_F(LogMode, EveryLaterCallStartsFromNothing) {
    after("DEBUG:LAB:ALL");
    EXPECT_EQ(after("ERROR:UNI:UNI"), (Words{{16, 0, 1}, {0, 0, 0}, {0, 0, 0}}));
}

TEST_F(LogMode, LowerLevelTakesTheDetailAwayFromTheOthers) {
    // The second group sets detail 14 for errors and clears it for notices; the module bits stay.
    EXPECT_EQ(after("DEBUG:LAB:14,1|ERROR:LAB:14"), (Words{{128, 0, 0x1004}, {128, 0, 0x4}, {128, 0, 0x4}}));
    EXPECT_EQ(after("DEBUG:LAB:14,1|NORMAL:LAB:14"), (Words{{128, 0, 0x1004}, {128, 0, 0x1004}, {128, 0, 0x4}}));
}

TEST_F(LogMode, NologClearsModuleAndDetail) {
    EXPECT_EQ(after("NORMAL:LAB:14|NOLOG:LAB:14"), nothing);
    EXPECT_EQ(after("NORMAL:LAB:14,1|NOLOG:LAB:14"), (Words{{0, 0, 0x4}, {0, 0, 0x4}, {0, 0, 0}}));
    EXPECT_EQ(after("NORMAL:LAB:14|NOLOG:UNI:14"), (Words{{128, 0, 0x1000}, {128, 0, 0x1000}, {0, 0, 0}}));
}

TEST_F(LogMode, ModuleAllSetsWholeLevels) {
    EXPECT_EQ(after("ERROR:ALL:1"), (Words{{-1, -1, -1}, {0, 0, 0}, {0, 0, 0}}));
    EXPECT_EQ(after("DEBUG:LAB:14|NORMAL:ALL:x"), (Words{{-1, -1, -1}, {-1, -1, -1}, {0, 0, 0}}));
    EXPECT_EQ(after("DEBUG:ALL:1|NOLOG:ALL:1"), nothing);
    // What follows ALL in the list still counts: it takes detail LIB from notices that ALL had opened.
    EXPECT_EQ(after("NORMAL:ALL:1|ERROR:UNI:LIB"), (Words{{-1, -1, -1}, {-1, -1, ~0x2}, {0, 0, 0}}));
}

TEST_F(LogMode, EveryModuleWalksTheWholeDetailList) {
    // UNI: ALL 3. TCP: ALL 0x4400000. EVU: ALL 0x1000000. LAB: ALL 0x23FFFFC. Together:
    // 0x3 + 0x4400000 + 0x1000000 + 0x23FFFFC = 0x77FFFFF. Modules: 16 + 32 + 64 + 128 = 240.
    EXPECT_EQ(after("ERROR:UNI,TCP,EVU,LAB:ALL"), (Words{{240, 0, 0x77FFFFF}, {0, 0, 0}, {0, 0, 0}}));
    // UNI knows UNI, TCP knows LIB and UNI, EVU knows UNI, LAB knows UNI: 1 + 0x4400000 + 0x1000000 + 0x2000000 + 2.
    EXPECT_EQ(after("ERROR:UNI,TCP,EVU,LAB:LIB,UNI"), (Words{{240, 0, 0x7400003}, {0, 0, 0}, {0, 0, 0}}));
}

TEST_F(LogMode, EveryDetailNumberHasItsBit) {
    const std::vector<std::pair<const char *, int>> bits = {
        {"1", 0x4},       {"2", 0x8},       {"3", 0x10},        {"4", 0x20},     {"5", 0x40},     {"6", 0x80},
        {"7", 0x100},     {"8", 0x200},     {"9", 0x400},       {"12", 0x800},   {"14", 0x1000},  {"16", 0x2000},
        {"18", 0x4000},   {"19", 0x8000},   {"20", 0x10000},    {"21", 0x20000}, {"22", 0x40000}, {"23", 0x80000},
        {"24", 0x100000}, {"25", 0x200000}, {"UNI", 0x2000000}, {"10", 0},       {"11", 0},       {"13", 0},
        {"15", 0},        {"17", 0},        {"26", 0},          {"0", 0},        {"LIB", 0}};
    for (const auto &[word, bit] : bits)
        EXPECT_EQ(after((std::string("ERROR:LAB:") + word).c_str()), (Words{{128, 0, bit}, {0, 0, 0}, {0, 0, 0}}))
            << word;
}

TEST_F(LogMode, UnknownKeywordsAndEmptyEntriesAreSkipped) {
    EXPECT_EQ(after("ERROR:lab,FOO,LAB,:x,14,,lib"), (Words{{128, 0, 0x1000}, {0, 0, 0}, {0, 0, 0}}));
    EXPECT_EQ(after("ERROR:FOO:14"), nothing);
    EXPECT_EQ(streams.err(), "");
}

TEST_F(LogMode, UnknownLevelIsAnnouncedAndTheNextGroupCounts) {
    EXPECT_EQ(after("FOO:LAB:14|ERROR:UNI:LIB"), (Words{{16, 0, 2}, {0, 0, 0}, {0, 0, 0}}));
    EXPECT_EQ(streams.err(), "UNKNOWN LOG MODE : FOO\n");
}

TEST_F(LogMode, LevelAloneMissesItsModules) {
    EXPECT_EQ(after("ERROR:"), nothing);
    EXPECT_EQ(streams.err(), "UNKNOWN LOG MODULE 1 : NULL\n");
}

TEST_F(LogMode, ModulesWithoutDetailsEndTheText) {
    EXPECT_EQ(after("NORMAL:UNI:UNI|ERROR:LAB:"), (Words{{16, 0, 1}, {16, 0, 1}, {0, 0, 0}}));
    EXPECT_EQ(after("ERROR:LAB|NORMAL:UNI:UNI"), nothing);
    EXPECT_EQ(streams.err(), "UNKNOWN LOG MODULE 2 : NULL\nUNKNOWN LOG MODULE 2 : NULL\n");
}

TEST_F(LogMode, GroupWithoutColonIsPassedOver) {
    EXPECT_EQ(after("ERROR:LAB:14|NORMAL|ERROR:UNI:LIB|"), (Words{{144, 0, 0x1002}, {0, 0, 0}, {0, 0, 0}}));
    EXPECT_EQ(streams.err(), "");
}

TEST_F(LogMode, DetailsBeyondTheirCopyDoNotCount) {
    // 254 characters of filling, then a comma: what follows comes after the 255th character.
    const std::string filling(254, 'x');
    EXPECT_EQ(after(("ERROR:LAB:1," + filling + ",14").c_str()), (Words{{128, 0, 0x4}, {0, 0, 0}, {0, 0, 0}}));
    EXPECT_EQ(after(("ERROR:LAB:" + filling.substr(0, 200) + ",14").c_str()),
              (Words{{128, 0, 0x1000}, {0, 0, 0}, {0, 0, 0}}));
}

TEST_F(LogMode, TextIsNotChanged) {
    char spec[] = "NORMAL:LAB:14|ERROR:UNI:LIB";
    after(spec);
    EXPECT_STREQ(spec, "NORMAL:LAB:14|ERROR:UNI:LIB");
}

TEST_F(LogMode, FormatCharactersInALevelArePrintedAsTheyAre) {
    after("%s%n:LAB:14");
    EXPECT_EQ(streams.err(), "UNKNOWN LOG MODE : %s%n\n");
}

} // namespace

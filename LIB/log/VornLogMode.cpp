// The keywords of the log gate.
#include "VornLog.h"
#include "host/SafeWrite.h"
#include "threads/SharedValue.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

namespace {

constexpr int allOnes = -1;
constexpr std::size_t detailTextLength = 255; // what is looked at of a detail list

struct Keyword {
    std::string_view word;
    int bits;
};

constexpr Keyword uniDetails[] = {{"ALL", 0x3}, {"UNI", 0x1}, {"LIB", 0x2}};
constexpr Keyword tcpDetails[] = {{"ALL", 0x4400000}, {"UNI", 0x400000}, {"LIB", 0x4000000}};
constexpr Keyword evuDetails[] = {{"ALL", 0x1000000}, {"UNI", 0x1000000}};
// The numbers 10, 11, 13, 15 and 17 have no bit.
constexpr Keyword labDetails[] = {
    {"ALL", 0x23FFFFC}, {"UNI", 0x2000000}, {"1", 0x4},       {"2", 0x8},      {"3", 0x10},     {"4", 0x20},
    {"5", 0x40},        {"6", 0x80},        {"7", 0x100},     {"8", 0x200},    {"9", 0x400},    {"12", 0x800},
    {"14", 0x1000},     {"16", 0x2000},     {"18", 0x4000},   {"19", 0x8000},  {"20", 0x10000}, {"21", 0x20000},
    {"22", 0x40000},    {"23", 0x80000},    {"24", 0x100000}, {"25", 0x200000}};

struct Module {
    std::string_view word;
    int bit;
    std::span<const Keyword> details;
};

constexpr Module modules[] = {{"UNI", zel::LOG_MODULE_UNI, uniDetails},
                              {"TCP", zel::LOG_MODULE_TCP, tcpDetails},
                              {"EVU", zel::LOG_MODULE_EVU, evuDetails},
                              {"LAB", zel::LOG_MODULE_LAB, labDetails}};

// The words of one level.
struct LevelWords {
    int module = 0;
    int detail1 = 0;
    int detail2 = 0;

    void setAll(int value) { module = detail1 = detail2 = value; }
};

enum LevelIndex { LEVEL_ERROR, LEVEL_NORMAL, LEVEL_DEBUG, LEVEL_COUNT };
using Words = std::array<LevelWords, LEVEL_COUNT>;

// What a level keyword does: the first `opened` levels are set, the others cleared.
struct Level {
    std::string_view word;
    std::size_t opened;
};

constexpr Level levels[] = {{"ERROR", 1}, {"NORMAL", 2}, {"DEBUG", 3}, {"NOLOG", 0}};

template<typename Table> auto findWord(const Table &table, std::string_view word) {
    return std::find_if(std::begin(table), std::end(table), [word](const auto &entry) { return entry.word == word; });
}

// Takes the text before the first `separator` off `rest`. `found` tells whether there was one.
std::string_view cutAt(std::string_view &rest, char separator, bool &found) {
    const std::size_t end = rest.find(separator);
    found = end != std::string_view::npos;
    const std::string_view part = rest.substr(0, end);
    rest = found ? rest.substr(end + 1) : std::string_view{};
    return part;
}

template<typename Visit> void forEachWord(std::string_view list, Visit visit) {
    for (bool more = true; more;)
        visit(cutAt(list, ',', more));
}

void applyDetails(Words &words, const Module &module, std::size_t opened, std::string_view details) {
    forEachWord(details.substr(0, detailTextLength), [&](std::string_view word) {
        const auto detail = findWord(module.details, word);
        if (detail == std::end(module.details))
            return;
        for (std::size_t level = 0; level < words.size(); ++level) {
            if (level < opened)
                words[level].detail2 |= detail->bits;
            else
                words[level].detail2 &= ~detail->bits;
        }
    });
}

// A module bit is never cleared but by NOLOG; a detail bit is cleared in every level that the group does not open.
void applyModule(Words &words, std::string_view word, std::size_t opened, std::string_view details) {
    if (word == "ALL") {
        for (std::size_t level = 0; level < words.size(); ++level)
            words[level].setAll(level < opened ? allOnes : 0);
        return;
    }
    const auto module = findWord(modules, word);
    if (module == std::end(modules))
        return;
    for (std::size_t level = 0; level < words.size(); ++level) {
        if (level < opened)
            words[level].module |= module->bit;
        else if (opened == 0)
            words[level].module &= ~module->bit;
    }
    applyDetails(words, *module, opened, details);
}

// One group LEVEL:MODULES:DETAILS. False ends the whole text.
bool applyGroup(Words &words, std::string_view group) {
    bool found = false;
    const std::string_view levelWord = cutAt(group, ':', found);
    if (!found)
        return true;
    if (group.empty()) {
        zel::printError("UNKNOWN LOG MODULE 1 : NULL\n");
        return false;
    }
    const std::string_view moduleList = cutAt(group, ':', found);
    if (group.empty()) {
        zel::printError("UNKNOWN LOG MODULE 2 : NULL\n");
        return false;
    }
    const auto level = findWord(levels, levelWord);
    if (level == std::end(levels)) {
        zel::printErrorf("UNKNOWN LOG MODE : %.*s\n", static_cast<int>(levelWord.size()), levelWord.data());
        return true;
    }
    forEachWord(moduleList, [&](std::string_view word) { applyModule(words, word, level->opened, group); });
    return true;
}

// The short form is one word; whatever is not a level closes every gate.
Words readKeywords(std::string_view text) {
    Words words;
    if (text.find(':') == std::string_view::npos) {
        if (const auto level = findWord(levels, text); level != std::end(levels))
            applyModule(words, "ALL", level->opened, {});
        return words;
    }
    for (bool more = true; more;) {
        if (!applyGroup(words, cutAt(text, '|', more)))
            break;
    }
    return words;
}

// Other threads test the words meanwhile: each changes once, to its final value.
void publish(const Words &words) {
    const auto store = [](const LevelWords &level, int &module, int &detail1, int &detail2) {
        zel::writeShared(module, level.module);
        zel::writeShared(detail1, level.detail1);
        zel::writeShared(detail2, level.detail2);
    };
    store(words[LEVEL_ERROR], g_nLogModERROR, g_nLoggingERROR1, g_nLoggingERROR2);
    store(words[LEVEL_NORMAL], g_nLogModNORMAL, g_nLoggingNORMAL1, g_nLoggingNORMAL2);
    store(words[LEVEL_DEBUG], g_nLogModDEBUG, g_nLoggingDEBUG1, g_nLoggingDEBUG2);
}

} // namespace

int CVornLog::fSetLogModeBit(const char *spec) {
    publish(spec == nullptr ? Words{} : readKeywords(spec));
    return spec == nullptr ? -1 : 1;
}

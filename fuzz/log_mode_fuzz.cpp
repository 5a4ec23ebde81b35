// The keywords of the log gate: whatever the text, only the bits that a keyword names are set, a level that is open is
// open at every level above it, and the same text gives the same words.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "VornLog.h"

#include <array>

namespace {

using Words = std::array<int, 9>;

Words words() {
    return {g_nLogModERROR,    g_nLoggingERROR1, g_nLoggingERROR2, g_nLogModNORMAL, g_nLoggingNORMAL1,
            g_nLoggingNORMAL2, g_nLogModDEBUG,   g_nLoggingDEBUG1, g_nLoggingDEBUG2};
}

constexpr int allModules = 16 | 32 | 64 | 128;
constexpr int allDetails = 0x3 | 0x4400000 | 0x1000000 | 0x23FFFFC;

void ensureKnownBits(const Words &set, const std::string &text) {
    const bool all = text.find("ALL") != std::string::npos || text == "ERROR" || text == "NORMAL" || text == "DEBUG";
    if (all)
        return;
    for (std::size_t level = 0; level < set.size(); level += 3) {
        fuzz::ensure((set[level] & ~allModules) == 0, "a module bit that no keyword has");
        fuzz::ensure(set[level + 1] == 0, "the first detail word is only set with ALL");
        fuzz::ensure((set[level + 2] & ~allDetails) == 0, "a detail bit that no keyword has");
    }
}

} // namespace

FUZZ_TARGET(log_mode_fuzz) {
    const std::string text = input.text();
    fuzz::ensure(CVornLog::fSetLogModeBit(text.c_str()) == 1, "a text is always taken");
    const Words first = words();
    ensureKnownBits(first, text);
    fuzz::ensure(CVornLog::fSetLogModeBit(nullptr) == -1, "null closes every gate");
    fuzz::ensure(words() == Words{}, "null closes every gate");
    CVornLog::fSetLogModeBit(text.c_str());
    fuzz::ensure(words() == first, "the words before play a part");
    CVornLog::fSetLogModeBit(nullptr);
}

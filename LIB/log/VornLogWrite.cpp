// How the logger writes a line: formatted whole, appended in one piece, and accounted for when it cannot be.
#include "VornLog.h"
#include "host/RegularFile.h"
#include "host/SafeWrite.h"
#include "log/VornLogState.h"
#include "text/FixedText.h"
#include "text/OwnedText.h"
#include "threads/SharedValue.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <string_view>
#include <sys/stat.h>

namespace {

constexpr int formOfTime = 2; // hours, minutes, seconds
constexpr std::size_t timeSize = 16;

// One line, put together from its pieces, in the fixed room or, when it is longer, on the heap; without memory it is
// cut.
template<std::size_t Room> class JoinedLine {
public:
    JoinedLine() = default;
    JoinedLine(std::initializer_list<std::string_view> pieces) {
        std::size_t length = 0;
        for (const std::string_view piece : pieces)
            length += piece.size();
        if (length > sizeof(m_fixed))
            m_long.reset(static_cast<char *>(std::malloc(length)));
        char *const room = m_long == nullptr ? m_fixed : m_long.get();
        m_length = m_long == nullptr ? std::min(length, sizeof(m_fixed)) : length;

        std::size_t used = 0;
        for (const std::string_view piece : pieces)
            used += piece.copy(room + used, m_length - used);
        if (m_length < length)
            room[m_length - 1] = '\n';
    }

    std::string_view text() const { return {m_long == nullptr ? m_fixed : m_long.get(), m_length}; }

private:
    char m_fixed[Room];
    zel::Text m_long;
    std::size_t m_length = 0;
};

using LogLine = JoinedLine<4096>;
using AccountedLine = JoinedLine<512>; // beside a line on the same stack

// The word of a level, or null when nothing is written at this level.
const char *levelWord(CVornLog &log, int level) {
    if (level == zel::LOG_LEVEL_NORMAL || level == zel::LOG_LEVEL_ERROR)
        return "INFO";
    return level == zel::LOG_LEVEL_DEBUG && zel::readShared(log.m_nLogMode) == 1 ? "DEBUG" : nullptr;
}

// "[134501][INFO][VornLog]169 messages lost\n" and what follows it, in one piece: the account never takes the room of
// the line that comes after it, and is never in the file twice.
zel::Appended appendWithAccount(const CVornLog &log, const zel::LogState &state, unsigned long lost,
                                std::string_view line) {
    char account[96] = "";
    if (lost > 0) {
        char time[timeSize];
        CVornLog::fGetThreadDayTime(0, time, formOfTime);
        std::snprintf(account, sizeof(account), "[%s][INFO][VornLog]%lu messages lost\n", time, lost);
    }
    return zel::appendWhole(log.m_nFileFd, AccountedLine{state.cutLine ? "\n" : "", account, line}.text());
}

void appendLine(const CVornLog &log, zel::LogState &state, std::string_view line) {
    const unsigned long lost = state.lost.exchange(0);
    const bool plain = lost == 0 && !state.cutLine;
    const zel::Appended result =
        plain ? zel::appendWhole(log.m_nFileFd, line) : appendWithAccount(log, state, lost, line);
    if (result == zel::Appended::WHOLE)
        state.cutLine = false;
    else
        state.lost += lost + 1;
    if (result == zel::Appended::PART)
        state.cutLine = true;
}

// At a fork descriptors are copied before memory is: a file that another thread was opening or changing in between is
// not the one that the child's descriptor leads to. The child then begins as a new process does.
void checkInheritedFile(CVornLog &log, zel::LogState &state) {
    state.forked = false;
    struct stat status {};
    if (log.m_pstrLogFile != nullptr && fstat(log.m_nFileFd, &status) == 0 && zel::leadsTo(log.m_pstrLogFile, status))
        return;
    log.m_nFileFd = 0;
    zel::setFixedText(log.m_strCurrentDate, zel::LOG_NO_DATE);
}

// The line that starts a new file is not written, which its owner counts on: it is not a lost one. An empty line only
// runs the checks.
void writeLine(CVornLog &log, zel::LogState &state, const LogLine &line) {
    const std::string_view text = line.text();
    if (zel::readShared(g_nPrint) == 1)
        zel::printError(text);
    if (state.forked)
        checkInheritedFile(log, state);
    log.fDateChangeChk();
    const bool room = log.fLogSizeChk() == 1;
    if (text.empty())
        return;
    if (log.m_nFileFd <= 0)
        state.lost += state.noRoomToOpen ? 1 : 0;
    else if (room)
        appendLine(log, state, text);
}

} // namespace

void CVornLog::fWrite(int level, const char *file, const char *message) {
    char time[timeSize];
    fGetThreadDayTime(0, time, formOfTime);
    if (const char *word = levelWord(*this, level); word != nullptr)
        writeLine(*this, *m_state, {"[", time, "][", word, "][", zel::orEmpty(file), "]", zel::orEmpty(message), "\n"});
    else
        writeLine(*this, *m_state, {});
}

void CVornLog::fWrite(int level, int line, const char *file, const char *message) {
    char time[timeSize];
    fGetThreadDayTime(0, time, formOfTime);
    char number[16];
    std::snprintf(number, sizeof(number), "%d", line);
    if (const char *word = levelWord(*this, level); word != nullptr)
        writeLine(*this, *m_state,
                  {"[", time, "][", word, "][", zel::orEmpty(file), "][", number, "]", zel::orEmpty(message), "\n"});
    else
        writeLine(*this, *m_state, {});
}

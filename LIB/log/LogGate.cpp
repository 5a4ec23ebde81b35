#include "LogGate.h"

#include "VornLog.h"

#include <algorithm>
#include <shared_mutex>
#include <string_view>

CVornLog *g_pclVornLog;

int g_nLogModERROR, g_nLoggingERROR1, g_nLoggingERROR2;
int g_nLogModNORMAL, g_nLoggingNORMAL1, g_nLoggingNORMAL2;
int g_nLogModDEBUG, g_nLoggingDEBUG1, g_nLoggingDEBUG2;

namespace {

// Shared by the threads that are inside the installed logger; taken whole by a logger that goes.
std::shared_mutex &loggerInUse() {
    static auto *lock = new std::shared_mutex; // outlives every static logger
    return *lock;
}

bool isControl(char character) {
    return static_cast<unsigned char>(character) < ' ' || character == '\x7f';
}

// Messages carry names from outside, which may hold line feeds: a message that does is written with blanks in their
// place, so that no name writes a log line of its own.
class OneLine {
public:
    explicit OneLine(const char *message) : m_text(message) {
        const std::string_view text(message);
        if (std::none_of(text.begin(), text.end(), isControl))
            return;
        const std::size_t length = text.copy(m_copy, sizeof(m_copy) - 1);
        m_copy[length] = '\0';
        std::replace_if(m_copy, m_copy + length, isControl, ' ');
        m_text = m_copy;
    }
    OneLine(const OneLine &) = delete;
    OneLine &operator=(const OneLine &) = delete;

    const char *text() const { return m_text; }

private:
    static constexpr std::size_t longestMessage = 4096; // the message buffers of the collectors hold 1024

    char m_copy[longestMessage];
    const char *m_text;
};

} // namespace

void zel::writeLog(int level, int line, const char *sourceName, const char *message) {
    if (!loggerInstalled())
        return;
    const std::shared_lock held(loggerInUse());
    if (CVornLog *logger = readShared(g_pclVornLog); logger != nullptr)
        logger->fLogWrite(level, line, sourceName, OneLine(message).text());
}

void zel::withdrawLogger(CVornLog *logger) {
    std::atomic_ref<CVornLog *>(g_pclVornLog).compare_exchange_strong(logger, nullptr);
    const std::unique_lock noThreadInside(loggerInUse());
}

// The log gate: the installed logger, the words that open and close it, and the way of a message to the logger.
#include "functions/LogSink.h"
#include "text/ControlBytes.h"
#include "text/OwnedText.h"
#include "threads/ForkRepair.h"
#include "threads/SharedValue.h"

#include <mutex>
#include <shared_mutex>
#include <string_view>

using zel::readShared;

CVornLog *g_pclVornLog;
int g_nPrint;

int g_nLogModERROR, g_nLoggingERROR1, g_nLoggingERROR2;
int g_nLogModNORMAL, g_nLoggingNORMAL1, g_nLoggingNORMAL2;
int g_nLogModDEBUG, g_nLoggingDEBUG1, g_nLoggingDEBUG2;

namespace {

// Shared by the threads that are inside the installed logger; taken whole by a logger that goes.
struct LoggerInUse {
    std::shared_mutex lock;
    zel::ForkRepair repair{[](void *object) { zel::renew(static_cast<LoggerInUse *>(object)->lock); }, this};
};

std::shared_mutex &loggerInUse() {
    static auto *inUse = new LoggerInUse; // outlives every static logger
    return inUse->lock;
}

// Made before there are threads: the child of a fork that another thread was making it in would wait for it for ever.
[[maybe_unused]] const std::shared_mutex &loggerInUseAtStart = loggerInUse();

std::atomic<zel::LogSink> logSink{nullptr};

// Messages carry names from outside, which may hold line feeds: a message that does is written with blanks in their
// place, so that no name writes a log line of its own. Without memory for that the line holds no message.
class OneLine {
public:
    explicit OneLine(const char *message) : m_text(message) {
        const std::string_view text(message);
        if (zel::findControlBytes(text, 0).length == 0)
            return;
        m_copy = zel::joinText({message});
        m_text = m_copy == nullptr ? "" : m_copy.get();
        zel::blankControlBytes(m_copy.get(), std::strlen(m_text));
    }
    OneLine(const OneLine &) = delete;
    OneLine &operator=(const OneLine &) = delete;

    const char *text() const { return m_text; }

private:
    const char *m_text;
    zel::Text m_copy;
};

} // namespace

void zel::writeLog(int level, int line, const char *sourceName, const char *message) {
    if (!loggerInstalled())
        return;
    const std::shared_lock held(loggerInUse());
    const LogSink sink = logSink;
    if (CVornLog *logger = readShared(g_pclVornLog); logger != nullptr && sink != nullptr)
        sink(*logger, level, line, sourceName, OneLine(message).text());
}

void zel::setLogSink(LogSink sink) {
    logSink = sink;
}

void zel::withdrawLogger(CVornLog *logger) {
    std::atomic_ref<CVornLog *>(g_pclVornLog).compare_exchange_strong(logger, nullptr);
    const std::unique_lock noThreadInside(loggerInUse());
}

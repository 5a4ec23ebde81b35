#include "VornLog.h"

#include "text/OwnedText.h"
#include "threads/SharedValue.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <new>
#include <string_view>
#include <unistd.h>

using zel::readShared;
using zel::writeShared;

int g_nPrint;
pthread_mutex_t l_gstLogMutexLock = PTHREAD_MUTEX_INITIALIZER;

namespace {

constexpr const char *compressors[] = {"/usr/sbin/compress", "/usr/bin/compress", "/bin/compress", "/sbin/compress",
                                       "/usr/sbin/gzip",     "/usr/bin/gzip",     "/bin/gzip",     "/sbin/gzip"};
constexpr unsigned long bytesPerKilobyte = 1024;
constexpr unsigned long bytesPerMegabyte = 1048576;
constexpr int unitMegabyte = 1;
constexpr int unitKilobyte = 2;

// The loggers that share l_gstLogMutexLock: the first one initialises it, the last one destroys it.
class MutexUsers {
public:
    void add() {
        const std::lock_guard held(m_lock);
        if (m_count++ == 0 && m_destroyed) {
            pthread_mutex_init(&l_gstLogMutexLock, nullptr);
            m_destroyed = false;
        }
    }

    void remove(bool destroyUnused) {
        const std::lock_guard held(m_lock);
        if (m_count > 0 && --m_count == 0 && destroyUnused) {
            pthread_mutex_destroy(&l_gstLogMutexLock);
            m_destroyed = true;
        }
    }

private:
    std::mutex m_lock;
    int m_count = 0;
    bool m_destroyed = false; // the mutex is ready from the start of the program
};

MutexUsers &mutexUsers() {
    static auto *users = new MutexUsers; // outlives every static logger
    return *users;
}

class WriteLock {
public:
    explicit WriteLock(CVornLog &log)
        : m_taken(readShared(log.m_nThreadChk) == 1 && pthread_mutex_lock(&l_gstLogMutexLock) == 0) {}
    ~WriteLock() {
        if (m_taken)
            pthread_mutex_unlock(&l_gstLogMutexLock);
    }
    WriteLock(const WriteLock &) = delete;
    WriteLock &operator=(const WriteLock &) = delete;

private:
    const bool m_taken;
};

// One line, put together from its pieces. It stands in the fixed room, or on the heap when it is longer; without memory
// it is cut.
class LogLine {
public:
    LogLine() = default;
    LogLine(std::initializer_list<std::string_view> pieces) {
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

    const char *text() const { return m_long == nullptr ? m_fixed : m_long.get(); }
    std::size_t length() const { return m_length; }

private:
    char m_fixed[4096];
    zel::Text m_long;
    std::size_t m_length = 0;
};

// The word of a level, or null when nothing is written at this level.
const char *levelWord(CVornLog &log, int level) {
    if (level == zel::LOG_LEVEL_NORMAL || level == zel::LOG_LEVEL_ERROR)
        return "INFO";
    return level == zel::LOG_LEVEL_DEBUG && log.fGetLogMode() == 1 ? "DEBUG" : nullptr;
}

// An empty line is written too: it runs the checks and leaves the file as it is.
void writeLine(CVornLog &log, const LogLine &line) {
    if (readShared(g_nPrint) == 1)
        std::fwrite(line.text(), 1, line.length(), stderr);
    log.fDateChangeChk();
    if (log.fLogSizeChk() == 1 && log.m_nFileFd > 0) {
        const ssize_t ignored = write(log.m_nFileFd, line.text(), line.length());
        static_cast<void>(ignored);
    }
}

const char *orEmpty(const char *text) {
    return text == nullptr ? "" : text;
}

} // namespace

CVornLog::CVornLog(int logMode, const char *name, int validDay)
    : m_pcQueue(nullptr), m_nThreadMode(0), m_pstrLogFile(nullptr), m_pstrLogPath(nullptr), m_strMCName(),
      m_strCurrentDate("EMPTY"), m_strCompressPath(), m_nCompressChk(0), m_nFileFd(0), m_nThreadChk(0), m_nLogCnt(0),
      m_nLogCompress(0), m_ulLogSize(LOG_SIZE_DEFAULT) {
    fSetLogMode(logMode);
    fSetValidDay(validDay);
    fSetLogPath("./");
    std::snprintf(m_strMCName, sizeof(m_strMCName), "%s", orEmpty(name));
    const bool agent = std::strstr(orEmpty(name), "AGENT") != nullptr || std::strstr(orEmpty(name), "agent") != nullptr;
    m_nLivInvLogFlag = agent ? 0 : 1;
    for (const char *compressor : compressors) {
        if (access(compressor, F_OK) == 0) {
            std::snprintf(m_strCompressPath, sizeof(m_strCompressPath), "%s", compressor);
            m_nCompressChk = 1;
            break;
        }
    }
}

CVornLog::CVornLog(int logMode, const char *name, int validDay, int threadMode) : CVornLog(logMode, name, validDay) {
    if (threadMode == 1)
        startThreadMode();
}

CVornLog::~CVornLog() {
    zel::withdrawLogger(this);
    stopThreadMode();
    fCloseLogFile();
    delete[] m_pstrLogFile;
    delete[] m_pstrLogPath;
    if (readShared(m_nThreadChk) == 1)
        mutexUsers().remove(true);
}

int CVornLog::fSetLogMode(int mode) {
    const bool known = mode >= 1 && mode <= 3;
    writeShared(m_nLogMode, known ? mode : 2);
    return known ? 1 : 0;
}

int CVornLog::fGetLogMode() {
    return readShared(m_nLogMode);
}

int CVornLog::fSetValidDay(int days) {
    writeShared(m_nValidDay, days < 0 ? LOG_VALID_DAYS_DEFAULT : days);
    return days < 0 ? 0 : 1;
}

int CVornLog::fSetLogPath(const char *directory) {
    if (directory == nullptr)
        return 0;
    const std::size_t size = std::strlen(directory) + 1;
    char *copy = new (std::nothrow) char[size];
    if (copy == nullptr)
        return 0;
    std::memcpy(copy, directory, size);

    const WriteLock held(*this);
    const auto worker = m_link == nullptr ? std::unique_lock<std::mutex>() : std::unique_lock(m_link->lock);
    delete[] m_pstrLogPath;
    m_pstrLogPath = copy;
    return 1;
}

int CVornLog::fSetLogSize(int size, int unit) {
    if (size < 0) {
        writeShared(m_ulLogSize, LOG_SIZE_DEFAULT);
        return 0;
    }
    const unsigned long bytesPerUnit = unit == unitMegabyte ? bytesPerMegabyte : bytesPerKilobyte;
    const bool known = unit == unitMegabyte || unit == unitKilobyte;
    writeShared(m_ulLogSize, known ? static_cast<unsigned long>(size) * bytesPerUnit : 0);
    return 1;
}

// The flag is up only while the mutex is ready.
int CVornLog::fSetThreadChk(int on) {
    if (on >= 1)
        mutexUsers().add();
    const int previous = std::atomic_ref<int>(m_nThreadChk).exchange(on >= 1 ? 1 : 0);
    if (previous == 1)
        mutexUsers().remove(false);
    return 1;
}

int CVornLog::fSetLogCompress(int on) {
    writeShared(m_nLogCompress, on >= 1 ? 1 : 0);
    return 1;
}

void CVornLog::fLogWrite(int level, const char *file, const char *message) {
    const WriteLock held(*this);
    if (m_nThreadMode == 1 && m_pcQueue != nullptr)
        enqueue(0, "src", message);
    else
        fWrite(level, file, message);
}

void CVornLog::fLogWrite(int level, int line, const char *file, const char *message) {
    const WriteLock held(*this);
    if (m_nThreadMode == 1 && m_pcQueue != nullptr)
        enqueue(line, file, message);
    else
        fWrite(level, line, file, message);
}

void CVornLog::fWrite(int level, const char *file, const char *message) {
    char time[16];
    fGetThreadDayTime(0, time, 2);
    if (const char *word = levelWord(*this, level); word != nullptr)
        writeLine(*this, {"[", time, "][", word, "][", orEmpty(file), "]", orEmpty(message), "\n"});
    else
        writeLine(*this, {});
}

void CVornLog::fWrite(int level, int line, const char *file, const char *message) {
    char time[16];
    fGetThreadDayTime(0, time, 2);
    char number[16];
    std::snprintf(number, sizeof(number), "%d", line);
    if (const char *word = levelWord(*this, level); word != nullptr)
        writeLine(*this, {"[", time, "][", word, "][", orEmpty(file), "][", number, "]", orEmpty(message), "\n"});
    else
        writeLine(*this, {});
}

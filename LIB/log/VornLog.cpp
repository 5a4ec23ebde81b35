// The logger itself: construction, settings, and the entry points of callers.
#include "VornLog.h"

#include "functions/LogSink.h"
#include "log/VornLogThread.h"
#include "text/FixedText.h"
#include "threads/SharedValue.h"

#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <unistd.h>
#include <utility>

using zel::readShared;
using zel::writeShared;

pthread_mutex_t l_gstLogMutexLock = PTHREAD_MUTEX_INITIALIZER;

namespace {

// In the order of preference.
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
    // Another thread may be in the middle of a write at a fork, with the mutex of the loggers taken.
    void repair() {
        zel::renew(m_lock);
        if (!m_destroyed)
            pthread_mutex_init(&l_gstLogMutexLock, nullptr);
    }

    std::mutex m_lock;
    int m_count = 0;
    bool m_destroyed = false; // the mutex is ready from the start of the program
    zel::ForkRepair m_forkRepair{[](void *users) { static_cast<MutexUsers *>(users)->repair(); }, this};
};

MutexUsers &mutexUsers() {
    static auto *users = new MutexUsers; // outlives every static logger
    return *users;
}

// Made before there are threads: the child of a fork that another thread was making it in would wait for it for ever.
[[maybe_unused]] const MutexUsers &mutexUsersAtStart = mutexUsers();

// The mutex, for a logger that is set to take it. The setting may change while a thread is inside.
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

// What the log gate calls: it knows no more of a logger than its address.
void writeToLogger(CVornLog &logger, int level, int line, const char *sourceName, const char *message) {
    logger.fLogWrite(level, line, sourceName, message);
}

std::unique_ptr<zel::LogState> newState(CVornLog &log) {
    mutexUsers(); // after a fork it is repaired before a logger that uses it
    return std::make_unique<zel::LogState>(log);
}

// The child of a fork has no writer. Its logger writes directly, under the mutex; what is queued is the parent's to
// write. The queue is not touched: the writer may have been in the middle of it.
void repairLogger(zel::LogState &state) {
    CVornLog &log = state.logger;
    state.forked = true;
    if (log.m_nThreadMode != 1)
        return;
    state.link.reset();
    log.m_pcQueue = nullptr;
    log.m_nThreadMode = 0;
    log.fSetThreadChk(1);
}

} // namespace

zel::LogState::LogState(CVornLog &log)
    : logger(log), forkRepair([](void *state) { repairLogger(*static_cast<LogState *>(state)); }, this) {}

CVornLog::CVornLog(int logMode, const char *name, int validDay)
    : m_pcQueue(nullptr), m_nThreadMode(0), m_pstrLogFile(nullptr), m_pstrLogPath(nullptr), m_strMCName(),
      m_strCurrentDate(), m_strCompressPath(), m_nCompressChk(0), m_nFileFd(0), m_nThreadChk(0), m_nLogCnt(0),
      m_nLogCompress(0), m_ulLogSize(LOG_SIZE_DEFAULT), m_state(newState(*this)) {
    zel::setLogSink(&writeToLogger);
    zel::setFixedText(m_strCurrentDate, zel::LOG_NO_DATE);
    fSetLogMode(logMode);
    fSetValidDay(validDay);
    fSetLogPath("./");
    std::snprintf(m_strMCName, sizeof(m_strMCName), "%s", zel::orEmpty(name));
    const bool agent =
        std::strstr(zel::orEmpty(name), "AGENT") != nullptr || std::strstr(zel::orEmpty(name), "agent") != nullptr;
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
    if (threadMode == 1 && !zel::startThreadMode(*this, *m_state))
        fSetThreadChk(1);
}

// First nobody enters the logger any more, then its writer leaves it: only then does the file go.
CVornLog::~CVornLog() {
    zel::withdrawLogger(this);
    zel::stopThreadMode(*this, *m_state);
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

// The path is used by whoever writes: a caller under the mutex, or the writer thread under its link.
int CVornLog::fSetLogPath(const char *directory) {
    if (directory == nullptr)
        return 0;
    const std::size_t size = std::strlen(directory) + 1;
    char *copy = new (std::nothrow) char[size];
    if (copy == nullptr)
        return 0;
    std::memcpy(copy, directory, size);

    const WriteLock held(*this);
    const zel::SharedLink<CVornLog> &link = m_state->link;
    const auto writer = link == nullptr ? std::unique_lock<std::mutex>() : std::unique_lock(link->lock);
    delete[] std::exchange(m_pstrLogPath, copy);
    return 1;
}

// An unknown unit gives 0, at which every write starts a new file: consumers of the setting expect it.
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

// Queued messages of this form carry "src" for their source: their argument was never queued.
void CVornLog::fLogWrite(int level, const char *file, const char *message) {
    const WriteLock held(*this);
    if (m_nThreadMode == 1 && m_pcQueue != nullptr)
        zel::queueMessage(*this, *m_state, 0, "src", message);
    else
        fWrite(level, file, message);
}

void CVornLog::fLogWrite(int level, int line, const char *file, const char *message) {
    const WriteLock held(*this);
    if (m_nThreadMode == 1 && m_pcQueue != nullptr)
        zel::queueMessage(*this, *m_state, line, file, message);
    else
        fWrite(level, line, file, message);
}

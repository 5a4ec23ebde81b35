// The logger's files: names, rotation, change of date, purge and compression.
#include "NGFunctions.h"
#include "VornLog.h"
#include "functions/LocalTime.h"
#include "host/RegularFile.h"
#include "host/SafeWrite.h"
#include "host/ScopedHandle.h"
#include "host/Shell.h"
#include "host/ShellSafe.h"
#include "host/TrustedWay.h"
#include "log/VornLogState.h"
#include "threads/SharedValue.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

using zel::readShared;

namespace {

constexpr std::size_t dateLength = 8;
constexpr std::size_t timeLength = 6;
constexpr std::size_t shortestLogName = 11;
constexpr mode_t logFileMode = 0644;
constexpr int firstFreeDescriptor = 3;
constexpr const char *recentFileScript = "../../utils/INSTALL/recentlogfile.sh";
constexpr const char *recentFileResult = "../aproc/shell/recentlogfile.dat";
constexpr const char *recentFileDirectory = "../aproc/shell"; // where the script writes it
constexpr int compressLimit = 60;                             // seconds

// Appends a text of exactly `length` characters: one that outgrows them (a year beyond 9999) is cut.
char *append(char *out, const char *text, std::size_t length) {
    std::memcpy(out, text, length);
    out[length] = '\0';
    return out + length;
}

// The three forms of fGetDayTime; another form gives an empty text.
void formatTime(const std::tm &local, char *out, int form) {
    char text[64];
    out[0] = '\0';
    if (form == 1 || form == 3) {
        std::snprintf(text, sizeof(text), "%04d%02d%02d", local.tm_year + 1900, local.tm_mon + 1, local.tm_mday);
        out = append(out, text, dateLength);
    }
    if (form == 3)
        out = append(out, "-", 1);
    if (form == 2 || form == 3) {
        std::snprintf(text, sizeof(text), "%02d%02d%02d", local.tm_hour, local.tm_min, local.tm_sec);
        append(out, text, timeLength);
    }
}

// Opens a log file above the standard streams: 0 means closed.
int openLogFile(const char *path) {
    zel::ScopedDescriptor file = zel::openToAppend(path, logFileMode);
    if (!file.valid() || file.get() >= firstFreeDescriptor)
        return file.release();
    return fcntl(file.get(), F_DUPFD_CLOEXEC, firstFreeDescriptor);
}

const char *directoryOf(const CVornLog &log) {
    return log.m_pstrLogPath == nullptr ? "./" : log.m_pstrLogPath;
}

// "20240131_agent.log", also compressed.
bool isLogName(std::string_view name) {
    return name.size() >= shortestLogName &&
           (name.ends_with(".log") || name.ends_with(".log.gz") || name.ends_with(".log.Z"));
}

// Without memory the old text stays.
void replaceText(char *&text, const char *directory, const char *name) {
    const std::size_t size = std::strlen(directory) + std::strlen(name) + 1;
    char *joined = new (std::nothrow) char[size];
    if (joined == nullptr)
        return;
    std::snprintf(joined, size, "%s%s", directory, name);
    delete[] std::exchange(text, joined);
}

// Whether the trust rule lets a file of the home be used. The logger cannot log about itself.
bool isTrusted(const zel::WayFinding &finding) {
    if (zel::isWorthSaying(finding))
        zel::printErrorf("%s %s\n", zel::REFUSAL_TEXT, finding.reason);
    return finding.trusted;
}

} // namespace

std::time_t CVornLog::fGetDayTime(std::time_t t, char *out, int form) {
    const std::time_t used = t < 1 ? std::time(nullptr) : t;
    out[0] = '\0';
    if (const std::tm *local = std::localtime(&used); local != nullptr)
        formatTime(*local, out, form);
    return used;
}

std::time_t CVornLog::fGetThreadDayTime(std::time_t t, char *out, int form) {
    const std::time_t used = t < 1 ? std::time(nullptr) : t;
    std::tm local{};
    out[0] = '\0';
    if (!zel::localTime(used, local))
        return 0;
    formatTime(local, out, form);
    return used;
}

int CVornLog::fOpenLogFile() {
    fCloseLogFile();
    if (m_pstrLogFile == nullptr)
        return 0;
    const int file = openLogFile(m_pstrLogFile);
    m_state->noRoomToOpen = file < 0 && (errno == ENOSPC || errno == EDQUOT);
    if (file < 0) {
        zel::printErrorf("%s log file open failed : %s\n", m_pstrLogFile, std::strerror(errno));
        return 0;
    }
    m_state->cutLine = false;
    m_nFileFd = file;
    return 1;
}

void CVornLog::fCloseLogFile() {
    // Closed is what nobody uses any more, also in the child of a fork that comes in between.
    if (const int file = std::exchange(m_nFileFd, 0); file > 0)
        close(file);
}

// The file is looked up by its path: a removed one still has a descriptor.
int CVornLog::fLogSizeChk() {
    struct stat status {};
    if (m_pstrLogFile == nullptr || stat(m_pstrLogFile, &status) != 0) {
        fOpenLogFile();
        return 0;
    }
    if (static_cast<unsigned long>(status.st_size) < readShared(m_ulLogSize))
        return 1;
    fLogCompress();
    fCloseLogFile();
    fLogNameChange(0);
    fOpenLogFile();
    return 0;
}

// The first file of the process is a change of date, too: from "EMPTY". What was never opened is not compressed.
void CVornLog::fDateChangeChk() {
    char today[16];
    fGetThreadDayTime(0, today, 1);
    if (std::strcmp(today, m_strCurrentDate) == 0)
        return;
    fCloseLogFile();
    if (readShared(m_nLogCompress) == 1 && std::strcmp(m_strCurrentDate, zel::LOG_NO_DATE) != 0)
        fLogCompress();
    m_nLogCnt = 0;
    fLogNameChange(1);
    std::snprintf(m_strCurrentDate, sizeof(m_strCurrentDate), "%.9s", today);
    fOpenLogFile();
}

// After a restart the day's first file is continued, and its first rotation continues the file numbered 1.
void CVornLog::fLogNameChange(int first) {
    char today[16];
    const std::time_t now = fGetThreadDayTime(0, today, 1);
    if (first == 1)
        fOldLogFileCheck(now);
    const bool firstOfProcess = std::strcmp(m_strCurrentDate, zel::LOG_NO_DATE) == 0;
    if (m_nLivInvLogFlag == 0 && firstOfProcess && fGetRecentLogFile(today) == 1)
        return;

    char name[64];
    if (first == 1)
        std::snprintf(name, sizeof(name), "%s_%s.log", today, m_strMCName);
    else
        std::snprintf(name, sizeof(name), "%s_%s_%d.log", today, m_strMCName, ++m_nLogCnt);
    replaceText(m_pstrLogFile, directoryOf(*this), name);
}

// The script's answer is a plain file name. One that leads out of the log directory is no answer.
int CVornLog::fGetRecentLogFile(const char *date) {
    if (date == nullptr || !zel::shellSafe(date) || !isTrusted(zel::inspectWay(recentFileScript)) ||
        !isTrusted(zel::inspectWay(recentFileDirectory)))
        return -1;
    char command[256];
    std::snprintf(command, sizeof(command), "%s %s", recentFileScript, date);
    static_cast<void>(zel::runShell(command));

    zel::WayFinding finding;
    const zel::ScopedFile result = zel::asStream(zel::openOnTrustedWay(recentFileResult, finding), "r");
    if (!isTrusted(finding))
        return -1;
    char line[256] = {};
    if (result == nullptr || std::fgets(line, sizeof(line), result.get()) == nullptr)
        return -1;
    const std::size_t length = std::strlen(line);
    if (length > dateLength && line[length - 1] == '\n')
        line[length - 1] = '\0';
    if (std::strstr(line, date) == nullptr || std::strchr(line, '/') != nullptr)
        return -1;
    replaceText(m_pstrLogFile, directoryOf(*this), line);
    return 1;
}

// The date in the name counts, not the age of the file: a file that was copied or touched goes in its time.
void CVornLog::fOldLogFileCheck(std::time_t now) {
    constexpr std::time_t secondsPerDay = 86400;
    const std::time_t limit = now - static_cast<std::time_t>(readShared(m_nValidDay)) * secondsPerDay;
    std::tm local{};
    if (!zel::localTime(limit, local))
        return;
    char firstKept[16];
    formatTime(local, firstKept, 1);

    const zel::ScopedDirectory directory = zel::openDirectory(directoryOf(*this));
    if (directory == nullptr)
        return;
    while (const dirent *entry = readdir(directory.get())) {
        if (isLogName(entry->d_name) && std::strncmp(entry->d_name, firstKept, dateLength) < 0)
            unlinkat(dirfd(directory.get()), entry->d_name, 0);
    }
}

// The runner goes on in the background: the file is full, nothing waits for its end.
void CVornLog::fLogCompress() {
    if (m_pstrLogFile == nullptr || m_nCompressChk != 1)
        return;
    if (!zel::shellSafePath(m_pstrLogFile)) {
        zel::printErrorf("%s log file compress refused : unsafe file name\n", m_pstrLogFile);
        return;
    }
    if (!isTrusted(zel::inspectWay(zel::COMMAND_RUNNER)))
        return;
    const std::size_t size = sizeof(m_strCompressPath) + std::strlen(m_pstrLogFile) + 64;
    const std::unique_ptr<char[]> command(new (std::nothrow) char[size]);
    if (command == nullptr)
        return;
    std::snprintf(command.get(), size, "%s %d %s %s &", zel::COMMAND_RUNNER, compressLimit, m_strCompressPath,
                  m_pstrLogFile);
    static_cast<void>(zel::runShell(command.get()));
}

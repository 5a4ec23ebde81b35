// Buffer files: records that could not be delivered, kept in "../buffer" until someone reads them.
//
//   ../buffer/20240131-BUF_1.buf      time F text1 F text2 F M \n     (F and M: field and metric separator)
//
// One set of files per tag. A file is continued until it is larger than a fifth of the budget; numbers run from 1 to 99
// within a day and then start again. A set that has reached its budget loses its oldest file.
#include "LogGate.h"
#include "NGFunctions.h"
#include "NStringLib.h"
#include "functions/LocalTime.h"
#include "host/RegularFile.h"
#include "host/SafeWrite.h"
#include "text/OwnedText.h"
#include "text/Separators.h"
#include "threads/SharedValue.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

int g_nDataBufferSaveMaxSize;

namespace {

constexpr const char *bufferDirectory = "../buffer";
constexpr long long bytesPerMegabyte = 1048576;
constexpr int filesPerBudget = 5;
constexpr long highestNumber = 99;
constexpr mode_t bufferFileMode = 0644;
constexpr const char *logSource = "NGFunctions";

struct BufferSet {
    const char *tag;
    const char *deletedWord; // how the log names the deletion of the oldest file
};

constexpr BufferSet deliveries{"BUF", "unlinkfile "};
constexpr BufferSet otherDeliveries{"BUNF", "unlinkfile BUNF"};

// Room for the directory, a name of the longest length and a new number after it.
struct Path {
    char text[NAME_MAX + 32];
};

Path bufferPath(const char *name) {
    Path path;
    std::snprintf(path.text, sizeof(path.text), "%s/%s", bufferDirectory, name);
    return path;
}

struct BufferFile {
    char name[NAME_MAX + 1];
    timespec modified;

    // By the time of modification; files of one clock tick by their numbered names.
    bool olderThan(const BufferFile &other) const {
        if (modified.tv_sec != other.modified.tv_sec)
            return modified.tv_sec < other.modified.tv_sec;
        if (modified.tv_nsec != other.modified.tv_nsec)
            return modified.tv_nsec < other.modified.tv_nsec;
        return strverscmp(name, other.name) < 0;
    }
};

// All files of one set.
struct BufferFiles {
    int count = 0;
    long long bytes = 0;
    BufferFile newest{};
    BufferFile oldest{};

    void add(const BufferFile &file, long long size) {
        if (count == 0 || newest.olderThan(file))
            newest = file;
        if (count == 0 || file.olderThan(oldest))
            oldest = file;
        bytes += size;
        ++count;
    }
};

thread_local char logMessage[1024];

// The scan ends at the first file without a status.
BufferFiles scan(DIR *directory, const char *tag) {
    BufferFiles files;
    while (const dirent *entry = readdir(directory)) {
        if (std::strstr(entry->d_name, tag) == nullptr)
            continue;
        struct stat status {};
        if (fstatat(dirfd(directory), entry->d_name, &status, 0) != 0) {
            ZEL_LOG(zel::loggerInstalled(), zel::LOG_LEVEL_ERROR, logSource, logMessage, "stat failed1");
            break;
        }
        BufferFile file{{}, status.st_mtim};
        std::snprintf(file.name, sizeof(file.name), "%s", entry->d_name);
        files.add(file, status.st_size);
    }
    return files;
}

// "../buffer/20240131-BUF_7.buf" becomes "../buffer/20240131-BUF_8.buf"; after 99 comes 1.
void takeNextNumber(Path &path) {
    char *rest = nullptr;
    Nstrstrtok(path.text, "_", &rest);
    const char *digits = rest == nullptr ? "0" : Nstrstrtok(nullptr, ".buf", &rest);
    const long number = std::strtol(digits, nullptr, 10);
    const long next = number >= 0 && number < highestNumber ? number + 1 : 1;
    const std::size_t stem = std::strlen(path.text);
    std::snprintf(path.text + stem, sizeof(path.text) - stem, "_%ld.buf", next);
}

void deleteOldest(const BufferSet &set, const BufferFiles &files) {
    const Path oldest = bufferPath(files.oldest.name);
    unlink(oldest.text);
    ZEL_LOG(zel::loggerInstalled(), zel::LOG_LEVEL_ERROR, logSource, logMessage, "%s[%s]", set.deletedWord,
            oldest.text);
}

// The file that takes the next record. Makes room for it.
Path chooseFile(const BufferSet &set, const BufferFiles &files, const std::tm &today) {
    char date[64];
    std::snprintf(date, sizeof(date), "%04d%02d%02d", today.tm_year + 1900, today.tm_mon + 1, today.tm_mday);
    const bool continued = files.count > 0 && std::strstr(files.newest.name, date) != nullptr;
    char firstOfDay[96];
    std::snprintf(firstOfDay, sizeof(firstOfDay), "%s-%s_1.buf", date, set.tag);
    Path path = bufferPath(continued ? files.newest.name : firstOfDay);

    struct stat status {};
    if (stat(path.text, &status) != 0) {
        // The first file of a day need not exist yet.
        if (continued || errno != ENOENT)
            ZEL_LOG(zel::loggerInstalled(), zel::LOG_LEVEL_ERROR, logSource, logMessage, "stat failed2");
        return path;
    }
    const long long budget = zel::readShared(g_nDataBufferSaveMaxSize) * bytesPerMegabyte;
    if (status.st_size > budget / filesPerBudget)
        takeNextNumber(path);
    if (files.count > 0 && files.bytes >= budget)
        deleteOldest(set, files);
    return path;
}

zel::Text newRecord(std::time_t now, const char *text1, const char *text2) {
    char seconds[32];
    std::snprintf(seconds, sizeof(seconds), "%lld", static_cast<long long>(now));
    const char *field = zel::FIELD_SEPARATOR.data();
    return zel::joinText({seconds, field, text1 == nullptr ? "" : text1, field, text2 == nullptr ? "" : text2, field,
                          zel::METRIC_SEPARATOR.data(), "\n"});
}

int writeBuffer(const BufferSet &set, const char *text1, const char *text2) {
    const std::time_t now = std::time(nullptr);
    std::tm today{};
    zel::localTime(now, today);
    const zel::ScopedDirectory directory = zel::openDirectory(bufferDirectory);
    if (directory == nullptr) {
        ZEL_LOG(zel::loggerInstalled(), zel::LOG_LEVEL_ERROR, logSource, logMessage, "buffer dir open fail");
        return 0;
    }
    const Path path = chooseFile(set, scan(directory.get(), set.tag), today);

    const zel::ScopedDescriptor file = zel::openToAppend(path.text, bufferFileMode);
    if (!file.valid()) {
        ZEL_LOG(zel::loggerInstalled(), zel::LOG_LEVEL_ERROR, logSource, logMessage, "buf file open fail [%s]",
                path.text);
        return -1;
    }
    const zel::Text record = newRecord(now, text1, text2);
    if (record == nullptr || zel::appendWhole(file.get(), record.get()) != zel::Appended::WHOLE) {
        ZEL_LOG(zel::loggerInstalled(), zel::LOG_LEVEL_ERROR, logSource, logMessage, "buf file write fail [%s]",
                path.text);
        return -1;
    }
    return 1;
}

} // namespace

int fgBufFileWrite(const char *, const char *text1, const char *text2) {
    return writeBuffer(deliveries, text1, text2);
}

int fgNBufFileWrite(const char *, const char *text1, const char *text2) {
    return writeBuffer(otherDeliveries, text1, text2);
}

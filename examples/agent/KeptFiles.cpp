// The queue over all buffer files: lowest number first, damaged files set aside.
#include "KeptFiles.h"

#include "Notice.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace agent {

namespace {

namespace fs = std::filesystem;

constexpr const char *directory = "../buffer";
constexpr const char *nameMark = "-BUF_"; // the files of fgBufFileWrite
constexpr int damagedFiles = 9;

// Must not hold the tag of the buffer files, or the library would write into it. The last name is used again.
std::string freeDamagedName() {
    std::string name;
    for (int number = 1; number <= damagedFiles; ++number) {
        name = std::string(directory) + "/damaged_" + std::to_string(number);
        std::error_code error;
        if (!fs::exists(fs::symlink_status(name, error)))
            break;
    }
    return name;
}

bool setAside(const std::string &path, const char *reason) {
    const std::string name = freeDamagedName();
    std::error_code error;
    fs::rename(path, name, error);
    if (error)
        notice("%s: %s; it cannot be set aside: %s", path.c_str(), reason, error.message().c_str());
    else
        notice("%s: %s; it is now %s", path.c_str(), reason, name.c_str());
    return !error;
}

// True when the file is gone from its place.
bool removeFinished(const KeptFile &file) {
    if (file.isDamaged())
        return setAside(file.path(), "not all of it was whole records");
    std::error_code error;
    fs::remove(file.path(), error);
    if (error)
        notice("%s cannot be deleted: %s", file.path().c_str(), error.message().c_str());
    return !error;
}

// These pass: the file is tried again later.
bool isShortage(int error) {
    return error == EMFILE || error == ENFILE || error == ENOMEM || error == ENOENT;
}

} // namespace

void KeptFiles::look() {
    forgetDeletedFiles();
    addNewFiles();
    for (const auto &file : m_files) {
        if (!file->hasRecord())
            file->advance();
    }
    removeFinishedFiles();
}

const RecordHead *KeptFiles::oldest() const {
    const KeptFile *file = fileOfOldest();
    return file == nullptr ? nullptr : &file->head();
}

bool KeptFiles::read(Record &record) {
    const KeptFile *file = fileOfOldest();
    record.head = file->head();
    if (file->readText(record.text))
        return true;
    notice("%s: record %llu is no longer there", file->path().c_str(), record.head.number);
    dropOldest();
    return false;
}

void KeptFiles::dropOldest() {
    KeptFile *file = fileOfOldest();
    if (!file->advance())
        removeFinishedFiles();
}

KeptFile *KeptFiles::fileOfOldest() const {
    KeptFile *oldest = nullptr;
    for (const auto &file : m_files) {
        if (file->hasRecord() && (oldest == nullptr || isOlder(file->head(), oldest->head())))
            oldest = file.get();
    }
    return oldest;
}

bool KeptFiles::isKnown(const std::string &path) const {
    if (m_leftAlone.count(path) > 0)
        return true;
    return std::any_of(m_files.begin(), m_files.end(), [&](const auto &file) { return file->path() == path; });
}

bool KeptFiles::isOlder(const RecordHead &head, const RecordHead &other) const {
    if (head.series == other.series)
        return head.number < other.number;
    if (other.series == m_series || head.series == m_series)
        return other.series == m_series;
    return head.series < other.series;
}

void KeptFiles::forgetDeletedFiles() {
    std::erase_if(m_files, [](const auto &file) {
        if (!file->isDeleted())
            return false;
        if (file->hasRecord())
            notice("%s was deleted to keep the budget: its records from %llu on are lost", file->path().c_str(),
                   file->head().number);
        return true;
    });
}

void KeptFiles::addNewFiles() {
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error)) {
        const std::string path = entry->path().string();
        const bool isBufferFile = entry->path().filename().string().find(nameMark) != std::string::npos;
        if (!isBufferFile || isKnown(path))
            continue;
        auto file = std::make_unique<KeptFile>(path);
        if (file->openError() == 0)
            m_files.push_back(std::move(file));
        else if (!isShortage(file->openError()) && !setAside(path, std::strerror(file->openError())))
            m_leftAlone.insert(path);
    }
}

// A file that cannot be removed stays, to be read on from its end should the library write to it again.
void KeptFiles::removeFinishedFiles() {
    std::erase_if(m_files, [](const auto &file) {
        if (file->hasRecord() || file->isStuck)
            return false;
        file->isStuck = !removeFinished(*file);
        return !file->isStuck;
    });
}

} // namespace agent

// Finds the whole records of a buffer file and reads their texts.
#include "KeptFile.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <utility>

namespace agent {

namespace {

constexpr std::string_view fieldSeparator = "\x03\x1F^";
constexpr std::string_view recordEnd = "\x03\x1F^\x03\x1F]\n";
constexpr std::size_t longestTime = 20;
constexpr off_t firstStep = 128; // a whole record starts within its time
constexpr off_t furtherStep = 65536;

} // namespace

KeptFile::KeptFile(std::string path) : m_path(std::move(path)) {
    m_file.reset(open(m_path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!m_file.valid() || fstat(m_file.get(), &status) != 0)
        m_openError = errno;
    else if (!S_ISREG(status.st_mode))
        m_openError = EISDIR;
}

bool KeptFile::isDeleted() const {
    struct stat status {};
    return m_file.valid() && fstat(m_file.get(), &status) == 0 && status.st_nlink == 0;
}

// Every field separator may be the one before a head: a torn record may hold the start of the next one.
bool KeptFile::advance() {
    m_hasRecord = false;
    const off_t from = m_next;
    off_t step = firstStep;
    for (off_t at = from; at < size(); at += std::exchange(step, furtherStep)) {
        const std::string window = readAt(at, static_cast<std::size_t>(step) + longestHead);
        const std::string_view view = window;
        std::size_t field = view.find(fieldSeparator);
        while (field < static_cast<std::size_t>(step)) {
            const off_t headAt = at + static_cast<off_t>(field + fieldSeparator.size());
            if (takeRecordAt(headAt, view.substr(field + fieldSeparator.size()))) {
                m_damaged = m_damaged || !isTime(from, at + static_cast<off_t>(field));
                m_hasRecord = true;
                isStuck = false;
                return true;
            }
            field = view.find(fieldSeparator, field + 1);
        }
    }
    return false;
}

bool KeptFile::readText(std::string &text) const {
    text = readAt(m_textAt, m_head.bytes);
    return text.size() == m_head.bytes && endsAt(m_textAt + static_cast<off_t>(m_head.bytes));
}

bool KeptFile::isDamaged() const {
    return m_damaged || m_next != size();
}

off_t KeptFile::size() const {
    struct stat status {};
    return m_file.valid() && fstat(m_file.get(), &status) == 0 ? status.st_size : 0;
}

// As much of it as can be read.
std::string KeptFile::readAt(off_t offset, std::size_t length) const {
    std::string bytes(length, '\0');
    std::size_t filled = 0;
    while (filled < length) {
        const ssize_t got =
            pread(m_file.get(), bytes.data() + filled, length - filled, offset + static_cast<off_t>(filled));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        filled += static_cast<std::size_t>(got);
    }
    bytes.resize(filled);
    return bytes;
}

// Takes the record whose head starts at `headAt`, where `bytes` were read; false when none does.
bool KeptFile::takeRecordAt(off_t headAt, std::string_view bytes) {
    const std::size_t headLength = bytes.substr(0, longestHead).find(fieldSeparator);
    if (headLength == std::string_view::npos)
        return false;
    std::optional<RecordHead> head = readHead(bytes.substr(0, headLength));
    if (!head || head->bytes > static_cast<std::size_t>(size()))
        return false;
    const off_t textAt = headAt + static_cast<off_t>(headLength + fieldSeparator.size());
    const off_t textEnd = textAt + static_cast<off_t>(head->bytes);
    if (!endsAt(textEnd))
        return false;
    m_head = std::move(*head);
    m_textAt = textAt;
    m_next = textEnd + static_cast<off_t>(recordEnd.size());
    return true;
}

bool KeptFile::endsAt(off_t offset) const {
    return readAt(offset, recordEnd.size()) == recordEnd;
}

// Whether nothing but the time of a record is between the two places.
bool KeptFile::isTime(off_t from, off_t to) const {
    if (to - from > static_cast<off_t>(longestTime))
        return false;
    const std::string time = readAt(from, static_cast<std::size_t>(to - from));
    return !time.empty() && std::all_of(time.begin(), time.end(), [](char c) { return c >= '0' && c <= '9'; });
}

} // namespace agent

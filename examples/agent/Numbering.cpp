// Numbers that survive the agent: one line in a locked file, written ahead.
#include "Numbering.h"

#include "Notice.h"
#include "Record.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>

namespace agent {

namespace {

constexpr const char *path = "../buffer/numbering";
constexpr unsigned long long numbersAhead = 10000;
constexpr std::size_t lineSize = 256; // always the same: every write covers the whole line

std::string randomSeries() {
    unsigned long long bits = 0;
    if (getrandom(&bits, sizeof(bits), 0) != sizeof(bits))
        notice("no random number for a new series: %s", std::strerror(errno));
    char text[17];
    std::snprintf(text, sizeof(text), "%016llx", bits);
    return text;
}

} // namespace

Numbering::Numbering(const std::string &host) : m_host(host) {
    openFile();
    if (m_taken)
        return;
    if (!readFile())
        m_series = randomSeries();
    reserve();
    // From here on the numbers ahead reach the disk long before they are given, without waiting for it.
    if (m_file.valid())
        fsync(m_file.get());
}

Numbering::~Numbering() {
    writeFile(m_last);
}

unsigned long long Numbering::next() {
    ++m_last;
    if (m_last + numbersAhead / 2 > m_reserved)
        reserve();
    return m_last;
}

void Numbering::openFile() {
    m_file.reset(open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
    if (!m_file.valid())
        notice("%s: %s: the numbers of the records will not continue", path, std::strerror(errno));
    else
        m_taken = flock(m_file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    if (m_taken)
        m_file.reset();
}

// False when the file is new, belongs to another host or holds anything else.
bool Numbering::readFile() {
    char line[lineSize + 1] = {};
    if (!m_file.valid() || pread(m_file.get(), line, lineSize, 0) <= 0)
        return false;
    char host[longestWord + 1] = {};
    char series[longestWord + 1] = {};
    unsigned long long number = 0;
    const bool whole = std::sscanf(line, "%64s %64s %llu", host, series, &number) == 3;
    if (!whole || !isWord(series) || m_host != host) {
        notice("%s is not of host %s: a new series begins", path, m_host.c_str());
        return false;
    }
    m_series = series;
    m_last = number;
    return true;
}

void Numbering::reserve() {
    m_reserved = m_last + numbersAhead;
    writeFile(m_reserved);
}

void Numbering::writeFile(unsigned long long number) {
    if (!m_file.valid())
        return;
    char line[lineSize + 1];
    const std::string words = m_host + ' ' + m_series + ' ' + std::to_string(number);
    std::snprintf(line, sizeof(line), "%-255.255s\n", words.c_str());
    if (pwrite(m_file.get(), line, lineSize, 0) != static_cast<ssize_t>(lineSize))
        notice("%s: %s: the numbers of the records may not continue", path, std::strerror(errno));
}

} // namespace agent

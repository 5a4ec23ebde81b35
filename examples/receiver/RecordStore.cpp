// Makes records readable, writes them, and lets them count only when they are safe.
#include "RecordStore.h"

#include <cerrno>
#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

namespace {

char blankForControl(char character) {
    const bool isControl = static_cast<unsigned char>(character) < ' ' || character == '\x7F';
    return isControl ? ' ' : character;
}

// Every separator is 03 1F and one more byte: rows and metrics start a line, columns and fields follow a blank.
void appendReadable(std::string &output, const ReceivedRecord &record) {
    for (const char character : record.line)
        output += blankForControl(character);
    output += "\n  ";
    for (std::size_t i = 0; i < record.text.size(); ++i) {
        const bool isSeparator = record.text.compare(i, 2, "\x03\x1F") == 0 && i + 2 < record.text.size();
        if (!isSeparator) {
            output += blankForControl(record.text[i]);
            continue;
        }
        i += 2;
        const bool startsLine = record.text[i] == '|' || record.text[i] == ']';
        output += startsLine ? "\n  " : " ";
    }
    output += '\n';
}

bool writeAll(const std::string &text) {
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t part = write(STDOUT_FILENO, text.data() + written, text.size() - written);
        if (part < 0 && errno == EINTR)
            continue;
        if (part <= 0)
            return false;
        written += static_cast<std::size_t>(part);
    }
    return true;
}

// Terminals and pipes have nothing to flush.
bool flush() {
    return fdatasync(STDOUT_FILENO) == 0 || errno == EINVAL || errno == EROFS;
}

// The size of the output when it is a file, -1 otherwise.
off_t fileSize() {
    struct stat status {};
    const bool isFile = fstat(STDOUT_FILENO, &status) == 0 && S_ISREG(status.st_mode);
    return isFile ? status.st_size : -1;
}

void cutFile(off_t size) {
    if (size >= 0 && ftruncate(STDOUT_FILENO, size) == 0)
        lseek(STDOUT_FILENO, size, SEEK_SET);
}

} // namespace

unsigned long long RecordStore::lastNumber(const Numbering &numbering) const {
    const auto found = m_lastNumbers.find(numbering);
    return found == m_lastNumbers.end() ? 0 : found->second;
}

bool RecordStore::store(const std::vector<ReceivedRecord> &records) {
    std::map<Numbering, unsigned long long> newNumbers;
    std::string output;
    for (const ReceivedRecord &record : records) {
        const Numbering numbering{record.host, record.series};
        unsigned long long &last = newNumbers.try_emplace(numbering, lastNumber(numbering)).first->second;
        if (record.number <= last)
            continue; // it comes again
        last = record.number;
        appendReadable(output, record);
    }
    if (output.empty())
        return true;
    const off_t size = fileSize();
    if (!writeAll(output) || !flush()) {
        std::perror("receiver: standard output");
        cutFile(size);
        return false;
    }
    for (const auto &[numbering, number] : newNumbers)
        m_lastNumbers[numbering] = number;
    return true;
}

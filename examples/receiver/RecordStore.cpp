// Makes records readable, writes them, and lets them count only when they are safe.
#include "RecordStore.h"

#include "../agent/TerminalText.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

void appendPlain(std::string &output, std::string text) {
    blankControlBytes(text);
    output += text;
}

// Every separator is 03 1F and one more byte: rows and metrics start a line, columns and fields follow a blank.
void appendReadable(std::string &output, const ReceivedRecord &record) {
    const std::string &text = record.text;
    appendPlain(output, record.line);
    output += "\n  ";
    std::size_t from = 0;
    for (std::size_t end; (end = text.find("\x03\x1F", from)) != std::string::npos && end + 2 < text.size();) {
        appendPlain(output, text.substr(from, end - from));
        const bool startsLine = text[end + 2] == '|' || text[end + 2] == ']';
        output += startsLine ? "\n  " : " ";
        from = end + 3;
    }
    appendPlain(output, text.substr(from));
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

RecordStore::RecordStore() {
    if (fileSize() <= 0)
        return;
    // By its name in the process: the output itself is open for writing only.
    std::ifstream file("/proc/self/fd/1", std::ios::binary);
    off_t recordStart = 0;
    off_t position = 0;
    ReceivedRecord record; // the last one begun; it counts once it is whole: a line and at least one line of text
    bool isWhole = false;
    const auto count = [&] {
        unsigned long long &last = m_lastNumbers[{record.host, record.series}];
        last = isWhole ? std::max(last, record.number) : last;
    };
    for (std::string line; std::getline(file, line); position += static_cast<off_t>(line.size()) + 1) {
        const bool isText = line.starts_with("  ");
        if (!isText) {
            count();
            recordStart = position;
            record = {};
        }
        if (file.eof()) {
            cutFile(recordStart);
            return;
        }
        std::size_t bytes = 0;
        if (!isText)
            readRecordLine(line, record, bytes);
        isWhole = isText;
    }
    count();
}

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

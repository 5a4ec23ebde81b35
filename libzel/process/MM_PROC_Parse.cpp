// The parsers of stat, statm and io. They give what scanf gives for the formats of these files.
#include "process/MM_PROC_Parse.h"

#include "text/NumberScan.h"

#include <cstring>
#include <string_view>
#include <type_traits>

namespace {

constexpr std::size_t ioLineSize = 512; // with its terminator
constexpr int noTerminal = -1;
constexpr int terminalOffset = 1024;

// The fields of a line in order, with the results of scanf: a %d keeps the low 32 bits of its 64, everything else
// saturates.
class LineFields {
public:
    explicit LineFields(const char *text) : m_cursor(text) {}

    bool character(char &value) {
        if (*m_cursor == '\0')
            return false;
        value = *m_cursor++;
        return true;
    }

    // The plain form here, so that the cursor stays in a register along a line.
    template<class Integer> [[gnu::always_inline]] bool decimal(Integer &value) {
        unsigned long long plain = 0;
        if (!zel::scanPlain(m_cursor, plain))
            return anyDecimal(value);
        value = static_cast<Integer>(plain);
        return true;
    }

    bool hexadecimal(long long &value) {
        unsigned long long number = 0;
        if (!zel::scanHexadecimal(m_cursor, number))
            return false;
        value = static_cast<long long>(number);
        return true;
    }

private:
    template<class Integer> bool anyDecimal(Integer &value) {
        std::conditional_t<std::is_signed_v<Integer>, long long, unsigned long long> number = 0;
        const char *cursor = m_cursor;
        bool scanned = false;
        if constexpr (std::is_signed_v<Integer>)
            scanned = zel::scanSigned(cursor, number);
        else
            scanned = zel::scanUnsigned(cursor, number);
        if (!scanned)
            return false;
        value = static_cast<Integer>(number);
        m_cursor = cursor;
        return true;
    }

    const char *m_cursor;
};

// Sample: 42 (a) b  -> 42 and "a) b", of at most 39 characters
bool parseStatHead(const char *text, proc_s &raw) {
    std::memset(raw.cmd, 0, sizeof(raw.cmd));
    long long pid = 0;
    if (!zel::scanSigned(text, pid))
        return false;
    raw.pid = static_cast<int>(pid);
    text = zel::skipBlanks(text);
    if (*text != '(')
        return false;
    const std::size_t length = strnlen(text + 1, sizeof(raw.cmd) - 1);
    std::memcpy(raw.cmd, text + 1, length);
    return length > 0;
}

// Sample: S 1 42 42 0 -1 4194560 1260 8000 22 35 111 222 3 4 20 0 1 0 98765 176148480 2345 18446744073709551615 ...
bool parseStatTail(const char *text, proc_s &raw) {
    LineFields fields(text);
    return fields.character(raw.state) && fields.decimal(raw.ppid) && fields.decimal(raw.pgrp) &&
           fields.decimal(raw.session) && fields.decimal(raw.tty) && fields.decimal(raw.tpgid) &&
           fields.decimal(raw.flags) && fields.decimal(raw.min_flt) && fields.decimal(raw.cmin_flt) &&
           fields.decimal(raw.maj_flt) && fields.decimal(raw.cmaj_flt) && fields.decimal(raw.utime) &&
           fields.decimal(raw.stime) && fields.decimal(raw.cutime) && fields.decimal(raw.cstime) &&
           fields.decimal(raw.priority) && fields.decimal(raw.nice) && fields.decimal(raw.num_threads) &&
           fields.decimal(raw.it_real_value) && fields.decimal(raw.start_time) && fields.decimal(raw.vsize) &&
           fields.decimal(raw.rss) && fields.decimal(raw.rss_rlim) && fields.decimal(raw.start_code) &&
           fields.decimal(raw.end_code) && fields.decimal(raw.start_stack) && fields.decimal(raw.kstk_esp) &&
           fields.decimal(raw.kstk_eip) && fields.hexadecimal(raw.signal) && fields.hexadecimal(raw.blocked) &&
           fields.hexadecimal(raw.sigignore) && fields.hexadecimal(raw.sigcatch) && fields.decimal(raw.wchan);
}

// "read_bytes: 3514368\n" at `line`, as every kernel writes it: takes the value and moves to the next line.
bool takeCounter(char *&line, std::string_view key, unsigned long long &value) {
    if (std::strncmp(line, key.data(), key.size()) != 0)
        return false;
    const char *cursor = line + key.size();
    unsigned long long number = 0;
    if (zel::isBlank(*cursor) || !zel::scanUnsigned(cursor, number) || *cursor != '\n')
        return false;
    const auto length = static_cast<std::size_t>(cursor - line);
    if (length >= ioLineSize)
        return false;
    value = number;
    line += length + 1;
    return true;
}

// A line of any other shape, by what it contains.
void parseIoLine(const char *line, proc_s &raw) {
    const std::string_view text = line;
    if (text.find("cancelled_") != std::string_view::npos)
        return;
    const bool ofReads = text.find("read_bytes") != std::string_view::npos;
    if (!ofReads && text.find("write_bytes:") == std::string_view::npos)
        return;
    if (zel::skipWord(line))
        zel::scanUnsigned(line, ofReads ? raw.io_read : raw.io_write);
}

} // namespace

bool zel::parseStat(char *text, proc_s &raw) {
    char *close = std::strrchr(text, ')');
    if (close == nullptr)
        return false;
    // Two characters after the ")"; a text that ends before them has nothing to parse.
    const char *tail = close[1] == '\0' ? close + 1 : close + 2;
    *close = '\0';
    if (!parseStatHead(text, raw) || !parseStatTail(tail, raw))
        return false;
    // Terminal numbers as consumers know them: from 1024 on, -1 for none.
    if (raw.tty == 0)
        raw.tty = noTerminal;
    else if (raw.tty != noTerminal)
        raw.tty = static_cast<int>(static_cast<unsigned>(raw.tty) + terminalOffset);
    return true;
}

const char *zel::commandName(const char *stat) {
    const char *name = std::strchr(stat, '(');
    return name == nullptr ? "" : name + 1;
}

// Sample: 43005 2345 1200 200 0 1500 0
bool zel::parseStatm(const char *text, proc_s &raw) {
    LineFields fields(text);
    return fields.decimal(raw.size) && fields.decimal(raw.resident) && fields.decimal(raw.share) &&
           fields.decimal(raw.trs) && fields.decimal(raw.lrs) && fields.decimal(raw.drs) && fields.decimal(raw.dt);
}

// Sample (the lines without "_" hold nothing that is asked for, so they are skipped unseen):
//   syscw: 2367
//   read_bytes: 3514368
//   write_bytes: 18669568
//   cancelled_write_bytes: 1589248
void zel::parseIo(char *lines, proc_s &raw) {
    while (char *mark = std::strchr(lines, '_')) {
        char *line = mark;
        while (line != lines && line[-1] != '\n')
            --line;
        lines = line;
        if (takeCounter(lines, "read_bytes: ", raw.io_read) || takeCounter(lines, "write_bytes: ", raw.io_write))
            continue;
        char *end = std::strchr(mark, '\n');
        lines = end == nullptr ? mark + std::strlen(mark) : end + 1;
        if (end != nullptr)
            *end = '\0';
        line[strnlen(line, ioLineSize - 1)] = '\0'; // the rest of a longer line counts for nothing
        parseIoLine(line, raw);
    }
}

int CMM_PROC_Info::fMStat2Proc(char *buf, proc_s *raw) {
    return zel::parseStat(buf, *raw);
}

int CMM_PROC_Info::fMStatm2Proc(const char *buf, proc_s *raw) {
    return zel::parseStatm(buf, *raw);
}

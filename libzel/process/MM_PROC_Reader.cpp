// Reading one process: its directory's owner and the files stat, statm, io and cmdline, each opened relative to /proc
// and taken in one read.
#include "HostRoot.h"
#include "host/HostOpen.h"
#include "process/MM_PROC_Scan.h"
#include "text/NumberScan.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>

namespace {

constexpr std::ptrdiff_t ioLineSize = 512;
constexpr long ticksPerSecond = 100; // of the kernel's counters, on every machine
constexpr double kilobytesPerByte = 0.0009765625;
constexpr int noTerminal = -1;
constexpr int terminalOffset = 1024;

// Paths of one process's files relative to /proc: "123", "123/stat".
class ProcessPath {
public:
    explicit ProcessPath(int pid) : m_end(std::to_chars(m_text, m_text + pidRoom, pid).ptr) {}

    const char *directory() {
        *m_end = '\0';
        return m_text;
    }

    const char *file(std::string_view name) {
        std::memcpy(m_end, name.data(), name.size());
        m_end[name.size()] = '\0';
        return m_text;
    }

private:
    static constexpr std::size_t pidRoom = 12;
    static constexpr std::size_t nameRoom = 12;

    char m_text[pidRoom + nameRoom];
    char *m_end;
};

// Reads a file of one record into `text` of `size` bytes and terminates it. Returns the bytes read; 0 also when the
// file cannot be opened or read.
std::size_t readRecord(int directory, const char *path, char *text, std::size_t size) {
    text[0] = '\0';
    const zel::ScopedDescriptor file(openat(directory, path, zel::HOST_FILE_FLAGS));
    if (!file.valid())
        return 0;
    const ssize_t length = read(file.get(), text, size - 1);
    if (length < 1)
        return 0;
    text[length] = '\0';
    return static_cast<std::size_t>(length);
}

zel::ScopedDescriptor openProcDirectory() {
    return zel::ScopedDescriptor(open(fgHostPath("/proc"), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

template<std::size_t size> void copyText(char (&destination)[size], std::string_view text) {
    const std::size_t length = std::min(text.size(), size - 1);
    std::memcpy(destination, text.data(), length);
    destination[length] = '\0';
}

template<std::size_t size> void bracketText(char (&destination)[size], std::string_view text) {
    const std::size_t length = std::min(text.size(), size - 3);
    destination[0] = '[';
    std::memcpy(destination + 1, text.data(), length);
    std::memcpy(destination + 1 + length, "]", 2);
}

// The command name behind the first "(" of a stat text that was cut at its last ")".
void takeCommandName(const char *stat, _ST_PROC &out) {
    const char *name = std::strchr(stat, '(');
    copyText(out.l_strFName, name == nullptr ? "" : name + 1);
}

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

    template<class Integer> bool decimal(Integer &value) {
        std::conditional_t<std::is_signed_v<Integer>, long long, unsigned long long> number = 0;
        bool scanned = false;
        if constexpr (std::is_signed_v<Integer>)
            scanned = zel::scanSigned(m_cursor, number);
        else
            scanned = zel::scanUnsigned(m_cursor, number);
        if (scanned)
            value = static_cast<Integer>(number);
        return scanned;
    }

    bool hexadecimal(long long &value) {
        unsigned long long number = 0;
        if (!zel::scanHexadecimal(m_cursor, number))
            return false;
        value = static_cast<long long>(number);
        return true;
    }

private:
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

// "read_bytes: 3514368\n" at `line`, as every kernel writes it: takes the value and moves the line behind it.
bool takeCounter(char *&line, std::string_view key, unsigned long long &value) {
    if (std::strncmp(line, key.data(), key.size()) != 0)
        return false;
    const char *cursor = line + key.size();
    unsigned long long number = 0;
    if (zel::isBlank(*cursor) || !zel::scanUnsigned(cursor, number) || *cursor != '\n' || cursor - line >= ioLineSize)
        return false;
    value = number;
    line += cursor - line + 1;
    return true;
}

// A line of any other shape, by what it contains.
void parseIoLine(const char *line, proc_s &raw) {
    const std::string_view text = line;
    if (text.find("cancelled_") != std::string_view::npos)
        return;
    const bool readLine = text.find("read_bytes") != std::string_view::npos;
    if (!readLine && text.find("write_bytes:") == std::string_view::npos)
        return;
    if (zel::skipWord(line))
        zel::scanUnsigned(line, readLine ? raw.io_read : raw.io_write);
}

// Sample (the lines without "_" hold nothing that is asked for, so they are skipped unseen):
//   syscw: 2367
//   read_bytes: 3514368
//   write_bytes: 18669568
//   cancelled_write_bytes: 1589248
void parseIo(char *text, proc_s &raw) {
    for (char *mark = std::strchr(text, '_'); mark != nullptr; mark = std::strchr(text, '_')) {
        char *line = mark;
        while (line != text && line[-1] != '\n')
            --line;
        text = line;
        if (takeCounter(text, "read_bytes: ", raw.io_read) || takeCounter(text, "write_bytes: ", raw.io_write))
            continue;
        char *end = std::strchr(mark, '\n');
        text = end == nullptr ? mark + std::strlen(mark) : end + 1;
        if (end != nullptr)
            *end = '\0';
        line[strnlen(line, static_cast<std::size_t>(ioLineSize - 1))] =
            '\0'; // the rest of a longer line counts for nothing
        parseIoLine(line, raw);
    }
}

char normalisedState(char state) {
    switch (state) {
    case 'D':
    case 'S':
        return 'S';
    case 'R':
    case 'T':
    case 'Z':
        return state;
    default:
        return '?';
    }
}

// Seconds since the epoch at which the process started. Wraps with its int, whatever the kernel files say.
int startSeconds(const CMM_PROC_Info &collector, long startTicks) {
    const char *text = collector.m_strUpTime;
    const auto uptime = static_cast<int>(zel::takeSigned(text));
    return static_cast<int>(static_cast<unsigned long>(collector.m_tTime) - static_cast<unsigned long>(uptime) +
                            static_cast<unsigned long>(startTicks / ticksPerSecond));
}

// The owner and the stat file.
bool readIdentity(const zel::ProcessReader &reader, ProcessPath &path, proc_s &raw, _ST_PROC &out) {
    struct stat status {};
    if (fstatat(reader.directory, path.directory(), &status, 0) != 0)
        return false;
    raw.uid = static_cast<int>(status.st_uid);

    char text[PROC_TEXT_SIZE + 1];
    if (readRecord(reader.directory, path.file("/stat"), text, sizeof(text)) < 1 ||
        reader.collector.fMStat2Proc(text, &raw) == 0)
        return false;
    takeCommandName(text, out);
    return true;
}

bool readMemory(const zel::ProcessReader &reader, ProcessPath &path, proc_s &raw) {
    char text[PROC_TEXT_SIZE + 1];
    return readRecord(reader.directory, path.file("/statm"), text, sizeof(text)) > 0 &&
           reader.collector.fMStatm2Proc(text, &raw) == 1;
}

// The counters start from 0, so that a file that is denied or absent shows no other process's figures.
void readIo(const zel::ProcessReader &reader, ProcessPath &path, proc_s &raw) {
    char text[PROC_TEXT_SIZE + 1];
    raw.io_read = 0;
    raw.io_write = 0;
    if (readRecord(reader.directory, path.file("/io"), text, sizeof(text)) > 0)
        parseIo(text, raw);
}

// The command line with blanks between its arguments and behind the last one; a process without one (a kernel thread, a
// zombie) is named by its command in square brackets.
void readCommandLine(const zel::ProcessReader &reader, ProcessPath &path, _ST_PROC &out) {
    const std::size_t length =
        readRecord(reader.directory, path.file("/cmdline"), out.l_strPname, sizeof(out.l_strPname));
    if (length > 0)
        std::replace(out.l_strPname, out.l_strPname + length, '\0', ' ');
    else
        bracketText(out.l_strPname, out.l_strFName);
}

void fillRecord(const CMM_PROC_Info &collector, const proc_s &raw, unsigned long totalMemory, _ST_PROC &out) {
    out.l_nPid = raw.pid;
    out.l_nPPid = raw.ppid;
    out.l_uPSid = raw.session;
    out.l_nPriority = raw.priority;
    out.l_nNice = raw.nice;
    out.l_chStatus = normalisedState(raw.state);

    out.l_dIOByteCom = static_cast<double>(raw.io_read + raw.io_write) * kilobytesPerByte;
    out.l_dIOByte = 0;
    out.l_dIOByteRate = 0;

    out.l_ulVSZ = (raw.vsize + 512) >> 10;
    out.l_ulRSS = static_cast<unsigned long>(collector.m_pclUtil->fPage2k(static_cast<long>(raw.rss)));
    out.l_dPCPU = 0;
    out.l_dPMEM = totalMemory == 0
                      ? 0.0F
                      : static_cast<float>(static_cast<double>(out.l_ulRSS) / static_cast<double>(totalMemory) * 100.0);

    out.l_nThreads = static_cast<int>(raw.num_threads);
    out.l_nUTime = static_cast<int>(raw.utime);
    out.l_nSTime = static_cast<int>(raw.stime);
}

// Many processes start in the same second: kernel threads, the services of a boot, the workers of a server.
void fillStartText(zel::ProcessReader &reader, _ST_PROC &out) {
    if (reader.startText[0] == '\0' || reader.startOfText != out.l_nStart) {
        copyText(reader.startText, reader.collector.m_pclUtil->fGetLocalTime(out.l_nStart));
        reader.startOfText = out.l_nStart;
    }
    std::memcpy(out.l_strStart, reader.startText, sizeof(out.l_strStart));
}

void fillTimes(zel::ProcessReader &reader, const proc_s &raw, _ST_PROC &out) {
    const CMM_PROC_Info &collector = reader.collector;
    const auto ticks = static_cast<long>(static_cast<unsigned long>(raw.utime) + static_cast<unsigned long>(raw.stime));
    out.l_nCTime = static_cast<int>(ticks);
    copyText(out.l_strCTime, collector.m_pclUtil->fFormatTime(static_cast<unsigned long>(ticks / ticksPerSecond)));
    out.l_nStart = startSeconds(collector, raw.start_time);
    fillStartText(reader, out);
}

} // namespace

bool zel::readProcess(ProcessReader &reader, int pid, double curTime, proc_s &raw, _ST_PROC &out) {
    CMM_PROC_Info &collector = reader.collector;
    ProcessPath path(pid);
    if (!readIdentity(reader, path, raw, out) || !readMemory(reader, path, raw))
        return false;
    readIo(reader, path, raw);
    if (reader.mode < 1)
        readCommandLine(reader, path, out);
    else
        copyText(out.l_strPname, out.l_strFName);

    fillRecord(collector, raw, reader.totalMemory, out);
    fillTimes(reader, raw, out);
    copyText(out.l_strUname, collector.m_pclUser->fUserName(raw.uid));
    takeRates(reader, out, curTime);
    out.l_nIsUpNow = 1;
    return true;
}

bool zel::readRealProcess(ProcessReader &reader, int pid, proc_s &raw, _ST_PROC &out) {
    ProcessPath path(pid);
    if (!readIdentity(reader, path, raw, out))
        return false;
    readCommandLine(reader, path, out);
    out.l_nPid = pid;
    out.l_nStart = startSeconds(reader.collector, raw.start_time);
    copyText(out.l_strUname, reader.collector.m_pclUser->fUserName(raw.uid));
    return true;
}

int CMM_PROC_Info::fMReadProcTable(int pid, proc_s *raw, _ST_PROC *out, unsigned long totalMemKB, double curTime,
                                   int mode) {
    const zel::ScopedDescriptor directory = openProcDirectory();
    zel::ProcessReader reader{*this, directory.get(), mode, totalMemKB};
    try {
        return directory.valid() && zel::readProcess(reader, pid, curTime, *raw, *out);
    } catch (const std::bad_alloc &) { // no memory for the sample of a process that is new
        return 0;
    }
}

int CMM_PROC_Info::fMRealReadProcTable(int pid, proc_s *raw, _ST_PROC *out) {
    const zel::ScopedDescriptor directory = openProcDirectory();
    zel::ProcessReader reader{*this, directory.get()};
    return directory.valid() && zel::readRealProcess(reader, pid, *raw, *out);
}

int CMM_PROC_Info::fMStat2Proc(char *buf, proc_s *raw) {
    char *close = std::strrchr(buf, ')');
    if (close == nullptr)
        return 0;
    // Two characters behind the ")"; a text that ends before them has nothing to parse.
    const char *tail = close[1] == '\0' ? close + 1 : close + 2;
    *close = '\0';
    if (!parseStatHead(buf, *raw) || !parseStatTail(tail, *raw))
        return 0;
    // Terminal numbers as consumers know them: from 1024 on, -1 for none.
    if (raw->tty == 0)
        raw->tty = noTerminal;
    else if (raw->tty != noTerminal)
        raw->tty = static_cast<int>(static_cast<unsigned>(raw->tty) + terminalOffset);
    return 1;
}

// Sample: 43005 2345 1200 200 0 1500 0
int CMM_PROC_Info::fMStatm2Proc(const char *buf, proc_s *raw) {
    LineFields fields(buf);
    return fields.decimal(raw->size) && fields.decimal(raw->resident) && fields.decimal(raw->share) &&
           fields.decimal(raw->trs) && fields.decimal(raw->lrs) && fields.decimal(raw->drs) && fields.decimal(raw->dt);
}

int CMM_PROC_Info::fMIo2Proc(const char *path, proc_s *raw) {
    char text[PROC_TEXT_SIZE + 1];
    const zel::ScopedDescriptor file = zel::openHostFile(path);
    if (!file.valid()) {
        raw->io_read = 0;
        raw->io_write = 0;
        return 1;
    }
    const ssize_t length = read(file.get(), text, sizeof(text) - 1);
    text[std::max<ssize_t>(length, 0)] = '\0';
    parseIo(text, *raw);
    return 1;
}

int CMM_PROC_Info::fMCmdline2Proc(const char *buf, proc_s *raw) {
    if (buf[0] != '\0')
        copyText(raw->args, buf);
    else
        bracketText(raw->args, raw->cmd);
    return 1;
}

int CMM_PROC_Info::xfrm_cmdline(char *buf, int len) {
    if (len >= 2)
        std::replace(buf, buf + len - 1, '\0', ' ');
    return 1;
}

// The report record of one process: names, sizes, times.
#include "process/MM_PROC_Record.h"

#include "rates/Units.h"
#include "text/FixedText.h"
#include "text/NumberScan.h"

#include <cstring>
#include <string_view>

namespace {

template<std::size_t Size> void setBracketed(char (&area)[Size], const char *text) {
    area[0] = '[';
    const std::size_t length = zel::copyText(area + 1, Size - 2, text);
    std::memcpy(area + 1 + length, "]", 2);
}

// Every byte is written, so that the compiler takes many at a time.
void blankZeroBytes(char *text, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i)
        text[i] = text[i] == '\0' ? ' ' : text[i];
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
                            static_cast<unsigned long>(startTicks / zel::TICKS_PER_SECOND));
}

void fillSizes(const CMM_PROC_Info &collector, const proc_s &raw, unsigned long totalMemory, _ST_PROC &record) {
    record.l_dIOByteCom = static_cast<double>(raw.io_read + raw.io_write) * zel::KILOBYTES_PER_BYTE;
    record.l_ulVSZ = (raw.vsize + 512) >> 10;
    record.l_ulRSS = static_cast<unsigned long>(collector.m_pclUtil->fPage2k(static_cast<long>(raw.rss)));
    record.l_dPMEM = 0;
    if (totalMemory != 0)
        record.l_dPMEM =
            static_cast<float>(static_cast<double>(record.l_ulRSS) / static_cast<double>(totalMemory) * 100.0);
}

void fillTimes(const CMM_PROC_Info &collector, const proc_s &raw, _ST_PROC &record) {
    const auto ticks = static_cast<long>(static_cast<unsigned long>(raw.utime) + static_cast<unsigned long>(raw.stime));
    record.l_nUTime = static_cast<int>(raw.utime);
    record.l_nSTime = static_cast<int>(raw.stime);
    record.l_nCTime = static_cast<int>(ticks);
    zel::copyText(record.l_strCTime,
                  collector.m_pclUtil->fFormatTime(static_cast<unsigned long>(ticks / zel::TICKS_PER_SECOND)));
}

void fillStartText(const CMM_PROC_Info &collector, zel::StartText &start, _ST_PROC &record) {
    if (start.text[0] == '\0' || start.seconds != record.l_nStart) {
        zel::copyText(start.text, collector.m_pclUtil->fGetLocalTime(record.l_nStart));
        start.seconds = record.l_nStart;
    }
    std::memcpy(record.l_strStart, start.text, sizeof(record.l_strStart));
}

} // namespace

void zel::clearRecord(_ST_PROC &record) {
    record.l_strPname[0] = '\0';
    record.l_strUname[0] = '\0';
    record.l_strCTime[0] = '\0';
    record.l_strStart[0] = '\0';
    record.l_strFName[0] = '\0';
    record.l_nIsUpNow = 0;
    record.l_dPUserCpu = 0;
    record.l_dPSysCpu = 0;
}

void zel::nameByCommandLine(_ST_PROC &record, std::size_t length) {
    if (length > 0)
        blankZeroBytes(record.l_strPname, length);
    else
        setBracketed(record.l_strPname, record.l_strFName);
}

void zel::nameByCommand(_ST_PROC &record) {
    zel::copyText(record.l_strPname, record.l_strFName);
}

void zel::fillRecord(CMM_PROC_Info &collector, const proc_s &raw, unsigned long totalMemory, StartText &start,
                     _ST_PROC &record) {
    record.l_nPid = raw.pid;
    record.l_nPPid = raw.ppid;
    record.l_uPSid = raw.session;
    record.l_nPriority = raw.priority;
    record.l_nNice = raw.nice;
    record.l_chStatus = normalisedState(raw.state);
    record.l_nThreads = static_cast<int>(raw.num_threads);
    record.l_dPCPU = 0;
    record.l_dIOByte = 0;
    record.l_dIOByteRate = 0;
    fillSizes(collector, raw, totalMemory, record);
    fillTimes(collector, raw, record);
    fillOwnerAndStart(collector, raw, record);
    fillStartText(collector, start, record);
}

void zel::fillOwnerAndStart(CMM_PROC_Info &collector, const proc_s &raw, _ST_PROC &record) {
    record.l_nStart = startSeconds(collector, raw.start_time);
    zel::copyText(record.l_strUname, collector.m_pclUser->fUserName(raw.uid));
}

bool zel::isNameless(const _ST_PROC &record) {
    return record.l_strUname[0] == '\0' || record.l_strPname[0] == '\0';
}

std::size_t zel::trimName(char *name) {
    constexpr std::string_view nameless = "<defunct>";
    std::size_t length = std::strlen(name);
    while (length > 0 && name[length - 1] == ' ')
        --length;
    if (length == 0) {
        std::memcpy(name, nameless.data(), nameless.size());
        length = nameless.size();
    }
    name[length] = '\0';
    return length;
}

int CMM_PROC_Info::fMCmdline2Proc(const char *buf, proc_s *raw) {
    if (buf[0] != '\0')
        zel::copyText(raw->args, buf);
    else
        setBracketed(raw->args, raw->cmd);
    return 1;
}

int CMM_PROC_Info::xfrm_cmdline(char *buf, int len) {
    if (len >= 2)
        blankZeroBytes(buf, static_cast<std::size_t>(len - 1));
    return 1;
}

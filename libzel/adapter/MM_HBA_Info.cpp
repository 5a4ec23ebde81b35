// Gathers the counters of the Fibre Channel ports, turns them into rates and writes the table.
#include "MM_HBA_Info.h"

#include "LogGate.h"
#include "NGFunctions.h"
#include "functions/ElapsedTime.h"
#include "host/DirectoryWalk.h"
#include "host/ScopedHandle.h"
#include "kernel/KernelFile.h"
#include "perftext/ColumnTable.h"
#include "rates/Growth.h"
#include "scripts/HomeScripts.h"
#include "text/FixedText.h"

#include <cctype>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr const char *fcHostDirectory = "/sys/class/fc_host";
constexpr std::size_t namesRoom = 8192; // bytes of names that the kernel is asked for at a time
constexpr const char *unknownState = "UNKNOWN";
constexpr std::size_t longestFileName = 64; // below the directory of a port
constexpr std::size_t portPathSize = 32 + NAME_MAX + longestFileName;
constexpr std::size_t lastJoinedDigit = 14;
constexpr int hexadecimal = 16;

// The paths of one port's files, built in place.
class PortPath {
public:
    explicit PortPath(const char *host)
        : m_prefix(static_cast<std::size_t>(std::snprintf(m_path, sizeof(m_path), "%s/%s/", fcHostDirectory, host))) {}

    const char *file(const char *name) {
        zel::copyText(m_path + m_prefix, sizeof(m_path) - m_prefix, name);
        return m_path;
    }

private:
    char m_path[portPathSize];
    std::size_t m_prefix;
};

// Like readKernelFile; `line` ends before its line feed.
zel::FileText readFirstLine(const char *path, char (&line)[HBA_LINE_SIZE]) {
    const zel::FileText file = zel::readKernelFile(path, line, sizeof(line));
    if (file)
        line[std::strcspn(line, "\n")] = '\0';
    return file;
}

// Reads the six files of a port; false at the first that cannot be read.
bool readPort(CMM_HBA_Info &collector, const char *host, _ST_HBA_OLD_LIST &reading) {
    PortPath path(host);
    char name[HBA_LINE_SIZE];
    if (collector.fGetFileInfoChar(path.file("port_name"), name) != 1)
        return false;
    zel::setFixedText(reading.l_strDevName, host);
    CMM_HBA_Info::fWWNtoString(name, reading.l_strPWWN);

    const auto readCounter = [&](const char *file, unsigned long long &counter) {
        return collector.fGetFileInfoLong(path.file(file), &counter) == 1;
    };
    if (!readCounter("statistics/fcp_input_megabytes", reading.l_ulInputMB) ||
        !readCounter("statistics/fcp_output_megabytes", reading.l_ulOutputMB) ||
        !readCounter("statistics/fcp_input_requests", reading.l_ulInputCnt) ||
        !readCounter("statistics/fcp_output_requests", reading.l_ulOutputCnt))
        return false;

    if (collector.fGetFileInfoChar(path.file("port_state"), reading.l_strState, sizeof(reading.l_strState)) == 1)
        return true;
    zel::setFixedText(reading.l_strState, unknownState);
    return false;
}

void copyCounters(const _ST_HBA_OLD_LIST &from, _ST_HBA_OLD_LIST &to) {
    to.l_ulInputMB = from.l_ulInputMB;
    to.l_ulOutputMB = from.l_ulOutputMB;
    to.l_ulInputCnt = from.l_ulInputCnt;
    to.l_ulOutputCnt = from.l_ulOutputCnt;
}

// `previous` is null for a new port.
void remember(const _ST_HBA_OLD_LIST &reading, _ST_HBA_OLD_LIST *&previous) {
    if (previous == nullptr)
        previous = new _ST_HBA_OLD_LIST{};
    zel::setFixedText(previous->l_strDevName, reading.l_strDevName);
    copyCounters(reading, *previous);
}

// A counter that fell gives 0, as one that did not move.
double ratePerSecond(unsigned long long current, unsigned long long previous, double elapsed) {
    return zel::perSecond(current > previous ? current - previous : 0, elapsed);
}

void markNegativeRates(ST_HBA_IO &io) {
    for (double *rate :
         {&io.l_fInputMB, &io.l_fOutputMB, &io.l_fInputCnt, &io.l_fOutputCnt, &io.l_fIOMega, &io.l_fIOPS})
        if (*rate < 0)
            *rate = -1;
}

struct PortRow {
    int index;
    const ST_HBA_IO &io;
};

template<class Member> constexpr auto ofPort(Member ST_HBA_IO::*member) {
    return [member](const PortRow &row) -> const Member & { return row.io.*member; };
}

constexpr zel::ColumnTable portColumns{
    zel::Column{"INDEX", &PortRow::index},
    zel::Column{"PORT_WWN", ofPort(&ST_HBA_IO::l_strPWWN)},
    zel::Column{"NAME", ofPort(&ST_HBA_IO::l_strDevName)},
    zel::Column{"PORT_STATUS", ofPort(&ST_HBA_IO::l_strState)},
    zel::Column{"INPUT_REQUESTS", ofPort(&ST_HBA_IO::l_fInputCnt)},
    zel::Column{"OUTPUT_REQUESTS", ofPort(&ST_HBA_IO::l_fOutputCnt)},
    zel::Column{"INPUT_MEGABYTES", ofPort(&ST_HBA_IO::l_fInputMB)},
    zel::Column{"OUTPUT_MEGABYTES", ofPort(&ST_HBA_IO::l_fOutputMB)},
    zel::Column{"IO_MEGABYTES", ofPort(&ST_HBA_IO::l_fIOMega)},
    zel::Column{"IOPS", ofPort(&ST_HBA_IO::l_fIOPS)},
};

void writeHeader(CPerfText &row) {
    row.clear();
    portColumns.writeHeader(row);
}

void writeRow(CPerfText &row, int index, const ST_HBA_IO &io) {
    row.clear();
    row.beginRow();
    portColumns.writeFields(row, PortRow{index, io});
}

// Rates a port that an earlier gather has found and appends its row; any other port is only remembered.
void takeReading(CMM_HBA_Info &collector, CPerfText &row, int key, const _ST_HBA_OLD_LIST &reading) {
    _ST_HBA_OLD_LIST *&previous = collector.m_HBA_Map[key];
    if (collector.m_nInsertFirst == 0 || previous == nullptr) {
        remember(reading, previous);
        return;
    }
    collector.fMComputeIo(&reading, previous);
    copyCounters(reading, *previous);
    markNegativeRates(*collector.m_pstIO);
    writeRow(row, collector.m_nHBACount + 1, *collector.m_pstIO);
    if (row.incomplete())
        return;
    collector.m_stringHBAZel += row.view();
    ++collector.m_nHBACount;
}

bool isPort(const char *entry) {
    return std::strcmp(entry, ".") != 0 && std::strcmp(entry, "..") != 0;
}

// The table of the ports, as far as the directory can be walked.
void gather(CMM_HBA_Info &collector) {
    CPerfText row(collector.m_pStrHBAZel, collector.m_nZelLen);
    writeHeader(row);
    collector.m_stringHBAZel = row.view();
    if (row.incomplete())
        return;
    zel::DirectoryRoom<namesRoom> names;
    zel::DirectoryWalk directory(fcHostDirectory, names);
    if (!directory.isOpen())
        return;
    while (const char *name = directory.next()) {
        if (!isPort(name))
            continue;
        _ST_HBA_OLD_LIST reading{};
        if (!readPort(collector, name, reading))
            break;
        takeReading(collector, row, ELFHash(name), reading);
    }
    collector.m_nInsertFirst = 1;
    collector.m_const_pstrHBAZelInfo = collector.m_stringHBAZel.c_str();
}

} // namespace

CMM_HBA_Info::CMM_HBA_Info()
    : m_pStrHBAZel(fgNewTextBuffer(HBA_ROW_SIZE)), m_pstIO(new ST_HBA_IO{}),
      m_pStrHBACardINV(fgNewTextBuffer(HBA_INVENTORY_SIZE)), m_pStrHBAPortINV(fgNewTextBuffer(HBA_INVENTORY_SIZE)) {
    fgSetTableSplit(m_strSplit);
    zel::setFixedText(m_strCardDataPath, zel::resultPath(zel::Script::AdapterInventory));
    zel::setFixedText(m_strPortDataPath, zel::PORT_INVENTORY);
    fSetElapsedTime();
    m_dElapsedTime = 0; // a time origin, not yet an interval
}

CMM_HBA_Info::~CMM_HBA_Info() {
    for (const auto &[key, reading] : m_HBA_Map)
        delete reading;
    delete m_pstIO;
    std::free(m_pStrHBAZel);
    std::free(m_pStrHBACardINV);
    std::free(m_pStrHBAPortINV);
}

int CMM_HBA_Info::fGatherHBAZel() {
    m_nHBACount = 0;
    fSetElapsedTime();
    try {
        gather(*this);
    } catch (const std::bad_alloc &) { // the rows so far stay; the text may have moved
        m_const_pstrHBAZelInfo = m_stringHBAZel.c_str();
    }
    return -1;
}

int CMM_HBA_Info::fSetElapsedTime() {
    m_dElapsedTime = zel::elapsedSince(m_stOldIoTime);
    return 1;
}

int CMM_HBA_Info::fGetFileInfoChar(const char *path, char *text, std::size_t size) {
    char line[HBA_LINE_SIZE];
    const zel::FileText file = readFirstLine(path, line);
    const bool notOpened = file.failure == zel::FileText::Failure::NotOpened;
    ZEL_LOG(notOpened && zel::loggerInstalled(), zel::LOG_LEVEL_ERROR, "MM_HBA_Info", m_strLogMsg,
            "fGetFileInfoChar open failed[%s]", path);
    if (!file)
        return -1;
    zel::copyText(text, size, line);
    return 1;
}

int CMM_HBA_Info::fGetFileInfoLong(const char *path, unsigned long long *value) {
    char line[HBA_LINE_SIZE];
    if (!readFirstLine(path, line))
        return -1;
    *value = std::strtoull(line, nullptr, hexadecimal);
    return 1;
}

// Sample: 0x21000024ff123456
void CMM_HBA_Info::fWWNtoString(const char *wwn, char *text) {
    std::size_t length = strnlen(text, HBA_TEXT_SIZE - 1);
    const char *digits = std::strstr(wwn, "0x");
    if (digits == nullptr) {
        zel::copyText(text + length, HBA_TEXT_SIZE - length, wwn);
        return;
    }
    const auto append = [&](char character) {
        if (length < HBA_TEXT_SIZE - 1)
            text[length++] = character;
    };
    digits += std::strlen("0x");
    for (std::size_t position = 1; *digits != '\0'; ++digits, ++position) {
        append(static_cast<char>(std::toupper(static_cast<unsigned char>(*digits))));
        if (position % 2 == 0 && position <= lastJoinedDigit)
            append('-');
    }
    text[length] = '\0';
}

int CMM_HBA_Info::fMComputeIo(const _ST_HBA_OLD_LIST *reading, const _ST_HBA_OLD_LIST *previous) {
    ST_HBA_IO &io = *m_pstIO;
    io = {};
    zel::setFixedText(io.l_strDevName, reading->l_strDevName);
    zel::setFixedText(io.l_strState, reading->l_strState);
    zel::setFixedText(io.l_strPWWN, reading->l_strPWWN);

    io.l_fInputMB = ratePerSecond(reading->l_ulInputMB, previous->l_ulInputMB, m_dElapsedTime);
    io.l_fOutputMB = ratePerSecond(reading->l_ulOutputMB, previous->l_ulOutputMB, m_dElapsedTime);
    io.l_fInputCnt = ratePerSecond(reading->l_ulInputCnt, previous->l_ulInputCnt, m_dElapsedTime);
    io.l_fOutputCnt = ratePerSecond(reading->l_ulOutputCnt, previous->l_ulOutputCnt, m_dElapsedTime);
    io.l_fIOMega = io.l_fOutputMB + io.l_fInputMB;
    io.l_fIOPS = io.l_fOutputCnt + io.l_fInputCnt;
    return 1;
}

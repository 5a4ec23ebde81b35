// The readers of the VM collector, one per kernel file.
#include "memory/VmReaders.h"

#include "HostRoot.h"
#include "MM_VM_Info.h"
#include "host/DirectoryWalk.h"
#include "host/HostOpen.h"
#include "kernel/KernelText.h"
#include "memory/VmFiles.h"
#include "memory/VmReaders.h"
#include "text/AsciiText.h"
#include "text/NumberScan.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string_view>
#include <unistd.h>

namespace {

constexpr std::size_t processStatSize = 4096;
constexpr std::size_t namesRoom = 8192; // bytes of names that the kernel is asked for at a time
constexpr int processPathSize = 300;
constexpr long bytesPerKilobyte = 1024;

long wrappingSum(long long left, long long right) {
    return static_cast<long>(static_cast<unsigned long long>(left) + static_cast<unsigned long long>(right));
}

// Sample: pgpgin 4263392
bool takeCounter(std::string_view text, std::string_view key, long &value, std::size_t rare) {
    const char *cursor = zel::afterKey(text, key, rare);
    if (cursor == nullptr)
        return false;
    value = zel::takeSigned(cursor);
    return true;
}

// Sample: ctxt 79658381
bool parseSwitches(std::string_view stat, long &value) {
    constexpr std::size_t placeOfX = 2;
    return takeCounter(stat, "ctxt ", value, placeOfX);
}

// Sample: page 5741 1808      (a base prefix is accepted here and nowhere else)
bool parsePageLine(std::string_view stat, long &in, long &out) {
    constexpr std::size_t placeOfG = 2;
    const char *cursor = zel::afterKey(stat, "page ", placeOfG);
    if (cursor == nullptr)
        return false;
    char *end = nullptr;
    in = std::strtol(cursor, &end, 0);
    out = std::strtol(end, &end, 0);
    return true;
}

// Sample: swap 1 0
bool parseSwapLine(std::string_view stat, long &in, long &out) {
    const char *cursor = zel::afterKey(stat, "swap ");
    if (cursor == nullptr)
        return false;
    in = zel::takeSigned(cursor);
    out = zel::takeSigned(cursor);
    return true;
}

// Consumers expect the page counts of the newer layout in this unit.
long pageCount(long kilobytes) {
    return std::max(kilobytes / getpagesize() * bytesPerKilobyte, 0L);
}

bool parseNewLayout(std::string_view vmstat, std::string_view stat, long *counters) {
    zel::SoughtKey keys[] = {{"pgpgin "}, {"pgpgout "}, {"pswpin "}, {"pswpout "}, {"pgfault "}, {"pgmajfault "}};
    zel::findKeys(vmstat, ' ', keys);
    long faults = 0;
    long majorFaults = 0;
    long *const values[] = {&counters[VM_PAGED_IN_KB],
                            &counters[VM_PAGED_OUT_KB],
                            &counters[VM_SWAPPED_IN],
                            &counters[VM_SWAPPED_OUT],
                            &faults,
                            &majorFaults};
    for (std::size_t i = 0; i < std::size(keys); ++i) {
        const char *cursor = keys[i].after();
        if (cursor == nullptr)
            return false;
        *values[i] = zel::takeSigned(cursor);
    }
    if (!parseSwitches(stat, counters[VM_SWITCHES]))
        return false;
    counters[VM_FAULTS] = wrappingSum(faults, majorFaults);
    counters[VM_PAGE_INS] = pageCount(counters[VM_PAGED_IN_KB]);
    counters[VM_PAGE_OUTS] = pageCount(counters[VM_PAGED_OUT_KB]);
    return true;
}

int readNewLayout(zel::VmFiles &files, std::string_view stat, long *counters) {
    const zel::FileText vmstat = files.vmstat.read();
    return vmstat && parseNewLayout(vmstat.text, stat, counters) ? 1 : 0;
}

} // namespace

// Sample: 26231 (vim) R 5392 7446 5392 34835 7446 4218880 32533 309516 26 82 1677 44 158 99
bool zel::parseProcessFaults(const char *text, unsigned long long &minorFaults, unsigned long long &majorFaults) {
    const char *cursor = text;
    if (!skipNumber(cursor) || !skipWord(cursor) || !skipWord(cursor))
        return false;
    for (int skipped = 0; skipped < 6; ++skipped) {
        if (!skipNumber(cursor))
            return false;
    }
    return scanUnsigned(cursor, minorFaults) && skipNumber(cursor) && scanUnsigned(cursor, majorFaults);
}

// Sample: 0.00 0.01 0.05 1/123 4567
bool zel::parseRunningTasks(const char *text, int &running) {
    const char *cursor = text;
    for (int average = 0; average < 3; ++average) {
        if (!skipNumber(cursor) || *cursor++ != '.' || !skipNumber(cursor))
            return false;
    }
    long long value = 0;
    if (!scanSigned(cursor, value) || *cursor++ != '/' || !skipNumber(cursor))
        return false;
    running = static_cast<int>(value);
    return true;
}

int CMM_VM_Info::fMGetStat(long *counters) {
    const std::string_view stat = m_files->stat();
    if (stat.empty())
        return 0;
    long in = 0;
    long out = 0;
    if (!parsePageLine(stat, in, out))
        return readNewLayout(*m_files, stat, counters);

    counters[VM_PAGE_INS] = in;
    counters[VM_PAGE_OUTS] = out;
    counters[VM_PAGED_IN_KB] = m_pclUtil->fPage2k(in);
    counters[VM_PAGED_OUT_KB] = m_pclUtil->fPage2k(out);
    if (!parseSwapLine(stat, counters[VM_SWAPPED_IN], counters[VM_SWAPPED_OUT]) ||
        !parseSwitches(stat, counters[VM_SWITCHES]))
        return 0;
    return fMGetPageFault(counters);
}

int CMM_VM_Info::fMGetStat_k2_6(long *counters) {
    const std::string_view stat = m_files->stat();
    return stat.empty() ? 0 : readNewLayout(*m_files, stat, counters);
}

int CMM_VM_Info::fMGetPageFault(long *counters) {
    zel::DirectoryRoom<namesRoom> room;
    zel::DirectoryWalk processes("/proc", room);
    if (!processes.isOpen())
        return 0;
    while (const char *name = processes.next()) {
        if (!zel::isAsciiDigit(name[0]))
            continue;
        char path[processPathSize];
        char text[processStatSize];
        std::snprintf(path, sizeof(path), "%s/stat", name);
        if (!zel::readKernelFile(zel::openHostFileAt(processes.descriptor(), path), text, processStatSize))
            continue;
        unsigned long long minorFaults = 0;
        unsigned long long majorFaults = 0;
        if (zel::parseProcessFaults(text, minorFaults, majorFaults))
            counters[VM_FAULTS] = wrappingSum(counters[VM_FAULTS], static_cast<long long>(minorFaults + majorFaults));
    }
    return 1;
}

int CMM_VM_Info::fMGetRunque(long *counters) {
    const zel::FileText loadavg = m_files->loadavg.read();
    int running = 0;
    if (!loadavg || !zel::parseRunningTasks(loadavg.text.data(), running))
        return 0;
    counters[VM_RUN_QUEUE] = running < 1 ? 0 : running - 1;
    return 1;
}

// Parses the files of a cgroup.
#include "host/areas/CgroupParse.h"

#include "host/areas/CgroupIo.h"
#include "host/areas/PressureLines.h"

#include <algorithm>
#include <iterator>

namespace zel {

namespace {

constexpr const char *fileNames[] = {
    "cgroup.events",   "cgroup.stat",   "cpu.stat",        "memory.current", "memory.peak", "memory.swap.current",
    "memory.stat",     "memory.events", "io.stat",         "pids.current",   "pids.events", "cpu.pressure",
    "memory.pressure", "io.pressure",   "cpu.max",         "cpu.weight",     "memory.min",  "memory.low",
    "memory.high",     "memory.max",    "memory.swap.max", "pids.max",
};
static_assert(std::size(fileNames) == CGROUP_FILES);

constexpr KeyedEntry<Cgroup> eventKeys[] = {{"populated", &Cgroup::populated}, {"frozen", &Cgroup::frozen}};
constexpr KeyedEntry<Cgroup> statKeys[] = {{"nr_descendants", &Cgroup::descendants},
                                           {"nr_dying_descendants", &Cgroup::dyingDescendants}};
constexpr KeyedEntry<Cgroup> pidsKeys[] = {{"max", &Cgroup::pidsLimitHits}};
constexpr KeyedEntry<Cgroup> memoryEventKeys[] = {
    {"low", &Cgroup::memoryLowEvents}, {"high", &Cgroup::memoryHighEvents}, {"max", &Cgroup::memoryMaxEvents},
    {"oom", &Cgroup::oomEvents},       {"oom_kill", &Cgroup::oomKills},     {"oom_group_kill", &Cgroup::oomGroupKills},
};
constexpr KeyedEntry<Cgroup> memoryKeys[] = {
    {"anon", &Cgroup::anonymousBytes},
    {"file", &Cgroup::fileBytes},
    {"kernel", &Cgroup::kernelBytes},
    {"kernel_stack", &Cgroup::kernelStackBytes},
    {"pagetables", &Cgroup::pageTablesBytes},
    {"percpu", &Cgroup::perCpuBytes},
    {"sock", &Cgroup::socketBytes},
    {"shmem", &Cgroup::sharedBytes},
    {"zswap", &Cgroup::zswapBytes},
    {"zswapped", &Cgroup::zswappedBytes},
    {"file_mapped", &Cgroup::mappedBytes},
    {"file_dirty", &Cgroup::dirtyBytes},
    {"file_writeback", &Cgroup::writebackBytes},
    {"swapcached", &Cgroup::swapCachedBytes},
    {"anon_thp", &Cgroup::anonymousHugeBytes},
    {"inactive_anon", &Cgroup::inactiveAnonymousBytes},
    {"active_anon", &Cgroup::activeAnonymousBytes},
    {"inactive_file", &Cgroup::inactiveFileBytes},
    {"active_file", &Cgroup::activeFileBytes},
    {"unevictable", &Cgroup::unevictableBytes},
    {"slab_reclaimable", &Cgroup::slabReclaimableBytes},
    {"slab_unreclaimable", &Cgroup::slabUnreclaimableBytes},
    {"pgfault", &Cgroup::pageFaults},
    {"pgmajfault", &Cgroup::majorPageFaults},
    {"workingset_refault_anon", &Cgroup::refaultsAnonymous},
    {"workingset_refault_file", &Cgroup::refaultsFile},
    {"pgscan", &Cgroup::pagesScanned},
    {"pgsteal", &Cgroup::pagesReclaimed},
};

constexpr PressurePlaces<Cgroup> cpuSome{&Cgroup::cpuSomeAverage10, &Cgroup::cpuSomeAverage60,
                                         &Cgroup::cpuSomeAverage300, &Cgroup::cpuSomeSeconds};
constexpr PressurePlaces<Cgroup> cpuFull{&Cgroup::cpuFullAverage10, &Cgroup::cpuFullAverage60,
                                         &Cgroup::cpuFullAverage300, &Cgroup::cpuFullSeconds};
constexpr PressurePlaces<Cgroup> memorySome{&Cgroup::memorySomeAverage10, &Cgroup::memorySomeAverage60,
                                            &Cgroup::memorySomeAverage300, &Cgroup::memorySomeSeconds};
constexpr PressurePlaces<Cgroup> memoryFull{&Cgroup::memoryFullAverage10, &Cgroup::memoryFullAverage60,
                                            &Cgroup::memoryFullAverage300, &Cgroup::memoryFullSeconds};
constexpr PressurePlaces<Cgroup> ioSome{&Cgroup::ioSomeAverage10, &Cgroup::ioSomeAverage60, &Cgroup::ioSomeAverage300,
                                        &Cgroup::ioSomeSeconds};
constexpr PressurePlaces<Cgroup> ioFull{&Cgroup::ioFullAverage10, &Cgroup::ioFullAverage60, &Cgroup::ioFullAverage300,
                                        &Cgroup::ioFullSeconds};

struct PressureFile {
    CgroupFile file;
    const PressurePlaces<Cgroup> &some, &full;
};
constexpr PressureFile pressureFiles[] = {{CgroupFile::CpuPressure, cpuSome, cpuFull},
                                          {CgroupFile::MemoryPressure, memorySome, memoryFull},
                                          {CgroupFile::IoPressure, ioSome, ioFull}};

// The files that hold one number.
struct NumberFile {
    CgroupFile file;
    Count Cgroup::*member;
};
constexpr NumberFile numberFiles[] = {
    {CgroupFile::MemoryCurrent, &Cgroup::memoryCurrent},
    {CgroupFile::MemoryPeak, &Cgroup::memoryPeak},
    {CgroupFile::SwapCurrent, &Cgroup::swapCurrent},
    {CgroupFile::PidsCurrent, &Cgroup::pidsCurrent},
    {CgroupFile::CpuWeight, &Cgroup::cpuWeight},
    {CgroupFile::MemoryMin, &Cgroup::memoryMin},
    {CgroupFile::MemoryLow, &Cgroup::memoryLow},
    {CgroupFile::MemoryHigh, &Cgroup::memoryHigh},
    {CgroupFile::MemoryMax, &Cgroup::memoryMax},
    {CgroupFile::SwapMax, &Cgroup::swapMax},
    {CgroupFile::PidsMax, &Cgroup::pidsMax},
};

template<class Entry, std::size_t Size> const Entry *entryOf(const Entry (&entries)[Size], CgroupFile file) {
    const auto *found =
        std::find_if(entries, entries + Size, [file](const Entry &entry) { return entry.file == file; });
    return found == entries + Size ? nullptr : found;
}

Number secondsOf(const Count &microseconds) {
    constexpr double microsecondsPerSecond = 1e6;
    return microseconds ? Number(static_cast<double>(*microseconds) / microsecondsPerSecond)
                        : Number(microseconds.absence());
}

// Sample: 4194304   or: max, which is no limit at all
Count takeLimit(const char *&cursor) {
    constexpr std::string_view noLimit = "max";
    if (startsWith(cursor, noLimit) && endsWord(cursor[noLimit.size()])) {
        cursor += noLimit.size();
        return Absence::Unsupported;
    }
    return takeCount(cursor);
}

// Sample: 50000 100000
bool takeCpuMax(const char *text, Cgroup &cgroup) {
    const Count quota = takeLimit(text);
    const Count period = quota.absence() == Absence::Malformed ? quota : takeCount(text);
    const bool whole = period && *period > 0;
    cgroup.cpuPeriodSeconds = whole ? secondsOf(period) : Number(Absence::Malformed);
    cgroup.cpuLimit = !whole  ? Number(Absence::Malformed)
                      : quota ? Number(static_cast<double>(*quota) / static_cast<double>(*period))
                              : Number(quota.absence());
    return whole;
}

} // namespace

const char *cgroupFileName(CgroupFile file) {
    return fileNames[static_cast<std::size_t>(file)];
}

void takeUnitType(std::string_view path, Reading<std::string> &unitType) {
    constexpr std::string_view types[] = {"service", "slice", "scope", "socket", "mount", "swap"};
    const std::size_t dot = path.rfind('.');
    const std::string_view ending = dot == std::string_view::npos ? std::string_view() : path.substr(dot + 1);
    if (std::find(std::begin(types), std::end(types), ending) != std::end(types))
        unitType.set(ending);
    else
        unitType.clear(Absence::Unsupported);
}

const KeyedEntry<CgroupParser::CpuStat> CgroupParser::CPU_KEYS[] = {
    {"usage_usec", &CpuStat::usage},         {"user_usec", &CpuStat::user},
    {"system_usec", &CpuStat::system},       {"nice_usec", &CpuStat::nice},
    {"nr_periods", &CpuStat::periods},       {"nr_throttled", &CpuStat::throttledPeriods},
    {"throttled_usec", &CpuStat::throttled}, {"nr_bursts", &CpuStat::bursts},
    {"burst_usec", &CpuStat::burst},
};

CgroupParser::CgroupParser()
    : m_events(eventKeys, ' '), m_stat(statKeys, ' '), m_memory(memoryKeys, ' '), m_memoryEvents(memoryEventKeys, ' '),
      m_pids(pidsKeys, ' '), m_cpu(CPU_KEYS, ' ') {}

KeyedLines<Cgroup> *CgroupParser::linesOf(CgroupFile file) {
    switch (file) {
    case CgroupFile::Events:
        return &m_events;
    case CgroupFile::Stat:
        return &m_stat;
    case CgroupFile::MemoryStat:
        return &m_memory;
    case CgroupFile::MemoryEvents:
        return &m_memoryEvents;
    case CgroupFile::PidsEvents:
        return &m_pids;
    default:
        return nullptr;
    }
}

bool CgroupParser::takeCpuStat(const char *text, Cgroup &cgroup) {
    CpuStat stat;
    const KeyedLineCounts lines = m_cpu.parse(text, stat);
    if (lines.known == 0)
        lose(CgroupFile::CpuStat, Absence::Malformed, cgroup);
    else
        setCpuStat(stat, cgroup);
    return lines.known > 0 && lines.malformed == 0;
}

void CgroupParser::setCpuStat(const CpuStat &stat, Cgroup &cgroup) {
    cgroup.cpuUsageSeconds = secondsOf(stat.usage);
    cgroup.cpuUserSeconds = secondsOf(stat.user);
    cgroup.cpuSystemSeconds = secondsOf(stat.system);
    cgroup.cpuNiceSeconds = secondsOf(stat.nice);
    cgroup.cpuPeriods = stat.periods;
    cgroup.cpuThrottledPeriods = stat.throttledPeriods;
    cgroup.cpuThrottledSeconds = secondsOf(stat.throttled);
    cgroup.cpuBursts = stat.bursts;
    cgroup.cpuBurstSeconds = secondsOf(stat.burst);
}

bool CgroupParser::take(CgroupFile file, const char *text, Cgroup &cgroup) {
    if (KeyedLines<Cgroup> *lines = linesOf(file)) {
        const KeyedLineCounts counts = lines->parse(text, cgroup);
        if (counts.known == 0)
            lines->forget(cgroup, Absence::Malformed);
        return counts.known > 0 && counts.malformed == 0;
    }
    if (const NumberFile *number = entryOf(numberFiles, file)) {
        cgroup.*number->member = takeLimit(text);
        return (cgroup.*number->member).absence() != Absence::Malformed;
    }
    if (const PressureFile *pressure = entryOf(pressureFiles, file))
        return takePressure(text, pressure->some, pressure->full, cgroup);
    if (file == CgroupFile::CpuMax)
        return takeCpuMax(text, cgroup);
    return takeCpuStat(text, cgroup);
}

void CgroupParser::lose(CgroupFile file, Absence reason, Cgroup &cgroup) {
    if (KeyedLines<Cgroup> *lines = linesOf(file))
        return lines->forget(cgroup, reason);
    if (const NumberFile *number = entryOf(numberFiles, file)) {
        cgroup.*number->member = reason;
        return;
    }
    if (const PressureFile *pressure = entryOf(pressureFiles, file))
        return losePressure(pressure->some, pressure->full, reason, cgroup);
    if (file == CgroupFile::CpuMax) {
        cgroup.cpuLimit = cgroup.cpuPeriodSeconds = reason;
        return;
    }
    if (file == CgroupFile::IoStat) {
        for (const auto member : IO_SUMS)
            cgroup.*member = reason;
        return;
    }
    const CpuStat none{reason, reason, reason, reason, reason, reason, reason, reason, reason};
    setCpuStat(none, cgroup);
}

} // namespace zel

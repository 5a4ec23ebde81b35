// Takes the texts of the files of a cgroup into its row.
#pragma once

#include "host/Cgroup.h"
#include "host/areas/KeyedLines.h"

namespace zel {

/// The files of a cgroup: first those that are read in each sample, then its limits and weights.
enum class CgroupFile : unsigned char {
    Events,
    Stat,
    CpuStat,
    MemoryCurrent,
    MemoryPeak,
    SwapCurrent,
    MemoryStat,
    MemoryEvents,
    IoStat,
    PidsCurrent,
    PidsEvents,
    CpuPressure,
    MemoryPressure,
    IoPressure,
    CpuMax,
    CpuWeight,
    MemoryMin,
    MemoryLow,
    MemoryHigh,
    MemoryMax,
    SwapMax,
    PidsMax
};
inline constexpr std::size_t CGROUP_FILES = 22;
inline constexpr std::size_t CGROUP_FILES_OF_EACH_SAMPLE = 14;

/// "cpu.stat"
const char *cgroupFileName(CgroupFile file);

/// The type of a unit by the last name of a path: "service". Unsupported for other names.
void takeUnitType(std::string_view path, Reading<std::string> &unitType);

class CgroupParser {
public:
    CgroupParser();

    /// Takes a text, which is terminated. False when it is not what the kernel writes; what is wrong in it is
    /// malformed. Of io.stat nothing is taken here (CgroupIo.h).
    bool take(CgroupFile file, const char *text, Cgroup &cgroup);
    /// Takes the values of a file away.
    void lose(CgroupFile file, Absence reason, Cgroup &cgroup);

private:
    struct CpuStat {
        Count usage, user, system, nice, periods, throttledPeriods, throttled, bursts, burst;
    };

    bool takeCpuStat(const char *text, Cgroup &cgroup);
    static void setCpuStat(const CpuStat &stat, Cgroup &cgroup);
    static const KeyedEntry<CpuStat> CPU_KEYS[];
    KeyedLines<Cgroup> *linesOf(CgroupFile file);

    KeyedLines<Cgroup> m_events, m_stat, m_memory, m_memoryEvents, m_pids;
    KeyedLines<CpuStat> m_cpu;
};

} // namespace zel

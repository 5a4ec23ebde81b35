// Whole disks in the real /proc/diskstats: loop devices without a file, which cost nothing but their line.
#pragma once

#include <sys/types.h>

namespace bench {

/// Adds loop devices to the machine and removes them at the end. A guardian process holds the list, so that they go
/// also when this process is killed. Numbers that the collector takes for those of a disk (multiples of 16 below 10000)
/// come first.
class LoopDisks {
public:
    LoopDisks();
    ~LoopDisks();
    LoopDisks(const LoopDisks &) = delete;
    LoopDisks &operator=(const LoopDisks &) = delete;

    /// Adds `count` more; false when the machine does not allow it.
    bool add(long count);

private:
    int nextNumber();

    int m_control;
    int m_nextDisk;
    int m_nextOther;
    int m_toGuardian = -1;
    pid_t m_guardian = -1;
};

} // namespace bench

// What a cgroup did on each block device: the lines of io.stat.
#pragma once

#include "host/Cgroup.h"

namespace zel {

/// What io.stat counts of a device, in the order of IO_SUMS.
inline constexpr Count CgroupDevice::*IO_COUNTS[] = {&CgroupDevice::readBytes,      &CgroupDevice::writtenBytes,
                                                     &CgroupDevice::reads,          &CgroupDevice::writes,
                                                     &CgroupDevice::discardedBytes, &CgroupDevice::discards};
inline constexpr Count Cgroup::*IO_SUMS[] = {&Cgroup::ioReadBytes, &Cgroup::ioWrittenBytes,   &Cgroup::ioReads,
                                             &Cgroup::ioWrites,    &Cgroup::ioDiscardedBytes, &Cgroup::ioDiscards};

/// The next device of the text of io.stat, its number and its counts; the cursor moves to the line after it. False at
/// the end of the text.
bool takeCgroupDevice(const char *&cursor, CgroupDevice &device);
/// Adds the counts of a device to those of its cgroup. What one of them lacks, the sum lacks.
void addCgroupDevice(const CgroupDevice &device, Cgroup &cgroup);

} // namespace zel

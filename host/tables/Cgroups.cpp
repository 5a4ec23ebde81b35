// The fields of the control groups.
#include "host/Cgroup.h"

namespace zel {

namespace {

constexpr std::string_view version2 = "a host with control groups of version 2 (systemd.unified_cgroup_hierarchy=1)";
constexpr std::string_view cpuController = "controller cpu in the cgroup.subtree_control of the cgroup above";
constexpr std::string_view memoryController = "controller memory in the cgroup.subtree_control of the cgroup above";
constexpr std::string_view ioController = "controller io in the cgroup.subtree_control of the cgroup above";
constexpr std::string_view pidsController = "controller pids in the cgroup.subtree_control of the cgroup above";
constexpr std::string_view pressureOption = "CONFIG_PSI=y, and psi=1 on the kernel's command line";

constexpr Entries<CgroupTotals> totals{Area::Cgroups, "cgroup_totals", "/sys/fs/cgroup", version2};
constexpr Field<CgroupTotals> totalsFields[] = {
    totals.info("mount_point", &CgroupTotals::mountPoint, "Where the tree of version 2 is mounted."),
    totals.from("/sys/fs/cgroup/**/cgroup.controllers", version2)
        .info("controllers", &CgroupTotals::controllers, "Controllers that version 2 has."),
    totals.gauge("cgroups", &CgroupTotals::cgroups, Unit::None, "Cgroups that were read."),
    totals.gauge("cgroups_left_out", &CgroupTotals::cgroupsLeftOut, Unit::None,
                 "Cgroups that were not, because they are too many or too deep."),
    totals.from("/sys/fs/cgroup/**/io.stat", ioController)
        .gauge("devices_left_out", &CgroupTotals::devicesLeftOut, Unit::None,
               "Devices of cgroups that have no row, because they are too many."),
};

constexpr Entries<Cgroup> tree{Area::Cgroups, "cgroups", "/sys/fs/cgroup", version2};
constexpr Entries<Cgroup> cgroup = tree.from("/sys/fs/cgroup/**/cgroup.events", "a cgroup below the root");
constexpr Entries<Cgroup> unit = tree.from("/sys/fs/cgroup", "systemd, which names its units so");
constexpr Entries<Cgroup> contained = tree.from("/sys/fs/cgroup", "a cgroup of a container");
constexpr Entries<Cgroup> counts = tree.from("/sys/fs/cgroup/**/cgroup.stat", version2);
constexpr Entries<Cgroup> usage = tree.from("/sys/fs/cgroup/**/cpu.stat", version2);
constexpr Entries<Cgroup> cpu = tree.from("/sys/fs/cgroup/**/cpu.stat", cpuController);
constexpr Entries<Cgroup> cpuMax = tree.from("/sys/fs/cgroup/**/cpu.max", cpuController);
constexpr Entries<Cgroup> stat = tree.from("/sys/fs/cgroup/**/memory.stat", memoryController);
constexpr Entries<Cgroup> events = tree.from("/sys/fs/cgroup/**/memory.events", memoryController);
constexpr Entries<Cgroup> io = tree.from("/sys/fs/cgroup/**/io.stat", ioController);
constexpr Entries<Cgroup> cpuPressure = tree.from("/sys/fs/cgroup/**/cpu.pressure", pressureOption);
constexpr Entries<Cgroup> memoryPressure = tree.from("/sys/fs/cgroup/**/memory.pressure", pressureOption);
constexpr Entries<Cgroup> ioPressure = tree.from("/sys/fs/cgroup/**/io.pressure", pressureOption);

// A file with one number.
constexpr Field<Cgroup> memoryFile(std::string_view file, std::string_view name, Count Cgroup::*member,
                                   std::string_view help) {
    return tree.from(file, memoryController).gauge(name, member, Unit::Bytes, help);
}

constexpr Field<Cgroup> fields[] = {
    tree.label("path", &Cgroup::path, "Path below the mount point; / is the root."),
    tree.info("inode", &Cgroup::inode, "Its inode, which is the id of the cgroup."),
    unit.info("unit_type", &Cgroup::unitType, "Type of the unit, where systemd gave the name: service, slice, scope."),
    contained.info("container", &Cgroup::container, "Container that it is, or is in."),
    cgroup.state("populated", &Cgroup::populated, "1 when there is a process in it."),
    cgroup.state("frozen", &Cgroup::frozen, "1 when its processes are stopped."),
    counts.gauge("descendants", &Cgroup::descendants, Unit::None, "Cgroups below it."),
    counts.gauge("dying_descendants", &Cgroup::dyingDescendants, Unit::None,
                 "Cgroups below it that were removed and still hold memory."),

    usage.counter("cpu_usage_seconds_total", &Cgroup::cpuUsageSeconds, Unit::Seconds, "Processor time."),
    usage.counter("cpu_user_seconds_total", &Cgroup::cpuUserSeconds, Unit::Seconds, "Processor time in user mode."),
    usage.counter("cpu_system_seconds_total", &Cgroup::cpuSystemSeconds, Unit::Seconds,
                  "Processor time in the kernel."),
    usage.counter("cpu_nice_seconds_total", &Cgroup::cpuNiceSeconds, Unit::Seconds,
                  "Processor time in user mode with low priority, part of that in user mode."),
    cpu.counter("cpu_periods_total", &Cgroup::cpuPeriods, Unit::None, "Periods of its limit in which it ran."),
    cpu.counter("cpu_throttled_periods_total", &Cgroup::cpuThrottledPeriods, Unit::None,
                "Periods in which it used its limit up."),
    cpu.counter("cpu_throttled_seconds_total", &Cgroup::cpuThrottledSeconds, Unit::Seconds,
                "Time for which its limit held it back, of all processors together."),
    cpu.counter("cpu_bursts_total", &Cgroup::cpuBursts, Unit::None, "Periods in which it used more than its limit."),
    cpu.counter("cpu_burst_seconds_total", &Cgroup::cpuBurstSeconds, Unit::Seconds,
                "Processor time used beyond its limit."),
    cpuMax.gauge("cpu_limit_ratio", &Cgroup::cpuLimit, Unit::Ratio,
                 "Processor time that it may use, 1 is one processor."),
    cpuMax.gauge("cpu_period_seconds", &Cgroup::cpuPeriodSeconds, Unit::Seconds, "Period of this limit."),
    tree.from("/sys/fs/cgroup/**/cpu.weight", cpuController)
        .gauge("cpu_weight", &Cgroup::cpuWeight, Unit::None, "Its share beside its siblings, 1 to 10000."),

    memoryFile("/sys/fs/cgroup/**/memory.current", "memory_current_bytes", &Cgroup::memoryCurrent, "Memory in use."),
    memoryFile("/sys/fs/cgroup/**/memory.peak", "memory_peak_bytes", &Cgroup::memoryPeak,
               "Most memory that was in use."),
    memoryFile("/sys/fs/cgroup/**/memory.min", "memory_min_bytes", &Cgroup::memoryMin,
               "Memory that is never reclaimed."),
    memoryFile("/sys/fs/cgroup/**/memory.low", "memory_low_bytes", &Cgroup::memoryLow,
               "Memory that is reclaimed last."),
    memoryFile("/sys/fs/cgroup/**/memory.high", "memory_high_bytes", &Cgroup::memoryHigh,
               "Memory beyond which its tasks are slowed down."),
    memoryFile("/sys/fs/cgroup/**/memory.max", "memory_max_bytes", &Cgroup::memoryMax, "Memory that it cannot exceed."),
    memoryFile("/sys/fs/cgroup/**/memory.swap.current", "swap_current_bytes", &Cgroup::swapCurrent, "Swap in use."),
    memoryFile("/sys/fs/cgroup/**/memory.swap.max", "swap_max_bytes", &Cgroup::swapMax, "Swap that it cannot exceed."),
    stat.gauge("anonymous_bytes", &Cgroup::anonymousBytes, Unit::Bytes, "Anonymous memory mapped into processes."),
    stat.gauge("file_bytes", &Cgroup::fileBytes, Unit::Bytes, "Page cache, shared memory included."),
    stat.gauge("kernel_bytes", &Cgroup::kernelBytes, Unit::Bytes,
               "Memory of the kernel: stacks, page tables, slabs and others."),
    stat.gauge("kernel_stack_bytes", &Cgroup::kernelStackBytes, Unit::Bytes, "Stacks of the kernel."),
    stat.gauge("page_tables_bytes", &Cgroup::pageTablesBytes, Unit::Bytes, "Page tables."),
    stat.gauge("per_cpu_bytes", &Cgroup::perCpuBytes, Unit::Bytes, "Memory of the kernel that every processor has."),
    stat.gauge("socket_bytes", &Cgroup::socketBytes, Unit::Bytes, "Buffers of network sockets."),
    stat.gauge("shared_bytes", &Cgroup::sharedBytes, Unit::Bytes, "Shared memory and tmpfs."),
    stat.gauge("zswap_bytes", &Cgroup::zswapBytes, Unit::Bytes, "Memory that holds compressed swap."),
    stat.gauge("zswapped_bytes", &Cgroup::zswappedBytes, Unit::Bytes, "What it holds, before compression."),
    stat.gauge("mapped_bytes", &Cgroup::mappedBytes, Unit::Bytes, "Files mapped into processes."),
    stat.gauge("dirty_bytes", &Cgroup::dirtyBytes, Unit::Bytes, "Page cache that waits to be written."),
    stat.gauge("writeback_bytes", &Cgroup::writebackBytes, Unit::Bytes, "Page cache that is being written."),
    stat.gauge("swap_cached_bytes", &Cgroup::swapCachedBytes, Unit::Bytes, "Memory that is in swap too."),
    stat.gauge("anonymous_huge_bytes", &Cgroup::anonymousHugeBytes, Unit::Bytes,
               "Anonymous memory in transparent huge pages."),
    stat.gauge("inactive_anonymous_bytes", &Cgroup::inactiveAnonymousBytes, Unit::Bytes,
               "Anonymous memory not used lately."),
    stat.gauge("active_anonymous_bytes", &Cgroup::activeAnonymousBytes, Unit::Bytes, "Anonymous memory used lately."),
    stat.gauge("inactive_file_bytes", &Cgroup::inactiveFileBytes, Unit::Bytes, "Page cache not used lately."),
    stat.gauge("active_file_bytes", &Cgroup::activeFileBytes, Unit::Bytes, "Page cache used lately."),
    stat.gauge("unevictable_bytes", &Cgroup::unevictableBytes, Unit::Bytes, "Memory that cannot be reclaimed."),
    stat.gauge("slab_reclaimable_bytes", &Cgroup::slabReclaimableBytes, Unit::Bytes, "Slabs that can be reclaimed."),
    stat.gauge("slab_unreclaimable_bytes", &Cgroup::slabUnreclaimableBytes, Unit::Bytes,
               "Slabs that cannot be reclaimed."),
    stat.counter("page_faults_total", &Cgroup::pageFaults, Unit::None, "Page faults."),
    stat.counter("major_page_faults_total", &Cgroup::majorPageFaults, Unit::None, "Page faults that had to read."),
    stat.counter("refaults_anonymous_total", &Cgroup::refaultsAnonymous, Unit::None,
                 "Anonymous pages that were needed again soon after they were reclaimed."),
    stat.counter("refaults_file_total", &Cgroup::refaultsFile, Unit::None,
                 "Pages of files that were needed again soon after they were reclaimed."),
    stat.counter("pages_scanned_total", &Cgroup::pagesScanned, Unit::None, "Pages that reclaim looked at."),
    stat.counter("pages_reclaimed_total", &Cgroup::pagesReclaimed, Unit::None, "Pages that it took."),
    events.counter("memory_low_events_total", &Cgroup::memoryLowEvents, Unit::None,
                   "Times that memory below memory.low was reclaimed."),
    events.counter("memory_high_events_total", &Cgroup::memoryHighEvents, Unit::None,
                   "Times that tasks were slowed down because memory.high was exceeded."),
    events.counter("memory_max_events_total", &Cgroup::memoryMaxEvents, Unit::None,
                   "Times that memory was about to exceed memory.max."),
    events.counter("oom_events_total", &Cgroup::oomEvents, Unit::None,
                   "Times that memory could not be had within memory.max."),
    events.counter("oom_kills_total", &Cgroup::oomKills, Unit::None, "Processes killed for want of memory."),
    events.counter("oom_group_kills_total", &Cgroup::oomGroupKills, Unit::None,
                   "Times that all of it was killed for want of memory."),

    io.counter("io_read_bytes_total", &Cgroup::ioReadBytes, Unit::Bytes, "Bytes read, of all devices together."),
    io.counter("io_written_bytes_total", &Cgroup::ioWrittenBytes, Unit::Bytes,
               "Bytes written, of all devices together."),
    io.counter("io_discarded_bytes_total", &Cgroup::ioDiscardedBytes, Unit::Bytes,
               "Bytes discarded, of all devices together."),
    io.counter("io_reads_total", &Cgroup::ioReads, Unit::None, "Reads, of all devices together."),
    io.counter("io_writes_total", &Cgroup::ioWrites, Unit::None, "Writes, of all devices together."),
    io.counter("io_discards_total", &Cgroup::ioDiscards, Unit::None, "Discards, of all devices together."),

    tree.from("/sys/fs/cgroup/**/pids.current", pidsController)
        .gauge("pids_current", &Cgroup::pidsCurrent, Unit::None, "Processes and threads."),
    tree.from("/sys/fs/cgroup/**/pids.max", pidsController)
        .gauge("pids_max", &Cgroup::pidsMax, Unit::None, "Processes and threads that it cannot exceed."),
    tree.from("/sys/fs/cgroup/**/pids.events", pidsController)
        .counter("pids_limit_hits_total", &Cgroup::pidsLimitHits, Unit::None,
                 "Times that a fork failed because of this limit."),

    cpuPressure.gauge("cpu_some_average_10_ratio", &Cgroup::cpuSomeAverage10, Unit::Ratio,
                      "Share of the last 10 seconds in which a task waited for a processor."),
    cpuPressure.gauge("cpu_some_average_60_ratio", &Cgroup::cpuSomeAverage60, Unit::Ratio,
                      "Share of the last minute in which a task waited for a processor."),
    cpuPressure.gauge("cpu_some_average_300_ratio", &Cgroup::cpuSomeAverage300, Unit::Ratio,
                      "Share of the last 5 minutes in which a task waited for a processor."),
    cpuPressure.counter("cpu_some_seconds_total", &Cgroup::cpuSomeSeconds, Unit::Seconds,
                        "Time in which at least one task waited for a processor."),
    cpuPressure.gauge("cpu_full_average_10_ratio", &Cgroup::cpuFullAverage10, Unit::Ratio,
                      "Share of the last 10 seconds in which all tasks waited for a processor."),
    cpuPressure.gauge("cpu_full_average_60_ratio", &Cgroup::cpuFullAverage60, Unit::Ratio,
                      "Share of the last minute in which all tasks waited for a processor."),
    cpuPressure.gauge("cpu_full_average_300_ratio", &Cgroup::cpuFullAverage300, Unit::Ratio,
                      "Share of the last 5 minutes in which all tasks waited for a processor."),
    cpuPressure.counter("cpu_full_seconds_total", &Cgroup::cpuFullSeconds, Unit::Seconds,
                        "Time in which all tasks waited for a processor."),
    memoryPressure.gauge("memory_some_average_10_ratio", &Cgroup::memorySomeAverage10, Unit::Ratio,
                         "Share of the last 10 seconds in which a task waited for memory."),
    memoryPressure.gauge("memory_some_average_60_ratio", &Cgroup::memorySomeAverage60, Unit::Ratio,
                         "Share of the last minute in which a task waited for memory."),
    memoryPressure.gauge("memory_some_average_300_ratio", &Cgroup::memorySomeAverage300, Unit::Ratio,
                         "Share of the last 5 minutes in which a task waited for memory."),
    memoryPressure.counter("memory_some_seconds_total", &Cgroup::memorySomeSeconds, Unit::Seconds,
                           "Time in which at least one task waited for memory."),
    memoryPressure.gauge("memory_full_average_10_ratio", &Cgroup::memoryFullAverage10, Unit::Ratio,
                         "Share of the last 10 seconds in which all tasks waited for memory."),
    memoryPressure.gauge("memory_full_average_60_ratio", &Cgroup::memoryFullAverage60, Unit::Ratio,
                         "Share of the last minute in which all tasks waited for memory."),
    memoryPressure.gauge("memory_full_average_300_ratio", &Cgroup::memoryFullAverage300, Unit::Ratio,
                         "Share of the last 5 minutes in which all tasks waited for memory."),
    memoryPressure.counter("memory_full_seconds_total", &Cgroup::memoryFullSeconds, Unit::Seconds,
                           "Time in which all tasks waited for memory."),
    ioPressure.gauge("io_some_average_10_ratio", &Cgroup::ioSomeAverage10, Unit::Ratio,
                     "Share of the last 10 seconds in which a task waited for I/O."),
    ioPressure.gauge("io_some_average_60_ratio", &Cgroup::ioSomeAverage60, Unit::Ratio,
                     "Share of the last minute in which a task waited for I/O."),
    ioPressure.gauge("io_some_average_300_ratio", &Cgroup::ioSomeAverage300, Unit::Ratio,
                     "Share of the last 5 minutes in which a task waited for I/O."),
    ioPressure.counter("io_some_seconds_total", &Cgroup::ioSomeSeconds, Unit::Seconds,
                       "Time in which at least one task waited for I/O."),
    ioPressure.gauge("io_full_average_10_ratio", &Cgroup::ioFullAverage10, Unit::Ratio,
                     "Share of the last 10 seconds in which all tasks waited for I/O."),
    ioPressure.gauge("io_full_average_60_ratio", &Cgroup::ioFullAverage60, Unit::Ratio,
                     "Share of the last minute in which all tasks waited for I/O."),
    ioPressure.gauge("io_full_average_300_ratio", &Cgroup::ioFullAverage300, Unit::Ratio,
                     "Share of the last 5 minutes in which all tasks waited for I/O."),
    ioPressure.counter("io_full_seconds_total", &Cgroup::ioFullSeconds, Unit::Seconds,
                       "Time in which all tasks waited for I/O."),
};

constexpr Entries<CgroupDevice> device{Area::Cgroups, "cgroup_devices", "/sys/fs/cgroup/**/io.stat", ioController};
constexpr Field<CgroupDevice> deviceFields[] = {
    device.label("path", &CgroupDevice::path, "Path of the cgroup below the mount point."),
    device.label("device", &CgroupDevice::device, "Major and minor number of the block device."),
    device.info("inode", &CgroupDevice::inode, "Inode of the cgroup."),
    device.from("/sys/dev/block", ioController)
        .info("name", &CgroupDevice::name, "Name of the device as the kernel has it."),
    device.counter("read_bytes_total", &CgroupDevice::readBytes, Unit::Bytes, "Bytes read."),
    device.counter("written_bytes_total", &CgroupDevice::writtenBytes, Unit::Bytes, "Bytes written."),
    device.counter("discarded_bytes_total", &CgroupDevice::discardedBytes, Unit::Bytes, "Bytes discarded."),
    device.counter("reads_total", &CgroupDevice::reads, Unit::None, "Reads."),
    device.counter("writes_total", &CgroupDevice::writes, Unit::None, "Writes."),
    device.counter("discards_total", &CgroupDevice::discards, Unit::None, "Discards."),
};

} // namespace

template<> std::span<const Field<CgroupTotals>> fieldsOf<CgroupTotals>() {
    return totalsFields;
}
template<> std::span<const Field<Cgroup>> fieldsOf<Cgroup>() {
    return fields;
}
template<> std::span<const Field<CgroupDevice>> fieldsOf<CgroupDevice>() {
    return deviceFields;
}

} // namespace zel

// The fields of what a host can run out of.
#include "host/Limits.h"

namespace zel {

namespace {

constexpr std::string_view ipc = "CONFIG_SYSVIPC=y";
constexpr std::string_view version6 = "IPv6: ipv6.disable=0 on the kernel's command line";

constexpr Entries<Limits> of{Area::Limits, "limits", "/proc/sys"};
constexpr Entries<Limits> files = of.from("/proc/sys/fs/file-nr");
constexpr Entries<Limits> inodes = of.from("/proc/sys/fs/inode-nr");
constexpr Entries<Limits> dentries = of.from("/proc/sys/fs/dentry-state");
constexpr Field<Limits> fields[] = {
    files.gauge("files_allocated", &Limits::filesAllocated, Unit::None, "Files that are open, of the whole host."),
    files.gauge("files_unused", &Limits::filesUnused, Unit::None, "Files allocated and not in use."),
    files.gauge("files_limit", &Limits::filesLimit, Unit::None, "Files that can be open at most."),
    of.from("/proc/sys/fs/nr_open")
        .gauge("files_per_process_limit", &Limits::filesPerProcessLimit, Unit::None,
               "Files of a process to which its limit can be raised."),
    inodes.gauge("inodes_allocated", &Limits::inodesAllocated, Unit::None, "Inodes in memory."),
    inodes.gauge("inodes_unused", &Limits::inodesUnused, Unit::None, "Inodes in memory that nobody uses."),
    dentries.gauge("dentries_allocated", &Limits::dentriesAllocated, Unit::None, "Directory entries in memory."),
    dentries.gauge("dentries_unused", &Limits::dentriesUnused, Unit::None,
                   "Directory entries in memory that nobody uses."),
    dentries.gauge("dentries_negative", &Limits::dentriesNegative, Unit::None,
                   "Directory entries of names that do not exist; 0 before kernel 5.0."),
    of.from("/proc/sys/fs/aio-nr", "CONFIG_AIO=y")
        .gauge("aio_requests", &Limits::aioRequests, Unit::None, "Asynchronous requests that programs reserved."),
    of.from("/proc/sys/fs/aio-max-nr", "CONFIG_AIO=y")
        .gauge("aio_requests_limit", &Limits::aioRequestsLimit, Unit::None, "Those that can be reserved."),
    of.from("/proc/loadavg").gauge("threads", &Limits::threads, Unit::None, "Threads of all processes."),
    of.from("/proc/sys/kernel/threads-max")
        .gauge("threads_limit", &Limits::threadsLimit, Unit::None, "Threads that there can be at most."),
    of.from("/proc/sys/kernel/pid_max")
        .gauge("pids_limit", &Limits::pidsLimit, Unit::None,
               "The pid from which they start anew; each thread has one."),
    of.from("/proc/sys/vm/max_map_count")
        .gauge("memory_maps_per_process_limit", &Limits::memoryMapsPerProcessLimit, Unit::None,
               "Mappings that a process can have."),
    of.from("/proc/sys/fs/inotify/max_user_instances", "CONFIG_INOTIFY_USER=y")
        .gauge("inotify_instances_per_user_limit", &Limits::inotifyInstancesPerUserLimit, Unit::None,
               "Watchers that a user can have."),
    of.from("/proc/sys/fs/inotify/max_user_watches", "CONFIG_INOTIFY_USER=y")
        .gauge("inotify_watches_per_user_limit", &Limits::inotifyWatchesPerUserLimit, Unit::None,
               "Files that a user can watch."),
    of.from("/proc/sys/kernel/pty/nr", "CONFIG_UNIX98_PTYS=y")
        .gauge("terminals", &Limits::terminals, Unit::None, "Pseudo terminals."),
    of.from("/proc/sys/kernel/pty/max", "CONFIG_UNIX98_PTYS=y")
        .gauge("terminals_limit", &Limits::terminalsLimit, Unit::None, "Pseudo terminals that there can be at most."),
    of.from("/proc/sysvipc/sem", ipc)
        .gauge("semaphore_arrays", &Limits::semaphoreArrays, Unit::None, "System V semaphore arrays."),
    of.from("/proc/sys/kernel/sem", ipc)
        .gauge("semaphore_arrays_limit", &Limits::semaphoreArraysLimit, Unit::None,
               "Semaphore arrays that there can be at most."),
    of.from("/proc/sysvipc/shm", ipc)
        .gauge("shared_memory_segments", &Limits::sharedMemorySegments, Unit::None, "System V shared memory segments."),
    of.from("/proc/sys/kernel/shmmni", ipc)
        .gauge("shared_memory_segments_limit", &Limits::sharedMemorySegmentsLimit, Unit::None,
               "Segments that there can be at most."),
    of.from("/proc/sysvipc/msg", ipc)
        .gauge("message_queues", &Limits::messageQueues, Unit::None, "System V message queues."),
    of.from("/proc/sys/kernel/msgmni", ipc)
        .gauge("message_queues_limit", &Limits::messageQueuesLimit, Unit::None, "Queues that there can be at most."),
    of.from("/proc/sys/kernel/random/entropy_avail")
        .gauge("entropy_available_bits", &Limits::entropyAvailableBits, Unit::None, "Entropy that is there."),
    of.from("/proc/sys/kernel/random/poolsize")
        .gauge("entropy_pool_bits", &Limits::entropyPoolBits, Unit::None, "Entropy that there can be."),
    of.from("/proc/net/stat/arp_cache")
        .gauge("arp_entries", &Limits::arpEntries, Unit::None, "ARP entries of the whole host."),
    of.from("/proc/sys/net/ipv4/neigh/default/gc_thresh3")
        .gauge("arp_entries_limit", &Limits::arpEntriesLimit, Unit::None, "ARP entries that there can be at most."),
    of.from("/proc/net/stat/ndisc_cache", version6)
        .gauge("ndisc_entries", &Limits::ndiscEntries, Unit::None, "Neighbours of IPv6 of the whole host."),
    of.from("/proc/sys/net/ipv6/neigh/default/gc_thresh3", version6)
        .gauge("ndisc_entries_limit", &Limits::ndiscEntriesLimit, Unit::None,
               "Neighbours of IPv6 that there can be at most."),
};

constexpr Entries<KeyUser> key{Area::Limits, "key_users", "/proc/key-users", "CONFIG_KEYS=y"};
constexpr Field<KeyUser> keyFields[] = {
    key.label("uid", &KeyUser::uid, "Number of the user."),
    key.gauge("keys", &KeyUser::keys, Unit::None, "Keys of the user."),
    key.gauge("keys_limit", &KeyUser::keysLimit, Unit::None, "Keys that the user can have."),
    key.gauge("used_bytes", &KeyUser::bytes, Unit::Bytes, "Memory of the user's keys."),
    key.gauge("limit_bytes", &KeyUser::bytesLimit, Unit::Bytes, "Memory that the user's keys can have."),
};

constexpr Entries<SecurityModules> security{Area::Limits, "security", "/sys/fs/selinux/enforce",
                                            "CONFIG_SECURITY_SELINUX=y and selinux=1 on the kernel's command line"};
constexpr Field<SecurityModules> securityFields[] = {
    security.state("selinux_enabled", &SecurityModules::selinuxEnabled, "1 when SELinux is enabled."),
    security.state("selinux_enforcing", &SecurityModules::selinuxEnforcing,
                   "1 when SELinux forbids, 0 when it only reports."),
    security.from("/etc/selinux/config", "a distribution with SELinux")
        .info("selinux_configured", &SecurityModules::selinuxConfigured,
              "enforcing, permissive or disabled: what the next boot begins with."),
};

} // namespace

template<> std::span<const Field<SecurityModules>> fieldsOf<SecurityModules>() {
    return securityFields;
}

template<> std::span<const Field<Limits>> fieldsOf<Limits>() {
    return fields;
}

template<> std::span<const Field<KeyUser>> fieldsOf<KeyUser>() {
    return keyFields;
}

} // namespace zel

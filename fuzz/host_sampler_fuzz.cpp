// A whole sampler over a host whose files are the pieces of the input, at two moments.
#include "FuzzTarget.h"
#include "HostArea.h"
#include "HostRoot.h"
#include "RootOnTmpfs.h"
#include "host/Sampler.h"

namespace {

constexpr const char *files[] = {"proc/stat",
                                 "proc/diskstats",
                                 "proc/net/dev",
                                 "proc/self/mountinfo",
                                 "proc/1/stat",
                                 "proc/1/statm",
                                 "proc/1/io",
                                 "proc/1/cmdline",
                                 "proc/1/cgroup",
                                 "proc/meminfo",
                                 "proc/vmstat",
                                 "proc/interrupts",
                                 "proc/softirqs",
                                 "proc/loadavg",
                                 "proc/uptime",
                                 "proc/swaps",
                                 "proc/pressure/io",
                                 "etc/os-release",
                                 "etc/passwd",
                                 "sys/class/net/eth0/speed",
                                 "sys/class/net/eth0/operstate",
                                 "sys/class/block/sda/size",
                                 "sys/class/block/sda/queue/scheduler",
                                 "sys/devices/system/cpu/present",
                                 "sys/devices/system/node/node0/meminfo",
                                 "sys/fs/cgroup/cgroup.controllers",
                                 "sys/fs/cgroup/a.slice/memory.stat",
                                 "sys/fs/cgroup/a.slice/io.stat"};

} // namespace

FUZZ_TARGET(host_sampler_fuzz) {
    fuzz::root();
    zel::Sampler sampler({.root = g_strHostRoot});
    zel::Sample before, now;
    for (zel::Sample *sample : {&before, &now}) {
        for (const char *file : files)
            fuzz::hostFile(file, input);
        sampler.take(*sample);
        fuzz::ensureSample(*sample);
    }
    fuzz::ensureRates(zel::between(before, now));
}

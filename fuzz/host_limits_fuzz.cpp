// What a host can run out of as the typed model reads it, at two moments.
#include "FuzzTarget.h"
#include "HostArea.h"

FUZZ_TARGET(host_limits_fuzz) {
    fuzz::HostArea area(zel::Area::Limits, zel::limitsReader());
    for (int moment = 0; moment < 2; ++moment) {
        for (const char *file : {"proc/sys/fs/file-nr", "proc/sys/fs/dentry-state", "proc/sys/kernel/sem",
                                 "proc/sys/kernel/pid_max", "proc/loadavg", "proc/key-users", "proc/sysvipc/shm",
                                 "proc/net/stat/arp_cache", "sys/fs/selinux/enforce", "etc/selinux/config"})
            fuzz::hostFile(file, input);
        area.take();
    }
}

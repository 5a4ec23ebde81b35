// The files of btrfs, XFS and ZFS as the typed model reads them, at two moments.
#include "FuzzTarget.h"
#include "HostArea.h"

FUZZ_TARGET(host_volumes_fuzz) {
    fuzz::HostArea area(zel::Area::Filesystems, zel::filesystemReader());
    for (int moment = 0; moment < 2; ++moment) {
        fuzz::hostFile("proc/1/mountinfo", input);
        for (const char *file : {"label", "nodesize", "allocation/global_rsv_size", "allocation/data/total_bytes",
                                 "allocation/data/raid5/total_bytes"})
            fuzz::hostFile(std::string("sys/fs/btrfs/67ca9d8b-25d1/") + file, input);
        fuzz::hostFile("sys/fs/xfs/sda1/stats/stats", input);
        for (const char *file : {"arcstats", "tank/state", "tank/io", "tank/objset-0x36"})
            fuzz::hostFile(std::string("proc/spl/kstat/zfs/") + file, input);
        area.take();
    }
}

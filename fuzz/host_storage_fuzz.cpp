// What belongs to disks as the typed model reads it, at two moments: arrays, udev's records, tapes, NVMe controllers
// and bcache.
#include "FuzzTarget.h"
#include "HostArea.h"
#include "RootOnTmpfs.h"

namespace {

constexpr const char *files[] = {"proc/mdstat",
                                 "run/udev/data/b8:0",
                                 "sys/class/scsi_tape/st0/stats/in_flight",
                                 "sys/class/scsi_tape/st0/stats/read_ns",
                                 "sys/class/nvme/nvme0/state",
                                 "sys/class/nvme/nvme0/model",
                                 "sys/fs/bcache/a-b/btree_cache_size",
                                 "sys/fs/bcache/a-b/internal/btree_nodes",
                                 "sys/fs/bcache/a-b/bdev0/dirty_data",
                                 "sys/fs/bcache/a-b/bdev0/writeback_rate_debug",
                                 "sys/fs/bcache/a-b/cache0/written"};

} // namespace

FUZZ_TARGET(host_storage_fuzz) {
    fuzz::HostArea area(zel::Area::Disks, zel::diskReader());
    fuzz::root().host("proc/diskstats", "   8       0 sda 1 2 3 4 5 6 7 8 0 10 11\n");
    for (int moment = 0; moment < 2; ++moment) {
        for (const char *file : files)
            fuzz::hostFile(file, input);
        area.take();
    }
}

// /proc/meminfo, a node, huge pages, /proc/swaps and errors of memory as the typed model reads them.
#include "FuzzTarget.h"
#include "HostArea.h"

FUZZ_TARGET(host_memory_fuzz) {
    fuzz::HostArea area(zel::Area::Memory, zel::memoryReader());
    for (int moment = 0; moment < 2; ++moment) {
        fuzz::hostFile("proc/meminfo", input);
        fuzz::hostFile("sys/devices/system/node/node0/meminfo", input);
        fuzz::hostFile("sys/devices/system/node/node0/numastat", input);
        fuzz::hostFile("sys/kernel/mm/hugepages/hugepages-2048kB/nr_hugepages", input);
        fuzz::hostFile("proc/swaps", input);
        for (const char *file : {"ce_count", "mc_name", "csrow0/ue_count", "dimm0/dimm_label", "dimm0/size"})
            fuzz::hostFile(std::string("sys/devices/system/edac/mc/mc0/") + file, input);
        area.take();
    }
}

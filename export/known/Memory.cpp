// The known names of memory: those of the keys of /proc/meminfo.
#include "export/known/BuiltName.h"
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr KnownField<Memory> fields[] = {
    {&Memory::totalBytes, "node_memory_MemTotal_bytes", MetricType::Gauge, "Memory that the kernel can use."},
    {&Memory::freeBytes, "node_memory_MemFree_bytes", MetricType::Gauge, "Memory that nobody uses."},
    {&Memory::availableBytes, "node_memory_MemAvailable_bytes", MetricType::Gauge,
     "Memory that programs can get without swapping (kernel 3.14 and later)."},
    {&Memory::buffersBytes, "node_memory_Buffers_bytes", MetricType::Gauge, "Buffers of block devices."},
    {&Memory::cachedBytes, "node_memory_Cached_bytes", MetricType::Gauge, "Page cache, shared memory included."},
    {&Memory::swapCachedBytes, "node_memory_SwapCached_bytes", MetricType::Gauge, "Memory that is in swap too."},
    {&Memory::activeBytes, "node_memory_Active_bytes", MetricType::Gauge, "Memory used lately."},
    {&Memory::inactiveBytes, "node_memory_Inactive_bytes", MetricType::Gauge, "Memory not used lately."},
    {&Memory::activeAnonymousBytes, "node_memory_Active_anon_bytes", MetricType::Gauge,
     "Anonymous memory used lately."},
    {&Memory::inactiveAnonymousBytes, "node_memory_Inactive_anon_bytes", MetricType::Gauge,
     "Anonymous memory not used lately."},
    {&Memory::activeFileBytes, "node_memory_Active_file_bytes", MetricType::Gauge, "Page cache used lately."},
    {&Memory::inactiveFileBytes, "node_memory_Inactive_file_bytes", MetricType::Gauge, "Page cache not used lately."},
    {&Memory::unevictableBytes, "node_memory_Unevictable_bytes", MetricType::Gauge, "Memory that cannot be reclaimed."},
    {&Memory::lockedBytes, "node_memory_Mlocked_bytes", MetricType::Gauge, "Memory locked by mlock."},
    {&Memory::highTotalBytes, "node_memory_HighTotal_bytes", MetricType::Gauge,
     "Memory beyond the direct map, on 32-bit kernels."},
    {&Memory::highFreeBytes, "node_memory_HighFree_bytes", MetricType::Gauge, "Free memory beyond the direct map."},
    {&Memory::lowTotalBytes, "node_memory_LowTotal_bytes", MetricType::Gauge,
     "Memory in the direct map, on 32-bit kernels."},
    {&Memory::lowFreeBytes, "node_memory_LowFree_bytes", MetricType::Gauge, "Free memory in the direct map."},
    {&Memory::mmapCopyBytes, "node_memory_MmapCopy_bytes", MetricType::Gauge,
     "Memory copied for mappings, on kernels without an MMU."},
    {&Memory::swapTotalBytes, "node_memory_SwapTotal_bytes", MetricType::Gauge, "Size of all swap devices."},
    {&Memory::swapFreeBytes, "node_memory_SwapFree_bytes", MetricType::Gauge, "Swap that nobody uses."},
    {&Memory::zswapBytes, "node_memory_Zswap_bytes", MetricType::Gauge, "Memory that holds compressed swap."},
    {&Memory::zswappedBytes, "node_memory_Zswapped_bytes", MetricType::Gauge, "What it holds, before compression."},
    {&Memory::dirtyBytes, "node_memory_Dirty_bytes", MetricType::Gauge, "Memory that waits to be written."},
    {&Memory::writebackBytes, "node_memory_Writeback_bytes", MetricType::Gauge, "Memory that is being written."},
    {&Memory::anonymousBytes, "node_memory_AnonPages_bytes", MetricType::Gauge,
     "Anonymous memory mapped into processes."},
    {&Memory::mappedBytes, "node_memory_Mapped_bytes", MetricType::Gauge, "Files mapped into processes."},
    {&Memory::sharedBytes, "node_memory_Shmem_bytes", MetricType::Gauge, "Shared memory and tmpfs."},
    {&Memory::kernelReclaimableBytes, "node_memory_KReclaimable_bytes", MetricType::Gauge,
     "Memory of the kernel that can be reclaimed."},
    {&Memory::slabBytes, "node_memory_Slab_bytes", MetricType::Gauge, "Slabs of the kernel."},
    {&Memory::slabReclaimableBytes, "node_memory_SReclaimable_bytes", MetricType::Gauge,
     "Slabs that can be reclaimed."},
    {&Memory::slabUnreclaimableBytes, "node_memory_SUnreclaim_bytes", MetricType::Gauge,
     "Slabs that cannot be reclaimed."},
    {&Memory::kernelStackBytes, "node_memory_KernelStack_bytes", MetricType::Gauge, "Stacks of the kernel."},
    {&Memory::shadowCallStackBytes, "node_memory_ShadowCallStack_bytes", MetricType::Gauge,
     "Shadow stacks of the kernel, on arm64."},
    {&Memory::pageTablesBytes, "node_memory_PageTables_bytes", MetricType::Gauge, "Page tables."},
    {&Memory::secondaryPageTablesBytes, "node_memory_SecPageTables_bytes", MetricType::Gauge,
     "Secondary page tables, such as those of guests."},
    {&Memory::nfsUnstableBytes, "node_memory_NFS_Unstable_bytes", MetricType::Gauge,
     "Pages of NFS written but not committed."},
    {&Memory::bounceBytes, "node_memory_Bounce_bytes", MetricType::Gauge, "Bounce buffers of block devices."},
    {&Memory::writebackTemporaryBytes, "node_memory_WritebackTmp_bytes", MetricType::Gauge,
     "Buffers of FUSE for writing."},
    {&Memory::commitLimitBytes, "node_memory_CommitLimit_bytes", MetricType::Gauge,
     "Memory that can be promised under strict accounting."},
    {&Memory::committedBytes, "node_memory_Committed_AS_bytes", MetricType::Gauge, "Memory that is promised."},
    {&Memory::vmallocTotalBytes, "node_memory_VmallocTotal_bytes", MetricType::Gauge, "Address space of vmalloc."},
    {&Memory::vmallocUsedBytes, "node_memory_VmallocUsed_bytes", MetricType::Gauge, "Used address space of vmalloc."},
    {&Memory::vmallocChunkBytes, "node_memory_VmallocChunk_bytes", MetricType::Gauge, "Largest free piece of it."},
    {&Memory::perCpuBytes, "node_memory_Percpu_bytes", MetricType::Gauge,
     "Memory of the kernel that every processor has."},
    {&Memory::earlyMemtestBadBytes, "node_memory_EarlyMemtestBad_bytes", MetricType::Gauge,
     "Memory found bad at boot."},
    {&Memory::hardwareCorruptedBytes, "node_memory_HardwareCorrupted_bytes", MetricType::Gauge,
     "Memory that the hardware reported broken."},
    {&Memory::anonymousHugeBytes, "node_memory_AnonHugePages_bytes", MetricType::Gauge,
     "Transparent huge pages of anonymous memory."},
    {&Memory::sharedHugeBytes, "node_memory_ShmemHugePages_bytes", MetricType::Gauge,
     "Transparent huge pages of shared memory."},
    {&Memory::sharedHugeMappedBytes, "node_memory_ShmemPmdMapped_bytes", MetricType::Gauge,
     "Those that are mapped as such."},
    {&Memory::fileHugeBytes, "node_memory_FileHugePages_bytes", MetricType::Gauge, "Transparent huge pages of files."},
    {&Memory::fileHugeMappedBytes, "node_memory_FilePmdMapped_bytes", MetricType::Gauge,
     "Those that are mapped as such."},
    {&Memory::cmaTotalBytes, "node_memory_CmaTotal_bytes", MetricType::Gauge,
     "Memory of the contiguous memory allocator."},
    {&Memory::cmaFreeBytes, "node_memory_CmaFree_bytes", MetricType::Gauge, "Free memory of it."},
    {&Memory::unacceptedBytes, "node_memory_Unaccepted_bytes", MetricType::Gauge,
     "Memory that the guest has not accepted yet."},
    {&Memory::balloonBytes, "node_memory_Balloon_bytes", MetricType::Gauge, "Memory given back to the hypervisor."},
    {&Memory::gpuActiveBytes, "node_memory_GPUActive_bytes", MetricType::Gauge, "Memory that GPUs use."},
    {&Memory::gpuReclaimBytes, "node_memory_GPUReclaim_bytes", MetricType::Gauge,
     "Memory of GPUs that can be reclaimed."},
    {&Memory::quicklistsBytes, "node_memory_Quicklists_bytes", MetricType::Gauge,
     "Page tables kept for reuse, on old kernels."},
    {&Memory::hugePages, "node_memory_HugePages_Total", MetricType::Gauge, "Huge pages of the default size."},
    {&Memory::hugePagesFree, "node_memory_HugePages_Free", MetricType::Gauge, "Those that are free."},
    {&Memory::hugePagesReserved, "node_memory_HugePages_Rsvd", MetricType::Gauge,
     "Those that are promised but not in use."},
    {&Memory::hugePagesSurplus, "node_memory_HugePages_Surp", MetricType::Gauge, "Those beyond the configured number."},
    {&Memory::hugePageBytes, "node_memory_Hugepagesize_bytes", MetricType::Gauge, "The default size of a huge page."},
    {&Memory::hugetlbBytes, "node_memory_Hugetlb_bytes", MetricType::Gauge, "Memory of huge pages of all sizes."},
    {&Memory::directMap4kBytes, "node_memory_DirectMap4k_bytes", MetricType::Gauge, "Direct map by pages of 4 KB."},
    {&Memory::directMap64kBytes, "node_memory_DirectMap64k_bytes", MetricType::Gauge, "Direct map by pages of 64 KB."},
    {&Memory::directMap1mBytes, "node_memory_DirectMap1M_bytes", MetricType::Gauge, "Direct map by pages of 1 MB."},
    {&Memory::directMap2mBytes, "node_memory_DirectMap2M_bytes", MetricType::Gauge, "Direct map by pages of 2 MB."},
    {&Memory::directMap4mBytes, "node_memory_DirectMap4M_bytes", MetricType::Gauge, "Direct map by pages of 4 MB."},
    {&Memory::directMap1gBytes, "node_memory_DirectMap1G_bytes", MetricType::Gauge, "Direct map by pages of 1 GB."},
    {&Memory::directMap2gBytes, "node_memory_DirectMap2G_bytes", MetricType::Gauge, "Direct map by pages of 2 GB."},
};
constexpr KnownTable<Memory> table{.one = &Sample::memory, .fields = fields};

// A key in brackets ends its name: "Active(anon)" is Active_anon.
void writeOthers(const Sample &sample, MetricSink &sink) {
    BuiltName name;
    for (const MemoryOther &other : sample.memoryOthers) {
        const std::string_view key(other.key);
        name.clear();
        name.add("node_memory_").add(key.substr(0, key.size() - (key.ends_with(')') ? 1 : 0)));
        if (other.bytes)
            name.add("_bytes");
        sink.family(name.text(), MetricType::Gauge, "A key of meminfo that is newer than this program.");
        sink.value(other.bytes ? other.bytes : other.value);
    }
}

void write(const Sample &sample, MetricSink &sink) {
    writeKnown(table, sample, sink);
    writeOthers(sample, sink);
}

void listFields(KnownFields &known) {
    known.add(table);
    known.add<MemoryOther>({&MemoryOther::value, &MemoryOther::bytes});
}

} // namespace

const KnownMetrics knownMemory{Area::Memory, write, listFields};

} // namespace zel

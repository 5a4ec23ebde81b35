// The fields of memory.
#include "host/Memory.h"

namespace zel {

namespace {

constexpr std::string_view hugetlbOption = "CONFIG_HUGETLBFS=y";
constexpr std::string_view transparentOption = "CONFIG_TRANSPARENT_HUGEPAGE=y";
constexpr std::string_view shadowOption = "CONFIG_SHADOW_CALL_STACK=y, on arm64 or riscv";
constexpr std::string_view acceptOption = "CONFIG_UNACCEPTED_MEMORY=y";
constexpr std::string_view otherRelease = "a kernel of another release";
constexpr std::string_view nodes = "CONFIG_NUMA=y";

constexpr std::string_view file = "/proc/meminfo";
constexpr Entries<Memory> always{Area::Memory, "memory", file};
constexpr Entries<Memory> memory = always.from(file, otherRelease);
constexpr Entries<Memory> high = memory.from(file, "CONFIG_HIGHMEM=y, on a 32-bit kernel");
constexpr Entries<Memory> withoutMmu = memory.from(file, "a kernel without an MMU");
constexpr Entries<Memory> zswap = memory.from(file, "CONFIG_ZSWAP=y, kernel 5.19 or later");
constexpr Entries<Memory> shadow = memory.from(file, shadowOption);
constexpr Entries<Memory> memoryTest = memory.from(file, "memtest on the kernel's command line, kernel 6.4 or later");
constexpr Entries<Memory> broken = memory.from(file, "CONFIG_MEMORY_FAILURE=y");
constexpr Entries<Memory> transparent = memory.from(file, transparentOption);
constexpr Entries<Memory> contiguous = memory.from(file, "CONFIG_CMA=y");
constexpr Entries<Memory> unaccepted = memory.from(file, acceptOption);
constexpr Entries<Memory> hugetlb = memory.from(file, hugetlbOption);
constexpr Entries<Memory> direct = memory.from(file, "a processor that maps memory by pages of this size");
constexpr Field<Memory> memoryFields[] = {
    always.gauge("total_bytes", &Memory::totalBytes, Unit::Bytes, "Memory that the kernel can use."),
    always.gauge("free_bytes", &Memory::freeBytes, Unit::Bytes, "Memory that nobody uses."),
    memory.gauge("available_bytes", &Memory::availableBytes, Unit::Bytes,
                 "Memory that programs can get without swapping (kernel 3.14 and later)."),
    memory.gauge("buffers_bytes", &Memory::buffersBytes, Unit::Bytes, "Buffers of block devices."),
    memory.gauge("cached_bytes", &Memory::cachedBytes, Unit::Bytes, "Page cache, shared memory included."),
    memory.gauge("swap_cached_bytes", &Memory::swapCachedBytes, Unit::Bytes, "Memory that is in swap too."),
    memory.gauge("active_bytes", &Memory::activeBytes, Unit::Bytes, "Memory used lately."),
    memory.gauge("inactive_bytes", &Memory::inactiveBytes, Unit::Bytes, "Memory not used lately."),
    memory.gauge("active_anonymous_bytes", &Memory::activeAnonymousBytes, Unit::Bytes, "Anonymous memory used lately."),
    memory.gauge("inactive_anonymous_bytes", &Memory::inactiveAnonymousBytes, Unit::Bytes,
                 "Anonymous memory not used lately."),
    memory.gauge("active_file_bytes", &Memory::activeFileBytes, Unit::Bytes, "Page cache used lately."),
    memory.gauge("inactive_file_bytes", &Memory::inactiveFileBytes, Unit::Bytes, "Page cache not used lately."),
    memory.gauge("unevictable_bytes", &Memory::unevictableBytes, Unit::Bytes, "Memory that cannot be reclaimed."),
    memory.gauge("locked_bytes", &Memory::lockedBytes, Unit::Bytes, "Memory locked by mlock."),
    high.gauge("high_total_bytes", &Memory::highTotalBytes, Unit::Bytes,
               "Memory beyond the direct map, on 32-bit kernels."),
    high.gauge("high_free_bytes", &Memory::highFreeBytes, Unit::Bytes, "Free memory beyond the direct map."),
    high.gauge("low_total_bytes", &Memory::lowTotalBytes, Unit::Bytes, "Memory in the direct map, on 32-bit kernels."),
    high.gauge("low_free_bytes", &Memory::lowFreeBytes, Unit::Bytes, "Free memory in the direct map."),
    withoutMmu.gauge("mmap_copy_bytes", &Memory::mmapCopyBytes, Unit::Bytes,
                     "Memory copied for mappings, on kernels without an MMU."),
    memory.gauge("swap_total_bytes", &Memory::swapTotalBytes, Unit::Bytes, "Size of all swap devices."),
    memory.gauge("swap_free_bytes", &Memory::swapFreeBytes, Unit::Bytes, "Swap that nobody uses."),
    zswap.gauge("zswap_bytes", &Memory::zswapBytes, Unit::Bytes, "Memory that holds compressed swap."),
    zswap.gauge("zswapped_bytes", &Memory::zswappedBytes, Unit::Bytes, "What it holds, before compression."),
    memory.gauge("dirty_bytes", &Memory::dirtyBytes, Unit::Bytes, "Memory that waits to be written."),
    memory.gauge("writeback_bytes", &Memory::writebackBytes, Unit::Bytes, "Memory that is being written."),
    memory.gauge("anonymous_bytes", &Memory::anonymousBytes, Unit::Bytes, "Anonymous memory mapped into processes."),
    memory.gauge("mapped_bytes", &Memory::mappedBytes, Unit::Bytes, "Files mapped into processes."),
    memory.gauge("shared_bytes", &Memory::sharedBytes, Unit::Bytes, "Shared memory and tmpfs."),
    memory.gauge("kernel_reclaimable_bytes", &Memory::kernelReclaimableBytes, Unit::Bytes,
                 "Memory of the kernel that can be reclaimed."),
    memory.gauge("slab_bytes", &Memory::slabBytes, Unit::Bytes, "Slabs of the kernel."),
    memory.gauge("slab_reclaimable_bytes", &Memory::slabReclaimableBytes, Unit::Bytes, "Slabs that can be reclaimed."),
    memory.gauge("slab_unreclaimable_bytes", &Memory::slabUnreclaimableBytes, Unit::Bytes,
                 "Slabs that cannot be reclaimed."),
    memory.gauge("kernel_stack_bytes", &Memory::kernelStackBytes, Unit::Bytes, "Stacks of the kernel."),
    shadow.gauge("shadow_call_stack_bytes", &Memory::shadowCallStackBytes, Unit::Bytes,
                 "Shadow stacks of the kernel, on arm64."),
    memory.gauge("page_tables_bytes", &Memory::pageTablesBytes, Unit::Bytes, "Page tables."),
    memory.gauge("secondary_page_tables_bytes", &Memory::secondaryPageTablesBytes, Unit::Bytes,
                 "Secondary page tables, such as those of guests."),
    memory.gauge("nfs_unstable_bytes", &Memory::nfsUnstableBytes, Unit::Bytes,
                 "Pages of NFS written but not committed."),
    memory.gauge("bounce_bytes", &Memory::bounceBytes, Unit::Bytes, "Bounce buffers of block devices."),
    memory.gauge("writeback_temporary_bytes", &Memory::writebackTemporaryBytes, Unit::Bytes,
                 "Buffers of FUSE for writing."),
    memory.gauge("commit_limit_bytes", &Memory::commitLimitBytes, Unit::Bytes,
                 "Memory that can be promised under strict accounting."),
    memory.gauge("committed_bytes", &Memory::committedBytes, Unit::Bytes, "Memory that is promised."),
    memory.gauge("vmalloc_total_bytes", &Memory::vmallocTotalBytes, Unit::Bytes, "Address space of vmalloc."),
    memory.gauge("vmalloc_used_bytes", &Memory::vmallocUsedBytes, Unit::Bytes, "Used address space of vmalloc."),
    memory.gauge("vmalloc_chunk_bytes", &Memory::vmallocChunkBytes, Unit::Bytes, "Largest free piece of it."),
    memory.gauge("per_cpu_bytes", &Memory::perCpuBytes, Unit::Bytes, "Memory of the kernel that every processor has."),
    memoryTest.gauge("early_memtest_bad_bytes", &Memory::earlyMemtestBadBytes, Unit::Bytes,
                     "Memory found bad at boot."),
    broken.gauge("hardware_corrupted_bytes", &Memory::hardwareCorruptedBytes, Unit::Bytes,
                 "Memory that the hardware reported broken."),
    transparent.gauge("anonymous_huge_bytes", &Memory::anonymousHugeBytes, Unit::Bytes,
                      "Transparent huge pages of anonymous memory."),
    transparent.gauge("shared_huge_bytes", &Memory::sharedHugeBytes, Unit::Bytes,
                      "Transparent huge pages of shared memory."),
    transparent.gauge("shared_huge_mapped_bytes", &Memory::sharedHugeMappedBytes, Unit::Bytes,
                      "Those that are mapped as such."),
    transparent.gauge("file_huge_bytes", &Memory::fileHugeBytes, Unit::Bytes, "Transparent huge pages of files."),
    transparent.gauge("file_huge_mapped_bytes", &Memory::fileHugeMappedBytes, Unit::Bytes,
                      "Those that are mapped as such."),
    contiguous.gauge("cma_total_bytes", &Memory::cmaTotalBytes, Unit::Bytes,
                     "Memory of the contiguous memory allocator."),
    contiguous.gauge("cma_free_bytes", &Memory::cmaFreeBytes, Unit::Bytes, "Free memory of it."),
    unaccepted.gauge("unaccepted_bytes", &Memory::unacceptedBytes, Unit::Bytes,
                     "Memory that the guest has not accepted yet."),
    memory.gauge("balloon_bytes", &Memory::balloonBytes, Unit::Bytes, "Memory given back to the hypervisor."),
    memory.gauge("gpu_active_bytes", &Memory::gpuActiveBytes, Unit::Bytes, "Memory that GPUs use."),
    memory.gauge("gpu_reclaim_bytes", &Memory::gpuReclaimBytes, Unit::Bytes, "Memory of GPUs that can be reclaimed."),
    memory.gauge("quicklists_bytes", &Memory::quicklistsBytes, Unit::Bytes,
                 "Page tables kept for reuse, on old kernels."),
    hugetlb.gauge("huge_pages", &Memory::hugePages, Unit::None, "Huge pages of the default size."),
    hugetlb.gauge("huge_pages_free", &Memory::hugePagesFree, Unit::None, "Those that are free."),
    hugetlb.gauge("huge_pages_reserved", &Memory::hugePagesReserved, Unit::None,
                  "Those that are promised but not in use."),
    hugetlb.gauge("huge_pages_surplus", &Memory::hugePagesSurplus, Unit::None, "Those beyond the configured number."),
    hugetlb.gauge("huge_page_bytes", &Memory::hugePageBytes, Unit::Bytes, "The default size of a huge page."),
    hugetlb.gauge("hugetlb_bytes", &Memory::hugetlbBytes, Unit::Bytes, "Memory of huge pages of all sizes."),
    direct.gauge("direct_map_4k_bytes", &Memory::directMap4kBytes, Unit::Bytes, "Direct map by pages of 4 KB."),
    direct.gauge("direct_map_64k_bytes", &Memory::directMap64kBytes, Unit::Bytes, "Direct map by pages of 64 KB."),
    direct.gauge("direct_map_1m_bytes", &Memory::directMap1mBytes, Unit::Bytes, "Direct map by pages of 1 MB."),
    direct.gauge("direct_map_2m_bytes", &Memory::directMap2mBytes, Unit::Bytes, "Direct map by pages of 2 MB."),
    direct.gauge("direct_map_4m_bytes", &Memory::directMap4mBytes, Unit::Bytes, "Direct map by pages of 4 MB."),
    direct.gauge("direct_map_1g_bytes", &Memory::directMap1gBytes, Unit::Bytes, "Direct map by pages of 1 GB."),
    direct.gauge("direct_map_2g_bytes", &Memory::directMap2gBytes, Unit::Bytes, "Direct map by pages of 2 GB."),
    memory.gauge("unknown_lines", &Memory::unknownLines, Unit::None,
                 "Lines of the file with a name that has no field here."),
};

constexpr Entries<MemoryOther> other{Area::Memory, "memory_others", "/proc/meminfo",
                                     "a kernel with keys that have no field here"};
constexpr Field<MemoryOther> otherFields[] = {
    other.label("key", &MemoryOther::key, "The kernel's key."),
    other.gauge("value", &MemoryOther::value, Unit::None, "What the kernel says, of a key without a unit."),
    other.gauge("value_bytes", &MemoryOther::bytes, Unit::Bytes, "What the kernel says, of a key that it gives in kB."),
};

constexpr Entries<MemoryNode> node{Area::Memory, "memory_nodes", "/sys/devices/system/node/node*/meminfo", nodes};
constexpr Entries<MemoryNode> numa = node.from("/sys/devices/system/node/node*/numastat", nodes);
constexpr Entries<MemoryNode> nodeShadow = node.from("/sys/devices/system/node/node*/meminfo", shadowOption);
constexpr Entries<MemoryNode> nodeTransparent = node.from("/sys/devices/system/node/node*/meminfo", transparentOption);
constexpr Entries<MemoryNode> nodeUnaccepted = node.from("/sys/devices/system/node/node*/meminfo", acceptOption);
constexpr Entries<MemoryNode> nodeHugetlb = node.from("/sys/devices/system/node/node*/meminfo", hugetlbOption);
constexpr Field<MemoryNode> nodeFields[] = {
    node.label("node", &MemoryNode::node, "Number of the node, from 0."),
    node.gauge("total_bytes", &MemoryNode::totalBytes, Unit::Bytes, "Memory that the kernel can use."),
    node.gauge("free_bytes", &MemoryNode::freeBytes, Unit::Bytes, "Memory that nobody uses."),
    node.gauge("used_bytes", &MemoryNode::usedBytes, Unit::Bytes, "Memory in use."),
    node.gauge("swap_cached_bytes", &MemoryNode::swapCachedBytes, Unit::Bytes, "Memory that is in swap too."),
    node.gauge("active_bytes", &MemoryNode::activeBytes, Unit::Bytes, "Memory used lately."),
    node.gauge("inactive_bytes", &MemoryNode::inactiveBytes, Unit::Bytes, "Memory not used lately."),
    node.gauge("active_anonymous_bytes", &MemoryNode::activeAnonymousBytes, Unit::Bytes,
               "Anonymous memory used lately."),
    node.gauge("inactive_anonymous_bytes", &MemoryNode::inactiveAnonymousBytes, Unit::Bytes,
               "Anonymous memory not used lately."),
    node.gauge("active_file_bytes", &MemoryNode::activeFileBytes, Unit::Bytes, "Page cache used lately."),
    node.gauge("inactive_file_bytes", &MemoryNode::inactiveFileBytes, Unit::Bytes, "Page cache not used lately."),
    node.gauge("unevictable_bytes", &MemoryNode::unevictableBytes, Unit::Bytes, "Memory that cannot be reclaimed."),
    node.gauge("locked_bytes", &MemoryNode::lockedBytes, Unit::Bytes, "Memory locked by mlock."),
    node.gauge("dirty_bytes", &MemoryNode::dirtyBytes, Unit::Bytes, "Memory that waits to be written."),
    node.gauge("writeback_bytes", &MemoryNode::writebackBytes, Unit::Bytes, "Memory that is being written."),
    node.gauge("file_bytes", &MemoryNode::fileBytes, Unit::Bytes, "Page cache."),
    node.gauge("mapped_bytes", &MemoryNode::mappedBytes, Unit::Bytes, "Files mapped into processes."),
    node.gauge("anonymous_bytes", &MemoryNode::anonymousBytes, Unit::Bytes, "Anonymous memory mapped into processes."),
    node.gauge("shared_bytes", &MemoryNode::sharedBytes, Unit::Bytes, "Shared memory and tmpfs."),
    node.gauge("kernel_stack_bytes", &MemoryNode::kernelStackBytes, Unit::Bytes, "Stacks of the kernel."),
    nodeShadow.gauge("shadow_call_stack_bytes", &MemoryNode::shadowCallStackBytes, Unit::Bytes,
                     "Shadow stacks of the kernel, on arm64."),
    node.gauge("page_tables_bytes", &MemoryNode::pageTablesBytes, Unit::Bytes, "Page tables."),
    node.gauge("secondary_page_tables_bytes", &MemoryNode::secondaryPageTablesBytes, Unit::Bytes,
               "Secondary page tables, such as those of guests."),
    node.gauge("nfs_unstable_bytes", &MemoryNode::nfsUnstableBytes, Unit::Bytes,
               "Pages of NFS written but not committed."),
    node.gauge("bounce_bytes", &MemoryNode::bounceBytes, Unit::Bytes, "Bounce buffers of block devices."),
    node.gauge("writeback_temporary_bytes", &MemoryNode::writebackTemporaryBytes, Unit::Bytes,
               "Buffers of FUSE for writing."),
    node.gauge("kernel_reclaimable_bytes", &MemoryNode::kernelReclaimableBytes, Unit::Bytes,
               "Memory of the kernel that can be reclaimed."),
    node.gauge("slab_bytes", &MemoryNode::slabBytes, Unit::Bytes, "Slabs of the kernel."),
    node.gauge("slab_reclaimable_bytes", &MemoryNode::slabReclaimableBytes, Unit::Bytes,
               "Slabs that can be reclaimed."),
    node.gauge("slab_unreclaimable_bytes", &MemoryNode::slabUnreclaimableBytes, Unit::Bytes,
               "Slabs that cannot be reclaimed."),
    nodeTransparent.gauge("anonymous_huge_bytes", &MemoryNode::anonymousHugeBytes, Unit::Bytes,
                          "Transparent huge pages of anonymous memory."),
    nodeTransparent.gauge("shared_huge_bytes", &MemoryNode::sharedHugeBytes, Unit::Bytes,
                          "Transparent huge pages of shared memory."),
    nodeTransparent.gauge("shared_huge_mapped_bytes", &MemoryNode::sharedHugeMappedBytes, Unit::Bytes,
                          "Those that are mapped as such."),
    nodeTransparent.gauge("file_huge_bytes", &MemoryNode::fileHugeBytes, Unit::Bytes,
                          "Transparent huge pages of files."),
    nodeTransparent.gauge("file_huge_mapped_bytes", &MemoryNode::fileHugeMappedBytes, Unit::Bytes,
                          "Those that are mapped as such."),
    nodeUnaccepted.gauge("unaccepted_bytes", &MemoryNode::unacceptedBytes, Unit::Bytes,
                         "Memory that the guest has not accepted yet."),
    nodeHugetlb.gauge("huge_pages", &MemoryNode::hugePages, Unit::None, "Huge pages of the default size."),
    nodeHugetlb.gauge("huge_pages_free", &MemoryNode::hugePagesFree, Unit::None, "Those that are free."),
    nodeHugetlb.gauge("huge_pages_surplus", &MemoryNode::hugePagesSurplus, Unit::None,
                      "Those beyond the configured number."),
    numa.counter("numa_hit_total", &MemoryNode::numaHit, Unit::None, "Pages allocated here as wanted."),
    numa.counter("numa_miss_total", &MemoryNode::numaMiss, Unit::None,
                 "Pages allocated here though another node was wanted."),
    numa.counter("numa_foreign_total", &MemoryNode::numaForeign, Unit::None,
                 "Pages wanted here but allocated elsewhere."),
    numa.counter("numa_interleave_total", &MemoryNode::numaInterleave, Unit::None,
                 "Pages of an interleave policy allocated here as wanted."),
    numa.counter("numa_local_total", &MemoryNode::numaLocal, Unit::None, "Pages allocated here by tasks of this node."),
    numa.counter("numa_other_total", &MemoryNode::numaOther, Unit::None,
                 "Pages allocated here by tasks of other nodes."),
    node.gauge("unknown_lines", &MemoryNode::unknownLines, Unit::None,
               "Lines of meminfo with a name that has no field here."),
};

constexpr Entries<HugePages> huge{Area::Memory, "huge_pages", "/sys/kernel/mm/hugepages", hugetlbOption};
constexpr Field<HugePages> hugeFields[] = {
    huge.label("page_bytes", &HugePages::pageBytes, "Size of a page."),
    huge.gauge("pages", &HugePages::pages, Unit::None, "Pages of this size."),
    huge.gauge("free", &HugePages::free, Unit::None, "Those that are free."),
    huge.gauge("reserved", &HugePages::reserved, Unit::None, "Those that are promised but not in use."),
    huge.gauge("surplus", &HugePages::surplus, Unit::None, "Those beyond the configured number."),
    huge.gauge("overcommit", &HugePages::overcommit, Unit::None, "How many may be made beyond the configured number."),
};

constexpr Entries<Swap> swap{Area::Memory, "swaps", "/proc/swaps",
                             "swap space that is switched on (swapon), CONFIG_SWAP=y"};
constexpr Field<Swap> swapFields[] = {
    swap.label("device", &Swap::device, "Device or file."),
    swap.info("type", &Swap::type, "partition or file."),
    swap.gauge("size_bytes", &Swap::sizeBytes, Unit::Bytes, "Its size."),
    swap.gauge("used_bytes", &Swap::usedBytes, Unit::Bytes, "What is in use."),
    swap.info("priority", &Swap::priority, "The one with the higher priority is filled first."),
};

} // namespace

template<> std::span<const Field<Memory>> fieldsOf<Memory>() {
    return memoryFields;
}

template<> std::span<const Field<MemoryOther>> fieldsOf<MemoryOther>() {
    return otherFields;
}

template<> std::span<const Field<MemoryNode>> fieldsOf<MemoryNode>() {
    return nodeFields;
}

template<> std::span<const Field<HugePages>> fieldsOf<HugePages>() {
    return hugeFields;
}

template<> std::span<const Field<Swap>> fieldsOf<Swap>() {
    return swapFields;
}

} // namespace zel

// Every process-wide setting of the collectors.
//
// The embedding program assigns them directly, before it builds the first collector; collectors only read them. A
// setting that is never assigned is 0 (an empty list, a null key). The settings of the runtime (g_nPrint, g_nIPv6Flag,
// g_nDataBufferSaveMaxSize, the watchdog's) are in the headers of their users, the host root is in HostRoot.h.
#pragma once

#include "HostRoot.h"

inline constexpr int FILESYSTEM_LIST_ENTRIES = 100;
inline constexpr int FILESYSTEM_LIST_TEXT = 32;

/// Leading field of every push text. Owned by the embedding program; null prints as empty.
extern char *g_ptrAgentKey;
/// 0: a collector that chooses by the kernel release goes by its numbers alone, so that 5.4 and 6.1 have four CPU
/// counters and 5.4 the script list of processes. 1: releases from 2.6 on, whatever their numbers, follow the rules of
/// 2.6. Read by every sample.
extern int g_nKernelRule;
/// How many kernel files may stay open between samples in the whole process, which halves what reading them costs: -1,
/// the default, a quarter of the soft limit of descriptors (RLIMIT_NOFILE); 0 none; otherwise the number. Read by every
/// sample.
extern int g_nKeptFileLimit;

// --- CPU -----------------------------------------------------------------------------------------------------------

/// 1: build the CPU performance text and swallow the first sample. Read by the constructor (text buffers) and by every
/// sample: changing it from 0 to 1 after construction is not supported.
extern int g_nCpuStrType;
/// 1: used CPU is 100 - idle, so that I/O wait counts as used. Otherwise 100 - idle - I/O wait.
extern int g_nCpuUsedInWIO;

// --- Disk I/O ------------------------------------------------------------------------------------------------------

/// 1: build the disk performance text instead of the result list.
extern int g_nDiskStrType;
/// Upper bound on the disks sampled in list mode; below 1: no bound.
extern int g_nDiskMaxGatherCnt;
/// Above 99: pause before every row whose number is a multiple of it.
extern int g_nDiskWaitFlag;

// --- Network -------------------------------------------------------------------------------------------------------

/// 1: build the network performance text. Non-zero also makes the CPU console report print the CPU text.
extern int g_nInterfaceStrType;
/// 1: one script gives bandwidth and duplex. Read once, by the constructor of the network collector.
extern int g_nLinuxBandwidthFlag;
/// 1: gather the extra, configured interfaces as well.
extern int g_nNetworkExtGather;

// --- Filesystems ---------------------------------------------------------------------------------------------------

/// Filesystem types that are not reported. With a count of 0 a built-in rule applies instead.
extern char g_strExcludeFilesystem[FILESYSTEM_LIST_ENTRIES][FILESYSTEM_LIST_TEXT];
extern int g_nExcludeFilesystemCnt;
/// Types left out of the totals when g_nVAGENT_type is 1 or more.
extern char g_strTotExcludeFilesystem[FILESYSTEM_LIST_ENTRIES][FILESYSTEM_LIST_TEXT];
extern int g_nTotExcludeFilesystemCnt;
/// With a count above 0 the text pass reports only these mount points.
extern char g_strIncludeFilesystem[FILESYSTEM_LIST_ENTRIES][FILESYSTEM_LIST_TEXT];
extern int g_nIncludeFilesystemCnt;
/// Non-zero: usage is used / (used + free) instead of used / (used + available).
extern int g_nFsFreeUsedFlag;
/// What is asked of an NFS server before statfs64 touches a mount of it. 0: nothing; the mounts of dead servers
/// cost statfs64's limit once, all together. 1: its portmapper and NFS version 2 over UDP, for servers that still offer
/// it; all others count as dead. 2: a connection to its TCP port 2049, for servers of versions 3 and 4. See CheckNfs.h.
extern int g_nNfsStatusCheckFlag;
/// 1 or more: sum the totals, without the types of g_strTotExcludeFilesystem.
extern int g_nVAGENT_type;
/// Above 0: the text pass skips mount points with more "/" characters than this.
extern int g_nFSTokenCount;

// --- Processes -----------------------------------------------------------------------------------------------------

/// On 2.4 kernels, 1: take the process list from a script; take the CPU percent of java processes from one.
extern int g_nGetProcessType;
extern int g_nGetProcessJAVA;
/// 1 (with g_nProcExtendFlag 0): the process text has the executable's file name as its last column.
extern int g_nExecedFileNameFlag;
/// 1: the extended process columns.
extern int g_nProcExtendFlag;
/// Above 99: the text scan pauses after every so many directory entries.
extern int g_nProcSleepCnt;

// --- Kept for embedding programs; nothing reads them ---------------------------------------------------------------

extern int g_nTmpRealTimeGather;
extern int g_lBandWidthSet;
extern int g_nDuplexSet;

// The console reports of the driver: each takes one sample from a collector and prints it.
//
// Each report goes where it is stated: its stream is part of what programs that parse it rely on.
#pragma once

class CMM_CPU_Info;
class CMM_FS_Info;
class CMM_GPU_Info;
class CMM_HBA_Info;
class CMM_IO_Info;
class CMM_MEM_Info;
class CMM_NWT_Info;
class CMM_PROC_Info;
class CSSList;

/// CPU percentages: with g_nInterfaceStrType the performance text on standard error, otherwise a table of the machine
/// and of every processor on standard output. Returns 1.
int print_cpu_v2(CMM_CPU_Info *cpu);
/// Interrupts per second on standard output; nothing without a rate. Returns 1.
int print_cpu_intr(CMM_CPU_Info *cpu, double elapsed);

/// Memory of CMM_MEM_Info::fMGetMem, or swap of fMGetSwap, on standard output. Returns 0 for null, else 1.
int print_mem(const unsigned long long *values);
int print_swp(const unsigned long long *values);
/// Sizes of the memory modules on standard output. Returns 0 when there is no list, else 1.
int prnit_memcnt(CMM_MEM_Info *memory);

/// VM rates of CMM_VM_Info::fMGetVmStat on standard output. Returns 0 for null, else 1.
int print_vm(const double *values);

/// Filesystems on standard error. Returns -1 when there is no sample, else 1.
int print_fs_v2(CMM_FS_Info *filesystems);
/// Prints nothing and returns 1.
int print_fs_v3(CMM_FS_Info *filesystems);

/// Disk rates on standard error. Returns -1 when there is no sample, else 1.
int print_io_v2(CMM_IO_Info *disks, double elapsed);
/// The older report over a result list, on standard error. Returns 0 for null, else 1.
int print_io(CSSList *disks);

/// Interface rates on standard error. Returns -1 when there is no sample, else 1.
int print_nwt_info(CMM_NWT_Info *network, double elapsed);

/// The process text on standard output. Returns -1 when there is no sample, else 1.
int print_proc_v2(CMM_PROC_Info *processes);

/// The HBA table on standard error, nothing without rows. Returns the result of the gather.
int print_hba_info(CMM_HBA_Info *ports);

/// The four GPU texts on standard error. Returns 1.
int print_gpu_info(CMM_GPU_Info *gpu);

// One object of every collector, sampled as the driver and as an agent sample them: every sampling call and every
// report, with what each of them gave as lines of text.
#pragma once

#include "Disk_Info.h"
#include "MM_CPU_Info.h"
#include "MM_FS_Info.h"
#include "MM_GPU_Info.h"
#include "MM_HBA_Info.h"
#include "MM_IO_Info.h"
#include "MM_LA_Info.h"
#include "MM_MEM_Info.h"
#include "MM_NWT_Info.h"
#include "MM_PROC_Info.h"
#include "MM_VM_Info.h"
#include "Memory_Info.h"
#include "NIC_Info.h"
#include "Pci_Info.h"

#include <string>
#include <vector>

/// What one sampling call gave.
struct StepResult {
    std::string step;
    bool succeeded = false;         // false: the failure that the operation names (null, 0, -1)
    std::string malformed;          // why its performance text cannot be read back; empty: it can
    std::vector<std::string> lines; // "column=value|column=value|...", without the running index
};

// Chosen before the first collector is built, and by its base so that no member comes before.
struct DriverSettings {
    DriverSettings();
    ~DriverSettings();
};

class AllCollectors : private DriverSettings {
public:
    /// Builds them with the settings of the driver.
    AllCollectors();
    AllCollectors(const AllCollectors &) = delete;
    AllCollectors &operator=(const AllCollectors &) = delete;

    /// Every group of the driver, then the forms that an agent asks for.
    std::vector<StepResult> cycle(double elapsed);
    /// The step that a cycle completed last.
    std::string lastStep() const { return m_results.empty() ? "" : m_results.back().step; }

    CMM_CPU_Info cpu;
    CMM_CPU_Info pushCpu;
    CMM_LA_Info loadAverage;
    CMM_VM_Info vm;
    CNIC_Info nics;
    CDisk_Info drives;
    CPci_Info pci;
    CMemory_Info modules;
    CMM_MEM_Info memory;
    CMM_FS_Info filesystems;
    CMM_FS_Info probedFilesystems; // asks NFS servers before it touches their mounts
    CMM_IO_Info disks;
    CMM_IO_Info textDisks;
    CMM_IO_Info pushDisks;
    CMM_NWT_Info network;
    CMM_NWT_Info listedNetwork;
    CMM_NWT_Info pushNetwork;
    CMM_PROC_Info processes;
    CMM_PROC_Info pushProcesses;
    CMM_PROC_Info realTimeProcesses;
    CMM_HBA_Info ports;
    CMM_GPU_Info gpu;

private:
    void sampleProcessors(double elapsed);
    void sampleMemory(double elapsed);
    void sampleFilesystems();
    void sampleDisks(double elapsed);
    void sampleNetwork(double elapsed);
    void sampleProcesses();
    void sampleHardware();
    void takeInventories();

    void values(const char *step, const double *first, int count);
    void table(const char *step, const char *text);
    void push(const char *step, const char *text);
    StepResult &add(const char *step);

    std::vector<StepResult> m_results;
};

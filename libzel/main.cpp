// libzelinfo: the console driver. Gives every setting its default, builds one object of every collector and samples the
// chosen group once per cycle.
//
//   libzelinfo option [cycle seconds [count]]      count 0: until killed
//
// The environment variable ZEL_HOST_ROOT, when set, names the directory that serves as "/" of the sampled host.
//
// Scripts of the home are found by paths relative to the working directory. An installed driver that is started outside
// a home works in the one that is installed with it.
#include "ConsoleReport.h"
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
#include "NCmdScheduler.h"
#include "NGFunctions.h"
#include "NIC_Info.h"
#include "NStringLib.h"
#include "Pci_Info.h"
#include "Settings.h"
#include "host/Shell.h"
#include "report/PrintableText.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <unistd.h>

int test_lib(int option, int cycle, int count);
void prog_exit(const char *message);

namespace {

constexpr int agentKeySize = 16;
constexpr int listTextSize = 1024;
constexpr int defaultCycle = 1;
constexpr rlim_t usefulDescriptors = 262144; // four for each of 16384 processes, of which a quarter may stay open
constexpr unsigned microsecondsPerSecond = 1000000;

// From the driver's own directory, with a "/" at the end; the build knows where both will be installed.
#ifndef ZEL_PACKAGED_HOME
#define ZEL_PACKAGED_HOME ""
#endif
constexpr const char *packagedHome = ZEL_PACKAGED_HOME;

constexpr const char *defaultExcludedTypes =
    "cdrfs,vxodm,procfs,cdfs,ignore,odm,usbdevfs,proc,devpts,none,sysfs,tmpfs,autofs,rpc_piperfs,iso9660,lustre_lite,"
    "subfs,lofs,devfs,mntfs,ctfs,objfs,fd";
constexpr const char *defaultTypesOutsideTotals = "binfmt_misc";

constexpr const char *usageText = "Usage: ./libzelinfo [option select][execute cycle time(sec)]\n"
                                  "option: 1-[cpu performance]\n"
                                  "      : 2-[Loadaverage performance]\n"
                                  "      : 3-[Memory performance]\n"
                                  "      : 4-[Filesystem performance]\n"
                                  "      : 5-[DiskIO performance]\n"
                                  "      : 6-[Network traffic performance]\n"
                                  "      : 7-[Process performance]\n"
                                  "      : 8-[VM performance]\n"
                                  "      : 9-[All performance]\n"
                                  "      : 10-[other performance]\n"
                                  "      : 11-[hba]\n"
                                  "      : 12-[gpu]\n";

enum Option {
    OPTION_CPU = 1,
    OPTION_LOAD_AVERAGE,
    OPTION_MEMORY,
    OPTION_FILESYSTEM,
    OPTION_DISK,
    OPTION_NETWORK,
    OPTION_PROCESS,
    OPTION_VM,
    OPTION_ALL,
    OPTION_INVENTORY,
    OPTION_HBA,
    OPTION_GPU
};

using FilesystemList = char[FILESYSTEM_LIST_ENTRIES][FILESYSTEM_LIST_TEXT];

// Splits the comma-separated `types` into `list` and returns the number of entries. The limit is announced when its
// last entry is stored, also when no further type follows.
int splitFilesystemTypes(const char *types, FilesystemList &list) {
    char text[listTextSize] = {};
    std::strncpy(text, types, sizeof(text) - 1);
    std::memset(list, 0, sizeof(list));

    int count = 0;
    char *rest = nullptr;
    for (char *type = Nstrtok(text, ",", &rest); type != nullptr; type = Nstrtok(nullptr, ",", &rest)) {
        // A type as long as its entry runs into the next one, never past the list.
        const std::size_t room = sizeof(list) - sizeof(list[0]) * static_cast<std::size_t>(count) - 1;
        std::memcpy(&list[count], type, std::min(std::strlen(type), room));
        if (++count == FILESYSTEM_LIST_ENTRIES) {
            std::fprintf(stderr, "filesystem type list count > 100\n");
            break;
        }
    }
    return count;
}

void publishAgentKey() {
    g_ptrAgentKey = static_cast<char *>(std::calloc(agentKeySize, 1));
    if (g_ptrAgentKey != nullptr)
        std::strcpy(g_ptrAgentKey, "agent_key");
}

// Where the driver is, with a "/" at the end; empty when the system does not say.
std::string ownDirectory() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path));
    const std::string_view own(path, length > 0 ? static_cast<std::size_t>(length) : 0);
    return std::string(own.substr(0, own.rfind('/') + 1));
}

// A relative host root is one of the directory in which the driver was started.
void keepHostRoot() {
    const char *root = std::getenv("ZEL_HOST_ROOT");
    if (root == nullptr || root[0] == '\0' || root[0] == '/')
        return;
    char whole[PATH_MAX];
    if (realpath(root, whole) != nullptr)
        setenv("ZEL_HOST_ROOT", whole, 1);
}

void enterHome() {
    const std::string own = ownDirectory();
    const std::string packaged = own + packagedHome;
    if (own.empty() || packagedHome[0] == '\0' || access(zel::COMMAND_RUNNER, F_OK) == 0 ||
        access((packaged + zel::COMMAND_RUNNER).c_str(), F_OK) != 0)
        return;
    keepHostRoot();
    if (chdir(packaged.c_str()) != 0)
        std::fprintf(stderr, "%s: %s\n", packaged.c_str(), std::strerror(errno));
}

// False when the root does not fit: a cut one would be another directory.
bool takeHostRoot() {
    const char *root = std::getenv("ZEL_HOST_ROOT");
    if (root == nullptr)
        return true;
    return std::snprintf(g_strHostRoot, sizeof(g_strHostRoot), "%s", root) < static_cast<int>(sizeof(g_strHostRoot));
}

void setDefaults() {
    g_nNfsStatusCheckFlag = 0;
    g_nDiskMaxGatherCnt = 50;
    g_nInterfaceStrType = 1;
    g_nTotExcludeFilesystemCnt = 0;
    g_nTmpRealTimeGather = 0;
    g_lBandWidthSet = 0;
    g_nDuplexSet = 0;
    g_nDiskWaitFlag = 0;
    g_nNetworkExtGather = 0;
    g_nProcSleepCnt = 1000;
    g_nVAGENT_type = 0;
    g_nIncludeFilesystemCnt = 0;
    g_nFSTokenCount = 0;
    g_nKernelRule = 0;
    g_nKeptFileLimit = -1;

    publishAgentKey();
    g_pclCCmdScheduler = new CCmdScheduler;

    g_nExcludeFilesystemCnt = splitFilesystemTypes(defaultExcludedTypes, g_strExcludeFilesystem);
    g_nTotExcludeFilesystemCnt = splitFilesystemTypes(defaultTypesOutsideTotals, g_strTotExcludeFilesystem);

    g_nExecedFileNameFlag = 0;
    g_nFsFreeUsedFlag = 0;
    g_nLinuxBandwidthFlag = 1;
    g_nProcExtendFlag = 1;
    g_nDiskStrType = 0;
    g_nCpuStrType = 1;
    g_nCpuUsedInWIO = 1;
}

int toInt(const char *text) {
    return static_cast<int>(std::strtol(text, nullptr, 10));
}

// One object of every collector and inventory class, built in member order.
struct Collectors {
    std::unique_ptr<CMM_CPU_Info> cpu = std::make_unique<CMM_CPU_Info>();
    std::unique_ptr<CMM_LA_Info> loadAverage = std::make_unique<CMM_LA_Info>();
    std::unique_ptr<CMM_VM_Info> vm = std::make_unique<CMM_VM_Info>();
    std::unique_ptr<CNIC_Info> nics = std::make_unique<CNIC_Info>();
    std::unique_ptr<CDisk_Info> drives = std::make_unique<CDisk_Info>();
    std::unique_ptr<CPci_Info> pci = std::make_unique<CPci_Info>();
    std::unique_ptr<CMemory_Info> modules = std::make_unique<CMemory_Info>();
    std::unique_ptr<CMM_MEM_Info> memory = std::make_unique<CMM_MEM_Info>();
    std::unique_ptr<CMM_FS_Info> filesystems = std::make_unique<CMM_FS_Info>();
    std::unique_ptr<CMM_IO_Info> disks = std::make_unique<CMM_IO_Info>();
    std::unique_ptr<CMM_NWT_Info> network = std::make_unique<CMM_NWT_Info>();
    std::unique_ptr<CMM_PROC_Info> processes = std::make_unique<CMM_PROC_Info>();
    CMM_HBA_Info *ports = new CMM_HBA_Info;
    CMM_GPU_Info *gpu = new CMM_GPU_Info;

    // The order in which consumers have always seen the collectors go. The HBA and GPU collectors stay alive.
    void destroy() {
        processes.reset();
        cpu.reset();
        loadAverage.reset();
        vm.reset();
        memory.reset();
        filesystems.reset();
        disks.reset();
        network.reset();
        modules.reset();
        nics.reset();
        drives.reset();
        pci.reset();
    }
};

// Keep the two objects that outlive the run reachable; nothing reads them.
[[gnu::used]] CMM_HBA_Info *portsLeftAlive;
[[gnu::used]] CMM_GPU_Info *gpuLeftAlive;

bool reportLoadAverage(CMM_LA_Info &loadAverage) {
    if (loadAverage.fMGetLoadAvg() == nullptr)
        return false;
    std::fprintf(stderr, " 1Min: %5.2f, 5Min: %5.2f, 15Min: %5.2f\n", loadAverage.fMGetLoadAvg_1Min(),
                 loadAverage.fMGetLoadAvg_5Min(), loadAverage.fMGetLoadAvg_15Min());
    return true;
}

// Devices choose these names: their control bytes are printed as blanks.
void reportName(const char *label, unsigned number, const char *name) {
    std::fprintf(stderr, " %s[%d]=[", label, static_cast<int>(number));
    zel::printPlain(stderr, name);
    std::fputs("]\n", stderr);
}

void reportInventory(Collectors &collectors) {
    std::fprintf(stderr, " nic number = [%d]\n", static_cast<int>(collectors.nics->GetNICNum()));
    collectors.nics->m_pclCNIC = collectors.nics->GetNICInfos();
    for (unsigned i = 0; i < collectors.nics->NICNum() && collectors.nics->m_pclCNIC != nullptr; ++i)
        reportName("nic model name", i, collectors.nics->m_pclCNIC[i].ModelName());

    collectors.drives->m_pclCCdrom = collectors.drives->GetCdromInfo();
    for (unsigned i = 0; i < collectors.drives->CdromNum() && collectors.drives->m_pclCCdrom != nullptr; ++i)
        reportName("cdrom model name", i, collectors.drives->m_pclCCdrom[i].ModelName());

    collectors.pci->m_pclCPci = collectors.pci->GetPciInfo();
    for (unsigned i = 0; i < collectors.pci->PciNum() && collectors.pci->m_pclCPci != nullptr; ++i) {
        reportName("pci module type ", i, collectors.pci->m_pclCPci[i].ModuleType());
        reportName("pci module name ", i, collectors.pci->m_pclCPci[i].ModuleName());
    }
}

// The work of one cycle. A failed load-average, memory, swap or VM step abandons the rest of it: false.
bool runCycle(Collectors &collectors, int option, double elapsed) {
    const auto chosen = [option](Option group) { return option == group || option == OPTION_ALL; };

    if (chosen(OPTION_CPU)) {
        print_cpu_v2(collectors.cpu.get());
        print_cpu_intr(collectors.cpu.get(), elapsed);
    }
    if (chosen(OPTION_LOAD_AVERAGE) && !reportLoadAverage(*collectors.loadAverage)) {
        std::fprintf(stderr, "Load Average Gather failed\n");
        return false;
    }
    if (chosen(OPTION_MEMORY)) {
        if (print_mem(collectors.memory->fMGetMem()) == 0) {
            std::fprintf(stderr, "Memory Gather failed\n");
            return false;
        }
        if (print_swp(collectors.memory->fMGetSwap()) == 0) {
            std::fprintf(stderr, "Swap Gather failed\n");
            return false;
        }
    }
    if (chosen(OPTION_FILESYSTEM))
        print_fs_v2(collectors.filesystems.get());
    if (chosen(OPTION_DISK))
        print_io_v2(collectors.disks.get(), elapsed);
    if (chosen(OPTION_NETWORK))
        print_nwt_info(collectors.network.get(), elapsed);
    if (chosen(OPTION_PROCESS))
        print_proc_v2(collectors.processes.get());
    if (chosen(OPTION_VM) && print_vm(collectors.vm->fMGetVmStat(elapsed)) == 0) {
        std::fprintf(stderr, "VM Gather failed\n");
        return false;
    }
    if (option == OPTION_INVENTORY)
        reportInventory(collectors);
    if (option == OPTION_HBA)
        print_hba_info(collectors.ports);
    if (option == OPTION_GPU)
        print_gpu_info(collectors.gpu);
    return true;
}

// Kernel files stay open within a quarter of the soft limit, so that it is raised to what the driver can use. The
// library itself never changes a limit.
void raiseDescriptorLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= usefulDescriptors)
        return;
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, usefulDescriptors);
    setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace

/// Samples the group `option` every `cycle` seconds, `count` times; 0 or a negative count never ends. Returns 0.
int test_lib(int option, int cycle, int count) {
    Collectors collectors;
    portsLeftAlive = collectors.ports;
    gpuLeftAlive = collectors.gpu;

    // Unsigned, so that a run of years wraps instead of overflowing.
    for (unsigned done = 0; count < 1 || done != static_cast<unsigned>(count);) {
        ++done;
        std::fprintf(stderr, "////////////////[ %d ]/////////////////// \n", static_cast<int>(done));
        const bool complete = runCycle(collectors, option, cycle);
        // A run that is killed has lost nothing of its finished cycles.
        std::fflush(stdout);
        if (complete)
            fgUSleep(static_cast<int>(static_cast<unsigned>(cycle) * microsecondsPerSecond));
    }
    collectors.destroy();
    return 0;
}

/// Hands the message to perror; kept for embedding test programs.
void prog_exit(const char *message) {
    std::perror(message);
}

int main(int argc, char **argv) {
    setDefaults();
    raiseDescriptorLimit();
    if (argc > 1)
        enterHome();
    if (!takeHostRoot()) {
        std::fprintf(stderr, "ZEL_HOST_ROOT is longer than %zu characters\n", sizeof(g_strHostRoot) - 1);
        return 1;
    }
    if (argc < 2) {
        std::fputs(usageText, stderr);
        return 0;
    }
    const int option = toInt(argv[1]);
    const int cycle = argc > 2 ? toInt(argv[2]) : defaultCycle;
    const int count = argc > 3 ? toInt(argv[3]) : 0;
    test_lib(option, cycle, count);
    return 0;
}

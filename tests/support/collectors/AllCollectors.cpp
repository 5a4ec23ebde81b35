// Samples every collector and turns what it gave into lines.
#include "AllCollectors.h"

#include "ConsoleReport.h"
#include "Faults.h"
#include "PerfTextReader.h"
#include "Settings.h"

#include <charconv>
#include <cstdio>
#include <cstring>

namespace {

constexpr int networkTextMode = 1;
constexpr int networkListMode = 0;
constexpr int probeByPortmapper = 1;

// Sets one of the process-wide settings for a scope.
class Setting {
public:
    Setting(int &setting, int value) : m_setting(setting), m_previous(setting) { m_setting = value; }
    ~Setting() { m_setting = m_previous; }
    Setting(const Setting &) = delete;
    Setting &operator=(const Setting &) = delete;

private:
    int &m_setting;
    int m_previous;
};

// The same in every locale.
std::string number(double value) {
    char text[512];
    return {text, std::to_chars(text, text + sizeof(text), value, std::chars_format::fixed, 4).ptr};
}

std::string named(const char *name, const std::string &value) {
    return std::string(name) + "=" + value + "|";
}

// The running index tells where a row is, not what it says.
std::vector<std::string> rowsOf(const PerfTable &table) {
    std::vector<std::string> lines;
    for (const auto &row : table.rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (table.columns[i] != "INDEX")
                line += std::string(table.columns[i]) + "=" + std::string(row[i]) + "|";
        }
        lines.push_back(line);
    }
    return lines;
}

std::string complaint(const PerfTextError &error) {
    return std::string(error.reason) + " at " + std::to_string(error.offset);
}

} // namespace

DriverSettings::DriverSettings() {
    g_nDiskMaxGatherCnt = 50;
    g_nProcSleepCnt = 1000;
    g_nLinuxBandwidthFlag = 1;
    g_nProcExtendFlag = 1;
    g_nInterfaceStrType = networkTextMode;
    g_nDiskStrType = 0;
    g_nCpuStrType = 1;
    g_nCpuUsedInWIO = 1;
}

DriverSettings::~DriverSettings() {
    g_nDiskMaxGatherCnt = g_nProcSleepCnt = g_nLinuxBandwidthFlag = g_nProcExtendFlag = 0;
    g_nInterfaceStrType = g_nDiskStrType = g_nCpuStrType = g_nCpuUsedInWIO = 0;
}

AllCollectors::AllCollectors() {
    filesystems.fSetNFSFlag(1);
    probedFilesystems.fSetNFSFlag(1);
    auto *process = new _ST_GPU_ALL_PROC_LIST{};
    std::strcpy(process->l_strPName, "render");
    gpu.m_GpuProcMap[0] = process;
}

std::vector<StepResult> AllCollectors::cycle(double elapsed) {
    m_results.clear();
    sampleProcessors(elapsed);
    sampleMemory(elapsed);
    sampleFilesystems();
    sampleDisks(elapsed);
    sampleNetwork(elapsed);
    sampleProcesses();
    sampleHardware();
    takeInventories();
    return std::move(m_results);
}

void AllCollectors::sampleProcessors(double elapsed) {
    print_cpu_v2(&cpu);
    table("cpu", cpu.m_nCpuZELCnt > 0 ? cpu.m_pStrCpuZEL : nullptr);
    const double *rate = cpu.fMGetCpuInterrupt(elapsed);
    values("interrupts", rate, 1);
    push("cpu push", pushCpu.fMGetPushCpu() == nullptr ? nullptr : pushCpu.m_pRealTimeStrCpuZEL);
    values("load average", loadAverage.fMGetLoadAvg(), 3);
    const double *vmRates = vm.fMGetVmStat(elapsed);
    print_vm(vmRates);
    values("vm", vmRates, VM_SLOTS);
}

void AllCollectors::sampleMemory(double) {
    const auto take = [this](const char *step, const unsigned long long *numbers, int count) {
        const FaultsSuspended suspended;
        StepResult &result = add(step);
        result.succeeded = numbers != nullptr;
        for (int i = 0; i < count && numbers != nullptr; ++i)
            result.lines.push_back(std::to_string(i) + "=" + std::to_string(numbers[i]));
    };
    const unsigned long long *sizes = memory.fMGetMem();
    print_mem(sizes);
    take("memory", sizes, MEM_ELEMENTS);
    sizes = memory.fMGetSwap();
    print_swp(sizes);
    take("swap", sizes, SWAP_ELEMENTS);
    memory.fPushGatherMem();
    push("memory push", memory.m_pStrRealTimeMemZEL);
    memory.fMGetMemCnt();
}

void AllCollectors::sampleFilesystems() {
    const bool walked = print_fs_v2(&filesystems) == 1;
    {
        const FaultsSuspended suspended;
        StepResult &result = add("filesystems");
        result.succeeded = walked;
        filesystems.m_nCurIndex = 1;
        while (const _ST_FS *entry = walked ? filesystems.fMGetFileSysNext() : nullptr)
            result.lines.push_back(named("FSNAME", entry->l_strFSname) + named("DEVICE", entry->l_strDEVname) +
                                   named("TYPE", entry->l_strFSType) +
                                   named("TOTAL", std::to_string(entry->l_ulTotDskSize)));
    }
    table("filesystem text", filesystems.fGetFileSystem() < 1 ? nullptr : filesystems.fGetFSInfo());
    const Setting probe(g_nNfsStatusCheckFlag, probeByPortmapper);
    table("probed filesystem text", probedFilesystems.fGetFileSystem() < 1 ? nullptr : probedFilesystems.fGetFSInfo());
}

void AllCollectors::sampleDisks(double elapsed) {
    const bool sampled = print_io_v2(&disks, elapsed) == 1;
    {
        const FaultsSuspended suspended;
        StepResult &result = add("disks");
        result.succeeded = sampled;
        disks.m_pstNextNode = disks.m_pclList->fSlGetHeadNode();
        while (const _ST_DISKIO *disk = sampled ? disks.fMGetIoStatNext() : nullptr)
            result.lines.push_back(named("DISK", disk->l_strDEVname) + named("READ", number(disk->l_dRead_N)) +
                                   named("WRITE", number(disk->l_dWrite_N)) + named("READKB", number(disk->l_dRead_B)) +
                                   named("WRITEKB", number(disk->l_dWrite_B)) + named("BUSY", number(disk->l_dBusy)));
    }
    const Setting text(g_nDiskStrType, 1);
    table("disk text", textDisks.fMGetIoStat(elapsed, 1, 0) == nullptr ? nullptr : textDisks.m_pstrPollDiskInfo);
    push("disk push", pushDisks.fMGetIoStat(elapsed, 1, 1) == nullptr ? nullptr : pushDisks.m_pstrPushDiskInfo);
}

void AllCollectors::sampleNetwork(double elapsed) {
    const bool sampled = print_nwt_info(&network, elapsed) == 1;
    table("network text", sampled ? network.m_pstrNetworkInfo : nullptr);
    push("network push", pushNetwork.fMGetNetworkStat(elapsed, 1) == nullptr ? nullptr : pushNetwork.m_pstrNetworkInfo);
    const Setting list(g_nInterfaceStrType, networkListMode);
    const bool listed = listedNetwork.fMGetNetworkStat(elapsed, -1) != nullptr;
    const FaultsSuspended suspended;
    StepResult &result = add("network list");
    result.succeeded = listed;
    while (const _ST_NETWORK *row = listed ? listedNetwork.fMGetNetworkStatNext() : nullptr)
        result.lines.push_back(named("NAME", row->l_strIfName) + named("LINK", row->l_strLinkAlive) +
                               named("INPKT", number(row->l_dInPkt)) + named("OUTPKT", number(row->l_dOutPkt)) +
                               named("INBYTE", number(row->l_dInByte)) + named("RATE", number(row->l_dPortRate)));
}

void AllCollectors::sampleProcesses() {
    table("process text", print_proc_v2(&processes) == 1 ? processes.fGetProcInfo() : nullptr);
    push("process push", pushProcesses.fMGetProc(1));
    push("real-time processes", realTimeProcesses.fMGetRealProc());
}

void AllCollectors::sampleHardware() {
    const unsigned cards = nics.GetNICNum();
    nics.GetNICInfos();
    drives.GetCdromInfo();
    pci.GetPciInfo();
    const unsigned ranges = modules.GetMemoryNum();
    {
        const FaultsSuspended suspended;
        StepResult &result = add("hardware");
        result.succeeded = true;
        if (cards > 0)
            result.lines.push_back(named("CARDS", std::to_string(cards)));
        if (ranges > 0)
            result.lines.push_back(named("RANGES", std::to_string(ranges)));
        for (unsigned i = 0; i < nics.NICNum() && nics.m_pclCNIC != nullptr; ++i)
            result.lines.push_back(named("NIC", nics.m_pclCNIC[i].ModelName()));
        for (unsigned i = 0; i < drives.CdromNum() && drives.m_pclCCdrom != nullptr; ++i)
            result.lines.push_back(named("CDROM", drives.m_pclCCdrom[i].ModelName()));
        for (unsigned i = 0; i < pci.PciNum() && pci.m_pclCPci != nullptr; ++i)
            result.lines.push_back(named("PCI", pci.m_pclCPci[i].ModuleType()) +
                                   named("NAME", pci.m_pclCPci[i].ModuleName()));
    }
    const int gathered = print_hba_info(&ports);
    table("ports", ports.m_nHBACount == 0 || gathered == 0 ? nullptr : ports.m_const_pstrHBAZelInfo);
    print_gpu_info(&gpu);
    const int adapters = gpu.fCheckPCIInfo();
    gpu.fProcPrintAll();
    table("gpu processes", gpu.m_const_pstrGpuProcInfo[0] == '\0' ? nullptr : gpu.m_const_pstrGpuProcInfo);
    const FaultsSuspended suspended;
    add("gpu").lines.push_back(std::to_string(adapters));
    m_results.back().succeeded = true;
}

void AllCollectors::takeInventories() {
    const auto take = [this](const char *step, int result, const char *text) {
        const FaultsSuspended suspended;
        add(step).succeeded = result == 1;
        if (result == 1)
            m_results.back().lines.emplace_back(text);
    };
    const int processors = cpu.fMGetPhyCpuCnt();
    char count[16];
    std::snprintf(count, sizeof(count), "%d", processors);
    take("physical processors", processors > 0 ? 1 : 0, count);
    int result = cpu.fGetCpuINV();
    take("cpu inventory", result, cpu.m_pStrCpuINV);
    result = disks.fGetDiskINV();
    take("disk inventory", result, disks.m_pStrDiskINV);
    result = network.fGetInterfaceINV();
    take("interface inventory", result, network.m_pStrInterfaceINV);
    network.fInterfaceChangeCheck();
    result = ports.fGatherHBACardInv();
    take("card inventory", result, ports.m_pStrHBACardINV);
    network.m_pclBandwidthList->fFreeAll();
    network.fGetNewBandwidthDuplex();
    const _ST_BANDWIDTH_LIST *entry = network.m_pclBandwidthList->fGetInterfaceNode("eth0");
    take("bandwidth", entry != nullptr ? 1 : 0, entry != nullptr ? "known" : "");
    char duplex[64] = "";
    const int answered = fGetDuplex("eth0", duplex);
    take("duplex", answered, duplex);
}

// ---------------------------------------------------------------------------------------------------------------------

StepResult &AllCollectors::add(const char *step) {
    m_results.emplace_back();
    m_results.back().step = step;
    return m_results.back();
}

void AllCollectors::values(const char *step, const double *first, int count) {
    const FaultsSuspended suspended;
    StepResult &result = add(step);
    result.succeeded = first != nullptr;
    for (int i = 0; i < count && first != nullptr; ++i)
        result.lines.push_back(std::to_string(i) + "=" + number(first[i]));
}

void AllCollectors::table(const char *step, const char *text) {
    const FaultsSuspended suspended;
    StepResult &result = add(step);
    result.succeeded = text != nullptr;
    if (text == nullptr)
        return;
    PerfTable read;
    PerfTextError error;
    if (!fgReadPerfTable(text, read, error))
        result.malformed = complaint(error);
    result.lines = rowsOf(read);
}

void AllCollectors::push(const char *step, const char *text) {
    const FaultsSuspended suspended;
    StepResult &result = add(step);
    result.succeeded = text != nullptr && text[0] != '\0';
    if (!result.succeeded)
        return;
    PerfPush read;
    PerfTextError error;
    if (!fgReadPerfPush(text, read, error))
        result.malformed = complaint(error);
    for (const PerfMetric &metric : read.metrics) {
        if (metric.isTable)
            for (const std::string &line : rowsOf(metric.table))
                result.lines.push_back(line);
        else
            result.lines.push_back(std::string(metric.code) + "=" + std::string(metric.value));
    }
}

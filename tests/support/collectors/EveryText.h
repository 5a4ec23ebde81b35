// Every text that the collectors and the inventory program write, taken from the collectors themselves on fixture
// hosts: what the reader has to understand and what the documents describe.
#pragma once

#include "FcHost.h"
#include "FrozenClock.h"
#include "HostFixture.h"
#include "MM_CPU_Info.h"
#include "MM_FS_Info.h"
#include "MM_GPU_Info.h"
#include "MM_HBA_Info.h"
#include "MM_IO_Info.h"
#include "MM_MEM_Info.h"
#include "MM_NWT_Info.h"
#include "MM_PROC_Info.h"
#include "MM_VM_Info.h"
#include "NetworkScene.h"
#include "PerfTextReader.h"
#include "ProcessHost.h"
#include "SavedSettings.h"
#include "ScratchHome.h"
#include "Separators.h"
#include "Settings.h"
#include "ShellRun.h"
#include "SystemHooks.h"

#include <functional>
#include <net/if.h>
#include <optional>
#include <string>
#include <vector>

/// One text, under the name that docs/format.md gives it.
struct WrittenText {
    std::string name;
    bool push = false;                // read with fgReadPerfPush, otherwise with fgReadPerfTable
    std::optional<std::string> first; // what the first sample gave; none: a null result
    std::string text;                 // what the second one gave, five seconds later
};

namespace every_text {

inline int secondsBetween = 5; // two samples; a test may let no time pass, or set the clock back
inline constexpr const char *KERNEL = "6.1.0-18-amd64";

/// The settings of the collectors for the length of a text.
class TextSettings {
public:
    TextSettings() {
        g_nCpuStrType = g_nCpuUsedInWIO = g_nDiskStrType = g_nProcExtendFlag = 1;
        g_ptrAgentKey = m_key;
    }
    ~TextSettings() { withdrawSystemHooks(); }
    TextSettings(const TextSettings &) = delete;
    TextSettings &operator=(const TextSettings &) = delete;

private:
    SavedSettings m_saved;
    char m_key[10] = "agent_key";
};

using Sample = std::function<const char *()>;

/// Two samples, five seconds apart; `change` makes the host of the second one.
inline WrittenText twoSamples(const std::string &name, bool push, FrozenClock &clock, const Sample &sample,
                              const std::function<void()> &change) {
    WrittenText written{name, push, {}, {}};
    if (const char *first = sample())
        written.first = first;
    clock.advance(secondsBetween);
    change();
    const char *text = sample();
    EXPECT_NE(text, nullptr) << name;
    written.text = text == nullptr ? "" : text;
    return written;
}

inline const char *textIf(bool sampled, const char *text) {
    return sampled ? text : nullptr;
}

inline std::vector<WrittenText> cpuTexts() {
    const TextSettings settings;
    pretendKernelRelease("5.10.0-28-amd64"); // with I/O wait; the layout of 6.1 has none
    const auto take = [](bool push) {
        FrozenClock clock;
        HostFixture host("linux-5.10/t0");
        CMM_CPU_Info cpu;
        const auto sample = [&] {
            const bool sampled = (push ? cpu.fMGetPushCpu() : cpu.fMGetCpu()) != nullptr;
            return textIf(sampled, push ? cpu.m_pRealTimeStrCpuZEL : cpu.m_pStrCpuZEL);
        };
        return twoSamples(push ? "CPU push" : "CPU poll", push, clock, sample, [&] { host.show("linux-5.10/t1"); });
    };
    return {take(false), take(true)};
}

inline std::vector<WrittenText> memoryTexts() {
    const TextSettings settings;
    FrozenClock clock;
    HostFixture host("linux-6.1.0/t0");
    CMM_MEM_Info memory;
    const auto sample = [&] { return textIf(memory.fPushGatherMem() == 1, memory.m_pStrRealTimeMemZEL); };
    return {twoSamples("Memory push", true, clock, sample, [&] { host.show("linux-6.1.0/t1"); })};
}

inline std::vector<WrittenText> vmTexts() {
    const TextSettings settings;
    FrozenClock clock;
    HostFixture host("linux-6.1.0/t0");
    CMM_VM_Info vm;
    const auto sample = [&] { return textIf(vm.fMVelmorGetPage(1) != nullptr, vm.m_pStrRealTimePageZEL); };
    return {twoSamples("VM push", true, clock, sample, [&] { host.show("linux-6.1.0/t1"); })};
}

inline std::vector<WrittenText> diskTexts() {
    const TextSettings settings;
    pretendKernelRelease(KERNEL);
    const auto take = [](bool push) {
        FrozenClock clock;
        const ScratchHome home;
        HostFixture host("linux-6.1.0/t0");
        CMM_IO_Info disks;
        const auto sample = [&] {
            const bool sampled = disks.fMGetIoStat(0, 1, push ? 1 : 0) != nullptr;
            return textIf(sampled, push ? disks.m_pstrPushDiskInfo : disks.m_pstrPollDiskInfo);
        };
        return twoSamples(push ? "Disk push" : "Disk poll", push, clock, sample, [&] { host.show("linux-6.1.0/t1"); });
    };
    return {take(false), take(true)};
}

// Both filesystems of the fixture: 20000000 KB, 12000000 free, 11000000 available; 1310720 inodes, 1200000 free.
inline int twentyGigabytes(const char *, struct statfs64 *status) {
    *status = {};
    status->f_bsize = 4096;
    status->f_blocks = 5000000;
    status->f_bfree = 3000000;
    status->f_bavail = 2750000;
    status->f_files = 1310720;
    status->f_ffree = 1200000;
    return 0;
}

inline std::vector<WrittenText> filesystemTexts() {
    const TextSettings settings;
    systemHooks().statfs64 = twentyGigabytes;
    FrozenClock clock;
    const ScratchHome home;
    HostFixture host("linux-6.1.0/t0");
    std::snprintf(g_strExcludeFilesystem[0], FILESYSTEM_LIST_TEXT, "sysfs");
    std::snprintf(g_strExcludeFilesystem[1], FILESYSTEM_LIST_TEXT, "proc");
    std::snprintf(g_strExcludeFilesystem[2], FILESYSTEM_LIST_TEXT, "tmpfs");
    g_nExcludeFilesystemCnt = 3;
    CMM_FS_Info filesystems;
    const auto sample = [&] {
        const bool measured = filesystems.fGetFileSystem() > 0;
        return textIf(measured, filesystems.fGetFSInfo());
    };
    WrittenText written = twoSamples("Filesystem poll", false, clock, sample, [&] { host.show("linux-6.1.0/t1"); });
    std::memset(g_strExcludeFilesystem, 0, sizeof(g_strExcludeFilesystem));
    g_nExcludeFilesystemCnt = 0;
    return {written};
}

// eth0 with 100 Mb/s full duplex, docker0 without a known bandwidth; the inventory knows eth1 as well.
inline std::vector<WrittenText> networkTexts() {
    const auto take = [&](bool push) {
        const NetworkScene scene(1);
        const TextSettings settings;
        FrozenClock clock;
        HostFixture host("linux-6.1.0/t0");
        g_nNetworkExtGather = 1;
        systemHooks().ioctl = [](int, unsigned long, void *request) {
            static_cast<ifreq *>(request)->ifr_flags = IFF_UP;
            return 0;
        };
        scene.bandwidths("TORVSC|eth0|100000|2\n");
        scene.home.write("agent/aproc/shell/InterfaceINVStrInfo.dat",
                         "TORVInterface|INDEX" + C + "NAME" + C + R + "1" + C + "eth1" + C + "\n");
        systemHooks().system = [](const char *) { return 0; };
        CMM_NWT_Info network;
        network.fGetInterfaceINV();
        const auto sample = [&] {
            const bool sampled = network.fMGetVelmorNetworkStat(push ? 1 : 0) != nullptr;
            return textIf(sampled, network.m_pstrNetworkInfo);
        };
        return twoSamples(push ? "Network push" : "Network poll", push, clock, sample,
                          [&] { host.show("linux-6.1.0/t1"); });
    };
    return {take(false), take(true)};
}

// One process that used 2 of the 5 seconds and wrote 5 megabytes.
inline std::vector<WrittenText> processTexts() {
    const auto take = [](const std::string &name, int extended, int fileName, int mode) {
        const TextSettings settings;
        g_nProcExtendFlag = extended;
        g_nExecedFileNameFlag = fileName;
        systemHooks().getpwuid = [](uid_t) {
            static char user[] = "postgres";
            static passwd entry;
            entry.pw_name = user;
            return &entry;
        };
        FrozenClock clock;
        const ProcessHost host;
        host.processors(2);
        FakeProcess process{7421, "postgres", std::string("postgres: writer\0-D\0/srv\0", 25), 'R', 1, 7421, 20, -5};
        process.utime = 4000;
        process.stime = 1000;
        process.start = 50000;
        process.threads = 4;
        process.virtualBytes = 500000000;
        process.residentPages = 25000;
        process.io = std::pair(1048576ULL, 2097152ULL);
        host.put(process);
        CMM_PROC_Info processes;
        const auto sample = [&] { return mode < 0 ? processes.fMGetRealProc() : processes.fMGetProc(mode); };
        return twoSamples(name, mode != 0, clock, sample, [&] {
            process.utime += 150;
            process.stime += 50;
            process.io = std::pair(1048576ULL, 7340032ULL);
            host.put(process);
            host.uptime("1005.50 1810.25\n");
        });
    };
    return {take("Process poll, plain", 0, 0, 0), take("Process poll, file name", 0, 1, 0),
            take("Process poll, extended", 1, 0, 0), take("Process push", 1, 0, 1), take("Real-time list", 1, 0, -1)};
}

inline std::vector<WrittenText> hbaTexts() {
    const TextSettings settings;
    FrozenClock clock;
    const HostFixture host;
    FcPort port{"0x21000024ff123456", "Online", "0x100", "0x200", "0x1000", "0x2000"};
    writeFcPort(host, "host3", port);
    CMM_HBA_Info ports;
    const auto sample = [&] {
        ports.fGatherHBAZel();
        return ports.m_const_pstrHBAZelInfo;
    };
    return {twoSamples("HBA poll", false, clock, sample, [&] {
        port = {"0x21000024ff123456", "Online", "0x10a", "0x219", "0x13e8", "0x27d0"};
        writeFcPort(host, "host3", port);
    })};
}

inline std::vector<WrittenText> gpuTexts() {
    FrozenClock clock;
    CMM_GPU_Info gpu;
    gpu.m_GpuProcMap[4711] = new _ST_GPU_ALL_PROC_LIST{4711, 0, 37, 12, 2048, "render"};
    const auto sample = [&] {
        const bool printed = gpu.fProcPrintAll() == 0;
        return textIf(printed, gpu.m_const_pstrGpuProcInfo);
    };
    return {twoSamples("GPU processes", false, clock, sample, [] {})};
}

/// What the inventory program writes about a small host, as the collectors read it.
inline std::vector<WrittenText> inventoryTexts() {
    const TextSettings settings;
    const ScratchHome home;
    home.installKit();
    const HostFixture host;
    host.write("proc/cpuinfo", "vendor_id\t: GenuineIntel\nmodel name\t: Intel(R) Xeon(R) Gold 6130\n");
    host.write("sys/devices/system/cpu/cpu0/topology/physical_package_id", "0\n");
    host.write("sys/devices/system/cpu/cpu0/topology/core_id", "0\n");
    host.write("sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq", "2100000\n");
    host.write("sys/block/sda/size", "41943040\n");
    host.write("sys/block/sda/queue/scheduler", "none [mq-deadline]\n");
    host.write("sys/class/net/eth9/ifindex", "2\n");
    host.write("sys/class/net/eth9/address", "02:00:00:00:00:01\n");
    writeFcPort(host, "host3", {});
    for (const char *kind : {"1", "2", "3", "4"})
        EXPECT_EQ(runShell("ZEL_HOST_ROOT=" + host.path().string() + " ./libinvinfo " + kind).status, 0) << kind;

    systemHooks().system = [](const char *) { return 0; };
    g_nInterfaceStrType = 1;
    CMM_CPU_Info cpu;
    CMM_IO_Info disks;
    CMM_NWT_Info network;
    CMM_HBA_Info ports;
    g_nInterfaceStrType = 0;
    const auto written = [](const char *name, int result, const char *text) {
        EXPECT_EQ(result, 1) << name;
        return WrittenText{name, false, text, text};
    };
    return {written("CPU inventory", cpu.fGetCpuINV(), cpu.m_pStrCpuINV),
            written("Disk inventory", disks.fGetDiskINV(), disks.m_pStrDiskINV),
            written("Interface inventory", network.fGetInterfaceINV(), network.m_pStrInterfaceINV),
            written("HBA card inventory", ports.fGatherHBACardInv(), ports.m_pStrHBACardINV),
            written("HBA port inventory", ports.fGatherHBAPortInv(), ports.m_pStrHBAPortINV)};
}

/// Who writes texts, and how to take them.
struct Writer {
    const char *name;
    std::vector<WrittenText> (*take)();
};

inline constexpr Writer writers[] = {{"CPU", cpuTexts},
                                     {"Memory", memoryTexts},
                                     {"VM", vmTexts},
                                     {"Disk", diskTexts},
                                     {"Filesystem", filesystemTexts},
                                     {"Network", networkTexts},
                                     {"Process", processTexts},
                                     {"HBA", hbaTexts},
                                     {"GPU", gpuTexts},
                                     {"Inventory", inventoryTexts}};

} // namespace every_text

/// Every text there is.
inline std::vector<WrittenText> everyText() {
    std::vector<WrittenText> all;
    for (const every_text::Writer &writer : every_text::writers)
        for (WrittenText &text : writer.take())
            all.push_back(std::move(text));
    return all;
}

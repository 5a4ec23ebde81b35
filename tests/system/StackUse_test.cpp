// How much stack the public calls of the collectors need: an embedding program may sample on threads whose stacks are
// small. Every call runs on the kernels whose files and scripts it treats differently, where there is much to read.
#include "StackUse.h"

#include "AllCollectors.h"
#include "ConsoleReport.h"
#include "FaultHost.h"
#include "LogCapture.h"
#include "PerfTextReader.h"
#include "SettingGuard.h"
#include "Settings.h"
#include "StreamCapture.h"
#include "TempDirectory.h"
#include "VornLog.h"
#include "network.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <pthread.h>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool instrumented = true; // the frames are larger than those of real programs
#else
constexpr bool instrumented = false;
#endif

constexpr double seconds = 5.0;

struct PublicCall {
    const char *name;
    void (*run)(AllCollectors &all);
};

const PublicCall processorCalls[] = {
    {"fMGetCpu", [](AllCollectors &all) { all.cpu.fMGetCpu(); }},
    {"fMGetNCpu", [](AllCollectors &all) { all.cpu.fMGetNCpu(); }},
    {"fMGetPushCpu", [](AllCollectors &all) { all.pushCpu.fMGetPushCpu(); }},
    {"fMRulo6GatherCpu", [](AllCollectors &all) { all.cpu.fMRulo6GatherCpu(); }},
    {"fMGetCpuInterrupt", [](AllCollectors &all) { all.cpu.fMGetCpuInterrupt(seconds); }},
    {"fMGetPhyCpuCnt", [](AllCollectors &all) { all.cpu.fMGetPhyCpuCnt(); }},
    {"fGetCpuINV", [](AllCollectors &all) { all.cpu.fGetCpuINV(); }},
    {"CPU fCommandINV", [](AllCollectors &all) { all.cpu.fCommandINV(1); }},
    {"print_cpu_v2", [](AllCollectors &all) { print_cpu_v2(&all.cpu); }},
    {"print_cpu_intr", [](AllCollectors &all) { print_cpu_intr(&all.cpu, seconds); }},
    {"fMGetLoadAvg", [](AllCollectors &all) { all.loadAverage.fMGetLoadAvg(); }},
};

const PublicCall memoryCalls[] = {
    {"fMGetVmStat", [](AllCollectors &all) { print_vm(all.vm.fMGetVmStat(seconds)); }},
    {"fMVelmorGetPage", [](AllCollectors &all) { all.vm.fMVelmorGetPage(1); }},
    {"fMGetVelmorRunque", [](AllCollectors &all) { all.vm.fMGetVelmorRunque(); }},
    {"fMGetMem", [](AllCollectors &all) { print_mem(all.memory.fMGetMem()); }},
    {"fMGetSwap", [](AllCollectors &all) { print_swp(all.memory.fMGetSwap()); }},
    {"fMGetSwap_k2_6", [](AllCollectors &all) { all.memory.fMGetSwap_k2_6(); }},
    {"fPushGatherMem", [](AllCollectors &all) { all.memory.fPushGatherMem(); }},
    {"fMGetMemCnt", [](AllCollectors &all) { prnit_memcnt(&all.memory); }},
};

const PublicCall diskCalls[] = {
    {"fMGetIoStat, list", [](AllCollectors &all) { print_io_v2(&all.disks, seconds); }},
    {"fMGetIoStat, inventory", [](AllCollectors &all) { all.disks.fMGetIoStat(seconds, 0, 0); }},
    {"fMGetIoStat, text",
     [](AllCollectors &all) {
         const SettingGuard text(g_nDiskStrType, 1);
         all.textDisks.fMGetIoStat(seconds, 1, 0);
     }},
    {"fMGetIoStat, push",
     [](AllCollectors &all) {
         const SettingGuard text(g_nDiskStrType, 1);
         all.pushDisks.fMGetIoStat(seconds, 1, 1);
     }},
    {"fMGetDevNames", [](AllCollectors &all) { all.disks.fMGetDevNames(1); }},
    {"fGetDiskIoRate",
     [](AllCollectors &all) {
         float rate = 0;
         all.disks.fGetDiskIoRate("sda", &rate);
     }},
    {"fGetDiskINV", [](AllCollectors &all) { all.disks.fGetDiskINV(); }},
    {"fDiskChangeCheck", [](AllCollectors &all) { all.disks.fDiskChangeCheck(); }},
    {"disk fCommandINV", [](AllCollectors &all) { all.disks.fCommandINV(1); }},
};

const PublicCall filesystemCalls[] = {
    {"fMGetFileSys", [](AllCollectors &all) { print_fs_v2(&all.filesystems); }},
    {"fGetFileSystem", [](AllCollectors &all) { all.filesystems.fGetFileSystem(); }},
    {"fGetFileSystem, probed",
     [](AllCollectors &all) {
         const SettingGuard probe(g_nNfsStatusCheckFlag, 1);
         all.probedFilesystems.fGetFileSystem();
     }},
    {"fGetFSInfo", [](AllCollectors &all) { all.filesystems.fGetFSInfo(); }},
};

const PublicCall networkCalls[] = {
    {"fMGetNetworkStat, text", [](AllCollectors &all) { print_nwt_info(&all.network, seconds); }},
    {"fMGetNetworkStat, push", [](AllCollectors &all) { all.pushNetwork.fMGetNetworkStat(seconds, 1); }},
    {"fMGetNetworkStat, list",
     [](AllCollectors &all) {
         const SettingGuard list(g_nInterfaceStrType, 0);
         all.listedNetwork.fMGetNetworkStat(seconds, -1);
     }},
    {"fMGetVelmorNetworkStat", [](AllCollectors &all) { all.network.fMGetVelmorNetworkStat(0); }},
    {"fGetNewBandwidthDuplex", [](AllCollectors &all) { all.network.fGetNewBandwidthDuplex(); }},
    {"fGetInterfaceINV", [](AllCollectors &all) { all.network.fGetInterfaceINV(); }},
    {"fInterfaceChangeCheck", [](AllCollectors &all) { all.network.fInterfaceChangeCheck(); }},
    {"network fCommandINV", [](AllCollectors &all) { all.network.fCommandINV(1); }},
    {"fGetDuplex",
     [](AllCollectors &) {
         char duplex[64] = "";
         fGetDuplex("eth0", duplex);
     }},
};

const PublicCall processCalls[] = {
    {"fMGetProc", [](AllCollectors &all) { print_proc_v2(&all.processes); }},
    {"fMGetProc, push", [](AllCollectors &all) { all.pushProcesses.fMGetProc(1); }},
    {"fMGetRealProc", [](AllCollectors &all) { all.realTimeProcesses.fMGetRealProc(); }},
    {"fMGetProc, scripted",
     [](AllCollectors &all) {
         const SettingGuard list(g_nGetProcessType, 1);
         const SettingGuard java(g_nGetProcessJAVA, 1);
         all.processes.fMGetProc(0);
     }},
    {"fMReadProcTable",
     [](AllCollectors &all) {
         const auto raw = std::make_unique<proc_s>();
         const auto record = std::make_unique<_ST_PROC>();
         all.processes.fMReadProcTable(1, raw.get(), record.get(), 1000, 0, 0);
         all.processes.fMRealReadProcTable(1, raw.get(), record.get());
         all.processes.fMIo2Proc("/proc/1/io", raw.get());
     }},
    {"fGetCurrentCpuCnt", [](AllCollectors &all) { all.processes.fGetCurrentCpuCnt(); }},
    {"fMGetSysTotMem", [](AllCollectors &all) { all.processes.fMGetSysTotMem(); }},
};

const PublicCall hardwareCalls[] = {
    {"GetNICInfos", [](AllCollectors &all) { all.nics.GetNICInfos(); }},
    {"GetCdromInfo", [](AllCollectors &all) { all.drives.GetCdromInfo(); }},
    {"GetPciInfo", [](AllCollectors &all) { all.pci.GetPciInfo(); }},
    {"GetMemoryNum", [](AllCollectors &all) { all.modules.GetMemoryNum(); }},
    {"fGatherHBAZel", [](AllCollectors &all) { print_hba_info(&all.ports); }},
    {"fGatherHBACardInv", [](AllCollectors &all) { all.ports.fGatherHBACardInv(); }},
    {"fGatherHBAPortInv", [](AllCollectors &all) { all.ports.fGatherHBAPortInv(); }},
    {"HBA fCommandINV", [](AllCollectors &all) { all.ports.fCommandINV(1); }},
    {"print_gpu_info", [](AllCollectors &all) { print_gpu_info(&all.gpu); }},
    {"fCheckPCIInfo", [](AllCollectors &all) { all.gpu.fCheckPCIInfo(); }},
    {"fProcPrintAll", [](AllCollectors &all) { all.gpu.fProcPrintAll(); }},
    {"fGetProcName",
     [](AllCollectors &all) {
         char name[GPU_PROCESS_NAME_SIZE];
         all.gpu.fGetProcName(1, name);
     }},
};

std::size_t quietStackUse(const std::function<void()> &call) {
    const StreamCapture streams;
    return stackUseOf(call);
}

class StackUse : public testing::TestWithParam<const char *> {
protected:
    StackUse() {
        pretendKernelRelease(GetParam());
        systemHooks().pthreadCreate = nullptr; // the painted thread is a second one that it would wait for
    }

    // Twice: a first sample ends early.
    template<std::size_t Count> void expectSmallStacks(const PublicCall (&calls)[Count]) {
        if (instrumented)
            GTEST_SKIP() << "sanitizers enlarge every frame";
        AllCollectors all;
        for (const PublicCall &call : calls) {
            for (int time = 0; time < 2; ++time) {
                m_host.show(time);
                EXPECT_LT(quietStackUse([&] { call.run(all); }), STACK_LIMIT) << call.name;
                const LogCapture everythingLogged;
                EXPECT_LT(stackUseOf([&] { call.run(all); }), STACK_LIMIT) << call.name << ", logging";
            }
        }
    }

    FaultHost m_host;
};

INSTANTIATE_TEST_SUITE_P(Kernels, StackUse, testing::Values("2.2.26", "2.4.21", "6.1.0", "6.6.0"),
                         [](const auto &release) {
                             std::string name = release.param;
                             std::replace(name.begin(), name.end(), '.', '_');
                             return name;
                         });

TEST_P(StackUse, OfProcessorsAndLoad) {
    expectSmallStacks(processorCalls);
}
TEST_P(StackUse, OfVmAndMemory) {
    expectSmallStacks(memoryCalls);
}
TEST_P(StackUse, OfDisks) {
    expectSmallStacks(diskCalls);
}
TEST_P(StackUse, OfFilesystems) {
    expectSmallStacks(filesystemCalls);
}
TEST_P(StackUse, OfNetwork) {
    expectSmallStacks(networkCalls);
}
TEST_P(StackUse, OfProcesses) {
    expectSmallStacks(processCalls);
}
TEST_P(StackUse, OfHardware) {
    expectSmallStacks(hardwareCalls);
}

// A limit on the size of files makes the logger lose messages; the next line brings the account of them.
TEST(StackUseOfTheRuntime, LineAfterLostMessages) {
    if (instrumented)
        GTEST_SKIP() << "sanitizers enlarge every frame";
    const StreamCapture streams;
    const TempDirectory directory;
    CVornLog log(2, "app", 2);
    log.fSetLogPath((directory.path().string() + "/").c_str());
    log.fSetLogSize(1, 1);
    log.fLogWrite(2, 1, "file", "first");
    log.fLogWrite(2, 1, "file", "second");
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit none{1, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &none);
    log.fLogWrite(2, 1, "file", "lost");
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_LT(stackUseOf([&] { log.fLogWrite(2, 1, "file", "with the account"); }), STACK_LIMIT);
    std::ifstream file(log.m_pstrLogFile);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_NE(text.find("1 messages lost"), std::string::npos) << text;
}

TEST(StackUseOfTheRuntime, TextsReadBack) {
    if (instrumented)
        GTEST_SKIP() << "sanitizers enlarge every frame";
    PerfTable table;
    PerfTextError error;
    EXPECT_LT(stackUseOf([&] { fgReadPerfTable("A\x03\x1F~\x03\x1F|1\x03\x1F~", table, error); }), STACK_LIMIT);
}

// What the C library and its thread storage need is part of the stack here.
TEST(StackUseOfAThread, WholeCycleFits64Kilobytes) {
    if (instrumented)
        GTEST_SKIP() << "sanitizers enlarge every frame";
    FaultHost host;
    systemHooks().pthreadCreate = nullptr;
    AllCollectors all;
    const StreamCapture streams;
    for (int time = 0; time < 2; ++time) {
        host.show(time);
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, std::size_t{64} * 1024);
        pthread_t thread{};
        const auto run = [](void *collectors) -> void * {
            static_cast<AllCollectors *>(collectors)->cycle(seconds);
            return nullptr;
        };
        ASSERT_EQ(pthread_create(&thread, &attributes, run, &all), 0);
        pthread_join(thread, nullptr);
        pthread_attr_destroy(&attributes);
    }
    EXPECT_GT(all.cpu.m_nCpuZELCnt, 0);
}

} // namespace

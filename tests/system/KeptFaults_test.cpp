// The collectors of the system's own files, with kept files and without: a read that fails, a descriptor that is lost,
// and the files that cannot be opened anew either. Real kernel files.
#include "Faults.h"
#include "LogCapture.h"
#include "MM_CPU_Info.h"
#include "MM_FS_Info.h"
#include "MM_IO_Info.h"
#include "MM_LA_Info.h"
#include "MM_MEM_Info.h"
#include "MM_NWT_Info.h"
#include "MM_VM_Info.h"
#include "NetworkNamespace.h"
#include "ScratchHome.h"
#include "SettingGuard.h"
#include "Settings.h"
#include "SystemHooks.h"
#include "kernel/KeptFile.h"

#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using testing::Contains;
using testing::HasSubstr;

/// One collector, with what its sample counted: devices, mounts or processors, -1 when it failed.
struct Subject {
    const char *name;
    std::function<int()> sample;
};

// Text mode is chosen before a collector is built.
struct TextMode {
    TextMode() {
        g_nCpuStrType = g_nDiskStrType = g_nInterfaceStrType = g_nLinuxBandwidthFlag = 1;
        systemHooks().system = [](const char *) { return 0; };
    }
};

class Subjects {
public:
    Subjects() {
        for (int sample = 0; sample < 3; ++sample) // kept, with an old sample each
            for (const Subject &subject : all)
                subject.sample();
    }

    ScratchHome home;
    TextMode mode;
    CMM_CPU_Info cpu;
    CMM_LA_Info load;
    CMM_VM_Info vm;
    CMM_MEM_Info memory;
    CMM_IO_Info disks;
    CMM_FS_Info filesystems;
    CMM_NWT_Info network;

    const std::vector<Subject> all{
        {"cpu", [this] { return cpu.fMGetCpu() == nullptr ? -1 : cpu.m_nNCpu; }},
        {"interrupts", [this] { return cpu.fMGetCpuInterrupt(1.0) == nullptr ? -1 : 1; }},
        {"load", [this] { return load.fMGetLoadAvg() == nullptr ? -1 : 1; }},
        {"vm", [this] { return vm.fMGetVmStat(1.0) == nullptr ? -1 : 1; }},
        {"memory", [this] { return memory.fMGetMem() == nullptr ? -1 : 1; }},
        {"swap", [this] { return memory.fMGetSwap() == nullptr ? -1 : 1; }},
        {"disks", [this] { return disks.fMGetIoStat(1.0, 1, 0) == nullptr ? -1 : disks.m_nDiskZELCnt; }},
        {"filesystems", [this] { return filesystems.fGetFileSystem(); }},
        {"network", [this] { return network.fMGetNetworkStat(1.0, -1) == nullptr ? -1 : network.m_nIfCnt; }},
    };
};

int openDescriptors() {
    int count = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

/// Another file under the number of every kernel file that is open.
void loseKernelFiles() {
    std::vector<int> lost;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const std::string target = std::filesystem::read_symlink(entry.path(), gone);
        if (target.starts_with("/proc/") && target.find("/fd") == std::string::npos)
            lost.push_back(std::stoi(entry.path().filename()));
    }
    const int other = open("/etc/passwd", O_RDONLY | O_CLOEXEC);
    for (const int descriptor : lost)
        dup3(other, descriptor, O_CLOEXEC);
    close(other);
}

TEST(KeptFaults, EveryReadOfAKeptFileThatFailsIsMadeUpFor) {
    Subjects subjects;
    EXPECT_GE(zel::keptPlacesTaken(), 9);
    for (const Subject &subject : subjects.all) {
        const int sound = subject.sample();
        const int descriptors = openDescriptors();
        bool happened = true;
        for (long number = 1; happened; ++number) {
            {
                const Fault fault(Call::Pread, number);
                EXPECT_EQ(subject.sample(), sound) << subject.name << ", read " << number;
                happened = Fault::happened();
            }
            EXPECT_EQ(subject.sample(), sound) << subject.name << " after read " << number;
            EXPECT_EQ(openDescriptors(), descriptors) << subject.name;
            ASSERT_LT(number, 1000);
        }
    }
}

TEST(KeptFaults, TableOfManyInterfacesIsReadOnAfterAReadThatFailed) {
    const std::string reason = inNetworkNamespace([] {
        for (int pair = 0; pair < 40; ++pair)
            makePair("zk" + std::to_string(pair) + "a", "zk" + std::to_string(pair) + "b");
        Subjects subjects;
        ASSERT_EQ(subjects.all.back().sample(), 80);
        long number = 0;
        for (bool happened = true; happened;) {
            const Fault fault(Call::Pread, ++number);
            EXPECT_EQ(subjects.all.back().sample(), 80) << "read " << number;
            happened = Fault::happened();
        }
        EXPECT_GT(number, 3) << "a table of several pages";
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST(KeptFaults, LostDescriptorsAreNeitherReadNorClosed) {
    Subjects subjects;
    std::vector<int> sound;
    for (const Subject &subject : subjects.all)
        sound.push_back(subject.sample());
    loseKernelFiles();
    const int places = zel::keptPlacesTaken();
    const int descriptors = openDescriptors();
    for (std::size_t i = 0; i < subjects.all.size(); ++i)
        EXPECT_EQ(subjects.all[i].sample(), sound[i]) << subjects.all[i].name;
    EXPECT_EQ(zel::keptPlacesTaken(), places);
    EXPECT_GE(openDescriptors(), descriptors + places - 1) << "the others stay, new ones come"; // - 1: the link reports
}

// What a sample gives and logs when its n-th fresh read fails.
std::vector<std::string> failures(int limit, bool lose, long number) {
    const SettingGuard guard(g_nKeptFileLimit, limit);
    std::vector<std::string> results;
    Subjects subjects;
    const LogCapture log;
    for (const Subject &subject : subjects.all) {
        if (lose)
            loseKernelFiles();
        const Fault fault(Call::Read, number);
        const int counted = subject.sample();
        results.push_back(subject.name + std::string(" ") + std::to_string(counted) +
                          (Fault::happened() ? " happened" : ""));
    }
    for (const std::string &message : log.messages()) {
        if (message.find("fail") != std::string::npos)
            results.push_back(message);
    }
    return results;
}

TEST(KeptFaults, ReadThatFailsAfterTheFileWasOpenedAnewFailsAsWithoutKeptFiles) {
    for (const long number : {1L, 2L, 3L, 4L}) {
        const std::vector<std::string> expected = failures(0, false, number);
        EXPECT_THAT(expected, Contains(HasSubstr("happened"))) << "read " << number;
        EXPECT_EQ(failures(-1, true, number), expected) << "read " << number;
    }
    const std::vector<std::string> first = failures(-1, true, 1);
    EXPECT_THAT(first, Contains("cpu -1 happened"));
    EXPECT_THAT(first, Contains("/proc/stat buff read failed"));
}

TEST(KeptFaults, WithoutPlacesEverySampleIsAsWithThem) {
    std::vector<int> with, without;
    {
        Subjects subjects;
        for (const Subject &subject : subjects.all)
            with.push_back(subject.sample());
    }
    const SettingGuard guard(g_nKeptFileLimit, 0);
    Subjects subjects;
    EXPECT_EQ(zel::keptPlacesTaken(), 0);
    for (const Subject &subject : subjects.all)
        without.push_back(subject.sample());
    EXPECT_EQ(with, without);
}

} // namespace

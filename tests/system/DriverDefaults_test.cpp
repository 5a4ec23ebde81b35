// What the driver sets before it builds the first collector: its source is compiled in, under another entry point.
#include "LogGate.h"
#include "NCmdScheduler.h"
#include "OwnProcess.h"
#include "Settings.h"
#include "StreamCapture.h"

#include <cerrno>
#include <gtest/gtest.h>

#define main driverMain
#include "../../libzel/main.cpp" // NOLINT(bugprone-suspicious-include)
#undef main

namespace {

using testing::ExitedWithCode;

// Every setting that the driver assigns; the two counts of the lists follow from the lists.
std::vector<std::pair<const char *, int *>> assignedSettings() {
    return {{"g_nNfsStatusCheckFlag", &g_nNfsStatusCheckFlag},
            {"g_nDiskMaxGatherCnt", &g_nDiskMaxGatherCnt},
            {"g_nInterfaceStrType", &g_nInterfaceStrType},
            {"g_nTmpRealTimeGather", &g_nTmpRealTimeGather},
            {"g_lBandWidthSet", &g_lBandWidthSet},
            {"g_nDuplexSet", &g_nDuplexSet},
            {"g_nDiskWaitFlag", &g_nDiskWaitFlag},
            {"g_nNetworkExtGather", &g_nNetworkExtGather},
            {"g_nProcSleepCnt", &g_nProcSleepCnt},
            {"g_nVAGENT_type", &g_nVAGENT_type},
            {"g_nIncludeFilesystemCnt", &g_nIncludeFilesystemCnt},
            {"g_nFSTokenCount", &g_nFSTokenCount},
            {"g_nKernelRule", &g_nKernelRule},
            {"g_nKeptFileLimit", &g_nKeptFileLimit},
            {"g_nExecedFileNameFlag", &g_nExecedFileNameFlag},
            {"g_nFsFreeUsedFlag", &g_nFsFreeUsedFlag},
            {"g_nLinuxBandwidthFlag", &g_nLinuxBandwidthFlag},
            {"g_nProcExtendFlag", &g_nProcExtendFlag},
            {"g_nDiskStrType", &g_nDiskStrType},
            {"g_nCpuStrType", &g_nCpuStrType},
            {"g_nCpuUsedInWIO", &g_nCpuUsedInWIO}};
}

void show(const FilesystemList &list, int count) {
    for (int i = 0; i < count; ++i)
        std::fprintf(stderr, "%s,", list[i]);
    std::fprintf(stderr, "%d\n", count);
}

// Starts the driver without arguments in a process of its own, over settings that all hold something else, and shows
// what it has set after the usage text.
[[noreturn]] void startAndShow() {
    for (const auto &[name, setting] : assignedSettings())
        *setting = 77;
    std::memset(g_strExcludeFilesystem, 'x', sizeof(g_strExcludeFilesystem));
    std::memset(g_strTotExcludeFilesystem, 'x', sizeof(g_strTotExcludeFilesystem));

    char program[] = "libzelinfo";
    char *arguments[] = {program, nullptr};
    const int status = driverMain(1, arguments);

    for (const auto &[name, setting] : assignedSettings())
        std::fprintf(stderr, "%s=%d\n", name, *setting);
    show(g_strExcludeFilesystem, g_nExcludeFilesystemCnt);
    show(g_strTotExcludeFilesystem, g_nTotExcludeFilesystemCnt);
    const bool zeroFilled = std::string(g_ptrAgentKey, agentKeySize) == std::string("agent_key\0\0\0\0\0\0\0", 16);
    std::fprintf(stderr, "key %d scheduler %d logger %d\n", zeroFilled, g_pclCCmdScheduler != nullptr,
                 g_pclVornLog != nullptr);
    std::_Exit(status);
}

TEST(DriverDefaultsDeathTest, EverySettingHasItsDriverValue) {
    EXPECT_EXIT(startAndShow(), ExitedWithCode(0),
                testing::StrEq(std::string(usageText) +
                               "g_nNfsStatusCheckFlag=0\n"
                               "g_nDiskMaxGatherCnt=50\n"
                               "g_nInterfaceStrType=1\n"
                               "g_nTmpRealTimeGather=0\n"
                               "g_lBandWidthSet=0\n"
                               "g_nDuplexSet=0\n"
                               "g_nDiskWaitFlag=0\n"
                               "g_nNetworkExtGather=0\n"
                               "g_nProcSleepCnt=1000\n"
                               "g_nVAGENT_type=0\n"
                               "g_nIncludeFilesystemCnt=0\n"
                               "g_nFSTokenCount=0\n"
                               "g_nKernelRule=0\n"
                               "g_nKeptFileLimit=-1\n"
                               "g_nExecedFileNameFlag=0\n"
                               "g_nFsFreeUsedFlag=0\n"
                               "g_nLinuxBandwidthFlag=1\n"
                               "g_nProcExtendFlag=1\n"
                               "g_nDiskStrType=0\n"
                               "g_nCpuStrType=1\n"
                               "g_nCpuUsedInWIO=1\n"
                               "cdrfs,vxodm,procfs,cdfs,ignore,odm,usbdevfs,proc,devpts,none,sysfs,tmpfs,autofs,"
                               "rpc_piperfs,iso9660,lustre_lite,subfs,lofs,devfs,mntfs,ctfs,objfs,fd,23\n"
                               "binfmt_misc,1\n"
                               "key 1 scheduler 1 logger 0\n"));
}

TEST(DriverDefaultsDeathTest, HostRootThatDoesNotFitEndsTheDriver) {
    const auto startBelow = [](std::size_t length) {
        setenv("ZEL_HOST_ROOT", std::string(length, 'r').c_str(), 1);
        char program[] = "libzelinfo";
        char *arguments[] = {program, nullptr};
        std::_Exit(driverMain(1, arguments));
    };
    EXPECT_EXIT(startBelow(256), ExitedWithCode(1), testing::StrEq("ZEL_HOST_ROOT is longer than 255 characters\n"));
    EXPECT_EXIT(startBelow(255), ExitedWithCode(0), testing::StrEq(usageText));
}

// --- Lists of filesystem types ---------------------------------------------------------------------------------------

std::string listOf(int entries) {
    std::string types;
    for (int i = 0; i < entries; ++i)
        types += (i == 0 ? "t" : ",t") + std::to_string(i);
    return types;
}

TEST(FilesystemTypes, HundredthEntryIsAnnouncedAndTheLast) {
    FilesystemList list;
    for (const int entries : {99, 100, 101, 150}) {
        const StreamCapture streams;
        EXPECT_EQ(splitFilesystemTypes(listOf(entries).c_str(), list), std::min(entries, 100));
        EXPECT_EQ(streams.err(), entries < 100 ? "" : "filesystem type list count > 100\n") << entries;
        EXPECT_STREQ(list[98], "t98");
        EXPECT_STREQ(list[99], entries < 100 ? "" : "t99");
    }
}

TEST(FilesystemTypes, ListIsClearedFirst) {
    FilesystemList list;
    std::memset(list, 'x', sizeof(list));
    EXPECT_EQ(splitFilesystemTypes("a,,bc", list), 2);
    EXPECT_STREQ(list[0], "a");
    EXPECT_STREQ(list[1], "bc");
    EXPECT_EQ(std::string(list[2], sizeof(list) - 64), std::string(sizeof(list) - 64, '\0'));
}

TEST(FilesystemTypes, LongTypeRunsIntoTheNextEntryButNotBehindTheList) {
    struct {
        FilesystemList list;
        char behind[16];
    } area;
    std::memset(&area, '#', sizeof(area));
    EXPECT_EQ(splitFilesystemTypes((std::string(40, 'x') + ",b").c_str(), area.list), 2);
    EXPECT_EQ(std::string(&area.list[0][0], 40), std::string(32, 'x') + "bxxxxxxx");

    const StreamCapture streams;
    EXPECT_EQ(splitFilesystemTypes((listOf(99) + "," + std::string(60, 'z')).c_str(), area.list), 100);
    EXPECT_EQ(std::string(area.list[99]), std::string(31, 'z'));
    EXPECT_EQ(std::string(area.behind, sizeof(area.behind)), std::string(sizeof(area.behind), '#'));
}

TEST(DriverExit, MessageIsHandedToPerror) {
    const StreamCapture streams;
    errno = ENOENT;
    prog_exit("start");
    EXPECT_EQ(streams.err(), "start: No such file or directory\n");
}

TEST(DriverDefaults, SoftLimitOfDescriptorsIsRaisedToWhatCanBeUsed) {
    EXPECT_TRUE(trueInChild([] {
        const rlimit few{64, 5000};
        setrlimit(RLIMIT_NOFILE, &few);
        char program[] = "libzelinfo";
        char *arguments[] = {program, nullptr};
        const StreamCapture usage;
        driverMain(1, arguments);
        rlimit raised{};
        getrlimit(RLIMIT_NOFILE, &raised);
        return raised.rlim_cur == 5000 && raised.rlim_max == 5000;
    }));
}

} // namespace

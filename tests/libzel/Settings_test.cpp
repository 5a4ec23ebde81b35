// Settings that nobody has assigned.
#include "Settings.h"

#include "LogGate.h"
#include "NCmdScheduler.h"
#include "NGFunctions.h"
#include "Paths.h"
#include "SavedSettings.h"
#include "VornLog.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <string>

namespace {

using FilesystemList = char[FILESYSTEM_LIST_ENTRIES][FILESYSTEM_LIST_TEXT];

bool isZero(const char *area, std::size_t size) {
    return std::all_of(area, area + size, [](char byte) { return byte == '\0'; });
}

struct Values {
    std::map<std::string, long> integers;
    std::map<std::string, bool> emptyTexts;
    std::map<std::string, const void *> pointers;
};

Values currentValues() {
    return {
        {{"g_nKernelRule", g_nKernelRule},
         {"g_nCpuStrType", g_nCpuStrType},
         {"g_nCpuUsedInWIO", g_nCpuUsedInWIO},
         {"g_nDiskStrType", g_nDiskStrType},
         {"g_nDiskMaxGatherCnt", g_nDiskMaxGatherCnt},
         {"g_nDiskWaitFlag", g_nDiskWaitFlag},
         {"g_nInterfaceStrType", g_nInterfaceStrType},
         {"g_nLinuxBandwidthFlag", g_nLinuxBandwidthFlag},
         {"g_nNetworkExtGather", g_nNetworkExtGather},
         {"g_nExcludeFilesystemCnt", g_nExcludeFilesystemCnt},
         {"g_nTotExcludeFilesystemCnt", g_nTotExcludeFilesystemCnt},
         {"g_nIncludeFilesystemCnt", g_nIncludeFilesystemCnt},
         {"g_nFsFreeUsedFlag", g_nFsFreeUsedFlag},
         {"g_nNfsStatusCheckFlag", g_nNfsStatusCheckFlag},
         {"g_nVAGENT_type", g_nVAGENT_type},
         {"g_nFSTokenCount", g_nFSTokenCount},
         {"g_nGetProcessType", g_nGetProcessType},
         {"g_nGetProcessJAVA", g_nGetProcessJAVA},
         {"g_nExecedFileNameFlag", g_nExecedFileNameFlag},
         {"g_nProcExtendFlag", g_nProcExtendFlag},
         {"g_nProcSleepCnt", g_nProcSleepCnt},
         {"g_nTmpRealTimeGather", g_nTmpRealTimeGather},
         {"g_lBandWidthSet", g_lBandWidthSet},
         {"g_nDuplexSet", g_nDuplexSet},
         {"g_nPrint", g_nPrint},
         {"g_nIPv6Flag", g_nIPv6Flag},
         {"g_nSignalPid", g_nSignalPid},
         {"g_nAlarmSec", g_nAlarmSec},
         {"g_nAlarmThStatus", g_nAlarmThStatus},
         {"g_nBlockChkFlag", g_nBlockChkFlag},
         {"g_nBlockTimeOut", g_nBlockTimeOut},
         {"g_nBlockChkSec", g_nBlockChkSec},
         {"g_nDataBufferSaveMaxSize", g_nDataBufferSaveMaxSize},
         {"g_nCmdSync", g_nCmdSync},
         {"g_nLogModERROR", g_nLogModERROR},
         {"g_nLoggingERROR1", g_nLoggingERROR1},
         {"g_nLoggingERROR2", g_nLoggingERROR2},
         {"g_nLogModNORMAL", g_nLogModNORMAL},
         {"g_nLoggingNORMAL1", g_nLoggingNORMAL1},
         {"g_nLoggingNORMAL2", g_nLoggingNORMAL2},
         {"g_nLogModDEBUG", g_nLogModDEBUG},
         {"g_nLoggingDEBUG1", g_nLoggingDEBUG1},
         {"g_nLoggingDEBUG2", g_nLoggingDEBUG2}},
        {{"g_strExcludeFilesystem", isZero(g_strExcludeFilesystem[0], sizeof(FilesystemList))},
         {"g_strTotExcludeFilesystem", isZero(g_strTotExcludeFilesystem[0], sizeof(FilesystemList))},
         {"g_strIncludeFilesystem", isZero(g_strIncludeFilesystem[0], sizeof(FilesystemList))},
         {"g_strDebugDetail", isZero(g_strDebugDetail, sizeof(g_strDebugDetail))},
         {"g_strHostRoot", isZero(g_strHostRoot, sizeof(g_strHostRoot))},
         {"g_stMemUse", isZero(reinterpret_cast<const char *>(&g_stMemUse), sizeof(g_stMemUse))}},
        {{"g_ptrAgentKey", g_ptrAgentKey}, {"g_pclVornLog", g_pclVornLog}, {"g_pclCCmdScheduler", g_pclCCmdScheduler}}};
}

// Taken while the program is loaded: no test has assigned anything yet.
const Values valuesAtStart = currentValues();
const int keptFileLimitAtStart = g_nKeptFileLimit;

// The guard of the tests must know a setting that is added.
TEST(SavedSettings, CoverEverySettingOfTheCollectors) {
    std::ifstream header(paths::sourceRoot + std::string("/libzel/Settings.h"));
    const std::regex declaration("extern [a-z]+ \\*?([A-Za-z0-9_]+).*;");
    int declared = 0;
    for (std::string line; std::getline(header, line);) {
        std::smatch match;
        if (!std::regex_match(line, match, declaration))
            continue;
        ++declared;
        EXPECT_TRUE(std::ranges::any_of(knownSettings(), [&](const Setting &known) { return known.name == match[1]; }))
            << match[1];
    }
    EXPECT_GE(declared, 29);
}

TEST(SavedSettings, AreGivenBack) {
    static char key[] = "key";
    {
        const SavedSettings saved;
        g_ptrAgentKey = key;
        g_nProcSleepCnt = 7;
        std::strcpy(g_strIncludeFilesystem[99], "xfs");
        g_nPrint = 1;
    }
    EXPECT_EQ(g_ptrAgentKey, nullptr);
    EXPECT_EQ(g_nProcSleepCnt, 0);
    EXPECT_STREQ(g_strIncludeFilesystem[99], "");
    EXPECT_EQ(g_nPrint, 0);
}

TEST(Settings, UntouchedSettingsAreZero) {
    for (const auto &[name, value] : valuesAtStart.integers)
        EXPECT_EQ(value, 0) << name;
}

TEST(Settings, UntouchedLimitOfKeptFilesIsAutomatic) {
    EXPECT_EQ(keptFileLimitAtStart, -1);
}

TEST(Settings, UntouchedListsAndTextsAreEmpty) {
    for (const auto &[name, empty] : valuesAtStart.emptyTexts)
        EXPECT_TRUE(empty) << name;
}

TEST(Settings, UntouchedPointersAreNull) {
    for (const auto &[name, pointer] : valuesAtStart.pointers)
        EXPECT_EQ(pointer, nullptr) << name;
}

TEST(Settings, ListsHoldAHundredEntriesOf32Characters) {
    EXPECT_EQ(sizeof(g_strExcludeFilesystem), 100U * 32U);
    EXPECT_EQ(sizeof(g_strTotExcludeFilesystem), 100U * 32U);
    EXPECT_EQ(sizeof(g_strIncludeFilesystem), 100U * 32U);
}

} // namespace

// What the example agent assigns before its first collector is built.
#include "../../examples/agent/Runtime.h"
#include "HostRoot.h"
#include "NGFunctions.h"
#include "OwnProcess.h"
#include "SettingGuard.h"
#include "Settings.h"

#include <gtest/gtest.h>
#include <string>

namespace {

// Without it a kernel of a release that the collectors do not know by name is read as none.
TEST(AgentSettings, EveryKernelFrom26OnIsReadAsOne) {
    const SettingGuard rule(g_nKernelRule, 0);
    const SettingGuard processors(g_nCpuStrType, 0);
    const SettingGuard disks(g_nDiskStrType, 0);
    const SettingGuard interfaces(g_nInterfaceStrType, 0);
    const SettingGuard bandwidth(g_nLinuxBandwidthFlag, 0);
    const SettingGuard extended(g_nProcExtendFlag, 0);
    const SettingGuard probes(g_nNfsStatusCheckFlag, 0);
    const SettingGuard kept(g_nDataBufferSaveMaxSize, 0);
    char *const key = g_ptrAgentKey;
    const std::string root = g_strHostRoot;

    agent::applySettings();

    EXPECT_EQ(g_nKernelRule, 1);
    g_ptrAgentKey = key;
    root.copy(g_strHostRoot, sizeof(g_strHostRoot));
    g_strHostRoot[root.size()] = '\0';
}

TEST(AgentSettings, SoftLimitOfDescriptorsIsRaisedToWhatCanBeUsed) {
    EXPECT_TRUE(trueInChild([] {
        const rlimit few{64, 5000};
        setrlimit(RLIMIT_NOFILE, &few);
        agent::raiseDescriptorLimit();
        rlimit raised{};
        getrlimit(RLIMIT_NOFILE, &raised);
        return raised.rlim_cur == 5000 && raised.rlim_max == 5000;
    }));
}

} // namespace

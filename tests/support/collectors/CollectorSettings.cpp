// The settings of the collectors, in the order of Settings.h.
#include "SavedSettings.h"
#include "Settings.h"

namespace {

const KnownSettings collectorSettings({
    SETTING(g_ptrAgentKey),
    SETTING(g_nKernelRule),
    SETTING(g_nKeptFileLimit),
    SETTING(g_nCpuStrType),
    SETTING(g_nCpuUsedInWIO),
    SETTING(g_nDiskStrType),
    SETTING(g_nDiskMaxGatherCnt),
    SETTING(g_nDiskWaitFlag),
    SETTING(g_nInterfaceStrType),
    SETTING(g_nLinuxBandwidthFlag),
    SETTING(g_nNetworkExtGather),
    SETTING(g_strExcludeFilesystem),
    SETTING(g_nExcludeFilesystemCnt),
    SETTING(g_strTotExcludeFilesystem),
    SETTING(g_nTotExcludeFilesystemCnt),
    SETTING(g_strIncludeFilesystem),
    SETTING(g_nIncludeFilesystemCnt),
    SETTING(g_nFsFreeUsedFlag),
    SETTING(g_nNfsStatusCheckFlag),
    SETTING(g_nVAGENT_type),
    SETTING(g_nFSTokenCount),
    SETTING(g_nGetProcessType),
    SETTING(g_nGetProcessJAVA),
    SETTING(g_nExecedFileNameFlag),
    SETTING(g_nProcExtendFlag),
    SETTING(g_nProcSleepCnt),
    SETTING(g_nTmpRealTimeGather),
    SETTING(g_lBandWidthSet),
    SETTING(g_nDuplexSet),
});

} // namespace

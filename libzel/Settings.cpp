// The settings themselves: every one is 0 or empty until the embedding program assigns it, but
// for the limit of kept files.
#include "Settings.h"

char *g_ptrAgentKey;
int g_nKernelRule;
int g_nKeptFileLimit = -1;
int g_nCpuStrType;
int g_nCpuUsedInWIO;
int g_nDiskStrType;
int g_nDiskMaxGatherCnt;
int g_nDiskWaitFlag;
int g_nInterfaceStrType;
int g_nLinuxBandwidthFlag;
int g_nNetworkExtGather;
char g_strExcludeFilesystem[FILESYSTEM_LIST_ENTRIES][FILESYSTEM_LIST_TEXT];
int g_nExcludeFilesystemCnt;
char g_strTotExcludeFilesystem[FILESYSTEM_LIST_ENTRIES][FILESYSTEM_LIST_TEXT];
int g_nTotExcludeFilesystemCnt;
char g_strIncludeFilesystem[FILESYSTEM_LIST_ENTRIES][FILESYSTEM_LIST_TEXT];
int g_nIncludeFilesystemCnt;
int g_nFsFreeUsedFlag;
int g_nNfsStatusCheckFlag;
int g_nVAGENT_type;
int g_nFSTokenCount;
int g_nGetProcessType;
int g_nGetProcessJAVA;
int g_nExecedFileNameFlag;
int g_nProcExtendFlag;
int g_nProcSleepCnt;
int g_nTmpRealTimeGather;
int g_lBandWidthSet;
int g_nDuplexSet;

// CMM_GPU_Info: the frame of a GPU collector. It holds texts for a version inventory, a card inventory, a performance
// table and a table of GPU-using processes, and can find an NVIDIA adapter and the name of a process. The four
// gathering operations are empty: an embedding program that knows its GPU library fills the texts and the process map;
// until then every text is empty.
//
// A text belongs to the collector and stays valid until it is next written. Not thread-safe.
#pragma once

#include "MM_INIT_Info.h"
#include "PerfText.h"

#include <cstddef>
#include <map>
#include <string>

inline constexpr std::size_t GPU_PROCESS_NAME_SIZE = 80;
inline constexpr std::size_t GPU_LOG_MESSAGE_SIZE = 512;
inline constexpr int GPU_TEXT_SIZE = 512; // first size of the text buffers

/// One process on one GPU.
struct _ST_GPU_ALL_PROC_LIST {
    int m_nPid;
    unsigned int m_nGpuIdx;
    unsigned int m_nSmUtil;        // GPU utilisation in percent
    unsigned int m_nMemUtil;       // memory utilisation in percent
    unsigned long long m_ullMemMB; // memory in megabytes
    char l_strPName[GPU_PROCESS_NAME_SIZE];
};

class CMM_GPU_Info : public CMM_INIT_Info {
public:
    CMM_GPU_Info();
    ~CMM_GPU_Info();

    CMM_GPU_Info(const CMM_GPU_Info &) = delete;
    CMM_GPU_Info &operator=(const CMM_GPU_Info &) = delete;

    /// Do nothing.
    void fInitGpu() {}
    void fShutdownGpu() {}
    void fGatherGPUCardInv() {}
    void fGatherGPUZel() {}

    /// 1 when lspci lists an NVIDIA adapter, else -1 (also without lspci). 1 when no shell can be started at all.
    int fCheckPCIInfo();

    /// The name of process `pid` as /proc/<pid>/stat has it: the text between the first "(" and the following ")", cut
    /// to GPU_PROCESS_NAME_SIZE bytes with its terminator, which `name` must hold. Returns 1; -1, with `name`
    /// untouched, when the file cannot be opened or read or holds no name.
    int fGetProcName(int pid, char *name);

    /// Renders the process map as a table, one row per record in key order, into m_stringGpuProcess and points
    /// m_const_pstrGpuProcInfo at it. Returns 0.
    int fProcPrintAll();
    /// Deletes every record of the process map and empties it.
    void fProcErase();

    char m_strLogMsg[GPU_LOG_MESSAGE_SIZE] = {};

    // Scratch texts of one header or row.
    char *m_pStrGPUVerInv;
    char *m_pStrGPUCardInv;
    char *m_pStrGPUZel;
    char *m_pStrGPUProcess;
    int m_nInvVerLen = GPU_TEXT_SIZE;
    int m_nInvCardLen = GPU_TEXT_SIZE;
    int m_nZelLen = GPU_TEXT_SIZE;
    int m_nProcessLen = GPU_TEXT_SIZE;

    char m_strSplit[2][4];

    std::map<int, _ST_GPU_ALL_PROC_LIST *> m_GpuProcMap; // owns its records

    std::string m_stringGpuVerInv;
    const char *m_const_pstrGpuInvVerInfo;
    std::string m_stringGpuCardInv;
    const char *m_const_pstrGpuInvCardInfo;
    std::string m_stringGpuZel;
    const char *m_const_pstrGpuZelInfo;
    std::string m_stringGpuProcess;
    const char *m_const_pstrGpuProcInfo;

    unsigned long long m_ulMemTotal = 0;
};

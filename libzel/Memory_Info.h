// CMemory_Info: the number of RAM ranges of /proc/iomem, counted by a shell pipeline. Not thread-safe.
#pragma once

class CMemory_Info {
public:
    /// Counts the "System RAM" lines; also in m_nMemoryNum. 0 when the command cannot be started or prints nothing.
    /// With g_nPrint 1 the command is shown on standard error first.
    unsigned int GetMemoryNum();
    /// The last count.
    unsigned int MemoryNum() const { return m_nMemoryNum; }

    unsigned int m_nMemoryNum = 0;
};

// CMM_MEM_Info: memory and swap of /proc/meminfo.
#pragma once

#include "MM_INIT_Info.h"

class CMM_MEM_Info : public CMM_INIT_Info {
public:
    /// Not gathered yet: null.
    unsigned long long *fMGetMem() { return nullptr; }
    unsigned long long *fMGetSwap() { return nullptr; }
};

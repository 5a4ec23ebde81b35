// CMM_VM_Info: paging, swapping, page faults and context switches per second.
#pragma once

#include "MM_INIT_Info.h"

class CMM_VM_Info : public CMM_INIT_Info {
public:
    /// Not gathered yet: null.
    double *fMGetVmStat(double) { return nullptr; }
};

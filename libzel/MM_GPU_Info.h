// CMM_GPU_Info: frame of a GPU collector.
#pragma once

#include "MM_INIT_Info.h"

class CMM_GPU_Info : public CMM_INIT_Info {
public:
};

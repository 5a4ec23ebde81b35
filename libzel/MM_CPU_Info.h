// CMM_CPU_Info: CPU percentages of /proc/stat.
#pragma once

#include "MM_INIT_Info.h"

class CMM_CPU_Info : public CMM_INIT_Info {
public:
};

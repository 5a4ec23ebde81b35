// CMM_PROC_Info: process table.
#pragma once

#include "MM_INIT_Info.h"

class CMM_PROC_Info : public CMM_INIT_Info {
public:
};

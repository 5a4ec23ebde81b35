// CMM_IO_Info: disk rates.
#pragma once

#include "MM_INIT_Info.h"

class CMM_IO_Info : public CMM_INIT_Info {
public:
};

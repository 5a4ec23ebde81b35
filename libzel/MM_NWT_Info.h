// CMM_NWT_Info: interface rates.
#pragma once

#include "MM_INIT_Info.h"

class CMM_NWT_Info : public CMM_INIT_Info {
public:
};

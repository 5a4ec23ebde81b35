// CMM_FS_Info: usage of the mounted filesystems.
#pragma once

#include "MM_INIT_Info.h"

class CMM_FS_Info : public CMM_INIT_Info {
public:
};

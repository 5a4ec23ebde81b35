// CMM_HBA_Info: Fibre Channel port rates of /sys/class/fc_host.
#pragma once

#include "MM_INIT_Info.h"

class CMM_HBA_Info : public CMM_INIT_Info {
public:
};

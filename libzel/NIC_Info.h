// CNIC_Info: the network adapters of the hardware configuration file /etc/sysconfig/hwconf.
//
// Nothing is read before the first call. A missing file gives a count of 0 and a null array; nothing is logged. The
// array belongs to the reader and stays valid until the next GetNICInfos or the reader's end. Not thread-safe.
#pragma once

#include "HardwareConfig.h"

/// A network adapter.
class CNIC : public zel::ModelNamed<512> {};

class CNIC_Info {
public:
    CNIC_Info() = default;
    ~CNIC_Info();

    CNIC_Info(const CNIC_Info &) = delete;
    CNIC_Info &operator=(const CNIC_Info &) = delete;

    /// Counts the network adapters; also in m_nNICNum.
    unsigned int GetNICNum();
    /// Rebuilds the array, one object per counted adapter, named in order of appearance. An adapter without a
    /// description keeps an empty name. Returns the array, null when there are none.
    CNIC *GetNICInfos();
    /// The last count.
    unsigned int NICNum() const { return m_nNICNum; }

    /// Keeps a path for embedding programs; the reader does not use it. Returns 1.
    int fSetCurrentPath(const char *path);

    unsigned int m_nNICNum = 0;
    char m_strCurrentPath[zel::HARDWARE_PATH_SIZE] = {};
    CNIC *m_pclCNIC = nullptr;
};

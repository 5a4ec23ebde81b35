// CDisk_Info: the CD-ROM drives of the hardware configuration file /etc/sysconfig/hwconf. Disks and tapes have
// their counts and arrays, for embedding programs to fill; nothing here fills them.
//
// Nothing is read before the first call. A missing file gives a count of 0 and a null array; nothing is logged. The
// arrays belong to the reader; that of the drives stays valid until the next GetCdromInfo or the reader's end. Not
// thread-safe.
#pragma once

#include "HardwareConfig.h"

/// A CD-ROM drive, a tape drive, a disk.
class CCdrom : public zel::ModelNamed<128> {};
class CDat : public zel::ModelNamed<128> {};
class CDisk : public zel::ModelNamed<128> {};

class CDisk_Info {
public:
    CDisk_Info() = default;
    ~CDisk_Info();

    CDisk_Info(const CDisk_Info &) = delete;
    CDisk_Info &operator=(const CDisk_Info &) = delete;

    /// Counts the CD-ROM drives; also in m_nCdromNum.
    unsigned int GetCdromNum();
    /// Rebuilds the array, one object per counted drive, named in order of appearance. A drive without a description
    /// keeps an empty name. Returns the array, null when there are none.
    CCdrom *GetCdromInfo();

    /// The stored counts. Those of disks and tapes are not gathered.
    unsigned int GetDiskNum() const { return m_nDiskNum; }
    unsigned int GetDatNum() const { return m_nDatNum; }
    unsigned int DiskNum() const { return m_nDiskNum; }
    unsigned int CdromNum() const { return m_nCdromNum; }
    unsigned int DatNum() const { return m_nDatNum; }

    /// Keeps a path for embedding programs; the reader does not use it. Returns 1.
    int fSetCurrentPath(const char *path);

    unsigned int m_nDiskNum = 0;
    unsigned int m_nCdromNum = 0;
    unsigned int m_nDatNum = 0;
    char m_strCurrentPath[zel::HARDWARE_PATH_SIZE] = {};
    CDisk *m_pclCDisk = nullptr;
    CCdrom *m_pclCCdrom = nullptr;
    CDisk *m_pclCDat = nullptr; // tapes, kept as disk objects
};

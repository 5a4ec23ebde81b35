// CMM_INIT_Info: base of every collector. Owns the process-wide record of the running kernel's release (uname).
//
// The record exists while at least one collector lives: the first one constructed reads it, the last one destroyed
// frees it. Collectors are created and destroyed on one thread; nothing here is locked.
#pragma once

/// The first three numbers of the kernel release: 2.6.32-754.el6 gives 2, 6 and 32.
struct _ST_OS_VERSION {
    int l_nMajorNum;
    int l_nMinorNum;
    int l_nExtraNum;
};

class CMM_INIT_Info {
public:
    CMM_INIT_Info();
    ~CMM_INIT_Info();

    CMM_INIT_Info(const CMM_INIT_Info &) = delete;
    CMM_INIT_Info &operator=(const CMM_INIT_Info &) = delete;

    /// Reads the release: 1, or 0 when that failed.
    int fMInit();

    /// Fills the record from uname, allocating it when there is none: 1, or 0 without memory or when uname fails (the
    /// record is then all zero).
    int fMGetVersion();

    /// Major and minor number of the kernel release. Collectors that choose a path by the minor number compare it
    /// alone, whatever the major number is.
    int fMLinux_Major() const;
    int fMLinux_Minor() const;

    /// The shared record; dangling once the last collector is destroyed.
    static _ST_OS_VERSION *m_pstOsVersion;
    /// Number of live collectors.
    static int m_nNObjs;
};

// CMM_LA_Info: the 1-, 5- and 15-minute load averages of /proc/loadavg, read on demand. It keeps no sample beyond the
// last values and builds no text. Not thread-safe.
#pragma once

#include "MM_INIT_Info.h"
#include "SSUtil.h"

#include <memory>

namespace zel {
class KernelFile;
}

class CMM_LA_Info : public CMM_INIT_Info {
public:
    CMM_LA_Info();
    ~CMM_LA_Info();

    CMM_LA_Info(const CMM_LA_Info &) = delete;
    CMM_LA_Info &operator=(const CMM_LA_Info &) = delete;

    /// Takes a sample. Returns the three averages (1, 5, 15 minutes; the array belongs to the collector) or null when
    /// the file is missing, empty or short; the previous values then stay.
    ///
    /// A fraction counts as hundredths whatever its length, as the kernel writes it: 1.50 is 1.5, and so 1.5 is 1.05.
    double *fMGetLoadAvg();

    /// The averages of the last successful sample.
    double fMGetLoadAvg_1Min() const { return m_pdLoadAvg[0]; }
    double fMGetLoadAvg_5Min() const { return m_pdLoadAvg[1]; }
    double fMGetLoadAvg_15Min() const { return m_pdLoadAvg[2]; }

    CSSUtil *m_pclUtil; // kept for embedding programs; reading needs no state of it
    double m_pdLoadAvg[3];

private:
    std::unique_ptr<zel::KernelFile> m_file;
};

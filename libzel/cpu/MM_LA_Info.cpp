// Reads the load averages.
#include "MM_LA_Info.h"

#include "kernel/KernelFile.h"
#include "text/NumberScan.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::size_t fileSize = 4096;

double fixedPoint(int whole, int hundredths) {
    return static_cast<int>(static_cast<unsigned>(whole) * 100U + static_cast<unsigned>(hundredths)) / 100.0;
}

// "%d.%d"
bool takeAverage(const char *&cursor, double &average) {
    long long whole = 0;
    long long hundredths = 0;
    if (!zel::scanSigned(cursor, whole) || *cursor != '.' || !zel::scanSigned(++cursor, hundredths))
        return false;
    average = fixedPoint(static_cast<int>(whole), static_cast<int>(hundredths));
    return true;
}

// Sample: 0.00 0.01 0.05 1/123 4567
bool parseLoadAverages(const char *text, double (&averages)[3]) {
    double values[3];
    for (double &value : values) {
        if (!takeAverage(text, value))
            return false;
    }
    std::copy(std::begin(values), std::end(values), averages);
    return true;
}

} // namespace

CMM_LA_Info::CMM_LA_Info()
    : m_pclUtil(nullptr), m_pdLoadAvg{}, m_file(std::make_unique<zel::KernelFile>("/proc/loadavg", fileSize)) {}

CMM_LA_Info::~CMM_LA_Info() = default;

double *CMM_LA_Info::fMGetLoadAvg() {
    const zel::FileText loadavg = m_file->read();
    return loadavg && parseLoadAverages(loadavg.text.data(), m_pdLoadAvg) ? m_pdLoadAvg : nullptr;
}

#include "MM_LA_Info.h"

#include <cstdio>

namespace {

constexpr int fileSize = 4096;
constexpr int averageFields = 6;

double fixedPoint(int whole, int hundredths) {
    return static_cast<int>(static_cast<unsigned>(whole) * 100U + static_cast<unsigned>(hundredths)) / 100.0;
}

// Sample: 0.00 0.01 0.05 1/123 4567
bool parseLoadAverages(const char *text, double (&averages)[3]) {
    int whole[3];
    int hundredths[3];
    const int fields = std::sscanf(text, "%d.%d %d.%d %d.%d %*d/%*d %*d\n", &whole[0], &hundredths[0], &whole[1],
                                   &hundredths[1], &whole[2], &hundredths[2]);
    if (fields < averageFields)
        return false;
    for (int i = 0; i < 3; ++i)
        averages[i] = fixedPoint(whole[i], hundredths[i]);
    return true;
}

} // namespace

CMM_LA_Info::CMM_LA_Info() : m_pclUtil(nullptr), m_pdLoadAvg{} {}

double *CMM_LA_Info::fMGetLoadAvg() {
    char text[fileSize];
    if (CSSUtil::fFile2Buff("/proc/loadavg", text, fileSize) < 1)
        return nullptr;
    return parseLoadAverages(text, m_pdLoadAvg) ? m_pdLoadAvg : nullptr;
}

// Turns tenths of a percent into the rows of the CPU texts.
#include "cpu/CpuText.h"

#include "Settings.h"
#include "perftext/ColumnTable.h"
#include "rates/Growth.h"

namespace {

float percent(unsigned long long tenths) {
    return static_cast<float>(tenths) / 10.0F;
}

// Consumers read -1 as "no valid value".
double shownPercent(float value) {
    return value > 100.0F ? -1.0 : zel::notBelowZero(static_cast<double>(value));
}

// The kernel's first processor, its number 0, is CPU1: consumers expect numbers from 1 on.
void writeName(CPerfText &text, const zel::CpuShares &shares) {
    if (shares.processor == 0)
        text.field("CPUS");
    else
        text.numberedField("CPU", shares.processor);
}

constexpr zel::ColumnTable cpuColumns{
    zel::Column{"NAME", writeName},
    zel::Column{"USED", &zel::CpuShares::used},
    zel::Column{"USER", &zel::CpuShares::user},
    zel::Column{"SYSTEM", &zel::CpuShares::system},
    zel::Column{"IOWAIT", &zel::CpuShares::wait},
    zel::Column{"IDLE", &zel::CpuShares::idle},
};

} // namespace

float zel::idlePercent(const CpuRow &tenths) {
    return percent(tenths[CPU_IDLE]);
}

bool zel::idleIsPossible(float idle) {
    return idle >= 0.0F && idle <= 100.0F;
}

zel::CpuShares zel::cpuShares(int processor, const CpuRow &tenths, float idle) {
    const float wait = percent(tenths[CPU_WAIT]);
    const float used = g_nCpuUsedInWIO == 1 ? 100.0F - idle : 100.0F - idle - wait;
    return {processor,
            shownPercent(used),
            shownPercent(percent(tenths[CPU_USER])),
            shownPercent(percent(tenths[CPU_SYSTEM])),
            shownPercent(wait),
            shownPercent(idle)};
}

void zel::writeCpuHeader(CPerfText &text) {
    cpuColumns.writeHeader(text);
}

void zel::writeCpuRow(CPerfText &text, const CpuShares &shares) {
    text.beginRow();
    cpuColumns.writeFields(text, shares);
}

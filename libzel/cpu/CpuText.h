// The rows of the CPU texts: shares in percent and their columns.
#pragma once

#include "MM_CPU_Info.h"
#include "PerfText.h"

namespace zel {

/// The shares of one row of the table as the texts show them, in percent; -1 for a share above 100.
struct CpuShares {
    int processor; // 0: the whole machine
    double used;
    double user;
    double system;
    double wait;
    double idle;
};

/// The idle share of `tenths` in percent.
float idlePercent(const CpuRow &tenths);
/// Whether a text may show it: a counter of the kernel that fell makes shares beyond 100.
bool idleIsPossible(float idle);

/// The shown shares of `tenths`, with `idle` in the place of its idle share.
CpuShares cpuShares(int processor, const CpuRow &tenths, float idle);

void writeCpuHeader(CPerfText &text);
void writeCpuRow(CPerfText &text, const CpuShares &shares);

} // namespace zel

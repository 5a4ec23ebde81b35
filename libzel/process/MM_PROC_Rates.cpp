// Rates between two samples of a process, and the previous samples themselves.
#include "process/MM_PROC_Rates.h"

#include "rates/Growth.h"

#include <memory>

namespace {

constexpr double hundredthsPerSecond = 100.0;

// Growth of a tick counter that wraps like an int. One that fell belongs to another process: all of it counts.
int tickGrowth(int current, int previous) {
    const int growth = static_cast<int>(static_cast<unsigned>(current) - static_cast<unsigned>(previous));
    return growth < 0 ? current : growth;
}

// Per hundredth of a second; nothing can be said over no time at all.
double perHundredth(double growth, double elapsed) {
    return elapsed == 0 ? 0 : growth / elapsed;
}

double cpuPercent(int current, int previous, double elapsed) {
    return perHundredth(tickGrowth(current, previous), elapsed) * hundredthsPerSecond;
}

// All figures but the I/O rate, which the two public forms round differently.
void computeGrowth(_ST_PROC &current, const _ST_PROC_OLD_LIST &old, double elapsed) {
    current.l_dPCPU = static_cast<float>(zel::notBelowZero(cpuPercent(current.l_nCTime, old.m_fOldCpuTime, elapsed)));
    current.l_dPUserCpu = zel::notBelowZero(cpuPercent(current.l_nUTime, old.m_fOldUserCpuTime, elapsed));
    current.l_dPSysCpu = zel::notBelowZero(cpuPercent(current.l_nSTime, old.m_fOldSysCpuTime, elapsed));
    current.l_dIOByte = current.l_dIOByteCom - old.m_dIOByteCom;
}

void finishIo(_ST_PROC &current, double ratePerHundredth) {
    current.l_dIOByteRate = zel::notBelowZero(ratePerHundredth * hundredthsPerSecond);
    current.l_dIOByte = zel::notBelowZero(current.l_dIOByte);
}

void keepSample(_ST_PROC_OLD_LIST &old, const _ST_PROC &current, double curTime) {
    old.m_nPid = current.l_nPid;
    old.m_fOldCpuTime = current.l_nCTime;
    old.m_fOldUserCpuTime = current.l_nUTime;
    old.m_fOldSysCpuTime = current.l_nSTime;
    old.m_nDelFlag = 1;
    old.m_dCurTime = curTime;
    old.m_dIOByteCom = current.l_dIOByteCom;
}

} // namespace

// The first scan only records: whatever an earlier call left for the pid is replaced, never compared with.
void zel::takeRates(CMM_PROC_Info &collector, SampleCursor &samples, _ST_PROC &current, double curTime) {
    if (_ST_PROC_OLD_LIST *known = samples.find(current.l_nPid)) {
        if (collector.m_nInsertFirst != 0)
            collector.fMNewCompute(&current, known, curTime);
        keepSample(*known, current, curTime);
        return;
    }
    auto sample = std::make_unique<_ST_PROC_OLD_LIST>();
    keepSample(*sample, current, curTime);
    collector.m_ProcMap.emplace(current.l_nPid, sample.get());
    static_cast<void>(sample.release());
}

int CMM_PROC_Info::fMNewCompute(_ST_PROC *cur, const _ST_PROC_OLD_LIST *old, double curTime) {
    const double elapsed = curTime - old->m_dCurTime;
    computeGrowth(*cur, *old, elapsed);
    finishIo(*cur, perHundredth(cur->l_dIOByte, elapsed));
    return 1;
}

int CMM_PROC_Info::fMCompute(_ST_PROC *cur, const _ST_PROC_OLD_LIST *old, double elapsed) {
    computeGrowth(*cur, *old, elapsed);
    finishIo(*cur, static_cast<double>(static_cast<float>(perHundredth(cur->l_dIOByte, elapsed))));
    return 1;
}

int CMM_PROC_Info::fMGetPCpu(_ST_PROC *cur, const _ST_PROC *prev, double elapsed) {
    const int previousTicks = prev == nullptr ? 0 : prev->l_nCTime;
    cur->l_dPCPU = static_cast<float>(zel::notBelowZero(cpuPercent(cur->l_nCTime, previousTicks, elapsed)));
    return 1;
}

void CMM_PROC_Info::fProcMapUpdate() {
    for (auto &sample : m_ProcMap)
        sample.second->m_nDelFlag = 0;
}

void CMM_PROC_Info::fProcMapErase() {
    std::erase_if(m_ProcMap, [](const auto &sample) {
        if (sample.second->m_nDelFlag != 0)
            return false;
        delete sample.second;
        return true;
    });
}

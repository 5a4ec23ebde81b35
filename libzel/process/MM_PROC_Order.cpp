// Orders for qsort and predicates for list searches over process records.
#include "MM_PROC_Info.h"

#include <cstring>

namespace {

const ST_PROCALL_LIST &entryAt(const void *element) {
    return **static_cast<const ST_PROCALL_LIST *const *>(element);
}

// For qsort: the higher value first.
template<class Number> int highestFirst(Number left, Number right) {
    return static_cast<int>(left < right) - static_cast<int>(left > right);
}

const _ST_PROC &processAt(const void *record) {
    return *static_cast<const _ST_PROC *>(record);
}

} // namespace

int CMM_PROC_Info::compare_allcpu(const void *left, const void *right) {
    return highestFirst(entryAt(left).l_dPCPU, entryAt(right).l_dPCPU);
}

int CMM_PROC_Info::compare_allmem(const void *left, const void *right) {
    return highestFirst(entryAt(left).l_dPMEM, entryAt(right).l_dPMEM);
}

int CMM_PROC_Info::compare_allio(const void *left, const void *right) {
    return highestFirst(entryAt(left).l_dIOByteRate, entryAt(right).l_dIOByteRate);
}

int CMM_PROC_Info::fCMPProcName(const void *left, const void *right) {
    return std::strncmp(processAt(left).l_strPname, processAt(right).l_strPname, PROC_NAME_SIZE) > 0;
}

int CMM_PROC_Info::fCMPProcCpu(const void *left, const void *right) {
    return processAt(left).l_dPCPU > processAt(right).l_dPCPU;
}

int CMM_PROC_Info::fCMPProcPid(const void *left, const void *right) {
    return processAt(left).l_nPid == processAt(right).l_nPid;
}

int CMM_PROC_Info::fCMPProcIsUpNow(const void *left, const void *right) {
    return processAt(left).l_nIsUpNow == processAt(right).l_nIsUpNow;
}

// /proc/stat, /proc/vmstat, /proc/loadavg and /proc/<pid>/stat as the VM and load collectors read them. The scanners
// give what sscanf gives with the required formats.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "MM_LA_Info.h"
#include "MM_VM_Info.h"
#include "RootOnTmpfs.h"
#include "Surroundings.h"
#include "memory/VmReaders.h"

#include <cmath>
#include <cstdio>
#include <memory>

namespace {

void ensureFaultsOf(const char *stat) {
    unsigned long minorFaults = 0;
    unsigned long majorFaults = 0;
    const int fields = std::sscanf(stat, "%*d %*s %*s %*d %*d %*d %*d %*d %*u %lu %*u %lu", &minorFaults, &majorFaults);
    unsigned long long minorFound = 0;
    unsigned long long majorFound = 0;
    const bool parsed = zel::parseProcessFaults(stat, minorFound, majorFound);
    fuzz::ensure(parsed == (fields == 2), "faults where sscanf has none, or none where it has them");
    fuzz::ensure(!parsed || (minorFound == minorFaults && majorFound == majorFaults), "other faults than sscanf");
}

void ensureTasksOf(const char *loadavg) {
    int expected = 0;
    int all = 0;
    const int fields = std::sscanf(loadavg, "%*d.%*d %*d.%*d %*d.%*d %d/%d", &expected, &all);
    int running = 0;
    const bool parsed = zel::parseRunningTasks(loadavg, running);
    fuzz::ensure(parsed == (fields == 2), "tasks where sscanf has none, or none where it has them");
    fuzz::ensure(!parsed || running == expected, "other tasks than sscanf");
}

} // namespace

FUZZ_TARGET(system_files_fuzz) {
    fuzz::freshSurroundings();
    const unsigned options = input.byte();
    const auto vm = std::make_unique<CMM_VM_Info>();
    const auto load = std::make_unique<CMM_LA_Info>();
    for (int sample = 0; sample < 2; ++sample) {
        fuzz::root().moment(sample);
        fuzz::root().host("proc/stat", input.piece());
        fuzz::root().host("proc/vmstat", input.piece());
        const std::string loadavg = input.text();
        const std::string process = input.text();
        ensureTasksOf(loadavg.c_str());
        ensureFaultsOf(process.c_str());
        fuzz::root().host("proc/loadavg", loadavg);
        fuzz::root().host("proc/17/stat", process);
        fuzz::passTime((options & 1) != 0 ? 0 : 1, 500);

        if (const double *rates = vm->fMVelmorGetPage((options & 2) != 0 ? 1 : 0); rates != nullptr) {
            for (int slot = 0; slot < VM_SLOTS; ++slot)
                fuzz::ensure(rates[slot] >= 0, "a rate below 0 or none at all");
            if ((options & 2) != 0)
                fuzz::ensurePushScalars(vm->m_pStrRealTimePageZEL, 6);
        }
        fuzz::ensure(vm->fMGetVelmorRunque() >= 0, "a negative run queue");
        long counters[VM_SLOTS] = {};
        vm->fMGetStat_k2_6(counters);
        if (const double *averages = load->fMGetLoadAvg(); averages != nullptr)
            for (int average = 0; average < 3; ++average)
                fuzz::ensure(std::isfinite(averages[average]), "a load average that is no number");
    }
}

// /proc/stat, the processors that are present or isolated, their frequency and what the scheduler counts, as the typed
// model reads them, at two moments.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "HostArea.h"

namespace {

void ensureOrder(const zel::Sample &sample) {
    for (std::size_t index = 1; index < sample.processors.size(); ++index)
        fuzz::ensure(sample.processors[index - 1].cpu < sample.processors[index].cpu, "processors out of order");
}

} // namespace

FUZZ_TARGET(host_cpu_fuzz) {
    fuzz::HostArea area(zel::Area::Cpu, zel::cpuReader());
    for (int moment = 0; moment < 2; ++moment) {
        fuzz::hostFile("proc/stat", input);
        fuzz::hostFile("sys/devices/system/cpu/present", input);
        fuzz::hostFile("sys/devices/system/cpu/cpu0/cpufreq/scaling_cur_freq", input);
        fuzz::hostFile("proc/schedstat", input);
        fuzz::hostFile("sys/devices/system/cpu/isolated", input);
        ensureOrder(area.take());
    }
}

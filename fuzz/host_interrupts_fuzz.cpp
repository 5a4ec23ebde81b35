// /proc/stat, /proc/interrupts and /proc/softirqs as the typed model reads them, at two moments.
#include "FuzzTarget.h"
#include "HostArea.h"

FUZZ_TARGET(host_interrupts_fuzz) {
    fuzz::HostArea area(zel::Area::Interrupts, zel::interruptReader());
    for (int moment = 0; moment < 2; ++moment) {
        fuzz::hostFile("proc/stat", input);
        fuzz::hostFile("proc/interrupts", input);
        fuzz::hostFile("proc/softirqs", input);
        area.take();
    }
}

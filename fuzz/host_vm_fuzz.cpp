// /proc/vmstat as the typed model reads it, at two moments.
#include "FuzzTarget.h"
#include "HostArea.h"

FUZZ_TARGET(host_vm_fuzz) {
    fuzz::HostArea area(zel::Area::Vm, zel::vmReader());
    for (int moment = 0; moment < 2; ++moment) {
        fuzz::hostFile("proc/vmstat", input);
        area.take();
    }
}

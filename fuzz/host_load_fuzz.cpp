// /proc/loadavg as the typed model reads it.
#include "FuzzTarget.h"
#include "HostArea.h"

FUZZ_TARGET(host_load_fuzz) {
    fuzz::HostArea area(zel::Area::Load, zel::loadReader());
    for (int moment = 0; moment < 2; ++moment) {
        fuzz::hostFile("proc/loadavg", input);
        area.take();
    }
}

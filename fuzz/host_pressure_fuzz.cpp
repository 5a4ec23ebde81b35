// /proc/pressure as the typed model reads it, at two moments.
#include "FuzzTarget.h"
#include "HostArea.h"

FUZZ_TARGET(host_pressure_fuzz) {
    fuzz::HostArea area(zel::Area::Pressure, zel::pressureReader());
    for (int moment = 0; moment < 2; ++moment) {
        fuzz::hostFile("proc/pressure/cpu", input);
        fuzz::hostFile("proc/pressure/irq", input);
        area.take();
    }
}

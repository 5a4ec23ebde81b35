// /proc/uptime, names of the host and os-release as the typed model reads them.
#include "FuzzTarget.h"
#include "HostArea.h"

FUZZ_TARGET(host_identity_fuzz) {
    fuzz::HostArea area(zel::Area::Identity, zel::identityReader());
    for (int moment = 0; moment < 2; ++moment) {
        fuzz::hostFile("proc/uptime", input);
        fuzz::hostFile("etc/os-release", input);
        fuzz::hostFile("proc/sys/kernel/hostname", input);
        area.take();
    }
}

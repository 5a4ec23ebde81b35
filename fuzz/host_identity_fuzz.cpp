// /proc/uptime, names of the host, os-release and texts of the firmware as the typed model reads them.
#include "FuzzTarget.h"
#include "HostArea.h"

FUZZ_TARGET(host_identity_fuzz) {
    fuzz::HostArea area(zel::Area::Identity, zel::identityReader());
    for (int moment = 0; moment < 2; ++moment) {
        fuzz::hostFile("proc/uptime", input);
        fuzz::hostFile("etc/os-release", input);
        fuzz::hostFile("proc/sys/kernel/hostname", input);
        fuzz::hostFile("sys/class/dmi/id/product_name", input);
        area.take();
    }
}

// The files of a cgroup as the typed model reads them, at two moments.
#include "FuzzTarget.h"
#include "HostArea.h"
#include "host/areas/CgroupParse.h"

FUZZ_TARGET(host_cgroups_fuzz) {
    fuzz::HostArea area(zel::Area::Cgroups, zel::cgroupReader());
    for (int moment = 0; moment < 2; ++moment) {
        fuzz::hostFile("sys/fs/cgroup/cgroup.controllers", input);
        fuzz::hostFile("sys/fs/cgroup/a.slice/cgroup.controllers", input);
        for (std::size_t index = 0; index < zel::CGROUP_FILES; ++index)
            fuzz::hostFile(std::string("sys/fs/cgroup/a.slice/") +
                               zel::cgroupFileName(static_cast<zel::CgroupFile>(index)),
                           input);
        area.take();
    }
}

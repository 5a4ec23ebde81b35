// Which container a process is in, by the path of its cgroup: the names that container runtimes give to cgroups.
#pragma once

#include "host/Schema.h"

#include <string_view>

namespace zel {

/// Takes the id of the innermost container: 64 hexadecimal digits of docker, containerd, CRI-O and podman, in
/// Kubernetes too; the name of LXC and of machines of systemd-nspawn. Unsupported for a process in none.
void takeContainer(std::string_view cgroup, Reading<std::string> &container);

} // namespace zel

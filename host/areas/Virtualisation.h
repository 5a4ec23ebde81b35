// What kind of virtual machine and of container this host is, as systemd-detect-virt names them, and what its firmware
// calls the machine.
#pragma once

#include "host/Identity.h"
#include "host/source/HostDirectory.h"

namespace zel {

/// "none", or what runs the machine: kvm, qemu, vmware, microsoft, xen, oracle, amazon, ... and vm-other. On this host
/// the processor is asked too.
void readVirtualisation(const HostDirectory &root, Reading<std::string> &kind);

/// "none", or what the first process runs in: docker, podman, lxc, systemd-nspawn, wsl, ... and container-other.
void readContainer(const HostDirectory &root, Reading<std::string> &kind);

/// The kind that the twelve letters of a hypervisor's signature stand for; vm-other for one that nobody knows.
std::string_view hypervisorOf(std::string_view signature);

} // namespace zel

// The files of interfaces, of a bond and of an InfiniBand port as the typed model reads them, at two moments.
#include "FuzzTarget.h"
#include "HostArea.h"

namespace {

constexpr const char *files[] = {
    "proc/net/dev",
    "sys/class/net/bond0/bonding/mode",
    "sys/class/net/bond0/bonding/slaves",
    "sys/class/net/bond0/speed",
    "sys/class/net/bond0/duplex",
    "sys/class/net/bond0/flags",
    "sys/class/net/bond0/dev_id",
    "sys/class/net/bond0/uevent",
    "sys/class/net/eth0/bonding_slave/mii_status",
    "sys/class/net/eth0/bonding_slave/link_failure_count",
    "sys/class/infiniband/mlx5_0/fw_ver",
    "sys/class/infiniband/mlx5_0/ports/1/state",
    "sys/class/infiniband/mlx5_0/ports/1/rate",
    "sys/class/infiniband/mlx5_0/ports/1/lid",
    "sys/class/infiniband/mlx5_0/ports/1/counters/port_rcv_data",
    "sys/class/infiniband/mlx5_0/ports/1/counters/symbol_error",
    "sys/class/infiniband/mlx5_0/ports/1/hw_counters/out_of_buffer",
};

} // namespace

FUZZ_TARGET(host_interfaces_fuzz) {
    fuzz::HostArea area(zel::Area::Interfaces, zel::interfaceReader());
    for (int moment = 0; moment < 2; ++moment) {
        for (const char *file : files)
            fuzz::hostFile(file, input);
        area.take();
    }
}

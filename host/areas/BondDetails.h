// What a bond says of itself and of its ports below /sys/class/net.
#pragma once

#include "host/Bond.h"
#include "host/Rows.h"
#include "host/source/HostDirectory.h"

#include <string_view>

namespace zel {

struct BondDetails {
    Bond bond;
    Rows<BondPort> ports;

    /// What is known of it is known no more.
    void lose(Absence reason) {
        forget(bond, reason);
        ports.clear();
    }
};

/// Fills all of it. The kernel may wait for a driver: its list of ports takes the lock of all interfaces.
void readBond(const HostDirectory &root, std::string_view name, BondDetails &details);

} // namespace zel

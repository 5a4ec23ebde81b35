// The two readers of the interface table: that of the unit network, and that of the unit push_network.
#pragma once

namespace zel {

class InterfaceReader;

/// They publish their state under the names of network.h and push_network.h.
InterfaceReader &ordinaryReader();
InterfaceReader &pushReader();

} // namespace zel

// Counts the neighbours of the interfaces by state, as the kernel lists them over rtnetlink.
#pragma once

#include "host/PacketPath.h"
#include "host/source/NetlinkDump.h"

#include <unordered_map>
#include <vector>

namespace zel {

class NeighbourTable {
public:
    /// Asks for the neighbours of both families. Gives 0 or an errno. The kernel may make it wait for a driver.
    int read(NetlinkDump::Time until);
    /// Takes one message of the list. False when it is none.
    bool take(unsigned short type, std::span<const char> payload);
    /// By interface; the names are empty until read() has found them.
    const std::vector<Neighbours> &rows() const { return m_rows; }

private:
    Neighbours &rowOf(int interface, unsigned char family);

    std::vector<Neighbours> m_rows;
    std::vector<int> m_interfaces;                           // of each row
    std::unordered_map<std::uint64_t, std::size_t> m_places; // by interface and family
};

} // namespace zel

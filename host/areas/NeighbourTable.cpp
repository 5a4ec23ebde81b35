// Counts neighbours.
#include "host/areas/NeighbourTable.h"

#include <linux/if.h>
#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace zel {

namespace {

constexpr struct {
    unsigned state;
    Count Neighbours::*member;
} states[] = {{NUD_INCOMPLETE, &Neighbours::incomplete}, {NUD_REACHABLE, &Neighbours::reachable},
              {NUD_STALE, &Neighbours::stale},           {NUD_DELAY, &Neighbours::delay},
              {NUD_PROBE, &Neighbours::probe},           {NUD_FAILED, &Neighbours::failed},
              {NUD_PERMANENT, &Neighbours::permanent},   {NUD_NOARP, &Neighbours::noArp}};

// An interface that went in the meantime has no name, and no row then.
std::string nameOf(int socket, int interface) {
    ifreq request{};
    request.ifr_ifindex = interface;
    return ioctl(socket, SIOCGIFNAME, &request) == 0 ? request.ifr_name : "";
}

} // namespace

int NeighbourTable::read(NetlinkDump::Time until) {
    const ndmsg request{};
    NetlinkDump dump;
    if (const int error =
            dump.ask(NETLINK_ROUTE, RTM_GETNEIGH, {reinterpret_cast<const char *>(&request), sizeof(request)});
        error != 0)
        return error;
    bool whole = true;
    const int error =
        dump.forEach(until, [&](unsigned short type, std::span<const char> payload) { whole &= take(type, payload); });
    for (std::size_t index = 0; index < m_rows.size(); ++index)
        m_rows[index].interface = nameOf(dump.descriptor(), m_interfaces[index]);
    return error == 0 && !whole ? EBADMSG : error;
}

Neighbours &NeighbourTable::rowOf(int interface, unsigned char family) {
    const std::uint64_t key = (static_cast<std::uint64_t>(static_cast<unsigned>(interface)) << 8U) | family;
    const auto [place, isNew] = m_places.try_emplace(key, m_rows.size());
    if (isNew) {
        Neighbours &row = m_rows.emplace_back();
        m_interfaces.push_back(interface);
        row.protocol = family == AF_INET ? "arp" : "ndisc";
        row.entries = std::uint64_t{0};
        for (const auto &each : states)
            row.*each.member = std::uint64_t{0};
    }
    return m_rows[place->second];
}

bool NeighbourTable::take(unsigned short type, std::span<const char> payload) {
    const auto neighbour = payloadAs<ndmsg>(payload);
    if (type != RTM_NEWNEIGH || !neighbour)
        return false;
    if (neighbour->ndm_family != AF_INET && neighbour->ndm_family != AF_INET6)
        return true;
    Neighbours &row = rowOf(neighbour->ndm_ifindex, neighbour->ndm_family);
    const unsigned state = neighbour->ndm_state;
    row.entries = *row.entries + ((state & ~static_cast<unsigned>(NUD_NOARP)) != 0 ? 1 : 0);
    for (const auto &each : states)
        row.*each.member = *(row.*each.member) + ((state & each.state) != 0 ? 1 : 0);
    return true;
}

} // namespace zel

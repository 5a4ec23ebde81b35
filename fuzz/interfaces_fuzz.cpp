// /proc/net/dev: the parsers of a line against sscanf with the required formats, and the walks of network and
// push_network, which give the same.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "RootOnTmpfs.h"
#include "Surroundings.h"
#include "network.h"
#include "network/InterfaceLine.h"
#include "network/InterfaceReader.h"
#include "push_network.h"

#include <cstdio>
#include <cstring>

namespace {

struct Step {
    char name[64] = {};
    char link[64] = {};
    unsigned long long counters[8] = {};
};

template<typename Next> int step(Next next, Step &taken) {
    unsigned long long *c = taken.counters;
    return next(taken.name, taken.link, c, c + 1, c + 2, c + 3, c + 4, c + 5, c + 6, c + 7);
}

void ensureCounters(const char *text) {
    using Stats = user_net_device_stats;
    Stats s{};
    std::sscanf(text, "%llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu", &s.rx_bytes,
                &s.rx_packets, &s.rx_errors, &s.rx_dropped, &s.rx_fifo_errors, &s.rx_frame_errors, &s.rx_compressed,
                &s.rx_multicast, &s.tx_bytes, &s.tx_packets, &s.tx_errors, &s.tx_dropped, &s.tx_fifo_errors,
                &s.collisions, &s.tx_carrier_errors, &s.tx_compressed);
    Stats found{};
    zel::parseInterfaceCounters(INTERFACE_LAYOUT_COMPRESSED, text, found);
    fuzz::ensure(std::memcmp(&s, &found, sizeof(s)) == 0, "another counter than sscanf");

    s = {};
    std::sscanf(text, "%llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu", &s.rx_bytes, &s.rx_packets,
                &s.rx_errors, &s.rx_dropped, &s.rx_fifo_errors, &s.rx_frame_errors, &s.tx_bytes, &s.tx_packets,
                &s.tx_errors, &s.tx_dropped, &s.tx_fifo_errors, &s.collisions, &s.tx_carrier_errors);
    found = {};
    zel::parseInterfaceCounters(INTERFACE_LAYOUT_BYTES, text, found);
    fuzz::ensure(std::memcmp(&s, &found, sizeof(s)) == 0, "another counter than sscanf");

    zel::parseInterfaceCounters(INTERFACE_LAYOUT_PACKETS, text, found);
    fuzz::ensure(found.rx_bytes == 0 && found.tx_bytes == 0, "bytes where the layout has none");
}

} // namespace

FUZZ_TARGET(interfaces_fuzz) {
    fuzz::freshSurroundings();
    const std::string line = input.text();
    char name[INTERFACE_NAME_SIZE];
    const char *behind = zel::takeInterfaceName(line.c_str(), name);
    fuzz::ensureTerminated(name);
    fuzz::ensure(behind >= line.c_str() && behind <= line.c_str() + line.size(), "beyond the line");
    ensureCounters(line.c_str());
    char hardware[64];
    get_net_type(name, hardware);
    unsigned long long speed = 0;
    fGetSpeed(line.c_str(), &speed);

    fuzz::root().host("proc/net/dev", input.piece());
    const int opened = init_netinfo();
    fuzz::ensure(init_push_netinfo() == opened, "the walks open differently");
    for (bool more = opened == 0; more;) {
        Step ordinary;
        Step push;
        more = step(get_next_netinfo, ordinary) == 0;
        fuzz::ensure((step(get_push_next_netinfo, push) == 0) == more, "the walks end differently");
        fuzz::ensure(std::memcmp(&ordinary, &push, sizeof(push)) == 0, "the walks differ");
        fuzz::ensure(std::strlen(ordinary.name) < INTERFACE_NAME_SIZE, "a name beyond its field");
    }
    fin_netinfo();
    fin_push_netinfo();
}

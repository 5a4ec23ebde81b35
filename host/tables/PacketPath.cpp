// The fields of the processors' packet queues, of connection tracking and of neighbours.
#include "host/PacketPath.h"

namespace zel {

namespace {

constexpr unsigned char wraps = 32;

constexpr Entries<Softnet> net{Area::Protocols, "softnet", "/proc/net/softnet_stat"};
constexpr Entries<Softnet> newer = net.from("/proc/net/softnet_stat", "kernel 5.10 or later");
constexpr Field<Softnet> softnetFields[] = {
    net.label("processor", &Softnet::processor, "Number of the processor, from 0."),
    net.counter("processed_total", &Softnet::processed, Unit::None, "Packets processed.", wraps),
    net.counter("dropped_total", &Softnet::dropped, Unit::None, "Packets dropped because the queue was full.", wraps),
    net.counter("times_squeezed_total", &Softnet::timesSqueezed, Unit::None,
                "Times that packets were left because the budget or the time was used up.", wraps),
    net.counter("cpu_collisions_total", &Softnet::cpuCollisions, Unit::None,
                "Collisions with another processor for the lock of a device; always 0 on newer kernels.", wraps),
    net.counter("received_rps_total", &Softnet::receivedRps, Unit::None,
                "Wake-ups by another processor to process packets.", wraps),
    net.from("/proc/net/softnet_stat", "kernel 3.11 or later")
        .counter("flow_limits_total", &Softnet::flowLimits, Unit::None, "Packets dropped by the flow limit.", wraps),
    newer.gauge("backlog", &Softnet::backlog, Unit::None, "Packets in the queue."),
    newer.gauge("input_queue", &Softnet::inputQueue, Unit::None, "Those that have not been looked at."),
    newer.gauge("process_queue", &Softnet::processQueue, Unit::None, "Those that are being processed."),
};

constexpr Entries<Conntrack> track{Area::Protocols, "conntrack", "/proc/net/stat/nf_conntrack",
                                   "module nf_conntrack, CONFIG_NF_CONNTRACK_PROCFS=y"};
constexpr Field<Conntrack> trackFields[] = {
    track.from("/proc/sys/net/netfilter/nf_conntrack_count", "module nf_conntrack")
        .gauge("entries", &Conntrack::entries, Unit::None, "Connections that are tracked."),
    track.from("/proc/sys/net/netfilter/nf_conntrack_max", "module nf_conntrack")
        .gauge("entries_limit", &Conntrack::entriesLimit, Unit::None, "Connections that can be tracked."),
    track.counter("searched_total", &Conntrack::searched, Unit::None, "Entries looked at in searches.", wraps),
    track.counter("clash_resolutions_total", &Conntrack::clashResolutions, Unit::None,
                  "Clashes of two entries that were resolved.", wraps),
    track.counter("found_total", &Conntrack::found, Unit::None, "Searches that found an entry.", wraps),
    track.counter("created_total", &Conntrack::created, Unit::None, "Entries made for new connections.", wraps),
    track.counter("invalid_total", &Conntrack::invalid, Unit::None, "Packets that cannot be tracked.", wraps),
    track.counter("ignored_total", &Conntrack::ignored, Unit::None, "Packets that are not to be tracked.", wraps),
    track.counter("deleted_total", &Conntrack::deleted, Unit::None, "Entries deleted.", wraps),
    track.counter("deleted_list_total", &Conntrack::deletedList, Unit::None, "Entries put on the list of dying ones.",
                  wraps),
    track.counter("chain_too_long_total", &Conntrack::chainTooLong, Unit::None,
                  "Entries not made because their chain was too long.", wraps),
    track.counter("inserted_total", &Conntrack::inserted, Unit::None, "Entries put into the table.", wraps),
    track.counter("insert_failed_total", &Conntrack::insertFailed, Unit::None,
                  "Entries not put into the table because there was one already.", wraps),
    track.counter("dropped_total", &Conntrack::dropped, Unit::None,
                  "Packets dropped because no entry could be made for them.", wraps),
    track.counter("early_dropped_total", &Conntrack::earlyDropped, Unit::None,
                  "Entries given up for new ones because the table was full.", wraps),
    track.counter("icmp_errors_total", &Conntrack::icmpErrors, Unit::None,
                  "ICMP messages that cannot be tracked for an error.", wraps),
    track.counter("expect_new_total", &Conntrack::expectNew, Unit::None,
                  "Entries made for connections that were expected.", wraps),
    track.counter("expect_created_total", &Conntrack::expectCreated, Unit::None, "Expectations made.", wraps),
    track.counter("expect_deleted_total", &Conntrack::expectDeleted, Unit::None, "Expectations deleted.", wraps),
    track.counter("search_restarts_total", &Conntrack::searchRestarts, Unit::None,
                  "Searches begun again because the table was resized.", wraps),
};

constexpr Entries<Neighbours> arp{Area::Protocols, "neighbours", "NETLINK_ROUTE, /proc/net/arp"};
constexpr Entries<Neighbours> state = arp.from("NETLINK_ROUTE");
constexpr Field<Neighbours> neighbourFields[] = {
    arp.label("interface", &Neighbours::interface, "Name of the interface."),
    arp.label("protocol", &Neighbours::protocol, "arp or ndisc."),
    arp.gauge("entries", &Neighbours::entries, Unit::None, "Neighbours, without those that need no resolution."),
    state.gauge("incomplete", &Neighbours::incomplete, Unit::None, "Asked for and not answered yet."),
    state.gauge("reachable", &Neighbours::reachable, Unit::None, "Known to be there."),
    state.gauge("stale", &Neighbours::stale, Unit::None, "Not confirmed lately."),
    state.gauge("delay", &Neighbours::delay, Unit::None, "Used and waiting to be confirmed."),
    state.gauge("probe", &Neighbours::probe, Unit::None, "Being asked again."),
    state.gauge("failed", &Neighbours::failed, Unit::None, "Did not answer."),
    arp.gauge("permanent", &Neighbours::permanent, Unit::None, "Entered by an administrator."),
    state.gauge("no_arp", &Neighbours::noArp, Unit::None, "Need no resolution."),
};

} // namespace

template<> std::span<const Field<Softnet>> fieldsOf<Softnet>() {
    return softnetFields;
}

template<> std::span<const Field<Conntrack>> fieldsOf<Conntrack>() {
    return trackFields;
}

template<> std::span<const Field<Neighbours>> fieldsOf<Neighbours>() {
    return neighbourFields;
}

} // namespace zel

// The known names of what packets meet in the kernel: queues of the processors, connection tracking, ARP.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr MetricType counter = MetricType::Counter, gauge = MetricType::Gauge;

constexpr KnownLabel<Softnet> softnetLabels[] = {{"cpu", &Softnet::processor}};
constexpr KnownField<Softnet> softnetFields[] = {
    {&Softnet::processed, "node_softnet_processed_total", counter, "Packets processed."},
    {&Softnet::dropped, "node_softnet_dropped_total", counter, "Packets dropped because the queue was full."},
    {&Softnet::timesSqueezed, "node_softnet_times_squeezed_total", counter,
     "Times that packets were left because the budget or the time was used up."},
};
constexpr KnownTable<Softnet> softnetTable{.rows = &Sample::softnet, .labels = softnetLabels, .fields = softnetFields};

constexpr KnownField<Conntrack> conntrackFields[] = {
    {&Conntrack::entries, "node_nf_conntrack_entries", gauge, "Connections that are tracked."},
    {&Conntrack::entriesLimit, "node_nf_conntrack_entries_limit", gauge, "Connections that can be tracked."},
    {&Conntrack::found, "node_nf_conntrack_stat_found", gauge, "Searches that found an entry."},
    {&Conntrack::invalid, "node_nf_conntrack_stat_invalid", gauge, "Packets that cannot be tracked."},
    {&Conntrack::ignored, "node_nf_conntrack_stat_ignore", gauge, "Packets that are not to be tracked."},
    {&Conntrack::inserted, "node_nf_conntrack_stat_insert", gauge, "Entries put into the table."},
    {&Conntrack::insertFailed, "node_nf_conntrack_stat_insert_failed", gauge,
     "Entries not put into the table because there was one already."},
    {&Conntrack::dropped, "node_nf_conntrack_stat_drop", gauge,
     "Packets dropped because no entry could be made for them."},
    {&Conntrack::earlyDropped, "node_nf_conntrack_stat_early_drop", gauge,
     "Entries given up for new ones because the table was full."},
    {&Conntrack::searchRestarts, "node_nf_conntrack_stat_search_restart", gauge,
     "Searches begun again because the table was resized."},
};
constexpr KnownTable<Conntrack> conntrackTable{.one = &Sample::conntrack, .fields = conntrackFields};

constexpr KnownLabel<Neighbours> arpLabels[] = {{"device", &Neighbours::interface}};
constexpr KnownField<Neighbours> arpFields[] = {
    {&Neighbours::entries, "node_arp_entries", gauge, "Neighbours in the ARP table."}};
bool isArp(const Neighbours &neighbours) {
    return neighbours.protocol == "arp" && neighbours.entries.valueOr(0) > 0;
}
constexpr KnownTable<Neighbours> arpTable{
    .rows = &Sample::neighbours, .labels = arpLabels, .fields = arpFields, .isShown = isArp};

void write(const Sample &sample, MetricSink &sink) {
    writeKnown(softnetTable, sample, sink);
    writeKnown(conntrackTable, sample, sink);
    writeKnown(arpTable, sample, sink);
}

// Of neighbours, those of IPv6 have no known name.
void listFields(KnownFields &known) {
    known.add(softnetTable);
    known.add(conntrackTable);
}

} // namespace

const KnownMetrics knownPacketPath{Area::Protocols, write, listFields};

} // namespace zel

// The sections that are written by default, with their fields.
#include "export/MetricSections.h"

#include <algorithm>

namespace zel {

namespace {

constexpr std::string_view identity[] = {"virtualisation", "container", "uptime_seconds"};
constexpr std::string_view cpu[] = {"online", "present"};
constexpr std::string_view load[] = {"runnable", "entities"};
constexpr std::string_view swaps[] = {"size_bytes", "used_bytes"};
constexpr std::string_view cgroupTotals[] = {"cgroups", "cgroups_left_out"};
// Of the reasons of stalls the sums alone: their readers take averages over any time from these.
constexpr std::string_view cgroups[] = {
    "cpu_usage_seconds_total", "cpu_throttled_seconds_total", "memory_current_bytes",
    "memory_max_bytes",        "swap_current_bytes",          "oom_kills_total",
    "io_read_bytes_total",     "io_written_bytes_total",      "pids_current",
    "cpu_some_seconds_total",  "memory_some_seconds_total",   "memory_full_seconds_total",
    "io_some_seconds_total",   "io_full_seconds_total",
};
constexpr std::string_view processes[] = {
    "user_seconds_total", "system_seconds_total", "resident_bytes",      "threads",
    "descriptors",        "read_bytes_total",     "written_bytes_total",
};
constexpr std::string_view nfsMounts[] = {
    "version",
    "protocol",
    "age_seconds",
    "read_bytes_total",
    "written_bytes_total",
    "server_read_bytes_total",
    "server_written_bytes_total",
    "operations_total",
    "retransmissions_total",
    "timeouts_total",
    "errors_total",
};
constexpr std::string_view nfsOperations[] = {
    "operations_total",         "retransmissions_total", "timeouts_total",
    "sent_bytes_total",         "received_bytes_total",  "queue_seconds_total",
    "round_trip_seconds_total", "execute_seconds_total", "errors_total",
};
constexpr std::string_view limits[] = {
    "threads",           "threads_limit",      "pids_limit",          "inodes_allocated", "dentries_allocated",
    "aio_requests",      "aio_requests_limit", "terminals",           "terminals_limit",  "arp_entries",
    "arp_entries_limit", "ndisc_entries",      "ndisc_entries_limit",
};

constexpr DefaultSection defaults[] = {
    {"identity", identity},
    {"cpu", cpu},
    {"load", load},
    {"swaps", swaps},
    {"bonds", {}},
    {"bond_ports", {}},
    {"infiniband_counters", {}},
    {"sensor_chips", {}},
    {"frequencies", {}},
    {"thermal_zones", {}},
    {"power_supplies", {}},
    {"power_zones", {}},
    {"tcp_states", {}},
    {"limits", limits},
    {"process_totals", {}},
    {"processes", processes},
    {"fibrechannel", {}},
    {"nfs_mounts", nfsMounts},
    {"nfs_operations", nfsOperations},
    {"cgroup_totals", cgroupTotals},
    {"cgroups", cgroups},
    {"gpus", {}},
};

// The place of a section in SECTIONS; SECTION_COUNT when there is none of the name.
std::size_t placeOf(std::string_view name) {
    const auto found = std::ranges::find(sections(), name, &AnySection<Sample>::name);
    return static_cast<std::size_t>(found - sections().begin());
}

bool isDefault(std::string_view section, std::string_view field) {
    const auto *const entry = std::find_if(std::begin(defaults), std::end(defaults),
                                           [section](const DefaultSection &each) { return each.section == section; });
    if (entry == std::end(defaults))
        return false;
    return entry->fields.empty() || std::find(entry->fields.begin(), entry->fields.end(), field) != entry->fields.end();
}

} // namespace

std::span<const DefaultSection> defaultSections() {
    return defaults;
}

MetricSections MetricSections::defaults() {
    MetricSections sections;
    sections.m_extents.fill(Extent::Default);
    return sections;
}

MetricSections MetricSections::all() {
    MetricSections sections;
    sections.m_extents.fill(Extent::Whole);
    return sections;
}

bool MetricSections::add(std::string_view word) {
    if (word == "all") {
        *this = all();
        return true;
    }
    if (word == "default") {
        for (Extent &extent : m_extents)
            extent = std::max(extent, Extent::Default);
        return true;
    }
    const std::size_t place = placeOf(word);
    if (place == SECTION_COUNT)
        return false;
    m_extents[place] = Extent::Whole;
    return true;
}

bool MetricSections::has(std::string_view section, std::string_view field) const {
    const std::size_t place = placeOf(section);
    if (place == SECTION_COUNT || m_extents[place] == Extent::None)
        return false;
    return m_extents[place] == Extent::Whole || isDefault(section, field);
}

} // namespace zel

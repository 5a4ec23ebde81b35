// The tables of what belongs to disks: md arrays, NVMe controllers, tapes, bcache, udev's records.
#include "zel/views/Views.h"

#include "zel/Units.h"
#include "zel/views/Cells.h"

namespace zel {

namespace {

Cell arrayState(const RowValues &row, const Style &style) {
    const Value &state = row["state"];
    const bool isRunning = state.has() && state.asText() == "active";
    const bool isShort = row.number("disks_active") < row.number("disks_required");
    if (!state.has())
        return {"-", Tone::Quiet};
    return {std::string(displayText(state.asText(), style.charset)) + (isShort ? ", degraded" : ""),
            isShort || !isRunning ? Tone::Alarm : Tone::Quiet};
}
Cell arrayDisks(const RowValues &row, const Style &style) {
    if (!row["disks_required"].has())
        return {"-", Tone::Quiet};
    static const Family plain{Area::Disks, "md_arrays", "disks", Unit::None, Kind::Gauge, "", ""};
    return {valueText(plain, row["disks_active"], style.charset) + " of " +
            valueText(plain, row["disks_required"], style.charset)};
}
Cell arrayProgress(const RowValues &row, const Style &style) {
    if (row["wait"].has() && row["wait"].asText() != "none")
        return {std::string(displayText(row["wait"].asText(), style.charset)), Tone::Warning};
    return row["sync_target_bytes"].has() ? shareCell(row.number("synced_bytes"), row.number("sync_target_bytes"), 2, 2)
                                          : Cell{"-", Tone::Quiet};
}
constexpr ViewColumn arrays[] = {
    {"array", "name", 0, 0, true},
    {"level", "level"},
    {"state", "state", 0, 0, true, arrayState, true},
    {"in use", "disks_active", 0, 0, false, arrayDisks},
    {"failed", "disks_failed", 0, 1},
    {"spare", "disks_spare"},
    {"size", "size_bytes"},
    {"action", "action"},
    {"done", "synced_bytes", 0, 0, false, arrayProgress},
    {"speed", "sync_bytes_per_second"},
    {"left", "sync_remaining_seconds"},
};

Cell controllerState(const RowValues &row, const Style &style) {
    const Value &state = row["state"];
    if (!state.has())
        return {"-", Tone::Quiet};
    return {std::string(displayText(state.asText(), style.charset)),
            state.asText() == "live" ? Tone::Quiet : Tone::Alarm};
}
bool isLive(const RowValues &row) {
    return row["state"].has() && row["state"].asText() == "live";
}
constexpr ViewColumn controllers[] = {
    {"controller", "name", 0, 0, true},
    {"state", "state", 0, 0, true, controllerState, true},
    {"model", "model"},
    {"serial", "serial"},
    {"firmware", "firmware"},
    {"transport", "transport"},
    {"address", "address"},
};

constexpr ViewColumn tapes[] = {
    {"drive", "name"},
    {"read/s", "read_bytes_per_second"},
    {"written/s", "written_bytes_per_second"},
    {"reads/s", "reads_per_second"},
    {"writes/s", "writes_per_second"},
    {"read", "read_bytes_total"},
    {"written", "written_bytes_total"},
    {"reads", "reads_total"},
    {"writes", "writes_total"},
    {"in flight", "in_flight"},
    {"residuals", "residuals_total"},
};

constexpr ViewColumn sets[] = {
    {"set", "uuid"},
    {"available", "cache_available_ratio"},
    {"congested", "congested", 1, 0},
    {"tree", "btree_cache_bytes"},
    {"depth", "tree_depth"},
    {"nodes", "btree_nodes"},
};
constexpr ViewColumn backing[] = {
    {"set", "uuid"},
    {"disk", "device", 0, 0, true},
    {"state", "state", 0, 0, true},
    {"hits/s", "hits_per_second"},
    {"misses/s", "misses_per_second"},
    {"bypassed/s", "bypassed_bytes_per_second"},
    {"hits", "hits_total"},
    {"misses", "misses_total"},
    {"dirty", "dirty_bytes"},
    {"written back/s", "writeback_bytes_per_second"},
};
constexpr ViewColumn caches[] = {
    {"set", "uuid"},
    {"disk", "device"},
    {"errors", "io_errors", 1, 100},
    {"written/s", "written_bytes_per_second"},
    {"written", "written_bytes_total"},
    {"metadata", "metadata_written_bytes_total"},
};

constexpr ViewColumn records[] = {
    {"device", "name"},
    {"model", "model"},
    {"serial", "serial"},
    {"path", "path"},
    {"filesystem", "filesystem_type"},
    {"uuid", "filesystem_uuid"},
    {"mapped name", "mapper_name"},
    {"volume group", "volume_group"},
};

constexpr View views[] = {
    {.section = "md_arrays", .heading = "MD ARRAYS", .columns = arrays, .onlyWithRows = true, .overviewRows = 16},
    {.section = "nvme_states",
     .heading = "NVME CONTROLLERS",
     .columns = controllers,
     .onlyWithRows = true,
     .overviewRows = 16,
     .overviewHides = isLive,
     .overviewHidden = "live"},
    {.section = "tapes", .heading = "TAPES", .columns = tapes, .onlyWithRows = true, .overviewRows = 16},
    {.section = "bcache_sets", .heading = "BCACHE", .columns = sets, .onlyWithRows = true},
    {.section = "bcache_backing_devices", .heading = "BCACHE DISKS", .columns = backing, .onlyWithRows = true},
    {.section = "bcache_cache_devices",
     .heading = "BCACHE CACHES",
     .columns = caches,
     .onlyWithRows = true,
     .overviewLeast = notInOverview},
    {.section = "udev_disks",
     .heading = "UDEV",
     .columns = records,
     .onlyWithRows = true,
     .overviewLeast = notInOverview},
};

} // namespace

std::span<const View> storageViews() {
    return views;
}

} // namespace zel

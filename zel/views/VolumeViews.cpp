// The tables of the filesystems that say more of themselves (btrfs, XFS, ZFS), and of the errors of memory.
#include "zel/views/Views.h"

#include "zel/views/Cells.h"

#include <algorithm>
#include <iterator>

namespace zel {

namespace {

constexpr ViewColumn btrfs[] = {
    {"label", "label"},
    {"uuid", "uuid", 0, 0, true},
    {"operation", "operation"},
    {"reserve", "reserve_bytes"},
};

Cell spaceShare(const RowValues &row, const Style &) {
    return shareCell(row.number("used_bytes"), row.number("total_bytes"), 2,
                     2); // allocated as it is used: full is normal
}
constexpr ViewColumn btrfsSpaces[] = {
    {"uuid", "uuid"},
    {"type", "type", 0, 0, true},
    {"allocated", "total_bytes"},
    {"used", "used_bytes"},
    {"use", "total_bytes", 0, 0, false, spaceShare},
    {"may use", "may_use_bytes"},
    {"pinned", "pinned_bytes"},
};
constexpr ViewColumn btrfsProfiles[] = {
    {"uuid", "uuid"},
    {"type", "type", 0, 0, true},
    {"profile", "profile", 0, 0, true},
    {"allocated", "total_bytes"},
    {"used", "used_bytes"},
    {"use", "total_bytes", 0, 0, false, spaceShare},
};
constexpr ViewColumn btrfsDevices[] = {
    {"uuid", "uuid"},
    {"device", "device", 0, 0, true},
    {"size", "size_bytes"},
    {"not allocated", "unused_bytes"},
    {"write errors/s", "write_errors_per_second", 0.001, 0.001},
    {"read/s", "read_errors_per_second", 0.001, 0.001},
    {"flush/s", "flush_errors_per_second", 0.001, 0.001},
    {"corrupt/s", "corruption_errors_per_second", 0.001, 0.001},
    {"generation/s", "generation_errors_per_second", 0.001, 0.001},
    {"write errors", "write_errors_total", 1, 1},
    {"read", "read_errors_total", 1, 1},
    {"flush", "flush_errors_total", 1, 1},
    {"corrupt", "corruption_errors_total", 1, 1},
    {"generation", "generation_errors_total", 1, 1},
};

constexpr ViewColumn xfs[] = {
    {"device", "device"},
    {"read/s", "read_bytes_per_second"},
    {"written/s", "written_bytes_per_second"},
    {"reads/s", "read_calls_per_second"},
    {"writes/s", "write_calls_per_second"},
    {"lookups/s", "directory_lookups_per_second"},
    {"log writes/s", "log_writes_per_second"},
    {"log waits/s", "log_space_sleeps_per_second", 0.001, 10},
    {"read", "read_bytes_total"},
    {"written", "written_bytes_total"},
    {"reads", "read_calls_total"},
    {"writes", "write_calls_total"},
    {"lookups", "directory_lookups_total"},
    {"log writes", "log_writes_total"},
};

// Of some hundred values those that everybody looks at.
bool isMinorValue(const RowValues &row) {
    constexpr std::string_view main[] = {"hits",  "misses",   "size",     "c",         "c_min",
                                         "c_max", "mfu_size", "mru_size", "data_size", "metadata_size"};
    const std::string_view name = row["name"].asText();
    return row["source"].asText() != "arcstats" || std::find(std::begin(main), std::end(main), name) == std::end(main);
}
constexpr ViewColumn zfs[] = {
    {"source", "source"},
    {"name", "name", 0, 0, true},
    {"value", "value", 0, 0, true},
    {"signed value", "signed_value"},
};

Cell poolState(const RowValues &row, const Style &style) {
    const Value &state = row["state"];
    if (!state.has())
        return {"-", Tone::Quiet};
    const bool online = state.asText() == "ONLINE";
    const bool degraded = state.asText() == "DEGRADED";
    return {std::string(displayText(state.asText(), style.charset)), online     ? Tone::Quiet
                                                                     : degraded ? Tone::Warning
                                                                                : Tone::Alarm};
}
constexpr ViewColumn zfsPools[] = {
    {"pool", "pool", 0, 0, true},        {"state", "state", 0, 0, true, poolState, true},
    {"read/s", "read_bytes_per_second"}, {"written/s", "written_bytes_per_second"},
    {"reads/s", "reads_per_second"},     {"writes/s", "writes_per_second"},
    {"read", "read_bytes_total"},        {"written", "written_bytes_total"},
};
constexpr ViewColumn zfsDatasets[] = {
    {"dataset", "dataset", 0, 0, true}, {"read/s", "read_bytes_per_second"}, {"written/s", "written_bytes_per_second"},
    {"reads/s", "reads_per_second"},    {"writes/s", "writes_per_second"},   {"commits/s", "log_commits_per_second"},
    {"read", "read_bytes_total"},       {"written", "written_bytes_total"},  {"reads", "reads_total"},
    {"writes", "writes_total"},         {"commits", "log_commits_total"},
};

bool hasNoError(const RowValues &row) {
    return row.number("corrected_errors_total") + row.number("uncorrected_errors_total") +
               row.number("corrected_errors_per_second") + row.number("uncorrected_errors_per_second") ==
           0;
}
constexpr ViewColumn controllers[] = {
    {"controller", "controller"},
    {"name", "name"},
    {"memory", "size_bytes"},
    {"corrected", "corrected_errors_total", 1},
    {"corrected/s", "corrected_errors_per_second", 0.001, 1},
    {"uncorrected", "uncorrected_errors_total", 1, 1},
    {"uncorrected/s", "uncorrected_errors_per_second", 0.001, 0.001},
    {"since reset", "since_reset_seconds"},
};
constexpr ViewColumn rows[] = {
    {"controller", "controller"},
    {"row", "row"},
    {"corrected/s", "corrected_errors_per_second", 0.001, 1},
    {"uncorrected/s", "uncorrected_errors_per_second", 0.001, 0.001},
    {"corrected", "corrected_errors_total", 1},
    {"uncorrected", "uncorrected_errors_total", 1, 1},
};
constexpr ViewColumn modules[] = {
    {"controller", "controller"},
    {"module", "module"},
    {"label", "label"},
    {"type", "type"},
    {"size", "size_bytes"},
    {"corrected/s", "corrected_errors_per_second", 0.001, 1},
    {"uncorrected/s", "uncorrected_errors_per_second", 0.001, 0.001},
    {"corrected", "corrected_errors_total", 1},
    {"uncorrected", "uncorrected_errors_total", 1, 1},
};

constexpr View views[] = {
    {.section = "btrfs", .heading = "BTRFS", .columns = btrfs, .onlyWithRows = true, .overviewLeast = notInOverview},
    {.section = "btrfs_spaces",
     .heading = "BTRFS SPACE",
     .columns = btrfsSpaces,
     .onlyWithRows = true,
     .overviewLeast = notInOverview},
    {.section = "btrfs_profiles",
     .heading = "BTRFS PROFILES",
     .columns = btrfsProfiles,
     .onlyWithRows = true,
     .overviewLeast = notInOverview},
    {.section = "btrfs_devices",
     .heading = "BTRFS DEVICES",
     .columns = btrfsDevices,
     .onlyWithRows = true,
     .overviewLeast = notInOverview},
    {.section = "xfs", .heading = "XFS", .columns = xfs, .onlyWithRows = true, .overviewLeast = notInOverview},
    {.section = "zfs",
     .heading = "ZFS",
     .columns = zfs,
     .onlyWithRows = true,
     .overviewLeast = notInOverview,
     .hides = isMinorValue,
     .hidden = "of less interest"},
    {.section = "zfs_pools", .heading = "ZFS POOLS", .columns = zfsPools, .onlyWithRows = true, .overviewRows = 16},
    {.section = "zfs_datasets",
     .heading = "ZFS DATASETS",
     .columns = zfsDatasets,
     .order = "written_bytes_per_second",
     .orderWithoutRates = "written_bytes_total",
     .onlyWithRows = true,
     .overviewLeast = notInOverview},
    {.section = "edac_controllers",
     .heading = "MEMORY ERRORS",
     .columns = controllers,
     .onlyWithRows = true,
     .overviewHides = hasNoError,
     .overviewHidden = "without errors"},
    {.section = "edac_rows",
     .heading = "MEMORY ERRORS OF ROWS",
     .columns = rows,
     .onlyWithRows = true,
     .overviewLeast = notInOverview,
     .hides = hasNoError,
     .hidden = "without errors"},
    {.section = "edac_modules",
     .heading = "MEMORY ERRORS OF MODULES",
     .columns = modules,
     .onlyWithRows = true,
     .overviewLeast = notInOverview,
     .hides = hasNoError,
     .hidden = "without errors"},
};

} // namespace

std::span<const View> volumeViews() {
    return views;
}

} // namespace zel

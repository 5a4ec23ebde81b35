// The known names of md arrays, NVMe controllers, tape drives and what udev says of block devices.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr MetricType counter = MetricType::Counter, gauge = MetricType::Gauge;

constexpr KnownLabel<NvmeState> controllerLabels[] = {
    {"device", &NvmeState::name}, {"firmware_revision", &NvmeState::firmware},
    {"model", &NvmeState::model}, {"serial", &NvmeState::serial},
    {"state", &NvmeState::state},
};
constexpr KnownInfo<NvmeState> controllerInfos[] = {
    {"node_nvme_info", "What an NVMe controller is, and its state.", controllerLabels}};
constexpr KnownTable<NvmeState> controllers{.rows = &Sample::nvmeStates, .infos = controllerInfos};

constexpr KnownLabel<Tape> tapeLabels[] = {{"device", &Tape::name}};
constexpr KnownField<Tape> tapeFields[] = {
    {&Tape::inFlight, "node_tape_io_now", gauge, "Requests in progress."},
    {&Tape::reads, "node_tape_reads_completed_total", counter, "Reads completed."},
    {&Tape::readBytes, "node_tape_read_bytes_total", counter, "Bytes read."},
    {&Tape::readSeconds, "node_tape_read_time_seconds_total", counter, "Time of all reads together."},
    {&Tape::writes, "node_tape_writes_completed_total", counter, "Writes completed."},
    {&Tape::writtenBytes, "node_tape_written_bytes_total", counter, "Bytes written."},
    {&Tape::writeSeconds, "node_tape_write_time_seconds_total", counter, "Time of all writes together."},
    {&Tape::ioSeconds, "node_tape_io_time_seconds_total", counter, "Time of all requests together."},
    {&Tape::others, "node_tape_io_others_total", counter, "Requests that neither read nor write."},
    {&Tape::residuals, "node_tape_residual_total", counter,
     "Reads and writes that did not move as much as was asked for."},
};
constexpr KnownTable<Tape> tapes{.rows = &Sample::tapes, .labels = tapeLabels, .fields = tapeFields};

// The families count in blocks of 1024 bytes.
constexpr double blocksPerByte = 1.0 / 1024;

bool is(const Reading<std::string> &text, std::string_view word) {
    return text && *text == word;
}

// An inactive array has no disks in use, and says of none that it is needed.
Count whileActive(const MdArray &array, const Count &disks) {
    return is(array.state, "inactive") ? Count(0) : disks;
}

// A reshape is no action of which the known names know.
Number synced(const MdArray &array) {
    return is(array.action, "reshape") ? array.sizeBytes : array.syncedBytes;
}

struct ArrayState {
    std::string_view name;
    bool (*holds)(const MdArray &);
};
bool isBusy(const MdArray &array) {
    return is(array.action, "resync") || is(array.action, "recovery") || is(array.action, "check");
}
constexpr ArrayState arrayStates[] = {
    {"active", [](const MdArray &array) { return is(array.state, "active") && !isBusy(array); }},
    {"check", [](const MdArray &array) { return is(array.action, "check"); }},
    {"inactive", [](const MdArray &array) { return is(array.state, "inactive"); }},
    {"recovering", [](const MdArray &array) { return is(array.action, "recovery"); }},
    {"resync", [](const MdArray &array) { return is(array.action, "resync"); }},
};

void writeArrays(const Rows<MdArray> &arrays, MetricSink &sink) {
    sink.family("node_md_blocks", gauge, "Size of an array in blocks of 1024 bytes.");
    for (const MdArray &array : arrays)
        sink.label("device", array.name).value(array.sizeBytes, blocksPerByte);
    sink.family("node_md_blocks_synced", gauge, "How many of them are in sync, or how far what is done to it is.");
    for (const MdArray &array : arrays)
        sink.label("device", array.name).value(synced(array), blocksPerByte);
    sink.family("node_md_disks", gauge, "Disks of an array that are in use, failed or spare.");
    for (const MdArray &array : arrays) {
        sink.label("device", array.name).label("state", "active").value(whileActive(array, array.active));
        sink.label("device", array.name).label("state", "failed").value(array.failed);
        sink.label("device", array.name).label("state", "spare").value(array.spare);
    }
    sink.family("node_md_disks_required", gauge, "Disks that a complete array has in use.");
    for (const MdArray &array : arrays)
        sink.label("device", array.name).value(whileActive(array, array.required));
    sink.family("node_md_state", gauge, "1 for the state that an array is in.");
    for (const MdArray &array : arrays) {
        for (const ArrayState &state : arrayStates)
            sink.label("device", array.name)
                .label("state", state.name)
                .value(std::uint64_t{state.holds(array) ? 1U : 0U});
    }
}

void write(const Sample &sample, MetricSink &sink) {
    writeArrays(sample.mdArrays, sink);
    writeKnown(controllers, sample, sink);
    writeKnown(tapes, sample, sink);
}

void listFields(KnownFields &known) {
    known.add(controllers);
    known.add(tapes);
    known.add<MdArray>({&MdArray::name, &MdArray::state, &MdArray::required, &MdArray::active, &MdArray::failed,
                        &MdArray::spare, &MdArray::sizeBytes, &MdArray::syncedBytes, &MdArray::action});
}

} // namespace

const KnownMetrics knownStorageDevices{Area::Disks, write, listFields};

} // namespace zel

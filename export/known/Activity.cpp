// The known names of what the kernel does: load, /proc/stat, faults and paging, pressure.
#include "export/known/BuiltName.h"
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr KnownField<Load> loadFields[] = {
    {&Load::load1, "node_load1", MetricType::Gauge, "Load average of the last minute."},
    {&Load::load5, "node_load5", MetricType::Gauge, "Load average of the last 5 minutes."},
    {&Load::load15, "node_load15", MetricType::Gauge, "Load average of the last 15 minutes."},
};
constexpr KnownTable<Load> loadTable{.one = &Sample::load, .fields = loadFields};

constexpr KnownField<Activity> statFields[] = {
    {&Activity::interrupts, "node_intr_total", MetricType::Counter, "Interrupts."},
    {&Activity::contextSwitches, "node_context_switches_total", MetricType::Counter, "Context switches."},
    {&Activity::forks, "node_forks_total", MetricType::Counter, "Processes and threads that were started."},
    {&Activity::running, "node_procs_running", MetricType::Gauge, "Tasks that can run now."},
    {&Activity::blocked, "node_procs_blocked", MetricType::Gauge, "Tasks that wait for I/O."},
    {&Activity::bootTimeSeconds, "node_boot_time_seconds", MetricType::Gauge, "When the host was booted."},
};
constexpr KnownTable<Activity> statTable{.one = &Sample::activity, .fields = statFields};

constexpr KnownField<Vm> vmFields[] = {
    {&Vm::oomKill, "node_vmstat_oom_kill", MetricType::Unknown, "Processes killed because memory ran out."},
    {&Vm::pgfault, "node_vmstat_pgfault", MetricType::Unknown, "Page faults."},
    {&Vm::pgmajfault, "node_vmstat_pgmajfault", MetricType::Unknown, "Page faults that had to wait for I/O."},
    {&Vm::pgpgin, "node_vmstat_pgpgin", MetricType::Unknown, "Read from disks, in units of 1024 bytes."},
    {&Vm::pgpgout, "node_vmstat_pgpgout", MetricType::Unknown, "Written to disks, in units of 1024 bytes."},
    {&Vm::pswpin, "node_vmstat_pswpin", MetricType::Unknown, "Pages read from swap."},
    {&Vm::pswpout, "node_vmstat_pswpout", MetricType::Unknown, "Pages written to swap."},
};
constexpr KnownTable<Vm> vmTable{.one = &Sample::vm, .fields = vmFields};

struct PressureFamily {
    std::string_view resource;
    Number Pressure::*seconds;
    std::string_view name, help;
};
constexpr PressureFamily pressureFamilies[] = {
    {"cpu", &Pressure::someSeconds, "node_pressure_cpu_waiting_seconds_total",
     "Time in which at least one task waited for a processor."},
    {"io", &Pressure::someSeconds, "node_pressure_io_waiting_seconds_total",
     "Time in which at least one task waited for I/O."},
    {"io", &Pressure::fullSeconds, "node_pressure_io_stalled_seconds_total", "Time in which all tasks waited for I/O."},
    {"memory", &Pressure::someSeconds, "node_pressure_memory_waiting_seconds_total",
     "Time in which at least one task waited for memory."},
    {"memory", &Pressure::fullSeconds, "node_pressure_memory_stalled_seconds_total",
     "Time in which all tasks waited for memory."},
};

void writePressure(const Sample &sample, MetricSink &sink) {
    for (const PressureFamily &family : pressureFamilies) {
        sink.family(family.name, MetricType::Counter, family.help);
        for (const Pressure &row : sample.pressure) {
            if (row.resource == family.resource)
                sink.value(row.*family.seconds);
        }
    }
}

// Not every resource has a known name, so the fields keep names of ours.
void listNoFields(KnownFields &) {}

// Of the names that are newer the known families are those of paging, swapping and faults.
bool isWritten(std::string_view key) {
    constexpr std::string_view beginnings[] = {"oom_kill", "pgpg", "pswp"};
    const auto begins = [key](std::string_view beginning) { return key.starts_with(beginning); };
    return std::any_of(std::begin(beginnings), std::end(beginnings), begins) ||
           (key.starts_with("pg") && key.find("fault", 2) != std::string_view::npos);
}

void writeVm(const Sample &sample, MetricSink &sink) {
    writeKnown(vmTable, sample, sink);
    BuiltName name;
    for (const VmOther &other : sample.vmOthers) {
        if (!isWritten(other.key))
            continue;
        name.clear();
        sink.family(name.add("node_vmstat_").add(other.key).text(), MetricType::Unknown,
                    "A name of vmstat that is newer than this program.");
        sink.value(other.value);
    }
}

template<class Row, const KnownTable<Row> &table> void write(const Sample &sample, MetricSink &sink) {
    writeKnown(table, sample, sink);
}
template<class Row, const KnownTable<Row> &table> void listFields(KnownFields &known) {
    known.add(table);
}

} // namespace

const KnownMetrics knownLoad{Area::Load, write<Load, loadTable>, listFields<Load, loadTable>};
const KnownMetrics knownActivity{Area::Interrupts, write<Activity, statTable>, listFields<Activity, statTable>};
const KnownMetrics knownVm{Area::Vm, writeVm, listFields<Vm, vmTable>};
const KnownMetrics knownPressure{Area::Pressure, writePressure, listNoFields};

} // namespace zel

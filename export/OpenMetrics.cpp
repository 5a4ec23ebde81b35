// Writes the known families of a sample, those of our own, and what is to say about the sample itself.
#include "export/OpenMetrics.h"

#include "export/AbsenceCounts.h"
#include "export/Walk.h"

#include <utility>

namespace zel {

namespace {

constexpr std::string_view processesName = "processes", cgroupsName = "cgroups", filesystemsName = "filesystems",
                           nfsOperationsName = "nfs_operations";

// The text of a process that leaves the machine only when it is asked for, and then whichever sections were chosen.
bool isSecret(std::string_view section, std::string_view field) {
    return section == processesName && field == "command_line";
}

// What every series of a process has as a label, beside what the schema calls one.
bool isMoreLabel(std::string_view section, std::string_view field) {
    return section == processesName && (field == "user" || field == "cgroup");
}

bool isWritten(const Sample &sample, std::span<const Area> areas, Area area) {
    return sample.area(area).asked && isShown(areas, area);
}

// The series of one number for each area.
template<class NumberOf>
void writeAreas(const Sample &sample, std::span<const Area> areas, MetricSink &sink, NumberOf &&numberOf) {
    for (std::size_t index = 0; index < AREA_COUNT; ++index) {
        const auto area = static_cast<Area>(index);
        if (isWritten(sample, areas, area))
            sink.label("area", areaName(area)).value(numberOf(sample.areas[index]));
    }
}

void writeAbsences(const Sample &sample, std::span<const Area> areas, MetricSink &sink) {
    const AbsenceCounts counts = countAbsences(sample);
    sink.family("zel_absent", MetricType::Gauge, "Readings without a value.");
    for (std::size_t index = 0; index < AREA_COUNT; ++index) {
        if (!isShown(areas, static_cast<Area>(index)))
            continue;
        for (std::size_t reason = 1; reason < ABSENCE_COUNT; ++reason) {
            if (counts[index][reason] != 0)
                sink.label("area", areaName(static_cast<Area>(index)))
                    .label("reason", absenceName(static_cast<Absence>(reason)))
                    .value(counts[index][reason]);
        }
    }
}

void writeStuckMounts(const Sample &sample, MetricSink &sink) {
    sink.family("zel_stuck_mount_seconds", MetricType::Gauge, "For how long a mount has not answered.");
    std::uint64_t stuck = 0;
    for (const Filesystem &mount : sample.filesystems) {
        if (mount.stuck.valueOr(0) == 0)
            continue;
        ++stuck;
        sink.label("device", mount.device).label("fstype", mount.type).label("mountpoint", mount.mountPoint);
        sink.value(mount.stuckSeconds);
    }
    sink.family("zel_stuck_mounts", MetricType::Gauge, "Mounts that do not answer.");
    sink.value(stuck);
}

// How many rows a limit left out, of the sections that have one.
void writeLeftOut(std::string_view section, std::size_t count, MetricSink &sink) {
    if (section == cgroupsName)
        sink.family("zel_cgroups_not_written", MetricType::Gauge,
                    "Cgroups with processes beyond the limit of this page.");
    else if (section == nfsOperationsName)
        sink.family("zel_nfs_operations_not_written", MetricType::Gauge,
                    "Operations of NFS mounts beyond the limit of this page.");
    else
        return;
    sink.value(std::uint64_t{count});
}

std::string familyName(std::string_view section, std::string_view field) {
    return "zel_" + std::string(section) + '_' + std::string(field);
}

// Only names of counters end in _total: readers of metrics take the type from that.
std::string gaugeName(std::string_view section, std::string_view field) {
    constexpr std::string_view total = "total";
    std::string name = familyName(section, field);
    if (name.ends_with(total))
        name.replace(name.size() - total.size(), total.size(), "all");
    return name;
}

} // namespace

void MetricsWriter::plan(const AnySection<Sample> &section, const KnownFields &known, PlannedSection &planned) {
    for (std::size_t index = 0; index < section.fields.families.size(); ++index) {
        const Family &family = *section.fields.families[index];
        if (family.kind == Kind::Label) {
            planned.labels.push_back({index, known.labelName(family)});
            continue;
        }
        if (known.has(family) || isMoreLabel(section.name, family.name))
            continue;
        if (isSecret(section.name, family.name) ? !m_options.commandLines
                                                : !m_options.sections.has(section.name, family.name))
            continue;
        if (section.fields.isText[index])
            planned.texts.push_back(index);
        else if (family.kind == Kind::Counter)
            planned.numbers.push_back({index, familyName(section.name, family.name), MetricType::Counter});
        else
            planned.numbers.push_back({index, gaugeName(section.name, family.name), MetricType::Gauge});
    }
    planned.infoName = familyName(section.name, "info");
    planned.infoHelp = "Texts of " + std::string(section.name) + " as labels.";
}

MetricsWriter::MetricsWriter(MetricOptions options) : m_options(std::move(options)) {
    KnownFields known;
    for (const KnownMetrics *metrics : knownMetrics())
        metrics->listFields(known);
    for (std::size_t index = 0; index < SECTION_COUNT; ++index)
        plan(sections()[index], known, m_plans[index]);
}

// Those that were used most since their mount was made: a choice that seldom changes.
void MetricsWriter::chooseNfsOperations(const Rows<NfsOperation> &operations) {
    m_nfsRanking.clear();
    m_nfsRanking.addMost(operations.size(), m_options.nfsOperations, [&](std::size_t index) {
        return static_cast<double>(operations[index].operations.valueOr(0));
    });
    const std::span<const std::uint32_t> chosen = m_nfsRanking.chosen();
    m_rows.assign(chosen.begin(), chosen.end());
    m_rowsLeftOut = operations.size() - chosen.size();
}

// The processes that use most, and the operations of NFS that are used most. Of the cgroups those with processes, up to
// the limit. A mount below another at the same place has the labels of that one, and nothing can be known of it.
// Everything else whole.
void MetricsWriter::chooseRows(const AnySection<Sample> &section, const Sample &sample, const Rates *rates) {
    m_rows.clear();
    m_rowsLeftOut = 0;
    if (section.name == processesName) {
        const std::span<const std::uint32_t> chosen = m_processChoice.choose(sample, rates, m_options.processes);
        m_rows.assign(chosen.begin(), chosen.end());
        return;
    }
    if (section.name == nfsOperationsName)
        return chooseNfsOperations(sample.nfsOperations);
    const bool cgroups = section.name == cgroupsName, filesystems = section.name == filesystemsName;
    const std::size_t size = section.size(sample), most = cgroups ? m_options.cgroups : size;
    for (std::size_t index = 0; index < size; ++index) {
        if ((cgroups && sample.cgroups[index].populated.valueOr(1) == 0) ||
            (filesystems && sample.filesystems[index].hidden.valueOr(0) != 0))
            continue;
        if (m_rows.size() < most)
            m_rows.push_back(static_cast<std::uint32_t>(index));
        else
            ++m_rowsLeftOut;
    }
}

void MetricsWriter::keepLabels(const AnySection<Sample> &section, const PlannedSection &planned, const Sample &sample) {
    m_sink.clearRows();
    for (const std::uint32_t index : m_rows) {
        const AnyRow &row = section.row(sample, index);
        for (const PlannedLabel &label : planned.labels)
            m_sink.label(label.name, section.fields.value(row, label.index));
        if (section.name == processesName)
            m_sink.label("user", sample.processes[index].user).label("cgroup", sample.processes[index].cgroup);
        m_sink.keepRow();
    }
}

void MetricsWriter::writeSection(const AnySection<Sample> &section, const PlannedSection &planned,
                                 const Sample &sample) {
    for (const PlannedField &number : planned.numbers) {
        m_sink.family(number.name, number.type, section.fields.families[number.index]->help);
        for (std::size_t place = 0; place < m_rows.size(); ++place)
            m_sink.row(place).value(section.fields.value(section.row(sample, m_rows[place]), number.index));
    }
    m_sink.family(planned.infoName, MetricType::Info, planned.infoHelp);
    for (std::size_t place = 0; place < m_rows.size(); ++place)
        writeTexts(section, planned, section.row(sample, m_rows[place]), place);
    writeLeftOut(section.name, m_rowsLeftOut, m_sink);
}

void MetricsWriter::writeTexts(const AnySection<Sample> &section, const PlannedSection &planned, const AnyRow &row,
                               std::size_t place) {
    bool any = false;
    m_sink.row(place);
    for (const std::size_t index : planned.texts) {
        const Value text = section.fields.value(row, index);
        m_sink.label(section.fields.families[index]->name, text);
        any = any || text.has();
    }
    if (any)
        m_sink.one();
    else
        m_sink.drop();
}

void MetricsWriter::writeHealth(const Sample &sample, std::span<const Area> areas) {
    if (isWritten(sample, areas, Area::Filesystems))
        writeStuckMounts(sample, m_sink);
    writeAbsences(sample, areas, m_sink);
    m_sink.family("zel_area_cost_seconds", MetricType::Gauge, "Processor time that reading an area took.");
    writeAreas(sample, areas, m_sink, [](const AreaState &state) { return state.costSeconds; });
    m_sink.family("zel_area_silent_seconds", MetricType::Gauge,
                  "For how long an area, or something of it, has not answered.");
    writeAreas(sample, areas, m_sink, [](const AreaState &state) { return state.silentSeconds; });
    m_sink.family("zel_sample_time_seconds", MetricType::Gauge, "When the sample was taken, since the epoch.");
    m_sink.value(static_cast<double>(sample.realtimeNanoseconds) * 1e-9);
    m_sink.family("zel_sample_elapsed_seconds", MetricType::Gauge, "How long taking the sample took.");
    m_sink.value(sample.elapsedSeconds);
    m_sink.family("zel_build_info", MetricType::Info, "What writes this page.");
    m_sink.label("version", m_options.version).one();
}

void MetricsWriter::write(const Sample &sample, const Rates *rates, std::span<const Area> areas, MetricFormat format,
                          std::string &out) {
    m_sink.start(format, out);
    for (const KnownMetrics *known : knownMetrics()) {
        if (isWritten(sample, areas, known->area))
            known->write(sample, m_sink);
    }
    for (std::size_t index = 0; index < SECTION_COUNT; ++index) {
        const AnySection<Sample> &section = sections()[index];
        const PlannedSection &planned = m_plans[index];
        if (!isWritten(sample, areas, section.area) || (planned.numbers.empty() && planned.texts.empty()))
            continue;
        chooseRows(section, sample, rates);
        keepLabels(section, planned, sample);
        writeSection(section, planned, sample);
    }
    writeHealth(sample, areas);
    m_sink.finish();
}

} // namespace zel

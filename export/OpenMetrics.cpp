// Writes the known families of a sample, those of our own, and what is to say about the sample itself.
#include "export/OpenMetrics.h"

#include "export/AbsenceCounts.h"
#include "export/Walk.h"

#include <utility>

namespace zel {

namespace {

template<class Row> bool isText(const Field<Row> &field) {
    return std::holds_alternative<Reading<std::string> Row::*>(field.member) ||
           std::holds_alternative<std::string Row::*>(field.member);
}

// What a process has as labels beside those of the schema, and what leaves the machine only when it is asked for.
template<class Row> bool isTextLeftOut(const Field<Row> &, bool) {
    return false;
}
bool isTextLeftOut(const Field<Process> &field, bool commandLines) {
    if (field.member == Member<Process>(&Process::commandLine))
        return !commandLines;
    return field.member == Member<Process>(&Process::user) || field.member == Member<Process>(&Process::cgroup);
}

template<class Row> void addMoreLabels(const Row &, MetricSink &) {}
void addMoreLabels(const Process &process, MetricSink &sink) {
    sink.label("user", process.user).label("cgroup", process.cgroup);
}

// A mount below another at the same place has the labels of that one, and nothing can be known of it.
template<class Row> bool isRowWritten(const Row &) {
    return true;
}
bool isRowWritten(const Filesystem &filesystem) {
    return filesystem.hidden.valueOr(0) == 0;
}
bool isRowWritten(const Cgroup &cgroup) {
    return cgroup.populated.valueOr(1) != 0;
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

void writeCgroupsLeftOut(std::size_t count, MetricSink &sink) {
    sink.family("zel_cgroups_not_written", MetricType::Gauge, "Cgroups with processes beyond the limit of this page.");
    sink.value(std::uint64_t{count});
}

std::string familyName(std::string_view section, std::string_view field) {
    return "zel_" + std::string(section) + '_' + std::string(field);
}

} // namespace

template<class Row>
void MetricsWriter::plan(std::string_view section, const KnownFields &known, PlannedSection &planned) {
    std::size_t index = 0;
    for (const Field<Row> &field : fieldsOf<Row>()) {
        const std::size_t place = index++;
        if (field.family.kind == Kind::Label) {
            planned.labelNames.push_back(known.labelName(field.family));
            continue;
        }
        if (known.has(field.family) || !m_options.sections.has(section, field.family.name))
            continue;
        if (!isText(field))
            planned.numbers.push_back({place, familyName(section, field.family.name),
                                       field.family.kind == Kind::Counter ? MetricType::Counter : MetricType::Gauge});
        else if (!isTextLeftOut(field, m_options.commandLines))
            planned.texts.push_back(place);
    }
    planned.infoName = familyName(section, "info");
    planned.infoHelp = "Texts of " + std::string(section) + " as labels.";
}

MetricsWriter::MetricsWriter(MetricOptions options) : m_options(std::move(options)) {
    KnownFields known;
    for (const KnownMetrics *metrics : knownMetrics())
        metrics->listFields(known);
    std::size_t index = 0;
    forEachSection([&]<class Row>(const Section<Row> &section) { plan<Row>(section.name, known, m_plans[index++]); });
}

template<class Row>
void MetricsWriter::chooseRows(std::span<const Row> rows, const Sample &sample, const Rates *rates) {
    m_rows.clear();
    m_rowsLeftOut = 0;
    if constexpr (std::is_same_v<Row, Process>) {
        const std::span<const std::uint32_t> chosen = m_processChoice.choose(sample, rates, m_options.processes);
        m_rows.assign(chosen.begin(), chosen.end());
        return;
    }
    const std::size_t most = std::is_same_v<Row, Cgroup> ? m_options.cgroups : rows.size();
    for (std::size_t index = 0; index < rows.size(); ++index) {
        if (!isRowWritten(rows[index]))
            continue;
        if (m_rows.size() < most)
            m_rows.push_back(static_cast<std::uint32_t>(index));
        else
            ++m_rowsLeftOut;
    }
}

template<class Row>
void MetricsWriter::writeSection(const Section<Row> &section, const PlannedSection &planned, const Sample &sample) {
    const std::span<const Row> rows = rowsOf(sample, section);
    const std::span<const Field<Row>> fields = fieldsOf<Row>();
    m_sink.clearRows();
    for (const std::uint32_t row : m_rows) {
        std::size_t label = 0;
        for (const Field<Row> &field : fields) {
            if (field.family.kind == Kind::Label)
                m_sink.label(planned.labelNames[label++], field.of(rows[row]));
        }
        addMoreLabels(rows[row], m_sink);
        m_sink.keepRow();
    }
    for (const PlannedField &number : planned.numbers) {
        const Field<Row> &field = fields[number.index];
        m_sink.family(number.name, number.type, field.family.help);
        for (std::size_t place = 0; place < m_rows.size(); ++place)
            m_sink.row(place).value(field.of(rows[m_rows[place]]));
    }
    writeTexts(rows, planned);
}

template<class Row> void MetricsWriter::writeTexts(std::span<const Row> rows, const PlannedSection &planned) {
    const std::span<const Field<Row>> fields = fieldsOf<Row>();
    m_sink.family(planned.infoName, MetricType::Info, planned.infoHelp);
    for (std::size_t place = 0; place < m_rows.size(); ++place) {
        bool any = false;
        m_sink.row(place);
        for (const std::size_t index : planned.texts) {
            const Value text = fields[index].of(rows[m_rows[place]]);
            m_sink.label(fields[index].family.name, text);
            any = any || text.has();
        }
        if (any)
            m_sink.one();
        else
            m_sink.drop();
    }
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
    std::size_t index = 0;
    forEachSection([&]<class Row>(const Section<Row> &section) {
        const PlannedSection &planned = m_plans[index++];
        if (!isWritten(sample, areas, section.area) || (planned.numbers.empty() && planned.texts.empty()))
            return;
        chooseRows(rowsOf(sample, section), sample, rates);
        writeSection(section, planned, sample);
        if constexpr (std::is_same_v<Row, Cgroup>)
            writeCgroupsLeftOut(m_rowsLeftOut, m_sink);
    });
    writeHealth(sample, areas);
    m_sink.finish();
}

} // namespace zel

// The names that the host exporter of most dashboards gives: a metric keeps its name, type, labels and value, and only
// what has no such name gets one of ours (zel_...).
//
// One file of this folder per area has tables from the fields of the schema to families, and functions for families
// that are made of several fields. To add a family of one field is one line in a table; a file of its own is declared
// below and listed in Known.cpp.
//
//   constexpr KnownLabel<Disk> labels[] = {{"device", &Disk::name}};
//   constexpr KnownField<Disk> fields[] = {
//       {&Disk::reads, "node_disk_reads_completed_total", MetricType::Counter, "Reads completed."},
//       {&Disk::discardedBytes, "node_disk_discarded_sectors_total", MetricType::Counter, "Sectors discarded.",
//        1.0 / 512},
//   };
//   constexpr KnownInfo<Disk> infos[] = {{"node_disk_info", "What describes a disk.", infoLabels}};
//   constexpr KnownTable<Disk> table{.rows = &Sample::disks, .labels = labels, .fields = fields, .infos = infos,
//                                    .isShown = isShown};
//
//   void write(const Sample &sample, MetricSink &sink) { writeKnown(table, sample, sink); }
//   void listFields(KnownFields &known) { known.add(table); }
//   const KnownMetrics knownDisks{Area::Disks, write, listFields};
//
// A family that a table cannot say is written by hand in `write`, before or after the tables, and its fields are named
// in `listFields`:
//
//   sink.family("node_cpu_seconds_total", MetricType::Counter, "...");
//   for (const Processor &processor : sample.processors)
//       sink.label("cpu", processor.cpu).label("mode", "idle").value(processor.idleSeconds);
//   ...
//   known.add<Processor>({&Processor::idleSeconds, ...});
//
// The rules of the sink hold (export/MetricSink.h): one family per name, its series one after the other, absent
// readings leave no series, nothing is allocated. An area that was not asked for is not written. Help texts are our own
// words.
#pragma once

#include "export/MetricSink.h"
#include "export/Walk.h"

#include <algorithm>
#include <initializer_list>
#include <span>
#include <type_traits>
#include <vector>

namespace zel {

/// A member of a row as a label; of an absent reading an empty text.
template<class Row> struct KnownLabel {
    std::string_view name;
    Member<Row> member;
};

/// A number of a row as a family, with one series per row.
template<class Row> struct KnownField {
    Member<Row> member;
    std::string_view name;
    MetricType type;
    std::string_view help;
    double factor = 1; // from the schema's unit
};

/// Texts and numbers of a row as labels of a gauge that is 1. They stand instead of the labels of the table.
template<class Row> struct KnownInfo {
    std::string_view name;
    std::string_view help;
    std::span<const KnownLabel<Row>> labels;
};

template<class Row> struct KnownTable {
    Row Sample::*one = nullptr;        // the struct of a sample,
    Rows<Row> Sample::*rows = nullptr; // or the list of them
    std::span<const KnownLabel<Row>> labels = {};
    std::span<const KnownField<Row>> fields = {};
    std::span<const KnownInfo<Row>> infos = {};
    bool (*isShown)(const Row &) = nullptr; // null: all

    std::span<const Row> of(const Sample &sample) const { return rowsOf(sample, one, rows); }
    bool shows(const Row &row) const { return isShown == nullptr || isShown(row); }
};

/// The fields of the schema that have a known name, and the names that labels have in the known families.
class KnownFields {
public:
    template<class Row> void add(std::initializer_list<Member<Row>> members) {
        for (const Member<Row> &member : members)
            m_families.push_back(familyOf(member));
    }
    template<class Row> void add(const KnownTable<Row> &table) {
        for (const KnownLabel<Row> &label : table.labels)
            m_labels.push_back({familyOf(label.member), label.name});
        for (const KnownField<Row> &field : table.fields)
            m_families.push_back(familyOf(field.member));
        for (const KnownInfo<Row> &info : table.infos) {
            for (const KnownLabel<Row> &label : info.labels)
                m_families.push_back(familyOf(label.member));
        }
    }

    bool has(const Family &family) const {
        return std::find(m_families.begin(), m_families.end(), &family) != m_families.end();
    }
    /// The name of a label of the schema in families of our own: the known one, so that both can be joined.
    std::string_view labelName(const Family &family) const {
        const auto found = std::find_if(m_labels.begin(), m_labels.end(),
                                        [&family](const Renamed &label) { return label.family == &family; });
        return found == m_labels.end() ? family.name : found->name;
    }

private:
    struct Renamed {
        const Family *family;
        std::string_view name;
    };

    template<class Row> const Family *familyOf(const Member<Row> &member) {
        for (const Field<Row> &field : fieldsOf<Row>()) {
            if (field.member == member)
                return &field.family;
        }
        return nullptr;
    }

    std::vector<const Family *> m_families; // of the schema's tables, which last as long as the program
    std::vector<Renamed> m_labels;
};

/// What one file of this folder gives.
struct KnownMetrics {
    Area area;
    void (*write)(const Sample &, MetricSink &);
    void (*listFields)(KnownFields &);
};

extern const KnownMetrics knownActivity;
extern const KnownMetrics knownDisks;
extern const KnownMetrics knownFilesystems;
extern const KnownMetrics knownIdentity;
extern const KnownMetrics knownInterfaceTraffic;
extern const KnownMetrics knownLimits;
extern const KnownMetrics knownLoad;
extern const KnownMetrics knownMemory;
extern const KnownMetrics knownPacketPath;
extern const KnownMetrics knownPressure;
extern const KnownMetrics knownProcessors;
extern const KnownMetrics knownProtocols;
extern const KnownMetrics knownSensors;
extern const KnownMetrics knownSockets;
extern const KnownMetrics knownTime;
extern const KnownMetrics knownVm;

/// All of them, in the order in which they are written.
std::span<const KnownMetrics *const> knownMetrics();

template<class Row> void addLabels(std::span<const KnownLabel<Row>> labels, const Row &row, MetricSink &sink) {
    for (const KnownLabel<Row> &label : labels)
        std::visit([&](auto member) { sink.label(label.name, row.*member); }, label.member);
}

/// Whether a member of a row holds a number.
template<class Pointer> inline constexpr bool isNumber = false;
template<class Row> inline constexpr bool isNumber<Count Row::*> = true;
template<class Row> inline constexpr bool isNumber<Number Row::*> = true;
template<class Row> inline constexpr bool isNumber<std::uint64_t Row::*> = true;

/// The families of a table. The rows of the sink are those of the table then: row(index) of families that are written
/// after it has their labels.
template<class Row> void writeKnown(const KnownTable<Row> &table, const Sample &sample, MetricSink &sink) {
    const std::span<const Row> rows = table.of(sample);
    for (const KnownInfo<Row> &info : table.infos) {
        sink.family(info.name, MetricType::Gauge, info.help);
        for (const Row &row : rows) {
            if (!table.shows(row))
                continue;
            addLabels(info.labels, row, sink);
            sink.one();
        }
    }
    sink.clearRows();
    for (const Row &row : rows) {
        addLabels(table.labels, row, sink);
        sink.keepRow(table.shows(row));
    }
    const auto writeRows = [&](auto member, double factor) {
        if constexpr (isNumber<decltype(member)>) {
            for (std::size_t index = 0; index < rows.size(); ++index)
                sink.row(index).value(rows[index].*member, factor);
        }
    };
    for (const KnownField<Row> &field : table.fields) {
        sink.family(field.name, field.type, field.help);
        std::visit([&](auto member) { writeRows(member, field.factor); }, field.member);
    }
}

} // namespace zel

// A sample as metrics: families in OpenMetrics 1.0 or in the Prometheus text format 0.0.4 (export/MetricSink.h).
//
// What the host exporter of most dashboards has keeps its name, type and labels (export/known/). The rest is
//
//   zel_<section>_<field>         of the sections that were chosen (export/MetricSections.h), by the schema
//   zel_<section>_info            their texts as labels, with the value 1
//   zel_stuck_mounts              mounts that do not answer, and of each zel_stuck_mount_seconds
//   zel_absent{area,reason}       readings without a value; an area that is lost as a whole counts as one more
//   zel_area_cost_seconds{area}   processor time of reading it; zel_area_silent_seconds{area}: since when it, or
//                                 something of it, has not answered
//   zel_sample_time_seconds       when the sample was taken; zel_sample_elapsed_seconds: how long that took
//   zel_build_info{version}
//
// Of the processes those that use most are written (export/ProcessChoice.h), with pid, name, user and cgroup as labels;
// command lines, which hold secrets, only when asked for. Of the cgroups those that have processes, the upper levels
// first, up to a limit; zel_cgroups_not_written counts the others. Of the operations of NFS mounts those that were used
// most since they were mounted, up to a limit; zel_nfs_operations_not_written counts the others.
//
// No series has a time of its own: they are those of the moment at which they are read.
#pragma once

#include "export/MetricSections.h"
#include "export/MetricSink.h"
#include "export/ProcessChoice.h"
#include "export/known/Known.h"
#include "host/Rates.h"

#include <span>
#include <string>
#include <vector>

namespace zel {

inline constexpr std::size_t METRIC_PROCESSES_DEFAULT = 10;
inline constexpr std::size_t METRIC_CGROUPS_DEFAULT = 500;
inline constexpr std::size_t METRIC_NFS_OPERATIONS_DEFAULT = 200;

struct MetricOptions {
    MetricSections sections = MetricSections::defaults();
    std::size_t processes = METRIC_PROCESSES_DEFAULT; // the most of each of processor time, memory and I/O
    std::size_t cgroups = METRIC_CGROUPS_DEFAULT;
    std::size_t nfsOperations = METRIC_NFS_OPERATIONS_DEFAULT;
    bool commandLines = false;
    std::string version = {}; // of the program
};

/// Its memory is used again from text to text: in steady state nothing is allocated. It belongs to one thread.
class MetricsWriter {
public:
    explicit MetricsWriter(MetricOptions options);

    /// Appends to `out`. `areas` names what is written; empty: all that the sample was asked for. `rates`, which may be
    /// null, were made of this sample and an earlier one: they rank the processes.
    void write(const Sample &sample, const Rates *rates, std::span<const Area> areas, MetricFormat format,
               std::string &out);

private:
    struct PlannedField {
        std::size_t index; // in the table of its struct
        std::string name;
        MetricType type;
    };
    struct PlannedLabel {
        std::size_t index;
        std::string_view name;
    };
    struct PlannedSection {
        std::vector<PlannedLabel> labels;
        std::vector<PlannedField> numbers;
        std::vector<std::size_t> texts;
        std::string infoName, infoHelp;
    };

    void plan(const AnySection<Sample> &section, const KnownFields &known, PlannedSection &planned);
    void chooseRows(const AnySection<Sample> &section, const Sample &sample, const Rates *rates);
    void chooseNfsOperations(const Rows<NfsOperation> &operations);
    void keepLabels(const AnySection<Sample> &section, const PlannedSection &planned, const Sample &sample);
    void writeSection(const AnySection<Sample> &section, const PlannedSection &planned, const Sample &sample);
    void writeTexts(const AnySection<Sample> &section, const PlannedSection &planned, const AnyRow &row,
                    std::size_t place);
    void writeHealth(const Sample &sample, std::span<const Area> areas);

    MetricOptions m_options;
    std::array<PlannedSection, SECTION_COUNT> m_plans; // by the order of SECTIONS
    MetricSink m_sink;
    ProcessChoice m_processChoice;
    RowRanking m_nfsRanking;
    std::vector<std::uint32_t> m_rows; // of the section that is written
    std::size_t m_rowsLeftOut = 0;     // of it, because of a limit
};

} // namespace zel

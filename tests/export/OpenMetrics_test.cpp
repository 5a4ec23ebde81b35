// A sample as metrics: known names, our own, and what is said about the sample itself.
#include "export/OpenMetrics.h"

#include "FullSample.h"
#include "MetricText.h"
#include "SystemHooks.h"

#include <gtest/gtest.h>

namespace {

using zel::Absence;
using zel::Area;
using zel::MetricFormat;
using zel::MetricOptions;
using zel::MetricSections;

MetricText metricsOf(const zel::Sample &sample, MetricOptions options = {}, const zel::Rates *rates = nullptr,
                     MetricFormat format = MetricFormat::PrometheusText) {
    std::string out;
    zel::MetricsWriter(std::move(options)).write(sample, rates, {}, format, out);
    return {out,
            format == MetricFormat::OpenMetrics ? MetricText::Format::OpenMetrics : MetricText::Format::Prometheus};
}

zel::Sample sampleOf(Area area) {
    zel::Sample sample;
    sample.area(area).asked = true;
    return sample;
}

zel::Process &addProcess(zel::Sample &sample, std::uint64_t pid, std::uint64_t resident) {
    zel::Process &process = sample.processes.append();
    process.pid = pid;
    process.name = "p" + std::to_string(pid);
    process.user = std::string("root");
    process.cgroup = std::string("/a.slice");
    process.residentBytes = resident;
    process.commandLine = std::string("p --password=x");
    return process;
}

// The reader's expectations: no family and no series twice, every name as the formats want it.
TEST(OpenMetrics, AFullSampleIsValidInBothFormats) {
    const zel::Sample sample = FullSample::make();
    for (const MetricFormat format : {MetricFormat::PrometheusText, MetricFormat::OpenMetrics}) {
        const MetricText all = metricsOf(
            sample, {.sections = MetricSections::all(), .commandLines = true, .version = "1"}, nullptr, format);
        const MetricText some = metricsOf(sample, {}, nullptr, format);
        EXPECT_GT(all.families().size(), some.families().size());
        EXPECT_GT(some.families().size(), 100U);
    }
}

// Whatever has a known name has no second one, and everything else has one of ours.
TEST(OpenMetrics, EveryNumberOfTheSchemaHasOneName) {
    zel::KnownFields known;
    for (const zel::KnownMetrics *metrics : zel::knownMetrics())
        metrics->listFields(known);
    const MetricText all = metricsOf(FullSample::make(), {.sections = MetricSections::all(), .processes = 1});
    for (const zel::AnySection<zel::Sample> &section : zel::sections()) {
        for (std::size_t field = 0; field < section.fields.families.size(); ++field) {
            const zel::Family &family = *section.fields.families[field];
            if (family.kind == zel::Kind::Label || section.fields.isText[field])
                continue;
            std::string name = "zel_" + std::string(section.name) + "_" + std::string(family.name);
            if (name == "zel_process_totals_total")
                name = "zel_process_totals_all"; // a gauge
            EXPECT_EQ(all.has(name), !known.has(family)) << name;
        }
    }
}

TEST(OpenMetrics, KnownNamesAreWritten) {
    zel::Sample sample = sampleOf(Area::Disks);
    zel::Disk &disk = sample.disks.append();
    disk.name = "vda";
    disk.reads = std::uint64_t{812};
    disk.discardedBytes = std::uint64_t{5120};
    const MetricText metrics = metricsOf(sample);
    EXPECT_EQ(metrics.value("node_disk_reads_completed_total", {{"device", "vda"}}), "812");
    EXPECT_EQ(metrics.value("node_disk_discarded_sectors_total", {{"device", "vda"}}), "10");
    EXPECT_FALSE(metrics.has("node_disk_writes_completed_total")); // absent
}

TEST(OpenMetrics, OwnFamiliesHaveTheKnownLabels) {
    zel::Sample sample = sampleOf(Area::Disks);
    zel::Disk &disk = sample.disks.append();
    disk.name = "vda";
    disk.physicalBlockBytes = std::uint64_t{4096};
    MetricSections sections;
    ASSERT_TRUE(sections.add("disks"));
    EXPECT_EQ(metricsOf(sample, {.sections = sections}).value("zel_disks_physical_block_bytes", {{"device", "vda"}}),
              "4096");
    EXPECT_FALSE(metricsOf(sample).has("zel_disks_physical_block_bytes"));
}

TEST(OpenMetrics, TextsAreOneSeriesOfLabels) {
    zel::Sample sample = sampleOf(Area::Gpus);
    zel::Gpu &gpu = sample.gpus.append();
    gpu.gpu = "card0";
    gpu.driver = std::string("amdgpu");
    sample.gpus.append().gpu = "card1";
    const MetricText metrics = metricsOf(sample);
    const MetricFamily &info = metrics.family("zel_gpus_info");
    ASSERT_EQ(info.series.size(), 1U); // nothing is known of the other one
    EXPECT_EQ(info.series[0].labels.at("gpu"), "card0");
    EXPECT_EQ(info.series[0].labels.at("driver"), "amdgpu");
    EXPECT_EQ(info.series[0].labels.at("firmware"), "");
}

TEST(OpenMetrics, ProcessesThatUseMostAreWritten) {
    zel::Sample sample = sampleOf(Area::Processes);
    for (std::uint64_t pid = 1; pid <= 100; ++pid)
        addProcess(sample, pid, pid * 4096);
    const MetricText metrics = metricsOf(sample, {.processes = 3});
    EXPECT_EQ(metrics.family("zel_processes_resident_bytes").series.size(), 3U);
    const std::map<std::string, std::string> labels{
        {"pid", "100"}, {"name", "p100"}, {"user", "root"}, {"cgroup", "/a.slice"}};
    EXPECT_EQ(metrics.value("zel_processes_resident_bytes", labels), "409600");
    EXPECT_EQ(metrics.family("zel_processes_resident_bytes").series[0].labels.size(), labels.size());
}

TEST(OpenMetrics, SeriesOfProcessesAreBounded) {
    zel::Sample sample = sampleOf(Area::Processes);
    for (std::uint64_t pid = 1; pid <= 300; ++pid) {
        zel::Process &process = addProcess(sample, pid, pid % 3 == 0 ? pid : 0);
        process.userSeconds = pid % 3 == 1 ? 1.0 : 0.0;
        process.readBytes = pid % 3 == 2 ? pid : std::uint64_t{0};
    }
    const MetricText metrics = metricsOf(sample);
    EXPECT_EQ(metrics.family("zel_processes_resident_bytes").series.size(), 3 * zel::METRIC_PROCESSES_DEFAULT);
}

TEST(OpenMetrics, CommandLinesAreWrittenOnlyWhenAskedFor) {
    zel::Sample sample = sampleOf(Area::Processes);
    addProcess(sample, 7, 4096);
    for (const MetricSections &sections : {MetricSections::defaults(), MetricSections::all()}) {
        std::string out;
        zel::MetricsWriter({.sections = sections}).write(sample, nullptr, {}, MetricFormat::PrometheusText, out);
        EXPECT_EQ(out.find("password"), out.npos);
    }
    const MetricText asked = metricsOf(sample, {.commandLines = true});
    EXPECT_EQ(asked.value("zel_processes_info", {{"pid", "7"}, {"command_line", "p --password=x"}}), "1");
}

TEST(OpenMetrics, CgroupsWithoutProcessesAndBeyondTheLimitAreLeftOut) {
    zel::Sample sample = sampleOf(Area::Cgroups);
    for (int number = 0; number < 10; ++number) {
        zel::Cgroup &cgroup = sample.cgroups.append();
        cgroup.path = "/" + std::to_string(number);
        cgroup.populated = std::uint64_t{number != 1};
        cgroup.memorySomeSeconds = 0.5;
    }
    const MetricText metrics = metricsOf(sample, {.cgroups = 4});
    std::string paths;
    for (const MetricSeries &series : metrics.family("zel_cgroups_memory_some_seconds_total").series)
        paths += series.labels.at("path");
    EXPECT_EQ(paths, "/0/2/3/4");
    EXPECT_EQ(metrics.value("zel_cgroups_not_written"), "5");
    EXPECT_EQ(metricsOf(sample).value("zel_cgroups_not_written"), "0");
}

TEST(OpenMetrics, OperationsOfNfsMountsAreBounded) {
    zel::Sample sample = sampleOf(Area::Nfs);
    for (std::uint64_t number = 1; number <= 10; ++number) {
        zel::NfsOperation &operation = sample.nfsOperations.append();
        operation.operation = std::to_string(number);
        operation.operations = number == 3 ? std::uint64_t{1000} : number;
    }
    const MetricText metrics = metricsOf(sample, {.nfsOperations = 4});
    std::string names;
    for (const MetricSeries &series : metrics.family("zel_nfs_operations_operations_total").series)
        names += series.labels.at("operation") + ' ';
    EXPECT_EQ(names, "3 8 9 10 ");
    EXPECT_EQ(metrics.value("zel_nfs_operations_not_written"), "6");
    EXPECT_EQ(metricsOf(sample).value("zel_nfs_operations_not_written"), "0");
}

TEST(OpenMetrics, StuckMountsAreCountedAndNamed) {
    zel::Sample sample = sampleOf(Area::Filesystems);
    EXPECT_EQ(metricsOf(sample).value("zel_stuck_mounts"), "0");
    zel::Filesystem &mount = sample.filesystems.append();
    mount.mountPoint = "/mnt/a";
    mount.device = "server:/a";
    mount.type = "nfs4";
    mount.stuck = std::uint64_t{1};
    mount.stuckSeconds = 12.5;
    const MetricText metrics = metricsOf(sample);
    EXPECT_EQ(metrics.value("zel_stuck_mounts"), "1");
    EXPECT_EQ(metrics.value("zel_stuck_mount_seconds",
                            {{"mountpoint", "/mnt/a"}, {"device", "server:/a"}, {"fstype", "nfs4"}}),
              "12.5");
}

TEST(OpenMetrics, AbsencesAreCountedByAreaAndReason) {
    zel::Sample sample = sampleOf(Area::Load);
    sample.load.load1 = 0.5;
    sample.load.load5 = Absence::Denied;
    const MetricText metrics = metricsOf(sample);
    EXPECT_EQ(metrics.value("zel_absent", {{"area", "load"}, {"reason", "denied"}}), "1");
    EXPECT_EQ(metrics.value("zel_absent", {{"area", "load"}, {"reason", "unsupported"}}), "4");
    EXPECT_EQ(metrics.family("zel_absent").series.size(), 2U);
}

TEST(OpenMetrics, EveryAreaSaysWhatItCost) {
    zel::Sample sample = sampleOf(Area::Load);
    sample.area(Area::Load).costSeconds = 0.25;
    sample.area(Area::Load).silentSeconds = 3;
    sample.realtimeNanoseconds = 1500000000;
    sample.elapsedSeconds = 0.5;
    const MetricText metrics = metricsOf(sample, {.version = "1.2.3"});
    EXPECT_EQ(metrics.value("zel_area_cost_seconds", {{"area", "load"}}), "0.25");
    EXPECT_EQ(metrics.family("zel_area_cost_seconds").series.size(), 1U);
    EXPECT_EQ(metrics.value("zel_area_silent_seconds", {{"area", "load"}}), "3");
    EXPECT_EQ(metrics.value("zel_sample_time_seconds"), "1.5");
    EXPECT_EQ(metrics.value("zel_sample_elapsed_seconds"), "0.5");
    EXPECT_EQ(metrics.value("zel_build_info", {{"version", "1.2.3"}}), "1");
}

TEST(OpenMetrics, OnlyTheNamedAreasAreWritten) {
    const zel::Sample sample = FullSample::make();
    std::string out;
    const Area areas[] = {Area::Disks};
    zel::MetricsWriter({}).write(sample, nullptr, areas, MetricFormat::PrometheusText, out);
    EXPECT_NE(out.find("node_disk_"), out.npos);
    EXPECT_EQ(out.find("zel_processes_"), out.npos);
    EXPECT_EQ(out.find("zel_stuck_mounts"), out.npos);
    EXPECT_EQ(out.find("area=\"load\""), out.npos);
}

// A page must stay one whatever names a host has.
TEST(OpenMetrics, NamesOfAnyBytesAndTwinsGiveAValidPage) {
    const std::string hostile("\"} 1\n# EOF\n\x1b[2J\\\xff\0x", 20);
    const zel::Sample sample = FullSample::withText(hostile);
    for (const MetricFormat format : {MetricFormat::PrometheusText, MetricFormat::OpenMetrics})
        metricsOf(sample, {.sections = MetricSections::all(), .commandLines = true}, nullptr, format);
}

TEST(OpenMetrics, AnEmptySampleIsAValidPage) {
    metricsOf(zel::Sample(), {}, nullptr, MetricFormat::OpenMetrics);
    metricsOf(zel::Sample(), {.sections = MetricSections()});
}

TEST(OpenMetrics, InSteadyStateNothingIsAllocated) {
    zel::Sample earlier = FullSample::make();
    for (std::uint64_t pid = 10; pid < 500; ++pid)
        addProcess(earlier, pid, pid);
    zel::Sample sample = earlier;
    sample.area(Area::Processes).monotonicNanoseconds += 1000000000;
    const zel::Rates rates = zel::between(earlier, sample);
    zel::MetricsWriter writer({.sections = MetricSections::all(), .commandLines = true, .version = "1"});
    for (const zel::Rates *const given : {static_cast<const zel::Rates *>(nullptr), &rates}) {
        std::string out;
        writer.write(sample, given, {}, MetricFormat::OpenMetrics, out);
        out.clear();
        const long before = allocationsSoFar();
        writer.write(sample, given, {}, MetricFormat::OpenMetrics, out);
        EXPECT_EQ(allocationsSoFar(), before) << (given == nullptr ? "without rates" : "with rates");
    }
}

} // namespace

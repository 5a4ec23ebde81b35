// Runs samples and floors in turn, and prints their times, allocations and slopes.
#include "Harness.h"

#include "Allocations.h"
#include "Machine.h"
#include "SystemCalls.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <map>

namespace {

using bench::Family;
using bench::Work;

constexpr double shortestRound = 1000; // microseconds
constexpr long longestBatch = 2000;
constexpr int warmUps = 3;

double cpuMicroseconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) * 1e-3;
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// Microseconds of CPU time per call of `part`.
double timed(const Work &work, const std::function<void()> &part, long batch) {
    if (work.prepare) {
        work.prepare();
        const double start = cpuMicroseconds();
        part();
        return cpuMicroseconds() - start;
    }
    const double start = cpuMicroseconds();
    for (long i = 0; i < batch; ++i)
        part();
    return (cpuMicroseconds() - start) / static_cast<double>(batch);
}

// With something to prepare a round is the mean of single calls.
double timedRound(const Work &work, const std::function<void()> &part, long batch) {
    if (!work.prepare)
        return timed(work, part, batch);
    double sum = 0;
    for (long i = 0; i < batch; ++i)
        sum += timed(work, part, 1);
    return sum / static_cast<double>(batch);
}

long batchOf(const Work &work) {
    double one = 0;
    for (int i = 0; i < warmUps; ++i) {
        timed(work, work.sample, 1);
        one = timed(work, work.floor, 1);
    }
    return std::clamp(static_cast<long>(std::ceil(shortestRound / std::max(one, 0.1))), 1L, longestBatch);
}

long allocationsOf(const Work &work) {
    if (work.prepare)
        work.prepare();
    const long before = bench::allocationCount();
    work.sample();
    return bench::allocationCount() - before;
}

// What is in one row, and from one size to the next in a slope.
struct Row {
    std::string family;
    long size = 0;
    bool pageCache = false;
    double sample = 0;
    double floor = 0;
    double paired = 0;
    double keptFloor = 0; // 0: none
    double pairedToKept = 0;
    double bestSample = 0; // of all rounds: what a slope is made of, as the machine's speed changes between cases
    double bestFloor = 0;
    long calls = 0;
    long floorCalls = 0;
    long allocations = 0;
    double resident = 0;
    double kernelSurplus = 0;
    long reported = 0;
    std::string moreCalls;
};

std::vector<Row> rows;

void printRow(const Row &row) {
    std::printf("%-28s %6ld %11.2f %11.2f %6.3f %6.3f ", row.family.c_str(), row.size, row.sample, row.floor,
                row.sample / row.floor, row.paired);
    if (row.keptFloor > 0)
        std::printf("%11.2f %6.3f", row.keptFloor, row.pairedToKept);
    else
        std::printf("%11s %6s", "-", "-");
    std::printf(" %7ld %7ld %6ld %8.1f", row.calls, row.floorCalls, row.allocations, row.resident);
    if (row.pageCache)
        std::printf("  copy");
    if (row.kernelSurplus > 0)
        std::printf(", with the kernel's share by estimate %.3f",
                    (row.sample + row.kernelSurplus) / (row.floor + row.kernelSurplus));
    if (row.reported != row.size)
        std::printf("  reports %ld", row.reported);
    if (!row.moreCalls.empty())
        std::printf("  calls beyond the floor: %s", row.moreCalls.c_str());
    std::printf("\n");
    std::fflush(stdout);
}

void measure(benchmark::State &state, const Family &family, long size) {
    std::string whyNot = "cannot be set up here";
    const Work work = family.make(size, whyNot);
    if (!work.sample) {
        std::printf("%-28s %6ld skipped: %s\n", family.name.c_str(), size, whyNot.c_str());
        state.SkipWithError(whyNot.c_str());
        return;
    }
    Row row;
    row.family = family.name;
    row.size = size;
    row.pageCache = family.source == bench::Source::PageCache;
    row.kernelSurplus = work.kernelSurplus;
    const long batch = batchOf(work);
    std::vector<double> samples;
    std::vector<double> floors;
    std::vector<double> pairs;
    std::vector<double> keptFloors;
    std::vector<double> pairsToKept;
    for (auto _ : state) {
        const double floor = timedRound(work, work.floor, batch);
        const double kept = work.keptFloor ? timedRound(work, work.keptFloor, batch) : 0;
        const double sample = timedRound(work, work.sample, batch);
        state.SetIterationTime(sample * 1e-6);
        floors.push_back(floor);
        samples.push_back(sample);
        pairs.push_back(sample / floor);
        keptFloors.push_back(kept);
        pairsToKept.push_back(kept > 0 ? sample / kept : 0);
    }
    row.reported = work.measured ? work.measured() : size;
    row.sample = median(samples);
    row.floor = median(floors);
    row.paired = median(pairs);
    row.keptFloor = median(keptFloors);
    row.pairedToKept = median(pairsToKept);
    row.bestSample = *std::min_element(samples.begin(), samples.end());
    row.bestFloor = *std::min_element(floors.begin(), floors.end());
    row.allocations = allocationsOf(work);
    row.resident = bench::residentMebibytes();
    const auto sampleCalls = bench::countSystemCalls(work.sample);
    const auto floorCalls = bench::countSystemCalls(work.floor);
    row.calls = bench::totalOf(sampleCalls);
    row.floorCalls = bench::totalOf(floorCalls);
    row.moreCalls = bench::differenceOf(sampleCalls, floorCalls);
    printRow(row);
    rows.push_back(row);
    state.counters["floor_us"] = row.floor;
    state.counters["ratio"] = row.sample / row.floor;
    state.counters["paired"] = row.paired;
    state.counters["kept_floor_us"] = row.keptFloor;
    state.counters["calls"] = static_cast<double>(row.calls);
    state.counters["floor_calls"] = static_cast<double>(row.floorCalls);
    state.counters["allocs"] = static_cast<double>(row.allocations);
    state.counters["rss_mib"] = row.resident;
}

// Google Benchmark runs and filters the cases; the rows are printed above, as they come.
class Table : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context &) override {
        for (const auto &[name, value] : bench::machineFacts())
            std::printf("%-10s %s\n", name.c_str(), value.c_str());
        std::printf("%-10s %s\n", "load", bench::loadAverages().c_str());
        std::printf("%-10s %d of >= 1 ms, floor and sample in turn; CPU time\n", "rounds", bench::ROUNDS);
#ifndef __OPTIMIZE__
        std::printf("WARNING: built without optimisation, the figures mean nothing\n");
#endif
        std::printf("\n%-28s %6s %11s %11s %6s %6s %11s %6s %7s %7s %6s %8s\n", "case", "size", "sample us", "floor us",
                    "ratio", "paired", "kept us", "to it", "calls", "floor", "allocs", "rss MiB");
        return true;
    }

    void ReportRuns(const std::vector<Run> &) override {}

    void Finalize() override {
        std::map<std::string, std::pair<const Row *, const Row *>> ends;
        for (const Row &row : rows) {
            auto &[first, last] = ends[row.family];
            if (first == nullptr || row.size < first->size)
                first = &row;
            if (last == nullptr || row.size > last->size)
                last = &row;
        }
        bool headed = false;
        for (const auto &[family, end] : ends) {
            const auto &[first, last] = end;
            if (first->size == last->size)
                continue;
            if (!headed)
                std::printf("\n%-28s %13s %11s %11s %6s\n", "slope per unit", "sizes", "sample us", "floor us",
                            "ratio");
            headed = true;
            const auto units = static_cast<double>(last->size - first->size);
            const double sample = (last->bestSample - first->bestSample) / units;
            const double floor = (last->bestFloor - first->bestFloor) / units;
            const std::string sizes = std::to_string(first->size) + "-" + std::to_string(last->size);
            std::printf("%-28s %13s %11.4f %11.4f %6.3f%s\n", family.c_str(), sizes.c_str(), sample, floor,
                        sample / floor, first->pageCache ? "  copy" : "");
        }
        std::printf("\nload at the end %s\n", bench::loadAverages().c_str());
    }
};

} // namespace

namespace bench {

void add(const std::vector<Family> &families) {
    std::vector<long> sizes;
    for (const Family &family : families)
        sizes.insert(sizes.end(), family.sizes.begin(), family.sizes.end());
    std::sort(sizes.begin(), sizes.end());
    sizes.erase(std::unique(sizes.begin(), sizes.end()), sizes.end());
    for (const long size : sizes) {
        for (const Family &family : families) {
            if (std::find(family.sizes.begin(), family.sizes.end(), size) == family.sizes.end())
                continue;
            benchmark::RegisterBenchmark((family.name + "/" + std::to_string(size)).c_str(),
                                         [family, size](benchmark::State &state) { measure(state, family, size); })
                ->Iterations(ROUNDS)
                ->UseManualTime()
                ->Unit(benchmark::kMicrosecond);
        }
    }
}

int run(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    Table table;
    benchmark::RunSpecifiedBenchmarks(&table);
    return 0;
}

void keep(const void *result) {
    benchmark::DoNotOptimize(result);
}

} // namespace bench

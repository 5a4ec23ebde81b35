// Whole samples of the typed model. Without processes beside their own system calls alone, made again in the same
// order; with processes, which sleep in a pid namespace of the program's own (needs root), beside the fresh floor: the
// list of /proc and 13 calls per process (one stat; open, read and close of stat, statm, io and cmdline). Each format
// beside a copy of its text.
#include "Floor.h"
#include "Harness.h"
#include "OwnHost.h"
#include "Replay.h"
#include "export/Json.h"
#include "export/LineProtocol.h"
#include "export/OpenMetrics.h"
#include "host/DirectoryWalk.h"
#include "host/Sampler.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

constexpr std::size_t textRoom = 10240;
constexpr int keptPerProcess = 4;
constexpr int keptBeside = 200; // files that are none of a process
constexpr int warmUps = 10;     // until every cgroup was read, and every file stays open

bench::Sleepers *sleepers = nullptr;

void floorOfProcess(int proc, const char *pid) {
    struct stat status;
    if (fstatat(proc, pid, &status, 0) != 0)
        return;
    char path[64];
    const std::size_t length = strnlen(pid, 16);
    std::memcpy(path, pid, length);
    for (const char *name : {"/stat", "/statm", "/io", "/cmdline"}) {
        std::strcpy(path + length, name);
        bench::readOnceAt(proc, path, textRoom);
    }
}

void floorOfProcesses() {
    static zel::DirectoryRoom<32768> room;
    zel::DirectoryWalk walk("/proc", room);
    while (const char *name = walk.next()) {
        if (name[0] >= '0' && name[0] <= '9')
            floorOfProcess(walk.descriptor(), name);
    }
}

// What a sample needs from one run to the next.
struct Host {
    zel::Sampler sampler;
    zel::Sample sample;

    explicit Host(zel::Options options) : sampler(std::move(options)) {
        for (int i = 0; i < warmUps; ++i)
            sampler.take(sample);
    }
};

std::vector<zel::Area> allButProcesses() {
    std::vector<zel::Area> areas;
    for (std::size_t area = 0; area < zel::AREA_COUNT; ++area) {
        if (static_cast<zel::Area>(area) != zel::Area::Processes)
            areas.push_back(static_cast<zel::Area>(area));
    }
    return areas;
}

bench::Work wholeWork(std::vector<zel::Area> areas, std::string &whyNot) {
    auto host = std::make_shared<Host>(zel::Options{.areas = std::move(areas)});
    bench::Work work;
    work.sample = [host] { host->sampler.take(host->sample); };
    auto replay = std::make_shared<bench::Replay>(work.sample);
    if (replay->empty()) {
        whyNot = "the machine lets nobody trace";
        return {};
    }
    if (!replay->leftOut().empty())
        std::printf("the floor lacks: %s\n", replay->leftOut().c_str());
    work.floor = [replay] { (*replay)(); };
    return work;
}

bench::Family wholeFamily(const char *name, std::vector<zel::Area> areas) {
    return {name, bench::Source::Kernel, {1}, [areas](long, std::string &whyNot) { return wholeWork(areas, whyNot); }};
}

bool bringTo(long size, std::string &whyNot) {
    whyNot = "the machine refuses so many processes";
    return sleepers->bringTo(size - 1); // this process is one of them
}

enum class Areas { Processes, All };

bench::Family processFamily(const char *name, Areas areas, bool kept) {
    return {name, bench::Source::Kernel, {100, 1000, 5000}, [areas, kept](long size, std::string &whyNot) {
                bench::Work work;
                if (!bringTo(size, whyNot))
                    return work;
                const int files = kept ? static_cast<int>(size) * keptPerProcess + keptBeside : 0;
                auto host = std::make_shared<Host>(zel::Options{
                    .areas = areas == Areas::All ? std::vector<zel::Area>{} : std::vector{zel::Area::Processes},
                    .keptFiles = files});
                work.sample = [host] { host->sampler.take(host->sample); };
                work.floor = floorOfProcesses;
                work.measured = [host] { return static_cast<long>(host->sample.processes.size()); };
                return work;
            }};
}

// A sample as a text, beside a copy of the text.
bench::Family textFamily(const char *name, std::function<void(const zel::Sample &, std::string &)> write,
                         std::vector<zel::Area> areas) {
    return {name, bench::Source::PageCache, {1000}, [write, areas](long size, std::string &whyNot) {
                bench::Work work;
                if (!bringTo(size, whyNot))
                    return work;
                auto host = std::make_shared<Host>(zel::Options{.areas = areas});
                auto text = std::make_shared<std::string>();
                auto copy = std::make_shared<std::string>();
                work.sample = [host, text, write] {
                    text->clear();
                    write(host->sample, *text);
                    bench::keep(text->data());
                };
                work.sample();
                std::printf("%ld lines, %zu bytes\n", std::count(text->begin(), text->end(), '\n'), text->size());
                work.floor = [text, copy] {
                    copy->assign(*text);
                    bench::keep(copy->data());
                };
                return work;
            }};
}

bench::Family jsonFamily(const char *name, std::vector<zel::Area> areas) {
    return textFamily(
        name, [](const zel::Sample &sample, std::string &out) { zel::writeJson(sample, {}, out); }, std::move(areas));
}

bench::Family metricsFamily(const char *name, const zel::MetricSections &sections) {
    auto writer = std::make_shared<zel::MetricsWriter>(zel::MetricOptions{.sections = sections});
    return textFamily(name,
                      [writer](const zel::Sample &sample, std::string &out) {
                          writer->write(sample, nullptr, {}, zel::MetricFormat::PrometheusText, out);
                      },
                      {});
}

bench::Family lineFamily() {
    auto writer = std::make_shared<zel::LineWriter>();
    return textFamily(
        "host/line protocol",
        [writer](const zel::Sample &sample, std::string &out) { writer->write(sample, nullptr, {}, "host", out); }, {});
}

void raiseDescriptorLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace

int main(int argc, char **argv) {
    bench::enterOwnProcesses();
    raiseDescriptorLimit();
    bench::Sleepers own;
    sleepers = &own;
    bench::add({wholeFamily("host/all but processes", allButProcesses()),
                processFamily("host/processes, all kept", Areas::Processes, true),
                processFamily("host/processes, none kept", Areas::Processes, false),
                processFamily("host/all, all kept", Areas::All, true),
                jsonFamily("host/json of processes", {zel::Area::Processes}), jsonFamily("host/json", {}),
                metricsFamily("host/metrics", zel::MetricSections::defaults()),
                metricsFamily("host/metrics of all sections", zel::MetricSections::all()), lineFamily()});
    return bench::run(argc, argv);
}

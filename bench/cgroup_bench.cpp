// Control groups of the typed model, made in the machine's own tree (needs root), beside the fresh floor (open, read
// and close of the files that a sample reads) and the kept one. Also the rates of two samples beside a copy of one.
#include "Floor.h"
#include "Harness.h"
#include "OwnCgroups.h"
#include "host/Rates.h"
#include "host/Sampler.h"
#include "host/areas/CgroupParse.h"

#include <memory>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr std::size_t textRoom = 16384;
constexpr int warmUps = 3; // until every file stays open

bench::OwnCgroups *groups = nullptr;

std::vector<std::string> filesOfASample() {
    std::vector<std::string> files;
    for (const std::string &directory : bench::OwnCgroups::directories()) {
        for (std::size_t index = 0; index < zel::CGROUP_FILES_OF_EACH_SAMPLE; ++index) {
            const auto file = static_cast<zel::CgroupFile>(index);
            std::string path = directory + '/' + zel::cgroupFileName(file);
            if (file != zel::CgroupFile::Stat && access(path.c_str(), R_OK) == 0)
                files.push_back(std::move(path));
        }
    }
    return files;
}

void addFloors(bench::Work &work) {
    const auto files = std::make_shared<std::vector<std::string>>(filesOfASample());
    const auto open = std::make_shared<std::vector<bench::OpenFile>>();
    for (const std::string &file : *files)
        open->emplace_back(file.c_str());
    work.floor = [files] {
        for (const std::string &file : *files)
            bench::readKernelFile(file.c_str(), textRoom);
    };
    work.keptFloor = [open] {
        for (const bench::OpenFile &file : *open)
            file.readKernelFile(textRoom);
    };
}

struct Host {
    zel::Sampler sampler;
    zel::Sample before, now;
    zel::Rates rates;

    explicit Host(int keptFiles) : sampler({.areas = {zel::Area::Cgroups}, .keptFiles = keptFiles}) {
        for (int i = 0; i < warmUps; ++i)
            sampler.take(before);
        now = before;
    }
};

bench::Family sampleFamily(const char *name, int keptFiles) {
    return {name, bench::Source::Kernel, {100, 1000}, [keptFiles](long size, std::string &whyNot) {
                bench::Work work;
                whyNot = "no cgroups of version 2 can be made";
                if (!groups->bringTo(size))
                    return work;
                const auto host = std::make_shared<Host>(keptFiles);
                work.sample = [host] { host->sampler.take(host->now); };
                work.measured = [host] { return static_cast<long>(host->now.cgroups.size()); };
                addFloors(work);
                return work;
            }};
}

bench::Family ratesFamily() {
    return {"cgroups/rates", bench::Source::PageCache, {1000}, [](long size, std::string &whyNot) {
                bench::Work work;
                whyNot = "no cgroups of version 2 can be made";
                if (!groups->bringTo(size))
                    return work;
                const auto host = std::make_shared<Host>(0);
                const auto copy = std::make_shared<zel::Rates>();
                zel::between(host->before, host->now, host->rates);
                work.sample = [host] { zel::between(host->before, host->now, host->rates); };
                work.floor = [host, copy] { copy->counters = host->rates.counters; };
                return work;
            }};
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
    raiseDescriptorLimit();
    bench::OwnCgroups own;
    groups = &own;
    constexpr int all = 1 << 20;
    bench::add({sampleFamily("cgroups, all kept", all), sampleFamily("cgroups, none kept", 0), ratesFamily()});
    return bench::run(argc, argv);
}

// A Fibre Channel gather beside its floor: the same directory listed and the same files opened, read and closed, with
// no path building, parsing, rating or rendering. Ports stand in a generated host below the temporary directory.
#include "HostRoot.h"
#include "MM_HBA_Info.h"
#include "ScopedHandle.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr const char *portFiles[] = {"port_name",
                                     "statistics/fcp_input_megabytes",
                                     "statistics/fcp_output_megabytes",
                                     "statistics/fcp_input_requests",
                                     "statistics/fcp_output_requests",
                                     "port_state"};

void writeFile(const fs::path &file, const std::string &text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text << '\n';
}

// A host with Fibre Channel ports, removed at the end.
class PortHost {
public:
    explicit PortHost(int ports) {
        std::string pattern = (fs::temp_directory_path() / "zel-bench-XXXXXX").string();
        m_root = mkdtemp(pattern.data());
        m_directory = m_root / "sys/class/fc_host";
        for (int port = 0; port < ports; ++port)
            addPort(m_directory / ("host" + std::to_string(port)), port);
        std::snprintf(g_strHostRoot, sizeof(g_strHostRoot), "%s", m_root.c_str());
    }
    ~PortHost() {
        g_strHostRoot[0] = '\0';
        fs::remove_all(m_root);
    }
    PortHost(const PortHost &) = delete;
    PortHost &operator=(const PortHost &) = delete;

    const fs::path &directory() const { return m_directory; }
    const std::vector<std::string> &files() const { return m_files; }

private:
    void addPort(const fs::path &port, int number) {
        for (const char *file : portFiles) {
            const std::string name = file;
            std::string text = "0x" + std::to_string(1000000 + number);
            if (name == "port_name")
                text = "0x21000024ff" + std::to_string(100000 + number);
            else if (name == "port_state")
                text = "Online";
            writeFile(port / name, text);
            m_files.push_back((port / name).string());
        }
    }

    fs::path m_root;
    fs::path m_directory;
    std::vector<std::string> m_files;
};

void reportPorts(benchmark::State &state) {
    state.counters["ports"] = static_cast<double>(state.range(0));
    state.counters["per_port"] =
        benchmark::Counter(static_cast<double>(state.range(0)),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void portFloor(benchmark::State &state) {
    const PortHost host(static_cast<int>(state.range(0)));
    char text[HBA_LINE_SIZE];
    for (auto _ : state) {
        const zel::ScopedDirectory directory(opendir(host.directory().c_str()));
        while (const dirent *entry = readdir(directory.get()))
            benchmark::DoNotOptimize(entry);
        for (const std::string &path : host.files()) {
            const zel::ScopedDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
            benchmark::DoNotOptimize(read(file.get(), text, sizeof(text) - 1));
        }
    }
    reportPorts(state);
}
BENCHMARK(portFloor)->Name("hba/floor")->Arg(2)->Arg(64);

void portGather(benchmark::State &state) {
    const PortHost host(static_cast<int>(state.range(0)));
    CMM_HBA_Info ports;
    ports.fGatherHBAZel();
    for (auto _ : state)
        benchmark::DoNotOptimize(ports.fGatherHBAZel());
    if (ports.m_nHBACount != state.range(0))
        state.SkipWithError("not every port has a row");
    reportPorts(state);
}
BENCHMARK(portGather)->Name("hba/gather")->Arg(2)->Arg(64);

} // namespace

BENCHMARK_MAIN();

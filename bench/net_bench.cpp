// A pass of the interface collector beside its floor, over real interfaces: veth pairs in a network namespace that the
// program makes for itself (needs root and the program ip). The floors are the system calls of a pass with nothing
// parsed: the table opened, read and closed; in text mode also a socket and the question for the state of every link.
//
//   build/bin/net_bench --benchmark_min_time=1
#include "InterfaceReader.h"
#include "MM_NWT_Info.h"
#include "Settings.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <net/if.h>
#include <sched.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr int textMode = 1;
constexpr int listMode = 0;

bool ownNamespace = false;
int interfacesMade = 0;

std::string interfaceName(int number) {
    return "veth" + std::to_string(number);
}

// Brings the namespace to `count` interfaces beside the loopback. The cases run in ascending order.
bool haveInterfaces(benchmark::State &state) {
    const int count = static_cast<int>(state.range(0));
    if (!ownNamespace) {
        state.SkipWithError("needs a network namespace of its own (root)");
        return false;
    }
    if (interfacesMade >= count)
        return interfacesMade == count;
    std::FILE *batch = popen("ip -batch - 2>/dev/null", "w");
    if (batch == nullptr)
        return false;
    for (; interfacesMade < count; interfacesMade += 2)
        std::fprintf(batch, "link add %s up type veth peer name %s\nlink set %s up\n",
                     interfaceName(interfacesMade).c_str(), interfaceName(interfacesMade + 1).c_str(),
                     interfaceName(interfacesMade + 1).c_str());
    if (pclose(batch) == 0)
        return true;
    state.SkipWithError("ip could not make veth interfaces");
    return false;
}

std::size_t readTable() {
    static char buffer[65536];
    std::size_t total = 0;
    const int descriptor = open("/proc/net/dev", O_RDONLY);
    for (ssize_t count; (count = read(descriptor, buffer, sizeof(buffer))) > 0;)
        total += static_cast<std::size_t>(count);
    close(descriptor);
    return total;
}

void floorOfList(benchmark::State &state) {
    if (!haveInterfaces(state))
        return;
    for (auto _ : state)
        benchmark::DoNotOptimize(readTable());
}

void floorOfText(benchmark::State &state) {
    if (!haveInterfaces(state))
        return;
    const int count = static_cast<int>(state.range(0));
    std::vector<ifreq> requests(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        std::strcpy(requests[static_cast<std::size_t>(i)].ifr_name, interfaceName(i).c_str());
    for (auto _ : state) {
        benchmark::DoNotOptimize(readTable());
        const int descriptor = socket(AF_INET, SOCK_DGRAM, 0);
        for (ifreq &request : requests)
            benchmark::DoNotOptimize(ioctl(descriptor, SIOCGIFFLAGS, &request));
        close(descriptor);
    }
}

void pass(benchmark::State &state, int mode) {
    if (!haveInterfaces(state))
        return;
    g_nInterfaceStrType = mode;
    g_nLinuxBandwidthFlag = 1;
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, -1);
    for (auto _ : state)
        benchmark::DoNotOptimize(collector.fMGetNetworkStat(1.0, -1));
    if (collector.m_nIfCnt != state.range(0))
        state.SkipWithError("the pass did not report every interface");
}

void listPass(benchmark::State &state) {
    pass(state, listMode);
}

void textPass(benchmark::State &state) {
    pass(state, textMode);
}

// The same with an inventory of all interfaces, each of which is marked.
void textPassWithInventory(benchmark::State &state) {
    if (!haveInterfaces(state))
        return;
    g_nInterfaceStrType = textMode;
    g_nNetworkExtGather = 1;
    CMM_NWT_Info collector;
    for (int i = 0; i < state.range(0); ++i)
        collector.m_pclNetworkExtList->fAddLinkedList(interfaceName(i).c_str());
    collector.fMGetNetworkStat(1.0, 0);
    for (auto _ : state)
        benchmark::DoNotOptimize(collector.fMGetNetworkStat(1.0, 0));
    g_nNetworkExtGather = 0;
}

// One line of the table beside sscanf with the format that says what the line holds.
constexpr const char *sampleLine = "  eth0: 18687536123     491234567    0    0    0     0          0         0 "
                                   "2525912345678     301234567    0    0    0     0       0          0\n";

void parseLine(benchmark::State &state) {
    char name[INTERFACE_NAME_SIZE];
    user_net_device_stats stats{};
    for (auto _ : state) {
        zel::parseInterfaceCounters(INTERFACE_LAYOUT_COMPRESSED, zel::takeInterfaceName(sampleLine, name), stats);
        benchmark::DoNotOptimize(stats);
    }
}

void scanfLine(benchmark::State &state) {
    user_net_device_stats s{};
    const char *text = std::strchr(sampleLine, ':') + 1;
    for (auto _ : state) {
        std::sscanf(text, "%llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu",
                    &s.rx_bytes, &s.rx_packets, &s.rx_errors, &s.rx_dropped, &s.rx_fifo_errors, &s.rx_frame_errors,
                    &s.rx_compressed, &s.rx_multicast, &s.tx_bytes, &s.tx_packets, &s.tx_errors, &s.tx_dropped,
                    &s.tx_fifo_errors, &s.collisions, &s.tx_carrier_errors, &s.tx_compressed);
        benchmark::DoNotOptimize(s);
    }
}

BENCHMARK(parseLine);
BENCHMARK(scanfLine);

} // namespace

int main(int argc, char **argv) {
    ownNamespace = unshare(CLONE_NEWNET) == 0;
    // A home without scripts: what the constructor runs finds nothing.
    char home[] = "/tmp/net_bench.XXXXXX";
    if (mkdtemp(home) == nullptr)
        return 1;
    fs::create_directories(fs::path(home) / "aproc/shell");
    fs::create_directories(fs::path(home) / "bin");
    fs::current_path(fs::path(home) / "bin");
    for (const int count : {4, 100, 500}) {
        const std::pair<const char *, void (*)(benchmark::State &)> cases[] = {
            {"floorOfList", floorOfList},
            {"listPass", listPass},
            {"floorOfText", floorOfText},
            {"textPass", textPass},
            {"textPassWithInventory", textPassWithInventory}};
        for (const auto &[name, function] : cases)
            benchmark::RegisterBenchmark(name, function)->Arg(count);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    fs::current_path("/");
    fs::remove_all(home);
    return 0;
}

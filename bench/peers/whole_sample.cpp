// A whole sample of the typed model beside one scrape of Debian's prometheus-node-exporter, on the same host in the
// same minute. Built and run by bench/scrape.sh, which starts the exporter.
//
//   whole_sample PID PORT [REST]        of the exporter, on 127.0.0.1
//
// Both rest for REST milliseconds (100) between two turns, so that each finds its caches as cold as the other. CPU time
// is that of all threads; that of the exporter includes its rest, so that nothing it does late is lost.
#include "Machine.h"
#include "export/Json.h"
#include "host/Sampler.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr int warmUps = 10; // until every file that stays open is open
constexpr int rounds = 60;
constexpr int restDefault = 100;

std::chrono::milliseconds rest{restDefault};

double microsecondsOf(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) * 1e-3;
}

// The bytes of the answer; 0 when there is none.
std::size_t scrape(int port) {
    constexpr std::string_view request = "GET /metrics HTTP/1.0\r\nHost: localhost\r\n\r\n";
    const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::size_t total = 0;
    if (connect(connection, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 &&
        write(connection, request.data(), request.size()) == static_cast<ssize_t>(request.size())) {
        static char room[65536];
        for (ssize_t got = 0; (got = read(connection, room, sizeof room)) > 0;)
            total += static_cast<std::size_t>(got);
    }
    close(connection);
    return total;
}

// What takes a turn in each round.
struct Contender {
    const char *name;
    clockid_t clock;
    std::function<void()> turn;
    std::vector<double> times = {};

    void measure() {
        const double before = microsecondsOf(clock);
        turn();
        if (clock != CLOCK_PROCESS_CPUTIME_ID)
            std::this_thread::sleep_for(rest);
        times.push_back(microsecondsOf(clock) - before);
        std::this_thread::sleep_for(rest);
    }
    double mean() const {
        double sum = 0;
        for (const double time : times)
            sum += time;
        return sum / static_cast<double>(times.size());
    }
    double median() const {
        std::vector<double> sorted = times;
        std::sort(sorted.begin(), sorted.end());
        return sorted[sorted.size() / 2];
    }
};

struct Host {
    zel::Sampler sampler;
    zel::Sample sample;
    std::string text;

    explicit Host(std::vector<zel::Area> areas) : sampler({.areas = std::move(areas)}) {
        for (int i = 0; i < warmUps; ++i)
            sampler.take(sample);
    }
    void take() { sampler.take(sample); }
    void takeAsJson() {
        take();
        text.clear();
        zel::writeJson(sample, {}, text);
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

void print(const std::vector<Contender> &contenders, std::size_t processes) {
    for (const auto &[name, value] : bench::machineFacts())
        std::printf("%-10s %s\n", name.c_str(), value.c_str());
    std::printf("%-10s %s\n%-10s %zu\n%-10s %d rounds\n\n", "load", bench::loadAverages().c_str(), "processes",
                processes, "turns", rounds);
    std::printf("%-40s %11s %11s %9s\n", "CPU time of one", "mean", "median", "share");
    for (const Contender &contender : contenders)
        std::printf("%-40s %8.0f us %8.0f us %9.3f\n", contender.name, contender.mean(), contender.median(),
                    contender.mean() / contenders.front().mean());
}

} // namespace

int main(int argc, char **argv) {
    const int port = argc > 2 ? std::atoi(argv[2]) : 0;
    rest = std::chrono::milliseconds(argc > 3 ? std::atoi(argv[3]) : restDefault);
    clockid_t exporter{};
    if (port == 0 || clock_getcpuclockid(std::atoi(argv[1]), &exporter) != 0) {
        std::fprintf(stderr, "usage: whole_sample PID PORT [REST], of a running exporter\n");
        return 2;
    }
    for (int i = 0; i < warmUps; ++i) {
        if (scrape(port) == 0) {
            std::fprintf(stderr, "whole_sample: the exporter does not answer\n");
            return 1;
        }
    }
    Host without(allButProcesses()), all({}), json({});
    std::vector<Contender> contenders{
        {"scrape of prometheus-node-exporter", exporter, [port] { scrape(port); }},
        {"sample without processes", CLOCK_PROCESS_CPUTIME_ID, [&without] { without.take(); }},
        {"sample with processes", CLOCK_PROCESS_CPUTIME_ID, [&all] { all.take(); }},
        {"sample with processes, and its JSON", CLOCK_PROCESS_CPUTIME_ID, [&json] { json.takeAsJson(); }}};
    for (int round = 0; round < rounds; ++round) {
        for (Contender &contender : contenders)
            contender.measure();
    }
    print(contenders, all.sample.processes.size());
    return 0;
}

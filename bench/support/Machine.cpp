// Reads the machine, kernel, compiler and load that a figure depends on.
#include "Machine.h"

#include <fstream>
#include <sstream>
#include <sys/utsname.h>
#include <unistd.h>

namespace {

std::string processorModel() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("model name"))
            return line.substr(line.find(':') + 2);
    }
    return "unknown";
}

std::string memorySize() {
    std::ifstream file("/proc/meminfo");
    std::string key;
    unsigned long kilobytes = 0;
    file >> key >> kilobytes;
    return std::to_string(kilobytes / 1024) + " MiB";
}

} // namespace

namespace bench {

std::vector<std::pair<std::string, std::string>> machineFacts() {
    utsname system{};
    uname(&system);
    const std::string processors = std::to_string(sysconf(_SC_NPROCESSORS_ONLN));
    return {
        {"processor", processors + " x " + processorModel()},
        {"memory", memorySize()},
        {"kernel", std::string(system.release) + " " + system.machine},
        {"compiler", "g++ " __VERSION__},
        {"flags", ZEL_BENCH_FLAGS},
    };
}

std::string loadAverages() {
    std::ifstream file("/proc/loadavg");
    std::string one;
    std::string five;
    std::string fifteen;
    file >> one >> five >> fifteen;
    return one + " " + five + " " + fifteen;
}

double residentMebibytes() {
    std::ifstream file("/proc/self/statm");
    long size = 0;
    long resident = 0;
    file >> size >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

} // namespace bench

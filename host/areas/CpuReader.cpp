// Reads the times of the processors, and of each its frequency and throttle counts.
#include "host/areas/AreaReader.h"
#include "host/source/Attribute.h"
#include "text/NumberScan.h"

#include <deque>
#include <unistd.h>

namespace zel {

namespace {

constexpr double hertzPerKilohertz = 1000;

// A number beyond any machine: a file that states it is not believed.
constexpr std::uint64_t processorLimit = 65536;

// The ten modes in the order of the kernel's columns.
template<class Row>
constexpr Number Row::*modes[] = {&Row::userSeconds,   &Row::niceSeconds,     &Row::systemSeconds,  &Row::idleSeconds,
                                  &Row::iowaitSeconds, &Row::irqSeconds,      &Row::softirqSeconds, &Row::stealSeconds,
                                  &Row::guestSeconds,  &Row::guestNiceSeconds};

// Sample: cpu0 29480 9079 11885 104833 260 0 19 312 0 0
// A kernel that has fewer columns leaves the rest unsupported.
template<class Row> void takeModes(const char *cursor, double ticksPerSecond, Row &row) {
    for (Number Row::*mode : modes<Row>) {
        unsigned long long ticks = 0;
        row.*mode = scanPlain(cursor, ticks) ? Number(static_cast<double>(ticks) / ticksPerSecond)
                                             : Number(Absence::Unsupported);
    }
}

std::string attributePath(std::uint64_t cpu, const char *attribute) {
    return "sys/devices/system/cpu/cpu" + std::to_string(cpu) + '/' + attribute;
}

// The files of one processor below /sys.
struct ProcessorFiles {
    Attribute frequency, frequencyMin, frequencyMax, coreThrottles, packageThrottles;

    explicit ProcessorFiles(std::uint64_t cpu)
        : frequency(attributePath(cpu, "cpufreq/scaling_cur_freq")),
          frequencyMin(attributePath(cpu, "cpufreq/cpuinfo_min_freq")),
          frequencyMax(attributePath(cpu, "cpufreq/cpuinfo_max_freq")),
          coreThrottles(attributePath(cpu, "thermal_throttle/core_throttle_count")),
          packageThrottles(attributePath(cpu, "thermal_throttle/package_throttle_count")) {}

    void read(const HostDirectory &root, Processor &processor) {
        processor.frequencyHertz = frequency.scaled(root, hertzPerKilohertz);
        processor.frequencyMinHertz = frequencyMin.scaled(root, hertzPerKilohertz);
        processor.frequencyMaxHertz = frequencyMax.scaled(root, hertzPerKilohertz);
        processor.coreThrottles = coreThrottles.number(root);
        processor.packageThrottles = packageThrottles.number(root);
    }
};

class CpuReader : public AreaReader {
public:
    void read(Take &take) override {
        Sample &sample = take.sample;
        if (const int error = take.stat.read(take.root); error != 0)
            return loseArea(sample, Area::Cpu, error, take.stat.file().path());
        parseStat(take.stat.file().text().data(), sample);
        addOffline(take.root, sample);
        for (Processor &processor : sample.processors)
            filesOf(processor.cpu).read(take.root, processor);
    }

private:
    // The lines of the processors are the first ones of the file.
    void parseStat(const char *line, Sample &sample) const {
        forget(sample.cpu, Absence::Malformed);
        sample.processors.clear();
        for (; line[0] == 'c' && line[1] == 'p' && line[2] == 'u'; line = nextLine(line)) {
            const char *cursor = line + 3;
            unsigned long long number = 0;
            if (*cursor == ' ') {
                takeModes(cursor, m_ticksPerSecond, sample.cpu);
                continue;
            }
            if (!scanPlain(cursor, number) || number >= processorLimit)
                continue;
            Processor &processor = sample.processors.append();
            processor.cpu = number;
            processor.online = 1;
            takeModes(cursor, m_ticksPerSecond, processor);
        }
        sample.cpu.online = sample.processors.size();
        sample.cpu.present = sample.processors.size();
    }

    // Sample: 0-1,4
    // What is present and not in the times is offline. Without the file all that have times are all there are.
    void addOffline(const HostDirectory &root, Sample &sample) {
        if (m_present.read(root) != 0)
            return;
        const std::size_t online = sample.processors.size();
        std::uint64_t present = 0;
        const char *cursor = m_present.text().data();
        for (unsigned long long first = 0; scanPlain(cursor, first); cursor += *cursor == ',') {
            unsigned long long last = first;
            if (*cursor == '-' && !scanPlain(++cursor, last))
                return;
            for (; first <= last && first < processorLimit; ++first, ++present) {
                if (!isOnline(sample, online, first))
                    addProcessor(sample, first);
            }
        }
        sample.cpu.present = present;
    }

    // The kernel lists the processors in ascending order.
    static bool isOnline(const Sample &sample, std::size_t online, std::uint64_t cpu) {
        std::size_t first = 0;
        for (std::size_t last = online; first < last;) {
            const std::size_t middle = first + (last - first) / 2;
            if (sample.processors[middle].cpu < cpu)
                first = middle + 1;
            else
                last = middle;
        }
        return first < online && sample.processors[first].cpu == cpu;
    }

    static void addProcessor(Sample &sample, std::uint64_t cpu) {
        Processor &processor = sample.processors.append();
        processor.cpu = cpu;
        forget(processor, Absence::Unsupported);
        processor.online = 0;
    }

    ProcessorFiles &filesOf(std::uint64_t cpu) {
        while (m_processors.size() <= cpu)
            m_processors.emplace_back(m_processors.size());
        return m_processors[cpu];
    }

    const double m_ticksPerSecond = static_cast<double>(sysconf(_SC_CLK_TCK));
    SourceFile m_present{"sys/devices/system/cpu/present"};
    std::deque<ProcessorFiles> m_processors; // by number
};

} // namespace

std::unique_ptr<AreaReader> cpuReader() {
    return std::make_unique<CpuReader>();
}

} // namespace zel

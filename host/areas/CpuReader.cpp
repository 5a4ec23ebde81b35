// Reads the times of the processors, and of each its frequency and throttle counts.
#include "host/areas/AreaReader.h"
#include "host/source/Attribute.h"
#include "host/source/LineScan.h"

#include <unistd.h>
#include <vector>

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
// A kernel that has fewer columns leaves the rest unsupported. False when a column is no number.
template<class Row> bool takeModes(const char *cursor, double ticksPerSecond, Row &row) {
    Absence missing = Absence::Unsupported;
    for (Number Row::*mode : modes<Row>) {
        if (missing == Absence::Unsupported && !endsLine(*skipSpaces(cursor))) {
            const Count ticks = takeCount(cursor);
            if (ticks) {
                row.*mode = static_cast<double>(*ticks) / ticksPerSecond;
                continue;
            }
            missing = Absence::Malformed;
        }
        row.*mode = missing;
    }
    return missing == Absence::Unsupported && row.userSeconds.has();
}

std::string attributePath(std::uint64_t cpu, const char *attribute) {
    return "sys/devices/system/cpu/cpu" + std::to_string(cpu) + '/' + attribute;
}

// The files of one processor below /sys. Where the first of a directory is missing, the directory is. The limits of the
// frequency change only when somebody sets them, so they are read now and then.
class ProcessorFiles {
public:
    explicit ProcessorFiles(std::uint64_t cpu)
        : m_frequency(attributePath(cpu, "cpufreq/scaling_cur_freq")),
          m_frequencyMin(attributePath(cpu, "cpufreq/cpuinfo_min_freq"), KeptScope::Never),
          m_frequencyMax(attributePath(cpu, "cpufreq/cpuinfo_max_freq"), KeptScope::Never),
          m_coreThrottles(attributePath(cpu, "thermal_throttle/core_throttle_count")),
          m_packageThrottles(attributePath(cpu, "thermal_throttle/package_throttle_count")) {}

    void read(Take &take, Processor &processor) {
        processor.frequencyHertz = hertz(take, m_frequency);
        readLimits(take, processor);
        processor.coreThrottles = throttles(take, m_coreThrottles);
        processor.packageThrottles =
            m_coreThrottles.error() == ENOENT ? processor.coreThrottles : throttles(take, m_packageThrottles);
    }

    /// A processor that is offline has no files: when it comes back they are looked for at once.
    void forgetMissing() {
        for (Attribute *attribute :
             {&m_frequency, &m_frequencyMin, &m_frequencyMax, &m_coreThrottles, &m_packageThrottles})
            attribute->forgetMissing();
        m_limitsAt = LONG_AGO;
    }

private:
    static constexpr std::int64_t SECONDS_BETWEEN_LIMITS = 30;

    static void note(Take &take, const Attribute &attribute) {
        noteUnlessMissing(take.sample.area(Area::Cpu), attribute.error(), attribute.path());
    }

    static Number hertz(Take &take, Attribute &attribute) {
        const Number frequency = attribute.scaled(take.root, hertzPerKilohertz);
        note(take, attribute);
        return frequency;
    }

    static Count throttles(Take &take, Attribute &attribute) {
        const Count count = attribute.number(take.root);
        note(take, attribute);
        return count;
    }

    void readLimits(Take &take, Processor &processor) {
        const std::int64_t now = coarseSeconds();
        if (m_frequency.error() == ENOENT) {
            m_min = m_max = Absence::Unsupported;
        } else if (!take.root.own() || now - m_limitsAt >= SECONDS_BETWEEN_LIMITS) {
            m_min = hertz(take, m_frequencyMin);
            m_max = hertz(take, m_frequencyMax);
            m_limitsAt = now;
        }
        processor.frequencyMinHertz = m_min;
        processor.frequencyMaxHertz = m_max;
    }

    Attribute m_frequency, m_frequencyMin, m_frequencyMax, m_coreThrottles, m_packageThrottles;
    Number m_min, m_max;
    std::int64_t m_limitsAt = LONG_AGO;
};

class CpuReader : public AreaReader {
public:
    bool hasOneStep() const override { return true; }
    void read(Take &take) override {
        Sample &sample = take.sample;
        int error = take.stat.read(take.root);
        if (error == 0 && !startsWith(take.stat.file().text().data(), "cpu"))
            error = NOT_ITS_FORMAT;
        if (error != 0)
            return loseArea(sample, Area::Cpu, error, take.stat.file().path());
        const int presentError = readPresent(take);
        parseStat(take);
        sample.cpu.online = online(sample);
        sample.cpu.present = presentError == 0 ? Count(m_present.size()) : Count(absenceOf(presentError));
        for (Processor &processor : sample.processors)
            readFiles(take, processor);
    }

private:
    // The lines of the processors are the first ones of the file, in ascending order. Between them come the processors
    // that are present and have no line: they are offline.
    void parseStat(Take &take) const {
        Sample &sample = take.sample;
        forget(sample.cpu, Absence::Malformed);
        sample.processors.clear();
        auto offline = m_present.begin();
        bool whole = true;
        const char *line = take.stat.file().text().data();
        for (; startsWith(line, "cpu"); line = nextLine(line)) {
            const char *cursor = line + 3;
            if (isSpace(*cursor)) {
                whole &= takeModes(cursor, m_ticksPerSecond, sample.cpu);
                continue;
            }
            const Count number = takeCount(cursor);
            const bool follows = sample.processors.empty() || number.valueOr(0) > lastOf(sample).cpu;
            if (!number || *number >= processorLimit || !follows) {
                whole = false;
                continue;
            }
            addOffline(offline, *number, sample);
            Processor &processor = sample.processors.append();
            processor.cpu = *number;
            processor.online = 1;
            whole &= takeModes(cursor, m_ticksPerSecond, processor);
        }
        addOffline(offline, processorLimit, sample);
        if (!whole || sample.cpu.userSeconds.absence() == Absence::Malformed) // without a line of all processors too
            noteFailure(sample.area(Area::Cpu), NOT_ITS_FORMAT, take.stat.file().path());
    }

    static const Processor &lastOf(const Sample &sample) { return sample.processors[sample.processors.size() - 1]; }

    static std::size_t online(const Sample &sample) {
        std::size_t count = 0;
        for (const Processor &processor : sample.processors)
            count += processor.online.valueOr(0);
        return count;
    }

    // Those before `end`; one with a line is passed over.
    void addOffline(std::vector<std::uint64_t>::const_iterator &next, std::uint64_t end, Sample &sample) const {
        for (; next != m_present.end() && *next < end; ++next) {
            Processor &processor = sample.processors.append();
            processor.cpu = *next;
            forget(processor, Absence::Unsupported);
            processor.online = 0;
        }
        if (next != m_present.end() && *next == end)
            ++next;
    }

    // Sample: 0-1,4
    int readPresent(Take &take) {
        m_present.clear();
        int error = m_presentFile.read(take.root);
        if (error == 0 && !parsePresent(m_presentFile.text().data())) {
            m_present.clear();
            error = NOT_ITS_FORMAT;
        }
        noteUnlessMissing(take.sample.area(Area::Cpu), error, m_presentFile.path());
        return error;
    }

    bool parsePresent(const char *cursor) {
        for (;; ++cursor) {
            const Count first = takeRangeEnd(cursor);
            Count last = first;
            if (*cursor == '-')
                last = takeRangeEnd(++cursor);
            const bool follows = m_present.empty() || first.valueOr(0) > m_present.back();
            if (!first || !last || !follows || *last < *first || *last >= processorLimit)
                return false;
            for (std::uint64_t cpu = *first; cpu <= *last; ++cpu)
                m_present.push_back(cpu);
            if (*cursor != ',')
                return endsLine(*cursor);
        }
    }

    static Count takeRangeEnd(const char *&cursor) {
        unsigned long long value = 0;
        return scanPlain(cursor, value) ? Count(value) : Count(Absence::Malformed);
    }

    // Asking a processor for its frequency may wake it, which takes its time on some kernels.
    void readFiles(Take &take, Processor &processor) {
        ProcessorFiles &files = filesOf(processor.cpu);
        if (!processor.online.valueOr(0))
            return files.forgetMissing();
        if (std::chrono::steady_clock::now() < take.deadline)
            return files.read(take, processor);
        for (Number *number : {&processor.frequencyHertz, &processor.frequencyMinHertz, &processor.frequencyMaxHertz})
            *number = Absence::TimedOut;
        processor.coreThrottles = processor.packageThrottles = Absence::TimedOut;
        noteFailure(take.sample.area(Area::Cpu), ETIMEDOUT, "sys/devices/system/cpu");
    }

    ProcessorFiles &filesOf(std::uint64_t cpu) {
        if (m_files.size() <= cpu)
            m_files.resize(cpu + 1);
        if (m_files[cpu] == nullptr)
            m_files[cpu] = std::make_unique<ProcessorFiles>(cpu);
        return *m_files[cpu];
    }

    const double m_ticksPerSecond = static_cast<double>(sysconf(_SC_CLK_TCK));
    SourceFile m_presentFile{"sys/devices/system/cpu/present"};
    std::vector<std::uint64_t> m_present;                 // in ascending order
    std::vector<std::unique_ptr<ProcessorFiles>> m_files; // by number
};

} // namespace

std::unique_ptr<AreaReader> cpuReader() {
    return std::make_unique<CpuReader>();
}

} // namespace zel

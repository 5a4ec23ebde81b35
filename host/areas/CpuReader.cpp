// Reads the times of the processors, and of each its frequencies, throttle counts and what the scheduler counts.
#include "host/areas/AreaReader.h"
#include "host/areas/ProcessorFiles.h"
#include "host/areas/SchedulerLines.h"
#include "host/source/NumberRanges.h"

#include <algorithm>
#include <unistd.h>
#include <vector>

namespace zel {

namespace {

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
        readIsolated(take);
        readScheduler(take);
        for (Processor &processor : sample.processors)
            readFiles(take, processor);
    }

private:
    static constexpr std::int64_t SECONDS_BETWEEN_LISTS = 30;

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
        const char *text = m_presentFile.text().data();
        if (error == 0 && (endsLine(*text) || !takeNumberRanges(text, processorLimit, m_present))) {
            m_present.clear();
            error = NOT_ITS_FORMAT;
        }
        noteUnlessMissing(take.sample.area(Area::Cpu), error, m_presentFile.path());
        return error;
    }

    // Sample: 2-3
    // Mostly empty: it changes with the command line of the kernel, or a cpuset.
    void readIsolated(Take &take) {
        const std::int64_t now = coarseSeconds();
        if (!take.root.own() || now - m_isolatedAt >= SECONDS_BETWEEN_LISTS) {
            m_isolatedAt = now;
            m_isolated.clear();
            m_isolatedError = m_isolatedFile.read(take.root);
            if (m_isolatedError == 0 && !takeNumberRanges(m_isolatedFile.text().data(), processorLimit, m_isolated))
                m_isolatedError = NOT_ITS_FORMAT;
        }
        noteUnlessMissing(take.sample.area(Area::Cpu), m_isolatedError, m_isolatedFile.path());
        for (Processor &processor : take.sample.processors)
            processor.isolated = m_isolatedError != 0
                                     ? Count(absenceOf(m_isolatedError))
                                     : Count(std::binary_search(m_isolated.begin(), m_isolated.end(), processor.cpu));
    }

    void readScheduler(Take &take) {
        int error = m_schedulerFile.read(take.root);
        loseScheduler(take.sample.processors, error == 0 ? Absence::Unsupported : absenceOf(error));
        if (error == 0 && !parseScheduler(m_schedulerFile.text().data(), take.sample.processors))
            error = NOT_ITS_FORMAT;
        noteUnlessMissing(take.sample.area(Area::Cpu), error, m_schedulerFile.path());
    }

    // Asking a processor for its frequency may wake it, which takes its time on some kernels.
    void readFiles(Take &take, Processor &processor) {
        ProcessorFiles &files = filesOf(processor.cpu);
        if (!processor.online.valueOr(0))
            return files.forgetMissing();
        if (std::chrono::steady_clock::now() < take.deadline)
            return files.read(take, processor);
        ProcessorFiles::lose(processor, Absence::TimedOut);
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
    SourceFile m_isolatedFile{"sys/devices/system/cpu/isolated"};
    SourceFile m_schedulerFile{"proc/schedstat", Records::Many};
    std::vector<std::uint64_t> m_present, m_isolated; // in ascending order
    std::int64_t m_isolatedAt = LONG_AGO;
    int m_isolatedError = 0;
    std::vector<std::unique_ptr<ProcessorFiles>> m_files; // by number
};

} // namespace

std::unique_ptr<AreaReader> cpuReader() {
    return std::make_unique<CpuReader>();
}

} // namespace zel

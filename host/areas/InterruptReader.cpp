// Reads what the kernel did: the counters of /proc/stat, interrupts and softirqs by kind.
#include "host/areas/AreaReader.h"
#include "text/NumberScan.h"

namespace zel {

namespace {

bool startsWith(const char *line, std::string_view key) {
    return std::strncmp(line, key.data(), key.size()) == 0;
}

Count numberAt(const char *cursor) {
    unsigned long long value = 0;
    return scanUnsigned(cursor, value) ? Count(value) : Count(Absence::Malformed);
}

// Sample: ctxt 932972
void parseStat(const char *line, Activity &activity) {
    forget(activity, Absence::Unsupported);
    for (; *line != '\0'; line = nextLine(line)) {
        if (startsWith(line, "intr "))
            activity.interrupts = numberAt(line + 5);
        else if (startsWith(line, "ctxt "))
            activity.contextSwitches = numberAt(line + 5);
        else if (startsWith(line, "btime "))
            activity.bootTimeSeconds = static_cast<double>(numberAt(line + 6).valueOr(0));
        else if (startsWith(line, "processes "))
            activity.forks = numberAt(line + 10);
        else if (startsWith(line, "procs_running "))
            activity.running = numberAt(line + 14);
        else if (startsWith(line, "procs_blocked "))
            activity.blocked = numberAt(line + 14);
        else if (startsWith(line, "softirq "))
            activity.softirqs = numberAt(line + 8);
    }
}

// A line of either table: its name, and the sum of the numbers behind it.
struct SummedLine {
    std::string_view name;
    Count sum = Absence::Malformed;
    const char *rest; // behind the numbers

    // Sample:  24:          1          0  IO-APIC   5-edge      ACPI:Ged
    // A line has a number for each processor, or one alone (ERR, MIS). The heading gives their count.
    SummedLine(const char *line, std::size_t columns) {
        const char *start = skipBlanks(line);
        const char *end = start;
        while (*end != ':' && *end != '\n' && *end != '\0')
            ++end;
        name = {start, static_cast<std::size_t>(end - start)};
        rest = *end == ':' ? end + 1 : end;
        std::uint64_t total = 0;
        std::size_t column = 0;
        for (unsigned long long value = 0; column < columns && scanPlain(rest, value); ++column)
            total += value;
        if (column > 0)
            sum = total;
    }
    bool named() const { return *(name.data() + name.size()) == ':'; }
};

// Sample:            CPU0       CPU1
std::size_t columnsOf(const char *heading) {
    std::size_t columns = 0;
    for (; *heading != '\n' && *heading != '\0'; ++heading)
        columns += *heading == 'C';
    return columns;
}

// What stands behind the numbers, without doubled blanks.
void describe(const char *rest, Reading<std::string> &description, std::string &scratch) {
    scratch.clear();
    for (; *rest != '\n' && *rest != '\0'; ++rest) {
        if (!isBlank(*rest))
            scratch += *rest;
        else if (!scratch.empty() && scratch.back() != ' ')
            scratch += ' ';
    }
    if (scratch.empty())
        return description.clear(Absence::Unsupported);
    description.set(scratch);
}

class InterruptReader : public AreaReader {
public:
    void read(Take &take) override {
        Sample &sample = take.sample;
        const int statError = take.stat.read(take.root);
        if (statError != 0)
            loseArea(sample, Area::Interrupts, statError, take.stat.file().path());
        else
            parseStat(take.stat.file().text().data(), sample.activity);
        sample.area(Area::Interrupts).absence = Absence::None;
        readInterrupts(take);
        readSoftIrqs(take);
        if (statError != 0 && sample.interrupts.empty() && sample.softirqs.empty())
            sample.area(Area::Interrupts).absence = absenceOf(statError);
    }

private:
    void readInterrupts(Take &take) {
        Sample &sample = take.sample;
        sample.interrupts.clear();
        if (const int error = m_interrupts.read(take.root); error != 0)
            return noteFailure(sample.area(Area::Interrupts), error, m_interrupts.path());
        const char *line = m_interrupts.text().data();
        const std::size_t columns = columnsOf(line);
        for (line = nextLine(line); *line != '\0'; line = nextLine(line)) {
            const SummedLine summed(line, columns);
            if (!summed.named())
                continue;
            InterruptLine &row = sample.interrupts.append();
            row.interrupt = summed.name;
            row.count = summed.sum;
            describe(summed.rest, row.description, m_scratch);
        }
    }

    void readSoftIrqs(Take &take) {
        Sample &sample = take.sample;
        sample.softirqs.clear();
        if (const int error = m_softirqs.read(take.root); error != 0)
            return noteFailure(sample.area(Area::Interrupts), error, m_softirqs.path());
        const char *line = m_softirqs.text().data();
        const std::size_t columns = columnsOf(line);
        for (line = nextLine(line); *line != '\0'; line = nextLine(line)) {
            const SummedLine summed(line, columns);
            if (!summed.named())
                continue;
            SoftIrq &row = sample.softirqs.append();
            row.softirq = summed.name;
            row.count = summed.sum;
        }
    }

    SourceFile m_interrupts{"proc/interrupts", Records::Many};
    SourceFile m_softirqs{"proc/softirqs", Records::Many};
    std::string m_scratch;
};

} // namespace

std::unique_ptr<AreaReader> interruptReader() {
    return std::make_unique<InterruptReader>();
}

} // namespace zel

// Reads what the kernel did: the counters of /proc/stat, interrupts and softirqs by kind.
#include "host/areas/AreaReader.h"
#include "host/source/LineScan.h"

namespace zel {

namespace {

// Beyond any kernel: what a file states beyond it is not believed.
constexpr std::size_t lineLimit = 65536;
constexpr std::size_t nameLimit = 64;
constexpr std::size_t descriptionLimit = 4096;

struct StatLine {
    std::string_view key;
    Count Activity::*member;
};
constexpr StatLine statLines[] = {{"intr ", &Activity::interrupts},       {"ctxt ", &Activity::contextSwitches},
                                  {"processes ", &Activity::forks},       {"procs_running ", &Activity::running},
                                  {"procs_blocked ", &Activity::blocked}, {"softirq ", &Activity::softirqs}};

// Sample: ctxt 932972
// False when a line holds something else than a number, or when none of them is there.
bool parseStat(const char *line, Activity &activity) {
    constexpr std::string_view bootTime = "btime ";
    bool any = false, whole = true;
    for (; *line != '\0'; line = nextLine(line)) {
        if (startsWith(line, bootTime)) {
            const char *cursor = line + bootTime.size();
            activity.bootTimeSeconds = takeDecimal(cursor);
            whole &= activity.bootTimeSeconds.has();
            continue;
        }
        for (const StatLine &each : statLines) {
            if (!startsWith(line, each.key))
                continue;
            const char *cursor = line + each.key.size();
            activity.*each.member = takeCount(cursor);
            whole &= (activity.*each.member).has();
            any = true;
            break;
        }
    }
    if (!any)
        forget(activity, Absence::Malformed);
    return any && whole;
}

// A line of either table: its name, the sum of its numbers, and what follows them.
struct SummedLine {
    std::string_view name;
    Count sum = Absence::Malformed;
    const char *rest;

    // Sample:  24:          1          0  IO-APIC   5-edge      ACPI:Ged
    // A line has a number for each processor, or one alone (ERR, MIS). The heading gives their count.
    SummedLine(const char *line, std::size_t columns) {
        const char *start = skipSpaces(line);
        const char *end = start;
        while (*end != ':' && !endsLine(*end))
            ++end;
        rest = end;
        if (*end != ':' || end == start || end - start > static_cast<std::ptrdiff_t>(nameLimit))
            return;
        name = {start, static_cast<std::size_t>(end - start)};
        rest = end + 1;
        sum = takeSum(columns);
    }

private:
    Count takeSum(std::size_t columns) {
        std::uint64_t total = 0;
        std::size_t column = 0;
        for (unsigned long long value = 0; column < columns && scanPlain(rest, value); ++column) {
            if (!endsWord(*rest) || __builtin_add_overflow(total, value, &total))
                return Absence::Malformed;
        }
        const bool alone = column == 1 && *skipSpaces(rest) == '\n'; // not cut short
        return column == columns || alone ? Count(total) : Count(Absence::Malformed);
    }
};

// Sample:            CPU0       CPU1
// 0 for a line that is no such heading.
std::size_t columnsOf(const char *heading) {
    std::size_t columns = 0;
    for (std::string_view word = takeWord(heading); !word.empty(); word = takeWord(heading)) {
        if (!word.starts_with("CPU"))
            return 0;
        ++columns;
    }
    return columns;
}

// What follows the numbers, without doubled blanks.
void describe(const char *cursor, Reading<std::string> &description, std::string &scratch) {
    scratch.clear();
    for (std::string_view word = takeWord(cursor); !word.empty(); word = takeWord(cursor)) {
        if (scratch.size() + word.size() >= descriptionLimit)
            break;
        if (!scratch.empty())
            scratch += ' ';
        scratch += word;
    }
    if (scratch.empty())
        return description.clear(Absence::Unsupported);
    description.set(scratch);
}

class InterruptReader : public AreaReader {
public:
    bool hasOneStep() const override { return true; }
    void read(Take &take) override {
        const int activityError = readActivity(take);
        const int interruptError = readInterrupts(take);
        const int softIrqError = readSoftIrqs(take);
        if (activityError != 0 && interruptError != 0 && softIrqError != 0)
            take.sample.area(Area::Interrupts).absence = absenceOf(activityError);
    }

private:
    static int note(Take &take, int error, std::string_view file) {
        if (error != 0)
            noteFailure(take.sample.area(Area::Interrupts), error, file);
        return error;
    }

    static int readActivity(Take &take) {
        Activity &activity = take.sample.activity;
        int error = take.stat.read(take.root);
        forget(activity, error == 0 ? Absence::Unsupported : absenceOf(error));
        if (error == 0 && !parseStat(take.stat.file().text().data(), activity))
            error = NOT_ITS_FORMAT;
        return note(take, error, take.stat.file().path());
    }

    int readInterrupts(Take &take) {
        Rows<InterruptLine> &rows = take.sample.interrupts;
        rows.clear();
        const auto takeLine = [&](const SummedLine &line) {
            InterruptLine &row = rows.append();
            row.interrupt = line.name;
            row.count = line.sum;
            describe(line.rest, row.description, m_scratch);
        };
        std::size_t columns = 0;
        const int error = readTable(take, m_interrupts, columns, takeLine);
        take.sample.activity.interruptProcessors = error == 0 ? Count(columns) : Count(absenceOf(error));
        return error;
    }

    int readSoftIrqs(Take &take) {
        Rows<SoftIrq> &rows = take.sample.softirqs;
        rows.clear();
        std::size_t columns = 0;
        return readTable(take, m_softirqs, columns, [&rows](const SummedLine &line) {
            SoftIrq &row = rows.append();
            row.softirq = line.name;
            row.count = line.sum;
        });
    }

    // Calls use(line) for each line of a table with a heading of processors.
    template<class Use> static int readTable(Take &take, SourceFile &file, std::size_t &columns, Use &&use) {
        if (const int error = file.read(take.root); error != 0)
            return note(take, error, file.path());
        const char *line = file.text().data();
        columns = columnsOf(line);
        if (columns == 0)
            return note(take, NOT_ITS_FORMAT, file.path());
        std::size_t lines = 0;
        for (line = nextLine(line); *line != '\0' && lines < lineLimit; line = nextLine(line), ++lines) {
            const SummedLine summed(line, columns);
            if (!summed.sum)
                note(take, NOT_ITS_FORMAT, file.path());
            if (!summed.name.empty())
                use(summed);
        }
        return 0;
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

// Reads what the scheduler counts.
#include "host/areas/SchedulerLines.h"

#include "host/source/LineScan.h"
#include "host/source/SourceFile.h"

namespace zel {

namespace {

constexpr double nanosecondsPerSecond = 1e9;
constexpr std::size_t columnsAtLeast = 9; // since kernel 2.6.28; those before had more in front of the last three

// Sample: cpu0 0 0 0 0 0 0 5604425267399685 846739098984101 5959626939
// The last three are the time of tasks that ran, of those that waited, and how many times one was put on it.
bool takeLine(const char *cursor, Processor &processor) {
    Count last[3] = {Absence::Malformed, Absence::Malformed, Absence::Malformed};
    std::size_t columns = 0;
    for (; !endsLine(*skipSpaces(cursor)); ++columns) {
        const Count value = takeCount(cursor);
        if (!value)
            break;
        last[0] = last[1];
        last[1] = last[2];
        last[2] = value;
    }
    const bool whole = columns >= columnsAtLeast && endsLine(*skipSpaces(cursor));
    if (!whole)
        last[0] = last[1] = last[2] = Absence::Malformed;
    const auto seconds = [](const Count &count) {
        return count ? Number(static_cast<double>(*count) / nanosecondsPerSecond) : Number(count.absence());
    };
    processor.runningSeconds = seconds(last[0]);
    processor.waitingSeconds = seconds(last[1]);
    processor.timeslices = last[2];
    return whole;
}

} // namespace

void loseScheduler(Rows<Processor> &processors, Absence reason) {
    for (Processor &processor : processors) {
        processor.runningSeconds = processor.waitingSeconds = reason;
        processor.timeslices = reason;
    }
}

bool parseScheduler(const char *text, Rows<Processor> &processors) {
    constexpr std::string_view head = "cpu";
    bool whole = true;
    std::size_t place = 0;
    for (const char *line = text; *line != '\0'; line = nextLine(line)) {
        if (!startsWith(line, head))
            continue;
        const char *cursor = line + head.size();
        const Count number = takeCount(cursor);
        whole &= number.has();
        while (number && place < processors.size() && processors[place].cpu < *number)
            ++place;
        if (number && place < processors.size() && processors[place].cpu == *number)
            whole &= takeLine(cursor, processors[place]);
    }
    return whole;
}

} // namespace zel

// The parsers of stat, statm, cmdline and cgroup.
#include "host/areas/ProcessParse.h"

#include "text/NumberScan.h"

#include <algorithm>

namespace zel {

namespace {

constexpr long long kernelThreadFlag = 0x00200000; // PF_KTHREAD
constexpr long long none = -1;

Count countAt(const StatLine &line, StatColumn column) {
    if (!line.has(column))
        return line.rest;
    const long long value = line[column];
    return value >= 0 ? Count(static_cast<std::uint64_t>(value)) : Count(Absence::Malformed);
}

// Numbers that the kernel writes as 0 or -1 where there is nothing to name.
Count countUnless(const StatLine &line, StatColumn column, long long nothing) {
    return line.has(column) && line[column] == nothing ? Count(Absence::Unsupported) : countAt(line, column);
}

Number signedAt(const StatLine &line, StatColumn column) {
    return line.has(column) ? Number(static_cast<double>(line[column])) : Number(line.rest);
}

Number secondsAt(const StatLine &line, StatColumn column, const ProcessUnits &units) {
    const Count ticks = countAt(line, column);
    return ticks ? Number(static_cast<double>(*ticks) / units.ticksPerSecond) : Number(ticks.absence());
}

void takeTimes(const StatLine &line, const ProcessUnits &units, Process &process) {
    process.startSeconds = secondsAt(line, StatColumn::StartTicks, units);
    process.userSeconds = secondsAt(line, StatColumn::UserTicks, units);
    process.systemSeconds = secondsAt(line, StatColumn::SystemTicks, units);
    process.childrenUserSeconds = secondsAt(line, StatColumn::ChildrenUserTicks, units);
    process.childrenSystemSeconds = secondsAt(line, StatColumn::ChildrenSystemTicks, units);
    process.guestSeconds = secondsAt(line, StatColumn::GuestTicks, units);
    process.childrenGuestSeconds = secondsAt(line, StatColumn::ChildrenGuestTicks, units);
    process.delaySeconds =
        units.accountsForDelays ? secondsAt(line, StatColumn::DelayTicks, units) : Number(Absence::Unsupported);
}

// A controller in a list of them ("cpu,cpuacct").
bool names(std::string_view controllers, std::string_view wanted) {
    while (!controllers.empty()) {
        const std::size_t end = std::min(controllers.find(','), controllers.size());
        if (controllers.substr(0, end) == wanted)
            return true;
        controllers.remove_prefix(std::min(end + 1, controllers.size()));
    }
    return false;
}

// Which hierarchy tells most of a process: the larger the better, from 1.
int rankOf(std::string_view controllers) {
    if (names(controllers, "memory"))
        return 5;
    if (names(controllers, "cpu"))
        return 4;
    if (controllers.empty())
        return 3;
    return controllers == "name=systemd" ? 2 : 1;
}

} // namespace

bool StatLine::isRemoved() const {
    return has(StatColumn::Threads) && (*this)[StatColumn::Threads] == 0 && (*this)[StatColumn::Group] == none;
}

bool StatLine::isKernelThread() const {
    return has(StatColumn::Flags) && ((*this)[StatColumn::Flags] & kernelThreadFlag) != 0;
}

// Sample: 42 (a) b) S 1 42 42 0 -1 4194560 1260 8000 22 35 111 222 3 4 20 0 1 0 98765 176148480 2345 ...
bool parseStatLine(std::string_view text, StatLine &line) {
    const char *cursor = text.data();
    unsigned long long number = 0;
    const std::size_t close = text.rfind(')');
    if (close == std::string_view::npos || !scanPlain(cursor, number) || *cursor != ' ' || cursor[1] != '(')
        return false;
    const char *name = cursor + 2;
    const char *nameEnd = text.data() + close;
    const char *state = nameEnd + 1;
    if (nameEnd < name || *state != ' ' || isBlank(state[1]) || state[1] == '\0')
        return false;
    line.name = {name, std::min(static_cast<std::size_t>(nameEnd - name), PROCESS_NAME_LIMIT)};
    line.state = state[1];
    cursor = state + 2;
    for (line.count = 0; line.count < STAT_COLUMNS && scanSigned(cursor, line.values[line.count]);)
        ++line.count;
    const bool isWhole = line.count > static_cast<std::size_t>(StatColumn::ResidentPages);
    line.rest = isWhole && *skipBlanks(cursor) == '\0' ? Absence::Unsupported : Absence::Malformed;
    return true;
}

void takeStatLine(const StatLine &line, const ProcessUnits &units, Process &process) {
    process.name = line.name;
    process.state.set(line.state);
    process.parentPid = countAt(line, StatColumn::ParentPid);
    process.processGroup = countUnless(line, StatColumn::Group, none);
    process.session = countUnless(line, StatColumn::Session, none);
    process.terminal = countUnless(line, StatColumn::Terminal, 0);
    process.minorFaults = countAt(line, StatColumn::MinorFaults);
    process.childrenMinorFaults = countAt(line, StatColumn::ChildrenMinorFaults);
    process.majorFaults = countAt(line, StatColumn::MajorFaults);
    process.childrenMajorFaults = countAt(line, StatColumn::ChildrenMajorFaults);
    process.priority = signedAt(line, StatColumn::Priority);
    process.nice = signedAt(line, StatColumn::Nice);
    process.threads = countUnless(line, StatColumn::Threads, 0); // of kernels before 2.6
    process.processor = countAt(line, StatColumn::Processor);
    process.realtimePriority = countAt(line, StatColumn::RealtimePriority);
    process.policy = countAt(line, StatColumn::Policy);
    process.kernelThread = line.has(StatColumn::Flags) ? Count(line.isKernelThread() ? 1 : 0) : Count(line.rest);
    takeTimes(line, units, process);
}

void loseStat(Absence reason, Process &process) {
    StatLine nothing;
    nothing.rest = reason;
    takeStatLine(nothing, {}, process);
    process.state.clear(reason);
    process.delaySeconds = reason;
}

// Sample: 43005 2345 1200 200 0 1500 0
void takeStatm(const char *text, const ProcessUnits &units, Process &process) {
    constexpr Count Process::*columns[] = {
        &Process::virtualBytes, &Process::residentBytes, &Process::sharedBytes, &Process::textBytes, nullptr,
        &Process::dataBytes};
    bool scanned = true;
    for (const auto column : columns) {
        unsigned long long pages = 0;
        scanned = scanned && scanUnsigned(text, pages); // a negative one is too large afterwards
        if (column == nullptr)
            continue;
        std::uint64_t bytes = 0;
        const bool fits = scanned && !__builtin_mul_overflow(pages, units.pageBytes, &bytes);
        process.*column = fits ? Count(bytes) : Count(Absence::Malformed);
    }
}

void loseMemory(Absence reason, Process &process) {
    for (const auto column : {&Process::virtualBytes, &Process::residentBytes, &Process::sharedBytes,
                              &Process::textBytes, &Process::dataBytes})
        process.*column = reason;
}

void takeCommandLine(char *text, std::size_t length, Reading<std::string> &commandLine) {
    while (length > 0 && text[length - 1] == '\0')
        --length;
    if (length == 0)
        return commandLine.clear(Absence::Unsupported);
    std::replace(text, text + length, '\0', ' ');
    commandLine.set(std::string_view(text, length));
}

// Sample: 4:memory:/user.slice
//         1:name=systemd:/user.slice/user-1000.slice
//         0::/user.slice
std::string_view cgroupPath(std::string_view text) {
    std::string_view best;
    for (int bestRank = -1; !text.empty();) {
        const std::string_view line = text.substr(0, std::min(text.find('\n'), text.size()));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const std::size_t first = line.find(':');
        const std::size_t second = first == std::string_view::npos ? first : line.find(':', first + 1);
        if (second == std::string_view::npos || line.substr(second + 1, 1) != "/")
            continue;
        const std::string_view path = line.substr(second + 1);
        const int rank = path == "/" ? 0 : rankOf(line.substr(first + 1, second - first - 1));
        if (rank > bestRank) {
            bestRank = rank;
            best = path;
        }
    }
    return best;
}

} // namespace zel

// Parses the texts of the files of one process. Plain functions over text.
#pragma once

#include "host/Process.h"

#include <array>
#include <string_view>

namespace zel {

/// Longest name that is taken: the kernel's own are at most 63 bytes.
inline constexpr std::size_t PROCESS_NAME_LIMIT = 64;

/// The columns of stat after the state, in their order.
enum class StatColumn : unsigned char {
    ParentPid,
    Group,
    Session,
    Terminal,
    ForegroundGroup,
    Flags,
    MinorFaults,
    ChildrenMinorFaults,
    MajorFaults,
    ChildrenMajorFaults,
    UserTicks,
    SystemTicks,
    ChildrenUserTicks,
    ChildrenSystemTicks,
    Priority,
    Nice,
    Threads,
    IntervalTimer,
    StartTicks,
    VirtualBytes,
    ResidentPages, // every kernel writes the columns so far
    ResidentLimit,
    CodeStart,
    CodeEnd,
    StackStart,
    StackPointer,
    InstructionPointer,
    SignalsPending,
    SignalsBlocked,
    SignalsIgnored,
    SignalsCaught,
    WaitChannel,
    SwappedPages,
    ChildrenSwappedPages,
    ExitSignal,
    Processor,
    RealtimePriority,
    Policy,
    DelayTicks,
    GuestTicks,
    ChildrenGuestTicks
};
inline constexpr std::size_t STAT_COLUMNS = 41;

/// A stat line, taken apart. Columns from `count` on are missing for the reason `rest`.
struct StatLine {
    std::string_view name; // in the text
    char state = '\0';
    std::array<long long, STAT_COLUMNS> values{};
    std::size_t count = 0;
    Absence rest = Absence::Malformed;

    bool has(StatColumn column) const { return static_cast<std::size_t>(column) < count; }
    /// Only of a column that it has.
    long long operator[](StatColumn column) const { return values[static_cast<std::size_t>(column)]; }
    /// The line of a process that is being removed: the kernel has no numbers of it any more.
    bool isRemoved() const;
    bool isKernelThread() const;
};

/// What a host counts in.
struct ProcessUnits {
    double ticksPerSecond = 100;
    std::uint64_t pageBytes = 4096;
    bool accountsForDelays = true; // else the kernel writes a 0 that says nothing
};

/// Takes a stat line apart; `text` is terminated. False when it is none: it does not begin with a number and a name in
/// brackets. The name ends at the last bracket, whatever bytes are in it. The number is not looked at: who collects
/// files of hosts may give their directories other names.
bool parseStatLine(std::string_view text, StatLine &line);
/// The fields that a stat line gives; all are set.
void takeStatLine(const StatLine &line, const ProcessUnits &units, Process &process);
/// The fields of a stat that could not be read or parsed.
void loseStat(Absence reason, Process &process);

/// The text of statm, terminated; all of its fields are set.
void takeStatm(const char *text, const ProcessUnits &units, Process &process);
void loseMemory(Absence reason, Process &process);

/// The text of cmdline, which is written to: its zero bytes become blanks, those at its end are left out.
void takeCommandLine(char *text, std::size_t length, Reading<std::string> &commandLine);

/// The path in the text of a cgroup file: that of the hierarchy of memory, or of the processors, where the kernel has
/// several; else that of the one hierarchy, or of systemd's. A hierarchy in which the process is at the root counts
/// last. Empty when there is none.
std::string_view cgroupPath(std::string_view text);

} // namespace zel

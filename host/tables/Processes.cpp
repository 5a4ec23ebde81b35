// The fields of the processes.
#include "host/Process.h"

namespace zel {

namespace {

constexpr Entries<Process> process{Area::Processes, "processes", "/proc/<pid>/stat"};
constexpr Entries<Process> directory = process.from("/proc/<pid>");
constexpr Entries<Process> group = process.from("/proc/<pid>/cgroup", "CONFIG_CGROUPS=y");
constexpr Entries<Process> contained = process.from("/proc/<pid>/cgroup", "a process in a container");
constexpr Entries<Process> attached = process.from("/proc/<pid>/stat", "a process with a terminal");
constexpr Entries<Process> delays = process.from(
    "/proc/<pid>/stat",
    "sysctl kernel.task_delayacct=1, or delayacct on the kernel's command line (CONFIG_TASK_DELAY_ACCT=y)");
constexpr Entries<Process> memory = process.from("/proc/<pid>/statm");
constexpr Entries<Process> io = process.from("/proc/<pid>/io", "CONFIG_TASK_IO_ACCOUNTING=y");
constexpr Rights owner = Rights::Owner;

constexpr Field<Process> processFields[] = {
    process.label("pid", &Process::pid, "Process id."),
    process.label("name", &Process::name, "Name of the command, as the kernel keeps it."),
    process.gauge("start_seconds", &Process::startSeconds, Unit::Seconds, "Start, in seconds after boot."),
    process.info("parent_pid", &Process::parentPid, "Process id of the parent."),
    process.info("process_group", &Process::processGroup, "Process group."),
    process.info("session", &Process::session, "Session."),
    attached.info("terminal", &Process::terminal, "Device number of the controlling terminal."),
    process.state("state", &Process::state, "State as the kernel writes it: R S D T t Z X I P."),
    directory.info("user_id", &Process::userId,
                   "Effective user id; of a process that does not seem to run up to seven samples old."),
    directory.info("user", &Process::user, "Name of the user in /etc/passwd; no other source of names is asked."),
    process.from("/proc/<pid>/cmdline")
        .info("command_line", &Process::commandLine,
              "Arguments with blanks between them, the first 4096 bytes; of a process that does not seem to run up to "
              "seven samples old."),
    group.info("cgroup", &Process::cgroup,
               "Path of the cgroup, up to seven samples old; where there are several hierarchies, that of memory."),
    contained.info("container", &Process::container, "Id or name of the container, by the path of the cgroup."),

    process.counter("user_seconds_total", &Process::userSeconds, Unit::Seconds, "Time in user mode."),
    process.counter("system_seconds_total", &Process::systemSeconds, Unit::Seconds, "Time in the kernel."),
    process.counter("children_user_seconds_total", &Process::childrenUserSeconds, Unit::Seconds,
                    "Time in user mode of children that have ended."),
    process.counter("children_system_seconds_total", &Process::childrenSystemSeconds, Unit::Seconds,
                    "Time in the kernel of children that have ended."),
    delays.counter("delay_seconds_total", &Process::delaySeconds, Unit::Seconds,
                   "Time of waiting for block I/O, where the kernel accounts for delays."),
    process.counter("guest_seconds_total", &Process::guestSeconds, Unit::Seconds, "Time in guests, part of user."),
    process.counter("children_guest_seconds_total", &Process::childrenGuestSeconds, Unit::Seconds,
                    "Time in guests of children that have ended."),
    process.counter("minor_faults_total", &Process::minorFaults, Unit::None, "Page faults without I/O."),
    process.counter("major_faults_total", &Process::majorFaults, Unit::None, "Page faults with I/O."),
    process.counter("children_minor_faults_total", &Process::childrenMinorFaults, Unit::None,
                    "Page faults without I/O of children that have ended."),
    process.counter("children_major_faults_total", &Process::childrenMajorFaults, Unit::None,
                    "Page faults with I/O of children that have ended."),
    process.gauge("threads", &Process::threads, Unit::None, "Threads."),
    process.state("processor", &Process::processor, "Number of the processor that it ran on last."),
    process.gauge("priority", &Process::priority, Unit::None, "Priority in the kernel: 20 and nice, or below 0."),
    process.gauge("nice", &Process::nice, Unit::None, "Nice value, -20 to 19."),
    process.gauge("realtime_priority", &Process::realtimePriority, Unit::None, "Real-time priority, 0 for none."),
    process.info("policy", &Process::policy, "Number of the scheduling policy, 0 for the normal one."),
    process.info("kernel_thread", &Process::kernelThread, "1 for a thread of the kernel."),

    memory.gauge("resident_bytes", &Process::residentBytes, Unit::Bytes, "Memory in RAM."),
    memory.gauge("virtual_bytes", &Process::virtualBytes, Unit::Bytes, "Size of the address space."),
    memory.gauge("shared_bytes", &Process::sharedBytes, Unit::Bytes, "Memory in RAM that files or others share."),
    memory.gauge("text_bytes", &Process::textBytes, Unit::Bytes, "Size of the code."),
    memory.gauge("data_bytes", &Process::dataBytes, Unit::Bytes, "Size of data and stack."),
    process.needing(owner, process.from("/proc/<pid>/smaps_rollup", "kernel 4.14 or later")
                               .gauge("proportional_bytes", &Process::proportionalBytes, Unit::Bytes,
                                      "Memory in RAM, shared pages by share; only when asked for.")),
    process.needing(owner,
                    process.from("/proc/<pid>/fd")
                        .gauge("descriptors", &Process::descriptors, Unit::None,
                               "Open descriptors; of a process that does not seem to run up to seven samples old. "
                               "From kernel 6.2 on every user may read those of every process.")),

    process.needing(owner, io.counter("read_characters_total", &Process::readCharacters, Unit::None,
                                      "Bytes that read calls returned.")),
    process.needing(owner, io.counter("written_characters_total", &Process::writtenCharacters, Unit::None,
                                      "Bytes that write calls took.")),
    process.needing(owner, io.counter("read_calls_total", &Process::readCalls, Unit::None, "Calls of read.")),
    process.needing(owner, io.counter("write_calls_total", &Process::writeCalls, Unit::None, "Calls of write.")),
    process.needing(owner,
                    io.counter("read_bytes_total", &Process::readBytes, Unit::Bytes, "Bytes read from storage.")),
    process.needing(owner, io.counter("written_bytes_total", &Process::writtenBytes, Unit::Bytes,
                                      "Bytes for which it caused writing to storage.")),
    process.needing(owner, io.counter("cancelled_write_bytes_total", &Process::cancelledWriteBytes, Unit::Bytes,
                                      "Of the written bytes those that were dropped before they reached storage.")),
};

constexpr Entries<ProcessTotals> totals{Area::Processes, "process_totals", "/proc/<pid>/stat"};
constexpr Field<ProcessTotals> totalsFields[] = {
    totals.from("/proc").gauge("total", &ProcessTotals::total, Unit::None, "Processes in the list."),
    totals.gauge("threads", &ProcessTotals::threads, Unit::None, "Threads of all processes."),
    totals.gauge("running", &ProcessTotals::running, Unit::None, "Processes that run or wait for a processor (R)."),
    totals.gauge("sleeping", &ProcessTotals::sleeping, Unit::None, "Processes that sleep (S)."),
    totals.gauge("disk_sleeping", &ProcessTotals::diskSleeping, Unit::None,
                 "Processes in a sleep that no signal ends, mostly for I/O (D)."),
    totals.gauge("stopped", &ProcessTotals::stopped, Unit::None, "Processes that a signal stopped (T)."),
    totals.gauge("traced", &ProcessTotals::traced, Unit::None, "Processes that a debugger stopped (t)."),
    totals.gauge("zombies", &ProcessTotals::zombies, Unit::None, "Processes that ended and were not waited for (Z)."),
    totals.gauge("dead", &ProcessTotals::dead, Unit::None, "Processes that are being removed (X)."),
    totals.gauge("idle", &ProcessTotals::idle, Unit::None, "Threads of the kernel without work (I)."),
    totals.gauge("parked", &ProcessTotals::parked, Unit::None, "Threads of the kernel that are parked (P)."),
    totals.gauge("other", &ProcessTotals::other, Unit::None, "Processes in any other state."),
    totals.from("/proc").gauge("unread", &ProcessTotals::unread, Unit::None,
                               "Processes that went during the sample, or whose stat could not be read."),
};

} // namespace

template<> std::span<const Field<Process>> fieldsOf<Process>() {
    return processFields;
}

template<> std::span<const Field<ProcessTotals>> fieldsOf<ProcessTotals>() {
    return totalsFields;
}

} // namespace zel

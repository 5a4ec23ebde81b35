// Reads the processes: lists /proc, and of each process the files that a sample needs.
#include "host/areas/AreaReader.h"
#include "host/areas/ContainerId.h"
#include "host/areas/KeyedLines.h"
#include "host/areas/KnownProcesses.h"
#include "host/areas/ProcessCount.h"
#include "host/areas/ProcessParse.h"
#include "host/areas/ProcessProgress.h"
#include "host/areas/ProcessTexts.h"
#include "host/areas/UserNames.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <unistd.h>

namespace zel {

namespace {

constexpr std::uint64_t pidLimit = 0x7fffffff;

constexpr KeyedEntry<Process> ioKeys[] = {
    {"rchar", &Process::readCharacters},
    {"wchar", &Process::writtenCharacters},
    {"syscr", &Process::readCalls},
    {"syscw", &Process::writeCalls},
    {"read_bytes", &Process::readBytes},
    {"write_bytes", &Process::writtenBytes},
    {"cancelled_write_bytes", &Process::cancelledWriteBytes},
};
constexpr KeyedEntry<Process> rollupKeys[] = {{"Pss", &Process::proportionalBytes}};

// Of a text that differs when a process ran: faults, times, calls.
std::uint64_t traceOf(std::string_view text) {
    return std::hash<std::string_view>{}(text);
}

class ProcessReader : public AreaReader {
public:
    explicit ProcessReader(std::shared_ptr<ProcessProgress> progress) : m_progress(std::move(progress)) {}

    void read(Take &take) override {
        ScopedDescriptor proc = take.root.open("proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (!proc.valid())
            return loseArea(take.sample, Area::Processes, errno, "proc");
        ++m_samples;
        readHost(take);
        m_texts.begin(take.root, proc.get());
        DirectoryWalk walk(std::move(proc), m_room);
        list(walk);
        take.sample.processes.clear();
        m_unread = 0;
        m_known.begin();
        for (const std::uint64_t pid : m_pids) {
            if (m_progress->isGivenUp())
                return;
            takeListed(take, pid);
        }
        if (m_isWhole)
            m_texts.finish();
        else
            noteFailure(take.sample.area(Area::Processes), EIO, "proc");
        countProcesses(take.sample.processes, m_unread, take.sample.processTotals);
    }

private:
    // Directory entries that are the numbers of processes, as the kernel writes them, in their order.
    void list(DirectoryWalk &walk) {
        m_pids.clear();
        while (const char *name = walk.next()) {
            const char *cursor = name;
            unsigned long long pid = 0;
            if (*name >= '1' && *name <= '9' && scanPlain(cursor, pid) && *cursor == '\0' && pid <= pidLimit)
                m_pids.push_back(pid);
        }
        m_isWhole = walk.error() == 0;
        if (!std::is_sorted(m_pids.begin(), m_pids.end())) // the kernel's own are
            std::sort(m_pids.begin(), m_pids.end());
    }

    void readHost(Take &take) {
        m_users.refresh(take.root);
        // Kernels from 5.14 on account for delays only when they are told to, and write 0 otherwise.
        m_units.accountsForDelays = m_delays.read(take.root) != 0 || !m_delays.text().starts_with('0');
    }

    void takeListed(Take &take, std::uint64_t pid) {
        Process &process = take.sample.processes.append();
        process.pid = pid;
        m_progress->startProcess(pid);
        m_texts.select(pid);
        m_isGone = false;
        m_trace = 0;
        m_line.state = '\0';
        takeProcess(take, process);
        if (!m_isGone)
            return;
        take.sample.processes.dropLast();
        ++m_unread;
    }

    // Each step may find that the process is gone; then the row is taken back.
    void takeProcess(Take &take, Process &process) {
        if (const SilentProcess *silent = m_progress->findWithoutStat(process.pid))
            return loseWithoutStat(take, *silent, process);
        takeStat(take, process);
        if (m_isGone)
            return;
        KnownProcess &known = m_known.next(process);
        m_isDue = known.isNew || (m_samples + process.pid) % SAMPLES_PER_READING == 0 || m_line.state == 'R';
        m_isStatSame = !m_isDue && known.statTrace == m_trace;
        known.statTrace = m_trace;
        const bool hasMemory = !process.kernelThread || *process.kernelThread == 0;
        m_progress->identify(process.startSeconds);
        takeUser(process, known);
        if (m_isGone)
            return;
        takeMemory(process, known, hasMemory);
        if (const SilentProcess *silent = m_progress->find(process))
            return loseSilent(take, *silent, process, known);
        process.proportionalBytes = take.options.proportionalMemory ? Absence::Unsupported : Absence::NotAsked;
        if (!m_isGone && hasMemory && take.options.proportionalMemory)
            takeProportional(process);
        if (!m_isGone)
            takeIo(process);
        if (!m_isGone)
            takeRemembered(process, known, hasMemory);
    }

    // The reason for a failed read. A process without files is gone, unless its directory is still there.
    Absence reasonOf(int error) {
        if (error != ENOENT && error != ESRCH)
            return absenceOf(error);
        m_isGone = m_texts.isGone();
        return Absence::Unsupported;
    }

    // It changes only while the process runs.
    void takeUser(Process &process, KnownProcess &known) {
        if (!m_isStatSame)
            readUser(known);
        process.userId = known.userId;
        if (process.userId)
            m_users.take(static_cast<uid_t>(*process.userId), process.user);
        else
            process.user.clear(process.userId.absence());
    }

    void readUser(KnownProcess &known) {
        uid_t user = 0;
        const int error = m_texts.owner(user);
        known.userId = error == 0 ? Count(user) : Count(reasonOf(error));
    }

    void takeStat(Take &take, Process &process) {
        std::string_view text;
        if (const int error = m_texts.stat(text); error != 0) {
            if (const Absence reason = reasonOf(error); !m_isGone)
                loseProcess(take, error, reason, process);
            return;
        }
        m_trace = traceOf(text);
        if (!parseStatLine(text, m_line))
            return loseProcess(take, EBADMSG, Absence::Malformed, process);
        if (m_line.isRemoved()) {
            m_isGone = true;
            return;
        }
        takeStatLine(m_line, m_units, process);
    }

    // It stays in the list.
    void loseProcess(Take &take, int error, Absence reason, Process &process) {
        noteFailure(take.sample.area(Area::Processes), error, m_texts.path("/stat"));
        loseStat(reason, process);
        ++m_unread;
    }

    // Its directory says whose it is without its locks.
    void loseWithoutStat(Take &take, const SilentProcess &silent, Process &process) {
        loseStat(Absence::TimedOut, process);
        KnownProcess &known = m_known.next(process);
        m_isStatSame = false;
        takeUser(process, known);
        if (m_isGone)
            return;
        loseProcess(take, ETIMEDOUT, Absence::TimedOut, process);
        loseMemory(Absence::TimedOut, process);
        loseSilent(take, silent, process, known);
    }

    // A process that has held a reading up: what it answers under its own locks is not asked again.
    void loseSilent(Take &take, const SilentProcess &silent, Process &process, KnownProcess &known) {
        noteSilence(take.sample.area(Area::Processes), silent.seconds(), m_texts.path(""));
        process.proportionalBytes = take.options.proportionalMemory ? Absence::TimedOut : Absence::NotAsked;
        m_io.forget(process, Absence::TimedOut);
        process.descriptors = Absence::TimedOut;
        for (Reading<std::string> *text : {&process.commandLine, &process.cgroup, &process.container})
            text->clear(Absence::TimedOut);
        known.startSeconds = Absence::TimedOut; // once it answers all of it is read, as of a new one
    }

    // A stat line that is the same to the byte says the same of the memory, in coarser terms.
    void takeMemory(Process &process, KnownProcess &known, bool hasMemory) {
        if (!hasMemory)
            return loseMemory(Absence::Unsupported, process);
        if (!m_isStatSame)
            readMemory(process);
        for (std::size_t field = 0; field < known.memory.size(); ++field) {
            Count &value = process.*MEMORY_FIELDS[field];
            (m_isStatSame ? value : known.memory[field]) = m_isStatSame ? known.memory[field] : value;
        }
    }

    void readMemory(Process &process) {
        std::string_view text;
        if (const int error = m_texts.statm(text); error != 0)
            return loseMemory(reasonOf(error), process);
        takeStatm(text.data(), m_units, process);
    }

    void takeProportional(Process &process) {
        std::string_view text;
        if (const int error = m_texts.smapsRollup(text); error != 0) {
            process.proportionalBytes = reasonOf(error);
            return;
        }
        process.proportionalBytes = Absence::Malformed;
        m_rollup.parse(text.data(), process);
    }

    void takeIo(Process &process) {
        std::string_view text;
        const int error = m_texts.io(text);
        const Absence reason = error == 0 ? Absence::Malformed : reasonOf(error);
        m_trace += traceOf(text);
        m_io.forget(process, reason);
        if (error == 0)
            m_io.parse(text.data(), process);
    }

    void readCommand(KnownProcess &known, bool hasMemory) {
        std::string_view text;
        if (!hasMemory)
            return known.commandLine.clear(Absence::Unsupported);
        if (const int error = m_texts.commandLine(text); error != 0)
            return known.commandLine.clear(reasonOf(error));
        takeCommandLine(m_texts.text(), text.size(), known.commandLine);
    }

    // What a process changes only while it runs, and its cgroup.
    void takeRemembered(Process &process, KnownProcess &known, bool hasMemory) {
        const bool mayHaveRun = m_isDue || known.trace != m_trace;
        known.trace = m_trace;
        const bool isCgroupDue = known.isNew || (m_samples + process.pid) % SAMPLES_PER_READING == 0;
        if (mayHaveRun)
            readCommand(known, hasMemory);
        if (!m_isGone && isCgroupDue)
            readCgroup(known);
        if (!m_isGone && mayHaveRun)
            readDescriptors(known);
        process.commandLine = known.commandLine;
        process.cgroup = known.cgroup;
        process.container = known.container;
        process.descriptors = known.descriptors;
    }

    void readCgroup(KnownProcess &known) {
        std::string_view text;
        const int error = m_texts.cgroup(text);
        const std::string_view path = cgroupPath(text);
        if (error == 0 && !path.empty()) {
            known.cgroup.set(path);
            return takeContainer(path, known.container);
        }
        const Absence reason = error != 0 ? reasonOf(error) : text.empty() ? Absence::Unsupported : Absence::Malformed;
        known.cgroup.clear(reason);
        known.container.clear(reason);
    }

    void readDescriptors(KnownProcess &known) {
        std::uint64_t count = 0;
        const int error = m_texts.descriptors(count);
        known.descriptors = error == 0 ? Count(count) : Count(reasonOf(error));
    }

    std::shared_ptr<ProcessProgress> m_progress;
    ProcessUnits m_units{static_cast<double>(sysconf(_SC_CLK_TCK)), static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)),
                         true};
    SourceFile m_delays{"proc/sys/kernel/task_delayacct"};
    UserNames m_users;
    ProcessTexts m_texts;
    StatLine m_line;
    KeyedLines<Process> m_io{ioKeys, ':'}, m_rollup{rollupKeys, ':'};
    std::vector<std::uint64_t> m_pids;
    KnownProcesses m_known;
    // Of the process that is being read:
    std::uint64_t m_trace = 0;
    bool m_isDue = false; // everything of it is read, but the cgroup
    bool m_isStatSame = false;
    bool m_isGone = false;
    std::uint64_t m_samples = 0;
    std::uint64_t m_unread = 0;
    bool m_isWhole = false; // the list, as far as it could be read
    DirectoryRoom<32768> m_room{};
};

} // namespace

std::unique_ptr<AreaReader> processReader() {
    return processReader(std::make_shared<ProcessProgress>());
}

std::unique_ptr<AreaReader> processReader(std::shared_ptr<ProcessProgress> progress) {
    return std::make_unique<ProcessReader>(std::move(progress));
}

} // namespace zel

// Reads the processes: lists /proc, and of each process the files that a sample needs.
#include "host/areas/AreaReader.h"
#include "host/areas/ContainerId.h"
#include "host/areas/KeyedLines.h"
#include "host/areas/ProcessCount.h"
#include "host/areas/ProcessParse.h"
#include "host/areas/ProcessTexts.h"
#include "host/areas/UserNames.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace zel {

namespace {

// Of the samples one in so many reads the cgroup of a process, beside those in which it is new or renamed.
constexpr std::uint64_t samplesPerCgroup = 8;

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

// What is remembered of a process for the next sample.
struct Known {
    std::uint64_t pid = 0;
    Number startSeconds;
    std::string name;
    Reading<std::string> cgroup, container;
};

class ProcessReader : public AreaReader {
public:
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
        m_now.clear();
        m_place = 0;
        for (const std::uint64_t pid : m_pids)
            takeListed(take, pid);
        std::swap(m_before, m_now);
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
        m_texts.select(pid);
        m_isGone = false;
        takeProcess(take, process);
        if (!m_isGone)
            return;
        take.sample.processes.dropLast();
        ++m_unread;
    }

    // Each step may find that the process is gone; then the row is taken back.
    void takeProcess(Take &take, Process &process) {
        takeUser(process);
        if (m_isGone)
            return;
        takeStat(take, process);
        const bool hasMemory = !process.kernelThread || *process.kernelThread == 0;
        if (!m_isGone)
            takeMemory(take, process, hasMemory);
        if (!m_isGone)
            takeIo(process);
        if (!m_isGone)
            takeCommand(process, hasMemory);
        if (!m_isGone)
            takeCgroup(process);
        if (!m_isGone)
            takeDescriptors(process);
    }

    // The reason for a failed read. A process without files is gone, unless its directory is still there.
    Absence reasonOf(int error) {
        if (error != ENOENT && error != ESRCH)
            return absenceOf(error);
        m_isGone = m_texts.isGone();
        return Absence::Unsupported;
    }

    void takeUser(Process &process) {
        uid_t user = 0;
        if (const int error = m_texts.owner(user); error != 0) {
            process.userId = reasonOf(error);
            return process.user.clear(process.userId.absence());
        }
        process.userId = user;
        m_users.take(user, process.user);
    }

    void takeStat(Take &take, Process &process) {
        std::string_view text;
        if (const int error = m_texts.stat(text); error != 0) {
            if (const Absence reason = reasonOf(error); !m_isGone)
                loseProcess(take, error, reason, process);
            return;
        }
        if (!parseStatLine(text, process.pid, m_line))
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

    void takeMemory(const Take &take, Process &process, bool hasMemory) {
        process.proportionalBytes = Absence::Unsupported;
        if (!hasMemory)
            return loseMemory(Absence::Unsupported, process);
        std::string_view text;
        if (const int error = m_texts.statm(text); error != 0)
            return loseMemory(reasonOf(error), process);
        takeStatm(text.data(), m_units, process);
        if (take.options.proportionalMemory)
            takeProportional(process);
    }

    void takeProportional(Process &process) {
        std::string_view text;
        if (const int error = m_texts.smapsRollup(text); error != 0) {
            process.proportionalBytes = reasonOf(error);
            return;
        }
        process.proportionalBytes = Absence::Malformed;
        m_rollup.parse(text.data(), ':', process);
    }

    void takeIo(Process &process) {
        std::string_view text;
        const int error = m_texts.io(text);
        const Absence reason = error == 0 ? Absence::Malformed : reasonOf(error);
        for (const KeyedEntry<Process> &entry : ioKeys)
            process.*entry.member = reason;
        if (error == 0)
            m_io.parse(text.data(), ':', process);
    }

    void takeCommand(Process &process, bool hasMemory) {
        std::string_view text;
        if (!hasMemory)
            return process.commandLine.clear(Absence::Unsupported);
        if (const int error = m_texts.commandLine(text); error != 0)
            return process.commandLine.clear(reasonOf(error));
        takeCommandLine(m_texts.text(), text.size(), process.commandLine);
    }

    // Both lists are in the order of the pids.
    Known *before(const Process &process) {
        while (m_place < m_before.size() && m_before[m_place].pid < process.pid)
            ++m_place;
        return m_place < m_before.size() && m_before[m_place].pid == process.pid ? &m_before[m_place] : nullptr;
    }

    bool isSame(const Known &known, const Process &process) const {
        return known.startSeconds && process.startSeconds && *known.startSeconds == *process.startSeconds &&
               known.name == process.name;
    }

    void takeCgroup(Process &process) {
        Known &known = m_now.append();
        Known *const earlier = before(process);
        const bool isDue = (m_samples + process.pid) % samplesPerCgroup == 0;
        const bool isKnown = earlier != nullptr && !isDue && isSame(*earlier, process);
        if (isKnown)
            std::swap(known, *earlier);
        else
            readCgroup(process, known);
        process.cgroup = known.cgroup;
        process.container = known.container;
    }

    void readCgroup(const Process &process, Known &known) {
        known.pid = process.pid;
        known.startSeconds = process.startSeconds;
        known.name = process.name;
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

    void takeDescriptors(Process &process) {
        std::uint64_t count = 0;
        const int error = m_texts.descriptors(count);
        process.descriptors = error == 0 ? Count(count) : Count(reasonOf(error));
    }

    ProcessUnits m_units{static_cast<double>(sysconf(_SC_CLK_TCK)), static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)),
                         true};
    SourceFile m_delays{"proc/sys/kernel/task_delayacct"};
    UserNames m_users;
    ProcessTexts m_texts;
    StatLine m_line;
    KeyedLines<Process> m_io{ioKeys}, m_rollup{rollupKeys};
    std::vector<std::uint64_t> m_pids;
    Rows<Known> m_before, m_now; // by pid
    std::size_t m_place = 0;     // in m_before, of the process that comes next
    std::uint64_t m_samples = 0;
    std::uint64_t m_unread = 0;
    bool m_isGone = false;
    DirectoryRoom<32768> m_room{};
};

} // namespace

std::unique_ptr<AreaReader> processReader() {
    return std::make_unique<ProcessReader>();
}

} // namespace zel

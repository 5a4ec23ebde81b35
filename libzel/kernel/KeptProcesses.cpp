// Which files of processes stay open, for how long, and in which places.
#include "kernel/KeptProcesses.h"

#include <algorithm>
#include <fcntl.h>
#include <linux/capability.h>
#include <new>
#include <numeric>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zel {

namespace {

constexpr std::size_t checkedPerScan = 8;
constexpr int spared = 2; // descriptors, for what a scan opens beside the files of processes
// Descriptors below it are left to the program, where its limit allows: select() knows no others.
constexpr int firstNumber = 1024;

constexpr std::uint64_t rightTo(int capability) {
    return std::uint64_t{1} << capability;
}

std::uint64_t effectiveRights() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
    if (syscall(SYS_capget, &header, data) != 0)
        return 0;
    return std::uint64_t{data[1].effective} << 32 | data[0].effective;
}

// Whoever may look into every process but not open every file reads a kept file that he could not open anew: the file
// of a process that has just become one that others may debug belongs to its user again.
bool readsWhatCannotBeOpened(std::uint64_t rights) {
    return (rights & rightTo(CAP_SYS_PTRACE)) != 0 &&
           (rights & (rightTo(CAP_DAC_READ_SEARCH) | rightTo(CAP_DAC_OVERRIDE))) == 0;
}

bool isOpen(int descriptor) {
    return descriptor >= 0;
}

// Away from the numbers that the program uses itself. The file stays where it is when there is no room.
ScopedDescriptor moved(ScopedDescriptor file) {
    ScopedDescriptor high(fcntl(file.get(), F_DUPFD_CLOEXEC, firstNumber));
    return high.valid() ? std::move(high) : std::move(file);
}

} // namespace

bool KeptProcess::hasFiles() const {
    return std::any_of(descriptors.begin(), descriptors.end(), isOpen);
}

KeptProcesses::Reader KeptProcesses::readerOf(int directory) {
    struct stat status {};
    if (fstat(directory, &status) != 0)
        return {};
    return {identityOf(status), effectiveRights(), geteuid(), forksSoFar()};
}

void KeptProcesses::begin(int directory, bool kernelsOwn) {
    ++m_scan;
    m_next = 0;
    m_used = {};
    m_new.clear();
    m_kernelsOwn = kernelsOwn;
    m_limit = kernelsOwn ? m_places.limit() : 0;
    m_keeping = m_limit > 0;
    const Reader reader = m_keeping ? readerOf(directory) : Reader{};
    if (!m_keeping || reader != m_reader)
        dropAll();
    m_reader = reader;
    if (!m_keeping)
        return;
    checkSome();
    keepWithin(m_limit);
    spareDescriptors(directory);
}

// The places that are there for this collector, file by file in their order.
void KeptProcesses::keepWithin(int limit) {
    dropLast(std::max(m_places.taken() - limit, 0));
    int rest = limit - (m_places.taken() - count());
    for (std::size_t file = 0; file < PROCESS_FILES; ++file) {
        const int share = std::clamp(rest, 0, m_wanted[file]);
        m_room[file] = share - m_open[file];
        rest -= share;
    }
    if (readsWhatCannotBeOpened(m_reader.rights))
        m_room[static_cast<std::size_t>(ProcessFile::Io)] = 0;
}

// A user's name or the clock may need a descriptor in the middle of a scan.
void KeptProcesses::spareDescriptors(int directory) {
    while (count() > 0) {
        ScopedDescriptor spare[spared] = {ScopedDescriptor(fcntl(directory, F_DUPFD_CLOEXEC, 0)),
                                          ScopedDescriptor(fcntl(directory, F_DUPFD_CLOEXEC, 0))};
        if (spare[spared - 1].valid() || !makeWay())
            return;
    }
}

void KeptProcesses::finish() {
    if (!m_keeping)
        return;
    for (std::size_t file = 0; file < PROCESS_FILES; ++file)
        m_wanted[file] = m_used[file] > 0 ? m_used[file] : m_wanted[file];
    for (KeptProcess &process : m_known) {
        if (process.scan != m_scan)
            drop(process);
    }
    std::erase_if(m_known, [this](const KeptProcess &process) { return process.scan != m_scan; });
    mergeNew();
}

KeptProcess *KeptProcesses::find(int pid) {
    if (!m_keeping)
        return nullptr;
    if (m_next == m_known.size() || m_known[m_next].pid != pid) {
        const auto at = std::lower_bound(m_known.begin(), m_known.end(), pid,
                                         [](const KeptProcess &process, int wanted) { return process.pid < wanted; });
        m_next = static_cast<std::size_t>(at - m_known.begin());
        if (at == m_known.end() || at->pid != pid) {
            remember(pid);
            return nullptr;
        }
    }
    KeptProcess &process = m_known[m_next++];
    process.scan = m_scan;
    return &process;
}

// Without memory for it the process stays a new one.
void KeptProcesses::remember(int pid) {
    try {
        m_new.push_back(pid);
    } catch (const std::bad_alloc &) {
    }
}

// From the back, so that each process is moved once.
void KeptProcesses::mergeNew() {
    std::sort(m_new.begin(), m_new.end());
    m_new.erase(std::unique(m_new.begin(), m_new.end()), m_new.end());
    std::size_t from = m_known.size();
    try {
        m_known.resize(from + m_new.size());
    } catch (const std::bad_alloc &) {
        return;
    }
    for (std::size_t to = m_known.size(); !m_new.empty(); --to) {
        const bool isNew = from == 0 || m_known[from - 1].pid < m_new.back();
        m_known[to - 1] = isNew ? KeptProcess{.pid = m_new.back(), .scan = m_scan} : m_known[from - 1];
        if (isNew)
            m_new.pop_back();
        else
            --from;
    }
}

void KeptProcesses::takeOwner(KeptProcess &process, uid_t user, gid_t group) {
    const std::uint64_t owner = std::uint64_t{user} << 32 | group;
    if (owner == process.owner)
        return;
    drop(process);
    process.owner = owner;
}

// A number that the system hands out while it is ours has been closed by somebody else.
void KeptProcesses::keep(KeptProcess &process, ProcessFile file, ScopedDescriptor opened) {
    const auto index = static_cast<std::size_t>(file);
    if (!m_keeping || m_room[index] <= 0 || !m_places.takeWithin(m_limit))
        return;
    ScopedDescriptor kept = moved(std::move(opened));
    struct stat status {};
    if (fstat(kept.get(), &status) != 0 || status.st_dev != m_reader.directory.device || !claimNumber(kept.get())) {
        m_places.giveBack();
        return;
    }
    process.descriptors[index] = kept.release();
    process.inodes[index] = status.st_ino;
    ++m_open[index];
    --m_room[index];
}

bool KeptProcesses::claimNumber(int descriptor) {
    const auto number = static_cast<std::size_t>(descriptor);
    try {
        m_numbers.resize(std::max(m_numbers.size(), number + 1));
    } catch (const std::bad_alloc &) {
        return false;
    }
    if (m_numbers[number])
        confirmAll();
    m_numbers[number] = true;
    return true;
}

bool KeptProcesses::isOurs(const KeptProcess &process, std::size_t file) const {
    struct stat now {};
    return fstat(process.descriptors[file], &now) == 0 &&
           identityOf(now) == FileIdentity{m_reader.directory.device, process.inodes[file]};
}

bool KeptProcesses::confirm(KeptProcess &process, ProcessFile file) {
    if (isOurs(process, static_cast<std::size_t>(file)))
        return true;
    confirmAll();
    return false;
}

// One file of each of some processes, in each scan of others.
void KeptProcesses::checkSome() {
    for (std::size_t i = 0; i < checkedPerScan && !m_known.empty(); ++i) {
        const KeptProcess &process = m_known[(i * m_known.size() / checkedPerScan + m_scan) % m_known.size()];
        const auto open = std::find_if(process.descriptors.begin(), process.descriptors.end(), isOpen);
        if (open == process.descriptors.end() ||
            isOurs(process, static_cast<std::size_t>(open - process.descriptors.begin())))
            continue;
        confirmAll();
        return;
    }
}

void KeptProcesses::confirmAll() {
    for (KeptProcess &process : m_known) {
        for (std::size_t file = 0; file < PROCESS_FILES; ++file) {
            if (isOpen(process.descriptors[file]) && !isOurs(process, file))
                forget(process, file);
        }
    }
}

void KeptProcesses::forget(KeptProcess &process, std::size_t file) {
    m_numbers[static_cast<std::size_t>(process.descriptors[file])] = false;
    process.descriptors[file] = -1;
    --m_open[file];
    m_places.giveBack();
}

void KeptProcesses::drop(KeptProcess &process, ProcessFile file) {
    const auto index = static_cast<std::size_t>(file);
    if (!isOpen(process.descriptors[index]))
        return;
    const ScopedDescriptor closed(isOurs(process, index) ? process.descriptors[index] : -1);
    forget(process, index);
}

void KeptProcesses::drop(KeptProcess &process) {
    for (std::size_t file = 0; file < PROCESS_FILES; ++file)
        drop(process, static_cast<ProcessFile>(file));
}

// Of the last processes, and of each the least useful first.
void KeptProcesses::dropLast(int files) {
    const int wanted = count() - files;
    for (auto process = m_known.rbegin(); process != m_known.rend() && count() > wanted; ++process) {
        for (std::size_t file = PROCESS_FILES; file > 0 && count() > wanted; --file)
            drop(*process, static_cast<ProcessFile>(file - 1));
    }
}

bool KeptProcesses::makeWay() {
    m_room = {};
    if (count() == 0)
        return false;
    dropLast(1);
    return true;
}

void KeptProcesses::dropAll() {
    dropLast(count());
    m_known.clear();
}

int KeptProcesses::count() const {
    return std::accumulate(m_open.begin(), m_open.end(), 0);
}

} // namespace zel

// The files of processes that stay open between the scans of one collector, which halves what reading them costs.
//
// What they give is what files that are opened anew give: the kernel binds an open file to the process, not to its
// number, and looks at the process, at its memory and at the rights of the reader in every read. A file of a process
// that has ended answers no read. The files of a process whose owner changed are opened anew, and so are all when /proc
// is another one, when the rights of the reader changed, and in the child of a fork.
//
// A process gets places in the second scan that lists it, and has them until a whole scan lists it no more: nobody
// loses places to a newcomer. Where there are too few, those files come first that save most for the memory they take.
//
// Programs that become daemons close every descriptor that they know nothing of. A number that means another file by
// now is not closed, and not believed: a command line is read from a descriptor that was compared with the file that
// was opened, and of the others the text has to be of that kind, and that of stat of that process; else they are
// compared too. Each scan also compares some of all, and all of them as soon as one is wrong.
//
// One object per collector, used by one thread at a time. Nothing is allocated in steady state.
#pragma once

#include "host/FileIdentity.h"
#include "host/ScopedHandle.h"
#include "kernel/KeptPlaces.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zel {

/// In the order in which places are spent: by processor time saved per memory of the kernel (bench/README.md). One more
/// file is one more name here and in ProcessFiles.cpp, with the sign by which its text is known, if there is one.
enum class ProcessFile : unsigned char { CommandLine, Io, Stat, Statm };
inline constexpr std::size_t PROCESS_FILES = 4;

/// The open files of one process.
struct KeptProcess {
    int pid = 0;
    unsigned scan = 0;       // the last that listed it
    std::uint64_t owner = 0; // user and group
    std::array<int, PROCESS_FILES> descriptors{-1, -1, -1, -1};
    std::array<ino_t, PROCESS_FILES> inodes{};

    int descriptor(ProcessFile file) const { return descriptors[static_cast<std::size_t>(file)]; }
    bool hasFiles() const;
};

class KeptProcesses {
public:
    explicit KeptProcesses(KeptPlaces &places) : m_places(places) {}
    ~KeptProcesses() { dropAll(); }

    KeptProcesses(const KeptProcesses &) = delete;
    KeptProcesses &operator=(const KeptProcesses &) = delete;

    /// Begins a scan of the processes in `directory`, an open /proc. Files stay open where that is `kernelsOwn`: not a
    /// tree of files in its place.
    void begin(int directory, bool kernelsOwn);
    /// Ends a scan that has asked for every process there is: the places of all others are free.
    void finish();
    bool isKernelsOwn() const { return m_kernelsOwn; }

    /// The files of process `pid`, valid until the end of the scan; null for one that no earlier scan listed. Pids that
    /// come in ascending order, as /proc lists them, are found at once.
    KeptProcess *find(int pid);
    /// Closes what was opened for another owner.
    void takeOwner(KeptProcess &process, uid_t user, gid_t group);
    /// Takes a file that was opened and could be read, where there is a place; it is closed otherwise.
    void keep(KeptProcess &process, ProcessFile file, ScopedDescriptor opened);
    /// Whether an open descriptor means the file that was opened. Where it does not, it is forgotten.
    bool confirm(KeptProcess &process, ProcessFile file);
    void drop(KeptProcess &process, ProcessFile file);
    void drop(KeptProcess &process);
    /// For a new process too: how many there are of a file decides on its places in the next scan.
    void countUse(ProcessFile file) { ++m_used[static_cast<std::size_t>(file)]; }

    /// Closes one file for somebody who has no descriptor left; nothing more is kept in this scan. False when none is
    /// open.
    bool makeWay();
    /// Closes everything.
    void dropAll();
    /// Files that are open.
    int count() const;

private:
    using Counts = std::array<int, PROCESS_FILES>;

    // Whoever scans: with other rights, or in another /proc, he would open other files.
    struct Reader {
        FileIdentity directory;
        std::uint64_t rights = 0;
        uid_t user = 0;
        unsigned forks = 0;

        bool operator==(const Reader &) const = default;
    };

    static Reader readerOf(int directory);
    void keepWithin(int limit);
    void spareDescriptors(int directory);
    void checkSome();
    void confirmAll();
    bool isOurs(const KeptProcess &process, std::size_t file) const;
    void forget(KeptProcess &process, std::size_t file);
    bool claimNumber(int descriptor);
    void dropLast(int files);
    void remember(int pid);
    void mergeNew();

    KeptPlaces &m_places;
    std::vector<KeptProcess> m_known; // by pid
    std::vector<int> m_new;           // pids that this scan listed first
    std::vector<bool> m_numbers;      // descriptors that are ours
    std::size_t m_next = 0;           // where the process after the last one asked for is
    unsigned m_scan = 0;
    Reader m_reader;
    Counts m_open{};   // files
    Counts m_used{};   // in this scan, open or not
    Counts m_wanted{}; // in the last scan that used them
    Counts m_room{};   // that may be opened in this scan
    int m_limit = 0;
    bool m_kernelsOwn = false;
    bool m_keeping = false;
};

} // namespace zel

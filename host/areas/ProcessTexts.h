// The files of one process after the other, as texts: on the host itself from descriptors that stay open where its
// budget allows, below a root directory by confined opens.
#pragma once

#include "host/DirectoryWalk.h"
#include "host/source/HostDirectory.h"
#include "kernel/ProcessFiles.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <sys/types.h>

namespace zel {

class ProcessTexts {
public:
    /// Most bytes that are taken of a file; the kernel's own records are shorter.
    static constexpr std::size_t RECORD_LIMIT = PROCESS_RECORD_SIZE;
    static constexpr std::size_t COMMAND_LINE_LIMIT = 4096;

    /// Begins a sample of the processes in `directory`, an open proc of `root`, which are asked for in the order of
    /// their pids.
    void begin(const HostDirectory &root, int directory);
    /// Ends a sample that has asked for every process: files of others are closed.
    void finish();

    /// Goes on with process `pid`. What follows is about it.
    void select(std::uint64_t pid);

    /// Each gives 0, or the errno that kept it from being read. A text is terminated and holds until the next is asked
    /// for. The owner is asked for first.
    int owner(uid_t &user);
    int stat(std::string_view &text);
    int statm(std::string_view &text);
    int io(std::string_view &text);
    int commandLine(std::string_view &text);
    int cgroup(std::string_view &text) { return read("/cgroup", RECORD_LIMIT, text); }
    int smapsRollup(std::string_view &text) { return read("/smaps_rollup", RECORD_LIMIT, text); }
    int descriptors(std::uint64_t &count);

    /// Whether the process is not there any more.
    bool isGone();
    /// The text that was read last, to be written to.
    char *text() { return m_text.data(); }
    /// The path of a file, from the root on.
    const char *path(std::string_view name);

private:
    enum class SizeCounts : unsigned char { Unknown, Yes, No };

    int read(std::string_view name, std::size_t limit, std::string_view &text);
    int taken(const char *text, std::string_view &result) const;
    int countEntries(std::uint64_t &count);
    bool sizeCounts();

    const HostDirectory *m_root = nullptr;
    int m_directory = -1;
    SizeCounts m_sizeCounts = SizeCounts::Unknown; // the size of a directory fd is the number of descriptors
    std::size_t m_pidEnd = 0;
    std::array<char, 64> m_path{};
    std::array<char, RECORD_LIMIT + 1> m_text{};
    DirectoryRoom<4096> m_room{};

    int m_placesLeft = 0; // by the other areas
    KeptPlaces m_places{m_placesLeft};
    KeptProcesses m_kept{m_places};
    std::optional<ProcessFiles> m_files; // of the selected process, on the host itself
};

} // namespace zel

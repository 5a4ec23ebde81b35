// The files of one process after the other, as texts.
#pragma once

#include "host/DirectoryWalk.h"
#include "host/source/HostDirectory.h"

#include <array>
#include <cstdint>
#include <string_view>
#include <sys/types.h>

namespace zel {

class ProcessTexts {
public:
    /// Most bytes that are taken of a file; the kernel's own records are shorter.
    static constexpr std::size_t RECORD_LIMIT = 10240;
    static constexpr std::size_t COMMAND_LINE_LIMIT = 4096;

    /// Begins a sample of the processes in `directory`, an open proc of `root`.
    void begin(const HostDirectory &root, int directory);

    /// Goes on with process `pid`. What follows is about it.
    void select(std::uint64_t pid);

    /// Each gives 0, or the errno that kept it from being read. A text is terminated and holds until the next is asked
    /// for.
    int owner(uid_t &user);
    int stat(std::string_view &text) { return read("/stat", RECORD_LIMIT, text); }
    int statm(std::string_view &text) { return read("/statm", RECORD_LIMIT, text); }
    int io(std::string_view &text) { return read("/io", RECORD_LIMIT, text); }
    int commandLine(std::string_view &text) { return read("/cmdline", COMMAND_LINE_LIMIT, text); }
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
    int read(std::string_view name, std::size_t limit, std::string_view &text);
    int countEntries(std::uint64_t &count);
    bool sizeCounts();

    enum class SizeCounts : unsigned char { Unknown, Yes, No };

    const HostDirectory *m_root = nullptr;
    int m_directory = -1;
    SizeCounts m_sizeCounts = SizeCounts::Unknown; // the size of a directory fd is the number of descriptors
    std::size_t m_pidEnd = 0;
    std::array<char, 64> m_path{};
    std::array<char, RECORD_LIMIT + 1> m_text{};
    DirectoryRoom<4096> m_room{};
};

} // namespace zel

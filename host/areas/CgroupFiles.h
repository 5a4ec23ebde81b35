// The directory of one cgroup and the files in it: which of them stay open, and which it lacks.
#pragma once

#include "host/areas/CgroupParse.h"
#include "host/source/Clocks.h"
#include "host/source/HostDirectory.h"
#include "kernel/FileBuffer.h"

#include <array>
#include <cstdint>
#include <sys/stat.h>

namespace zel {

class CgroupFiles {
public:
    /// What a cgroup lacks on the host itself is not looked for again before this time has gone by.
    static constexpr std::int64_t SECONDS_BEFORE_NEXT_TRY = 30;

    /// Opens the directory for a sample, which is the one that stayed open or else the one at `path` (from the root
    /// on): 0, or an errno.
    int open(const HostDirectory &root, const char *path);
    /// Ends the sample: the directory stays open when there is a place for it.
    void close(const HostDirectory &root);
    /// Ends the sample of a cgroup that has gone.
    void abandon();

    /// Of the open directory.
    int directory() const { return m_directory; }
    const struct stat &status() const { return m_status; }

    /// Reads a file: 0, or an errno. In the first sample none stays open: the directories come first.
    int read(const HostDirectory &root, CgroupFile file, FileBuffer &text);
    /// Whether a file was missing, or went, in this sample: so it is when the cgroup itself has gone.
    bool lostSome() const { return m_lostSome; }

private:
    static constexpr std::uint64_t SPREAD_SECONDS = 8;

    int readOpen(int file, FileBuffer &text) const;
    int readKept(std::size_t place, FileBuffer &text);
    int note(CgroupFile file, int error);

    KeptDescriptor m_keptDirectory;
    ScopedDescriptor m_opened{-1}; // in this sample
    int m_directory = -1;
    struct stat m_status {};
    std::array<KeptDescriptor, CGROUP_FILES_OF_EACH_SAMPLE> m_kept;
    std::uint32_t m_missing = 0; // a bit for each file
    std::int64_t m_missingSince = LONG_AGO;
    bool m_lostSome = false;
    bool m_mayKeepFiles = false;
};

} // namespace zel

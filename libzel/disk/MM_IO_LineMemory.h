// The lines of a disk file over the passes: a line whose bytes are those of the pass before says the same and is not
// parsed again. Most disks of a large host are idle.
#pragma once

#include "disk/MM_IO_Lines.h"
#include "kernel/WholeFile.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace zel {

/// What a pass does with a line.
enum class DiskLineKind {
    Ignored, // a partition, or a name that is left out: neither counted nor reported
    Short,   // counted alone
    Disk
};

/// What a line says. All but the kind is of a line with all counters alone.
struct DiskReading {
    DiskLineKind kind = DiskLineKind::Ignored;
    std::string_view name; // as the kernel prints it
    int key = 0;           // its hash
    unsigned long long readRequests = 0;
    unsigned long long writeRequests = 0;
    unsigned long long readSectors = 0;
    unsigned long long writeSectors = 0;
    unsigned long long busyMilliseconds = 0;
};

class DiskLineMemory {
public:
    /// Reads the file of `rules`. False when it cannot be read.
    bool read(const DiskLineRules &rules);

    /// A walk over its lines, for next().
    LineWalk lines() { return m_file.lines(DISK_LINE_LIMIT); }
    /// The next reading, or null after the last line. Valid until the next one.
    const DiskReading *next(LineWalk &lines);

private:
    struct Known {
        DiskReading reading;
        std::size_t nameOffset = 0; // of the line
        std::size_t length = 0;     // of the line, with its line feed
    };

    bool isAsBefore(Known &known, std::string_view text);
    void parse(const char *line, Known &known) const;

    const DiskLineRules *m_rules = nullptr;
    WholeFile m_file;
    WholeFile m_before;           // the text of the pass before
    std::vector<Known> m_known;   // by line: first m_taken of this pass, then of the one before
    std::size_t m_taken = 0;      // lines of this pass so far
    std::size_t m_previousAt = 0; // where the line of that number begins in the text before
};

} // namespace zel

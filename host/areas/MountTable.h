// The mounts of a host as its kernel lists them: /proc/self/mountinfo, or /proc/mounts where there is no such file.
#pragma once

#include "host/Schema.h"

#include <string>
#include <string_view>
#include <vector>

namespace zel {

/// One mount. Its numbers and what else only mountinfo has are unsupported in a table without them.
struct Mount {
    Count id, parent;
    Count major, minor;
    std::string mountPoint, device, type; // escapes resolved
    Reading<std::string> root;            // escapes resolved
    Reading<std::string> options, superOptions;
    Reading<std::string> propagation;
    Count readOnly; // by its options
    Count hidden;   // 1: a later mount is at its place, or on the way to it
};

/// Parses a line of mountinfo. False, and `mount` is in no particular state, for a line that is none.
bool parseMountInfo(std::string_view line, Mount &mount);
/// The same for a line of /proc/mounts.
bool parseMount(std::string_view line, Mount &mount);

class MountTable {
public:
    enum class Format { MountInfo, Mounts };

    /// Brings the table up to date with the text of its file. True when it is another text than before: one that is the
    /// same is not parsed again.
    bool parse(std::string_view text, Format format);
    const std::vector<Mount> &mounts() const { return m_mounts; }
    /// Lines that are none of a mount table.
    std::size_t malformedLines() const { return m_malformed; }

private:
    void noteHidden();

    std::string m_text;
    Format m_format = Format::MountInfo;
    std::vector<Mount> m_mounts;
    std::size_t m_malformed = 0;
};

} // namespace zel

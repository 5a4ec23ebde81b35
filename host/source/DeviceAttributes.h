// The attributes of one device below sys/class: small files with a number or a text each, and links.
//
// They are read afresh, but for those whose file the caller keeps open. Not to be used by two threads at once.
#pragma once

#include "host/FileIdentity.h"
#include "host/HostOpen.h"
#include "host/Schema.h"
#include "host/source/HostDirectory.h"

#include <array>
#include <climits>
#include <cstddef>
#include <string_view>

namespace zel {

class DeviceAttributes {
public:
    /// `name` is that of the device as the kernel has it: the '/' of "cciss/c0d0" is a '!' in sysfs. A name that is
    /// none of a file, such as "..", has no attributes.
    DeviceAttributes(const HostDirectory &root, std::string_view classDirectory, std::string_view name);

    /// Opens the directory of the device: 0 or an errno. From then on the attributes are those of this very device,
    /// whatever gets its name meanwhile, and only those in the directory itself.
    int hold();
    /// Of the directory that is held.
    const FileIdentity &identity() const { return m_identity; }
    /// The directory that is held once more, to walk over its names.
    ScopedDescriptor names() { return open("."); }

    /// Reads an attribute: 0, or the errno that kept it from being read. EINVAL is a driver's way of saying that it has
    /// none: EOPNOTSUPP.
    int read(std::string_view attribute);
    /// What was read last. Terminated; holds until the next read.
    std::string_view text() const { return {m_text.data(), m_length}; }

    Count number(std::string_view attribute);
    /// The same by a file that stays open while there is a place for it.
    Count number(std::string_view attribute, KeptDescriptor &kept);
    /// Without the blanks around it; an empty text is unsupported.
    void text(std::string_view attribute, Reading<std::string> &reading);
    /// Whether there is a file, directory or link of this name.
    bool has(std::string_view attribute);
    /// Where a link points to, as it stands there; an empty one is the device's own. Empty when it is none.
    std::string_view link(std::string_view attribute);

private:
    static constexpr std::size_t TEXT_SIZE = 4096; // of sysfs: one page

    const char *pathOf(std::string_view attribute);
    ScopedDescriptor open(std::string_view attribute, int flags = HOST_FILE_FLAGS);
    int readOpen(int file);

    const HostDirectory &m_root;
    ScopedDescriptor m_directory{-1}; // when it is held
    FileIdentity m_identity;
    std::array<char, PATH_MAX> m_path;
    std::size_t m_prefix = 0; // of the path: the directory of the device; 0 when it can have none
    std::array<char, TEXT_SIZE + 1> m_text;
    std::size_t m_length = 0;
};

/// The part of a path behind its last '/'.
std::string_view lastPart(std::string_view path);
/// The path without its last part and the '/' before that.
std::string_view withoutLastPart(std::string_view path);

} // namespace zel

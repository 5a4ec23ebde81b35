// A file that is read long after it was opened, and the rules under which its descriptor is trusted. No setting is read
// here.
//
// Programs that become daemons close every descriptor that they know nothing of: a number that means another file by
// now is neither read nor closed.
#pragma once

#include "host/FileIdentity.h"
#include "host/ScopedHandle.h"

namespace zel {

/// Whether an open file is of a proc, sysfs or cgroup2 file system, where the kernel writes what is read.
bool isKernelFile(int descriptor);

class HeldFile {
public:
    HeldFile() = default;
    /// An invalid descriptor, and one that cannot be looked at, hold nothing.
    explicit HeldFile(ScopedDescriptor file);
    ~HeldFile() { drop(); }
    HeldFile(HeldFile &&other) noexcept = default;
    HeldFile &operator=(HeldFile &&other) noexcept;

    /// Whether there is a file, which may be lost by now.
    bool holds() const { return m_file.valid(); }
    /// To be read with pread; -1 when nothing is held that can be trusted.
    int descriptor() const;
    /// Whether what is held is the file to which `path` leads now.
    bool isAt(const char *path) const;
    void drop();

private:
    bool isOurs() const;

    ScopedDescriptor m_file{-1};
    FileIdentity m_identity;
};

} // namespace zel

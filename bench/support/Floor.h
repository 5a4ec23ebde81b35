// The pieces that floors are made of: files read as the collectors read them, nothing done with them. A fresh floor
// opens and closes them, a kept floor has them open.
#pragma once

#include "host/ScopedHandle.h"

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

/// A kernel file of this host that stays open: what is left of a floor when nothing is opened and closed. Its reads are
/// those of the functions below.
class OpenFile {
public:
    explicit OpenFile(const char *path);

    int descriptor() const { return m_file.get(); }
    void readKernelFile(std::size_t room) const;
    void readWhole(std::size_t &room) const;
    void readToEnd(std::size_t room) const;

private:
    zel::ScopedDescriptor m_file;
};

/// A file below the host root as zel::KernelFile reads it: one read, and more when the first one gave a page.
void readKernelFile(const char *path, std::size_t room);

/// A file below the host root read to its end into a buffer of `room` bytes, which doubles when it is full, as
/// zel::WholeFile reads it. `room` keeps what it has grown to.
void readWhole(const char *path, std::size_t &room);

/// A file below the host root read to its end, `room` bytes at a time.
void readToEnd(const char *path, std::size_t room);

/// A file relative to a directory, with one read.
void readOnceAt(int directory, const char *path, std::size_t room);

/// Lists a directory; returns the names that do not begin with a dot.
void listDirectory(const char *path);

/// Bytes of a file below the host root, read whole.
std::size_t sizeOf(const char *path);

} // namespace bench

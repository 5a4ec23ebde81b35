// The pieces that floors are made of: files opened, read and closed as the collectors read them, nothing done with
// them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

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

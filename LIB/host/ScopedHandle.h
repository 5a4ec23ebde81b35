// Small owners of operating-system handles: no early return leaks one.
#pragma once

#include <cstdio>
#include <dirent.h>
#include <memory>
#include <unistd.h>
#include <utility>

namespace zel {

struct FileCloser {
    void operator()(std::FILE *file) const { std::fclose(file); }
};

struct PipeCloser {
    void operator()(std::FILE *pipe) const { pclose(pipe); }
};

struct DirectoryCloser {
    void operator()(DIR *directory) const { closedir(directory); }
};

using ScopedFile = std::unique_ptr<std::FILE, FileCloser>;
using ScopedPipe = std::unique_ptr<std::FILE, PipeCloser>;
using ScopedDirectory = std::unique_ptr<DIR, DirectoryCloser>;

/// Owns a descriptor (file or socket); a negative value owns nothing.
class ScopedDescriptor {
public:
    explicit ScopedDescriptor(int descriptor) : m_descriptor(descriptor) {}
    ~ScopedDescriptor() {
        if (m_descriptor >= 0)
            close(m_descriptor);
    }
    ScopedDescriptor(ScopedDescriptor &&other) noexcept : m_descriptor(other.release()) {}
    ScopedDescriptor &operator=(ScopedDescriptor &&other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ScopedDescriptor(const ScopedDescriptor &) = delete;
    ScopedDescriptor &operator=(const ScopedDescriptor &) = delete;

    bool valid() const { return m_descriptor >= 0; }
    /// Closes it now; false when the system reports that an earlier write failed.
    bool closeChecked() { return close(std::exchange(m_descriptor, -1)) == 0; }
    int get() const { return m_descriptor; }
    /// Gives it away; nothing is owned any more.
    int release() { return std::exchange(m_descriptor, -1); }

private:
    int m_descriptor;
};

} // namespace zel

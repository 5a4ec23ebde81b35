// Reads kernel files into buffers of a fixed size.
#include "kernel/KernelFile.h"

#include "SSUtil.h"
#include "host/HostOpen.h"

#include <algorithm>
#include <unistd.h>

namespace zel {

FileText readKernelFile(const ScopedDescriptor &file, char *buffer, std::size_t size) {
    if (!file.valid())
        return {{}, FileText::Failure::NotOpened};
    const std::size_t room = size - 1;
    // A read that a signal interrupts fails: that is how the watchdog frees a thread from a file that never answers.
    ssize_t count = read(file.get(), buffer, room);
    auto length = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    const bool failed = count < 0;
    const bool ofManyRecords = count >= CSSUtil::KERNEL_PAGE_RESULT;
    while (ofManyRecords && count > 0 && length < room) {
        count = read(file.get(), buffer + length, room - length);
        length += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    buffer[length] = '\0';
    return {{buffer, length}, failed ? FileText::Failure::NotRead : FileText::Failure::None};
}

FileText readKernelFile(const char *path, char *buffer, std::size_t size) {
    return readKernelFile(openHostFile(path), buffer, size);
}

KernelFile::KernelFile(const char *path, std::size_t size)
    : m_path(path), m_size(size), m_buffer(std::make_unique_for_overwrite<char[]>(size)) {}

} // namespace zel

// Reads kernel files into buffers of a fixed size.
#include "kernel/KernelFile.h"

#include "SSUtil.h"
#include "host/HostOpen.h"

#include <algorithm>
#include <unistd.h>

namespace zel {

namespace {

// `readAt` takes the place in the buffer, the room there and the offset in the file.
template<class ReadAt> FileText readWith(const ReadAt &readAt, char *buffer, std::size_t size) {
    const std::size_t room = size - 1;
    // A read that a signal interrupts fails: that is how the watchdog frees a thread from a file that never answers.
    ssize_t count = readAt(buffer, room, 0);
    auto length = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    const bool failed = count < 0;
    const bool ofManyRecords = count >= CSSUtil::KERNEL_PAGE_RESULT;
    while (ofManyRecords && count > 0 && length < room) {
        count = readAt(buffer + length, room - length, length);
        length += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    buffer[length] = '\0';
    return {{buffer, length}, failed ? FileText::Failure::NotRead : FileText::Failure::None};
}

} // namespace

FileText readKernelFile(const ScopedDescriptor &file, char *buffer, std::size_t size) {
    if (!file.valid())
        return {{}, FileText::Failure::NotOpened};
    const auto readOn = [&file](char *to, std::size_t room, std::size_t) { return ::read(file.get(), to, room); };
    return readWith(readOn, buffer, size);
}

FileText readKernelFile(const char *path, char *buffer, std::size_t size) {
    return readKernelFile(openHostFile(path), buffer, size);
}

KernelFile::KernelFile(const char *path, std::size_t size)
    : m_path(path), m_size(size), m_buffer(std::make_unique_for_overwrite<char[]>(size)) {}

FileText KernelFile::read() {
    if (const int kept = m_kept.descriptor(m_path); kept >= 0) {
        const auto readAt = [kept](char *to, std::size_t room, std::size_t offset) {
            return pread(kept, to, room, static_cast<off_t>(offset));
        };
        if (const FileText text = readWith(readAt, m_buffer.get(), m_size))
            return text;
    }
    ScopedDescriptor file = openHostFile(m_path);
    const FileText text = readKernelFile(file, m_buffer.get(), m_size);
    if (text)
        m_kept.keep(std::move(file), m_path, KeptScope::Machine);
    else
        m_kept.drop();
    return text;
}

} // namespace zel

#include "kernel/KernelFile.h"

#include "host/HostOpen.h"

#include <algorithm>
#include <cstring>
#include <unistd.h>

int zel::readKernelText(const char *path, char *buffer, int size) {
    const ScopedDescriptor file = openHostFile(path);
    if (!file.valid())
        return FILE_NOT_OPENED;
    const int room = size - 1;
    // A read that a signal interrupts fails: that is how the watchdog frees a thread from a file that never answers.
    auto count = static_cast<int>(read(file.get(), buffer, static_cast<std::size_t>(room)));
    int length = std::max(count, 0);
    const bool ofManyRecords = length >= KERNEL_PAGE_RESULT;
    while (ofManyRecords && count > 0 && length < room) {
        count = static_cast<int>(read(file.get(), buffer + length, static_cast<std::size_t>(room - length)));
        length += std::max(count, 0);
    }
    buffer[length] = '\0';
    return length > 0 ? length : count;
}

int zel::readKernelFile(const char *path, char *buffer, int size) {
    const int length = readKernelText(path, buffer, size);
    if (length != FILE_NOT_OPENED) {
        const int textLength = std::max(length, 0);
        std::memset(buffer + textLength, 0, static_cast<std::size_t>(size - textLength));
    }
    return length;
}

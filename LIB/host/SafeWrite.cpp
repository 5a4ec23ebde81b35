// Writes that end no program and leave no halves.
#include "host/SafeWrite.h"

#include "text/OwnedText.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zel {

namespace {

constexpr std::size_t usualError = 512; // longer texts are formatted on the heap

// Takes a part of `length` bytes off the end of the file, unless something else has been written after it.
bool cutOff(int file, ssize_t length) {
    const off_t end = lseek(file, 0, SEEK_CUR);
    struct stat status {};
    return end >= length && fstat(file, &status) == 0 && status.st_size == end && ftruncate(file, end - length) == 0;
}

} // namespace

// The kernel raises both signals for the thread that writes. One that the thread had blocked before may be pending for
// reasons of its own: it is not taken away.
WriteSignalsHeld::WriteSignalsHeld() {
    sigemptyset(&m_own);
    sigaddset(&m_own, SIGPIPE);
    sigaddset(&m_own, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &m_own, &m_previous);
    sigset_t pending;
    for (const int signal : {SIGPIPE, SIGXFSZ}) {
        if (sigismember(&m_previous, signal) == 1 && sigpending(&pending) == 0 && sigismember(&pending, signal) == 1)
            sigdelset(&m_own, signal);
    }
}

WriteSignalsHeld::~WriteSignalsHeld() {
    const int error = errno;
    // By its number: the function of the C library is a point of cancellation, which no destructor may be.
    constexpr timespec now{0, 0};
    constexpr std::size_t kernelSetSize = 8;
    while (syscall(SYS_rt_sigtimedwait, &m_own, nullptr, &now, kernelSetSize) > 0) {
    }
    pthread_sigmask(SIG_SETMASK, &m_previous, nullptr);
    errno = error;
}

Appended appendWhole(int file, std::string_view text) {
    const WriteSignalsHeld held;
    ssize_t written = -1;
    do
        written = write(file, text.data(), text.size());
    while (written < 0 && errno == EINTR);
    if (written == static_cast<ssize_t>(text.size()))
        return Appended::WHOLE;
    if (written < 0)
        return Appended::NOTHING;
    const bool cut = written == 0 || cutOff(file, written);
    errno = ENOSPC;
    return cut ? Appended::NOTHING : Appended::PART;
}

bool writeAll(int file, std::string_view text, OnSignal onSignal) {
    while (!text.empty()) {
        const ssize_t count = write(file, text.data(), text.size());
        if (count < 0 && errno == EINTR && onSignal == OnSignal::GOES_ON)
            continue;
        if (count <= 0)
            return false;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

void printError(std::string_view text) {
    const WriteSignalsHeld held;
    std::fwrite(text.data(), 1, text.size(), stderr);
}

void printErrorf(const char *format, ...) {
    char usual[usualError];
    va_list arguments;
    va_list again;
    va_start(arguments, format);
    va_copy(again, arguments);
    const int length = std::vsnprintf(usual, sizeof(usual), format, arguments);
    const auto needed = static_cast<std::size_t>(std::max(length, 0));
    const Text heap(needed < sizeof(usual) ? nullptr : static_cast<char *>(std::malloc(needed + 1)));
    if (heap != nullptr)
        std::vsnprintf(heap.get(), needed + 1, format, again);
    va_end(again);
    va_end(arguments);
    if (heap != nullptr)
        printError({heap.get(), needed});
    else
        printError({usual, std::min(needed, sizeof(usual) - 1)}); // cut without memory
}

} // namespace zel

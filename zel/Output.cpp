// Writes to the standard streams.
#include "zel/Output.h"

#include "zel/Pace.h"
#include "zel/Terminal.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace zel {

namespace {

// A descriptor that does not wait is made to wait by poll(): the terminal may be shared with a program that set it so.
bool writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
            continue;
        }
        if (errno == EAGAIN) {
            pollfd waited{descriptor, POLLOUT, 0};
            poll(&waited, 1, -1);
        } else if (errno != EINTR || Pace::isEnding()) {
            return false;
        }
    }
    return true;
}

} // namespace

void prepareStreams() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        const bool isClosed = fcntl(descriptor, F_GETFD) < 0 && errno == EBADF;
        if (isClosed)
            static_cast<void>(open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY));
    }
    std::signal(SIGPIPE, SIG_IGN);
}

Written writeOut(std::string_view text) {
    if (writeAll(STDOUT_FILENO, text))
        return Written::Whole;
    if (errno == EPIPE || errno == EINTR)
        return Written::Closed;
    complain(std::string("standard output: ") + std::strerror(errno));
    return Written::Failed;
}

void writeError(std::string_view text) {
    static_cast<void>(writeAll(STDERR_FILENO, text));
}

void complain(std::string_view message) {
    writeError("zel: " + displayText(message, terminalCharset()) + '\n');
}

bool isTerminalOut() {
    return isatty(STDOUT_FILENO) == 1;
}

bool isTerminalError() {
    return isatty(STDERR_FILENO) == 1;
}

} // namespace zel

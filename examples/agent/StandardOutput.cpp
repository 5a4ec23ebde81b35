// Writes records to standard output, in pieces that a pipe takes without blocking.
#include "StandardOutput.h"

#include "Notice.h"
#include "TerminalText.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <unistd.h>

namespace agent {

StandardOutput::StandardOutput() : m_terminal(isatty(STDOUT_FILENO) != 0) {}

bool StandardOutput::isReady(const StopTime &) {
    return !m_closed;
}

bool StandardOutput::deliver(const Record &record, const StopTime &stop) {
    if (!m_terminal)
        return write(record.head.line() + '\n' + record.text, stop);
    std::string text = record.text;
    blankControlBytes(text);
    return write(record.head.line() + "\n  " + text + '\n', stop);
}

bool StandardOutput::write(const std::string &bytes, const StopTime &stop) {
    std::size_t written = 0;
    while (written < bytes.size()) {
        if (!waitFor(STDOUT_FILENO, POLLOUT, Clock::time_point::max(), stop))
            return false;
        const std::size_t piece = std::min<std::size_t>(bytes.size() - written, PIPE_BUF);
        const ssize_t part = ::write(STDOUT_FILENO, bytes.data() + written, piece);
        if (part < 0 && errno != EAGAIN && errno != EINTR) {
            notice("standard output: %s; records are kept from now on", std::strerror(errno));
            m_closed = true;
            return false;
        }
        if (part > 0)
            written += static_cast<std::size_t>(part);
    }
    return true;
}

} // namespace agent

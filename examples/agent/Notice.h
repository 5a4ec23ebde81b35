// What the agent has to say to whoever runs it: lines on standard error.
#pragma once

#include <cstdarg>
#include <cstdio>

namespace agent {

/// Prints "agent: " and the message as one line. Any thread.
[[gnu::format(printf, 1, 2)]] inline void notice(const char *format, ...) {
    char message[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, sizeof(message), format, arguments);
    va_end(arguments);
    std::fprintf(stderr, "agent: %s\n", message);
}

} // namespace agent

// The calls that start a shell.
#include "host/Shell.h"

#include <cstdlib>

namespace zel {

int runShell(const char *commandLine) {
    return std::system(commandLine);
}

ScopedPipe readShell(const char *commandLine) {
    return ScopedPipe(popen(commandLine, "re"));
}

} // namespace zel

// Counts the RAM ranges.
#include "Memory_Info.h"

#include "HostRoot.h"
#include "LogGate.h"
#include "VornLog.h"
#include "host/SafeWrite.h"
#include "host/Shell.h"
#include "host/ShellSafe.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>

namespace {

constexpr const char *memoryMapFile = "/proc/iomem";
constexpr const char *ramRange = "System RAM";
constexpr std::size_t commandSize = PATH_MAX + 64;
constexpr std::size_t logMessageSize = 512;
constexpr std::size_t outputSize = 10; // nine characters of the count

unsigned parseCount(const char *output) {
    return static_cast<unsigned>(std::max(0L, std::strtol(output, nullptr, 10)));
}

// Reading a pipe or a device may never end; without the file the command says so itself.
bool wouldHoldUp(const char *path) {
    struct stat status {};
    return stat(path, &status) == 0 && !S_ISREG(status.st_mode);
}

} // namespace

unsigned int CMemory_Info::GetMemoryNum() {
    m_nMemoryNum = 0;
    const char *path = fgHostPath(memoryMapFile);
    // The path becomes part of a shell command; the host root in it is set from outside.
    if (!zel::shellSafePath(path)) {
        char message[logMessageSize];
        ZEL_LOG(zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, "Memory_Info", message, "memory map path refused[%s]", path);
        return 0;
    }
    if (wouldHoldUp(path))
        return 0;
    char command[commandSize];
    std::snprintf(command, sizeof(command), "cat %s | grep '%s' | wc -l", path, ramRange);
    if (g_nPrint == 1)
        zel::printErrorf("Memory popen command : %s\n", command);

    const zel::ScopedPipe pipe = zel::readShell(command);
    char output[outputSize];
    if (pipe != nullptr && std::fgets(output, sizeof(output), pipe.get()) != nullptr)
        m_nMemoryNum = parseCount(output);
    return m_nMemoryNum;
}

// The duplex mode of a single interface, asked of an outside script.
#include "MM_NWT_Info.h"

#include "NCmdScheduler.h"
#include "host/ShellSafe.h"
#include "network/MM_NWT_State.h"
#include "scripts/HomeScripts.h"
#include "text/LineReader.h"

#include <cstring>
#include <ctime>
#include <initializer_list>
#include <sys/stat.h>

namespace {

constexpr std::size_t answerSize = 128;
constexpr long answerLifetime = 301; // seconds
constexpr std::size_t longestName = 255;
constexpr std::size_t keySize = 1024;
constexpr std::size_t logSize = 1024;

// An answer dated in the future is not fresh: after a clock was set back it would stay so for that long.
bool isFresh(const char *path) {
    struct stat status {};
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode))
        return false;
    const std::time_t age = std::time(nullptr) - status.st_mtime;
    return age >= 0 && age < answerLifetime;
}

// Has the script ask for `name`, through the scheduler or at once. False when the name must not reach a shell.
bool request(const char *name) {
    if (!zel::shellSafe(name) || std::strlen(name) > longestName) {
        char message[logSize];
        ZEL_LOG(zel::interfaceErrorLogOpen(), zel::LOG_LEVEL_ERROR, zel::NETWORK_SOURCE_NAME, message,
                "Duplex refused for interface name[%s]", name);
        return false;
    }
    if (g_pclCCmdScheduler == nullptr) {
        zel::runScript(zel::Script::Duplex, name);
        return true;
    }
    char key[keySize];
    std::snprintf(key, sizeof(key), "NWT_NICDuplexInfoLinux_%s_%s_%s", name, zel::DUPLEX_SCRATCH,
                  zel::resultPath(zel::Script::Duplex));
    zel::scheduleScript(key, zel::Script::Duplex, name);
    return true;
}

bool holdsAny(const char *line, std::initializer_list<const char *> words) {
    for (const char *word : words) {
        if (std::strstr(line, word) != nullptr)
            return true;
    }
    return false;
}

// Sample: Duplex: Full
const char *duplexText(const char *line) {
    if (holdsAny(line, {"Full", "full", "FULL"}))
        return "Full Duplex";
    return holdsAny(line, {"Half", "half", "HALF"}) ? "Half Duplex" : nullptr;
}

} // namespace

int fGetDuplex(const char *name, char *text) {
    if (!isFresh(zel::resultPath(zel::Script::Duplex)) && !request(name))
        return -1;
    const zel::ScopedFile file = zel::openResult(zel::Script::Duplex);
    if (file == nullptr)
        return -1;
    char line[answerSize];
    if (zel::readLine(file.get(), line) == zel::Line::None)
        return -1;
    const char *duplex = duplexText(line);
    if (duplex == nullptr)
        return -1;
    std::strcpy(text, duplex);
    return 1;
}

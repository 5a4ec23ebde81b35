// Mode 0 of the command scheduler: command files for the outside daemon, and the daemon's start and stop.
#include "NGFunctions.h"
#include "host/ScopedHandle.h"
#include "host/ShellSafe.h"
#include "scheduler/CmdWorkers.h"
#include "text/OwnedText.h"
#include "threads/SharedValue.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

using zel::readShared;
using zel::writeShared;

int g_nCmdSync;

namespace {

constexpr int daemonPollPause = 1000000; // microseconds
constexpr mode_t commandFileMode = 0644;

bool asciiLetterOrDigit(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

zel::Text commandFilePath(const char *home, const char *key) {
    char name[SCHEDULER_KEY_SIZE];
    std::size_t length = 0;
    for (; key[length] != '\0' && length < sizeof(name) - 1; ++length)
        name[length] = asciiLetterOrDigit(key[length]) ? key[length] : '_';
    name[length] = '\0';
    return zel::joinText({home, "shcmd_", name, ".cmd"});
}

// The process-wide flag goes from free to taken in one step, so that two schedulers never both find it free.
bool takeCmdSync() {
    int seen = readShared(g_nCmdSync);
    return seen != 1 && std::atomic_ref<int>(g_nCmdSync).compare_exchange_strong(seen, 1);
}

} // namespace

int CCmdScheduler::saveCommandFile(const char *key, const char *command) {
    if (readShared(m_nCmdRunFlag) == 1) {
        ZEL_SCHEDULER_NOTICE("command now running(mode=1) : %s", command == nullptr ? "" : command);
        return 0;
    }
    if (!homeAndKeyGiven(key) || !commandGiven(command))
        return -1;

    const zel::Text pathText = commandFilePath(m_pstrCmdSchedulerHome, key);
    const char *path = pathText.get();
    if (path == nullptr)
        return -1;
    const zel::ScopedDescriptor file(open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, commandFileMode));
    const int openError = file.valid() ? 0 : errno;
    if (openError == EEXIST) {
        ZEL_SCHEDULER_NOTICE("command already save [%s]-skip : %s", path, command);
        writeShared(m_nCmdSaveFlag, 1);
        return 0;
    }
    if (openError != 0) {
        ZEL_SCHEDULER_ERROR("command save file(%s) open failed : %s", path, std::strerror(openError));
        return -1;
    }
    const std::size_t length = std::strlen(command);
    if (write(file.get(), command, length) != static_cast<ssize_t>(length)) {
        unlink(path); // half a command must not run, nor stand in the way of the next attempt
        ZEL_SCHEDULER_ERROR("command save failed[%s] : %s", path, command);
        return -1;
    }
    ZEL_SCHEDULER_NOTICE("command save success[%s] : %s", path, command);
    writeShared(m_nCmdSaveFlag, 1);
    return 0;
}

int CCmdScheduler::runDaemonScript(const char *script) {
    const char *home = m_pstrCmdSchedulerHome;
    if (home == nullptr) {
        ZEL_SCHEDULER_ERROR("command schedule daemon start failed : home path is null");
        return 0;
    }
    if (home[0] == '\0') {
        ZEL_SCHEDULER_ERROR("command schedule daemon start failed : home path strlen is zero");
        return 0;
    }
    if (!zel::shellSafePath(home)) {
        ZEL_SCHEDULER_ERROR("command schedule daemon start failed : home path is unsafe : %s", home);
        return 0;
    }

    const zel::Text commandText = zel::joinText({home, script, " ", home});
    const char *command = commandText.get();
    if (command == nullptr)
        return 0;
    while (!takeCmdSync()) {
        ZEL_SCHEDULER_NOTICE("system command(%s) execute waiting.....", command);
        fgUSleep(daemonPollPause);
    }
    zel::runAndWait(command);
    writeShared(g_nCmdSync, 0);
    ZEL_SCHEDULER_NOTICE("system command(%s) exec end", command);
    return 1;
}

// The command files of the scheduler, and the scripts that start and stop the daemon.
#include "scheduler/NCmdSchedulerFiles.h"

#include "NGFunctions.h"
#include "host/RegularFile.h"
#include "host/SafeWrite.h"
#include "host/Shell.h"
#include "host/ShellSafe.h"
#include "host/TrustedWay.h"
#include "scheduler/CommandRequest.h"
#include "text/AsciiText.h"
#include "text/OwnedText.h"
#include "threads/SharedValue.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

using zel::readShared;
using zel::writeShared;

int g_nCmdSync;

namespace {

constexpr int daemonPollPause = 1000000; // microseconds
constexpr mode_t commandFileMode = 0644;

// "disk/usage" in the home "cmd/" gives "cmd/shcmd_disk_usage.cmd": no key leads out of the home.
zel::Text commandFilePath(const char *home, const char *key) {
    char name[SCHEDULER_KEY_SIZE];
    std::size_t length = 0;
    for (; key[length] != '\0' && length < sizeof(name) - 1; ++length)
        name[length] = zel::isAsciiLetter(key[length]) || zel::isAsciiDigit(key[length]) ? key[length] : '_';
    name[length] = '\0';
    return zel::joinText({home, "shcmd_", name, ".cmd"});
}

// The process-wide flag goes from free to taken in one step, so that two schedulers never both find it free.
bool takeCmdSync() {
    int seen = readShared(g_nCmdSync);
    return seen != 1 && std::atomic_ref<int>(g_nCmdSync).compare_exchange_strong(seen, 1);
}

} // namespace

// A file that is there already is the same request, not yet picked up by the daemon.
int zel::saveCommandFile(SchedulerLink &link, const char *key, const char *command) {
    if (readShared(link.owner->m_nCmdRunFlag) == 1) {
        ZEL_SCHEDULER_NOTICE(link, "command now running(mode=1) : %s", command == nullptr ? "" : command);
        return 0;
    }
    if (!requestComplete(link, key, command))
        return -1;

    const Text pathText = commandFilePath(link.owner->m_pstrCmdSchedulerHome, key);
    const char *path = pathText.get();
    if (path == nullptr)
        return -1;
    const ScopedDescriptor file = openNew(path, commandFileMode);
    const int openError = file.valid() ? 0 : errno;
    if (openError == EEXIST) {
        ZEL_SCHEDULER_NOTICE(link, "command already save [%s]-skip : %s", path, command);
        writeShared(link.owner->m_nCmdSaveFlag, 1);
        return 0;
    }
    if (openError != 0) {
        ZEL_SCHEDULER_ERROR(link, "command save file(%s) open failed : %s", path, std::strerror(openError));
        return -1;
    }
    if (appendWhole(file.get(), command) != Appended::WHOLE) {
        unlink(path); // half a command must not run, nor prevent the next attempt
        ZEL_SCHEDULER_ERROR(link, "command save failed[%s] : %s", path, command);
        return -1;
    }
    ZEL_SCHEDULER_NOTICE(link, "command save success[%s] : %s", path, command);
    writeShared(link.owner->m_nCmdSaveFlag, 1);
    return 0;
}

// Both scripts are announced as a start: consumers of the log expect these words.
namespace {

// What a start or stop script sources and starts is run by it.
constexpr const char *scriptsBehind[] = {"cmd_scd_lib.sh", "cmd_scd.sh"};

// What is known of the script, or of the first of the others that is there and not trusted.
zel::WayFinding inspectDaemonScripts(const char *home, const char *script) {
    zel::WayFinding finding = zel::inspectWay(script);
    for (const char *other : scriptsBehind) {
        const zel::Text path = zel::joinText({home, other});
        if (!finding.trusted || path == nullptr)
            return finding;
        if (const zel::WayFinding ofOther = zel::inspectWay(path.get()); ofOther.exists && !ofOther.trusted)
            finding = ofOther;
    }
    return finding;
}

} // namespace

int zel::runDaemonScript(SchedulerLink &link, const char *script) {
    const char *home = link.owner->m_pstrCmdSchedulerHome;
    if (home == nullptr) {
        ZEL_SCHEDULER_ERROR(link, "command schedule daemon start failed : home path is null");
        return 0;
    }
    if (home[0] == '\0') {
        ZEL_SCHEDULER_ERROR(link, "command schedule daemon start failed : home path strlen is zero");
        return 0;
    }
    if (!shellSafePath(home)) {
        ZEL_SCHEDULER_ERROR(link, "command schedule daemon start failed : home path is unsafe : %s", home);
        return 0;
    }

    const Text commandText = joinText({home, script, " ", home});
    const Text scriptPath = joinText({home, script});
    const char *command = commandText.get();
    if (command == nullptr || scriptPath == nullptr)
        return 0;
    const WayFinding finding = inspectDaemonScripts(home, scriptPath.get());
    while (!takeCmdSync()) {
        ZEL_SCHEDULER_NOTICE(link, "system command(%s) execute waiting.....", command);
        fgUSleep(daemonPollPause);
    }
    if (finding.trusted)
        static_cast<void>(runShell(command));
    else if (finding.exists)
        ZEL_SCHEDULER_ERROR(link, "command schedule daemon script is not run : %s", finding.reason);
    writeShared(g_nCmdSync, 0);
    ZEL_SCHEDULER_NOTICE(link, "system command(%s) exec end", command);
    return 1;
}

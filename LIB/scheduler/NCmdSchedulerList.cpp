// The list of pending commands of the scheduler and its thread.
#include "scheduler/NCmdSchedulerList.h"

#include "NGFunctions.h"
#include "host/Shell.h"
#include "host/ShellSafe.h"
#include "scheduler/CommandRequest.h"
#include "text/OwnedText.h"
#include "threads/SharedValue.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <unistd.h>

using zel::readShared;
using zel::Text;
using zel::withOwner;
using zel::writeShared;

namespace {

struct CommandFree {
    void operator()(_CMD_SCHEDULER *command) const {
        if (command == nullptr)
            return;
        std::free(command->l_pstrCmdStr);
        std::free(command->l_pstrResultFile);
        std::free(command);
    }
};

using PendingCommand = std::unique_ptr<_CMD_SCHEDULER, CommandFree>;

constexpr const char *statusIntoFile = ";echo $? > ";
constexpr const char *inBackground = " &";

// The result file of a key is in the home itself, whatever paths the key is made of.
Text resultFile(const char *home, const char *key) {
    Text path = zel::joinText({home, key});
    if (path != nullptr)
        std::replace(path.get() + std::strlen(home), path.get() + std::strlen(path.get()), '/', '_');
    return path;
}

// Whether backslashes make the character at `place` an ordinary one.
bool isEscaped(const char *line, std::size_t place) {
    std::size_t first = place;
    while (first > 0 && line[first - 1] == '\\')
        --first;
    return (place - first) % 2 == 1;
}

// A request that itself ends in "&" may not be followed by ";" in the shell's grammar: what is run has a blank there.
// Its status is then that of its start.
void separateAfterBackground(char *line, const char *result) {
    const std::size_t tail = std::strlen(statusIntoFile) + std::strlen(result) + std::strlen(inBackground);
    const std::size_t length = std::strlen(line);
    if (length > tail && line[length - tail - 1] == '&' && !isEscaped(line, length - tail - 1))
        line[length - tail] = ' ';
}

PendingCommand newPendingCommand(const char *home, const char *key, const char *command) {
    PendingCommand pending(static_cast<_CMD_SCHEDULER *>(std::calloc(1, sizeof(_CMD_SCHEDULER))));
    if (pending == nullptr)
        return nullptr;
    std::snprintf(pending->l_strCmdReqKey, sizeof(pending->l_strCmdReqKey), "%s", key);
    pending->l_pstrResultFile = resultFile(home, pending->l_strCmdReqKey).release();
    if (pending->l_pstrResultFile == nullptr)
        return nullptr;
    // In the background, its exit status into the result file.
    pending->l_pstrCmdStr = zel::joinText({command, statusIntoFile, pending->l_pstrResultFile, inBackground}).release();
    return pending->l_pstrCmdStr == nullptr ? nullptr : std::move(pending);
}

// Counts the list of a scheduler that may have gone: -1.
int pendingCount(zel::SchedulerLink &link) {
    int count = -1;
    withOwner(link, [&](const CCmdScheduler &scheduler) { count = static_cast<int>(scheduler.m_CmdList.size()); });
    return count;
}

// Waits until no caller is changing the list, or until the steps are used up.
void waitForCallers(zel::SchedulerLink &link, int &syncSteps) {
    for (;;) {
        int changing = 0;
        withOwner(link, [&](CCmdScheduler &scheduler) { changing = readShared(scheduler.m_nSyncFlag); });
        if (changing != 1)
            return;
        fgUSleep(zel::LIST_WORKER_SYNC_STEP);
        if (++syncSteps == zel::LIST_WORKER_SYNC_STEPS) {
            syncSteps = 0;
            return;
        }
    }
}

// The command line of the first command that was not started, now marked as started; null when there is none.
Text takeNewCommand(CCmdScheduler &scheduler) {
    for (_CMD_SCHEDULER *pending : scheduler.m_CmdList) {
        if (pending->l_nStatus != 0)
            continue;
        Text line = zel::joinText({pending->l_pstrCmdStr});
        if (line != nullptr) {
            separateAfterBackground(line.get(), pending->l_pstrResultFile);
            pending->l_nStatus = 1;
        }
        return line;
    }
    return nullptr;
}

// The list is free while the shell runs: callers add to it meanwhile.
void startNewCommands(zel::SchedulerLink &link) {
    for (;;) {
        Text line;
        withOwner(link, [&](CCmdScheduler &scheduler) { line = takeNewCommand(scheduler); });
        if (line == nullptr)
            return;
        static_cast<void>(zel::runShell(line.get()));
        fgUSleep(zel::LIST_WORKER_START_PAUSE);
    }
}

bool finished(const _CMD_SCHEDULER &pending) {
    return pending.l_nStatus == 1 && access(pending.l_pstrResultFile, F_OK) == 0;
}

void forgetFinished(CCmdScheduler &scheduler) {
    scheduler.m_CmdList.remove_if([](_CMD_SCHEDULER *pending) {
        if (!finished(*pending))
            return false;
        unlink(pending->l_pstrResultFile);
        CommandFree{}(pending);
        return true;
    });
}

} // namespace

int zel::addToList(SchedulerLink &link, const char *key, const char *command) {
    if (!requestComplete(link, key, command))
        return -1;
    const char *home = link.owner->m_pstrCmdSchedulerHome;
    if (!shellSafePath(key) || !shellSafePath(home)) {
        ZEL_SCHEDULER_ERROR(link, "command save failed : home path or key is unsafe : %s%s", home, key);
        return -1;
    }
    PendingCommand pending = newPendingCommand(home, key, command);
    if (pending == nullptr)
        return -1;
    ZEL_SCHEDULER_NOTICE(link, "command_key[%s]", pending->l_strCmdReqKey);

    bool known = false;
    try {
        const std::lock_guard held(link.lock);
        std::list<_CMD_SCHEDULER *> &list = link.owner->m_CmdList;
        known = std::any_of(list.begin(), list.end(), [&](const _CMD_SCHEDULER *other) {
            return std::strcmp(other->l_pstrCmdStr, pending->l_pstrCmdStr) == 0;
        });
        if (!known) {
            list.push_back(pending.get());
            static_cast<void>(pending.release());
        }
    } catch (const std::bad_alloc &) {
        return -1;
    }
    if (known)
        ZEL_SCHEDULER_NOTICE(link, "exists command in linked-list[%s]", pending->l_pstrCmdStr);
    return 0;
}

int zel::addToListNow(SchedulerLink &link, const char *key, const char *command) {
    if (key == nullptr)
        return addToList(link, key, command);
    constexpr int timeRoom = 24; // "_", digits and sign of a 64-bit time
    char timedKey[SCHEDULER_KEY_SIZE];
    std::snprintf(timedKey, sizeof(timedKey), "%.*s_%lld", SCHEDULER_KEY_SIZE - timeRoom, key,
                  static_cast<long long>(std::time(nullptr)));
    writeShared(link.owner->m_nSyncFlag, 1);
    const int result = addToList(link, timedKey, command);
    writeShared(link.owner->m_nSyncFlag, 0);
    return result;
}

void zel::clearList(SchedulerLink &link) {
    const std::lock_guard held(link.lock);
    std::list<_CMD_SCHEDULER *> &list = link.owner->m_CmdList;
    for (_CMD_SCHEDULER *command : list)
        CommandFree{}(command);
    list.clear();
}

bool zel::runCommandList(SchedulerLink &link, int &syncSteps) {
    if (const int count = pendingCount(link); count <= 0)
        return count == 0;
    waitForCallers(link, syncSteps);
    const int pending = pendingCount(link);
    if (pending < 0)
        return false;
    ZEL_WORKER_LOG(errorLogOpen(), "CmdScheduler Thread Start[%d]", pending);
    startNewCommands(link);
    withOwner(link, forgetFinished);
    const int left = pendingCount(link);
    if (left < 0)
        return false;
    ZEL_WORKER_LOG(errorLogOpen(), "CmdScheduler Thread end[%d]", left);
    return true;
}

void zel::workOnList(const SharedLink<CCmdScheduler> &link) {
    ZEL_WORKER_LOG(errorLogOpen(), "fCmdSchedulerTh init");
    int syncSteps = 0;
    do
        fgUSleep(LIST_WORKER_CYCLE);
    while (runCommandList(*link, syncSteps));
}

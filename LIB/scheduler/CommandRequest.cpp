// The checks that requests to the list and to the command files share.
#include "scheduler/CommandRequest.h"

namespace {

bool homeAndKeyGiven(zel::SchedulerLink &link, const char *key) {
    const char *home = link.owner->m_pstrCmdSchedulerHome;
    if (home == nullptr)
        ZEL_SCHEDULER_ERROR(link, "command save failed : home path strlen is null");
    else if (home[0] == '\0')
        ZEL_SCHEDULER_ERROR(link, "command save failed : home path strlen is zero");
    else if (key == nullptr)
        ZEL_SCHEDULER_ERROR(link, "command save key is null");
    else if (key[0] == '\0')
        ZEL_SCHEDULER_ERROR(link, "command save key is strlen zero");
    else
        return true;
    return false;
}

bool commandGiven(zel::SchedulerLink &link, const char *command) {
    if (command == nullptr)
        ZEL_SCHEDULER_ERROR(link, "command save command is null");
    else if (command[0] == '\0')
        ZEL_SCHEDULER_ERROR(link, "command save command is strlen zero");
    else
        return true;
    return false;
}

} // namespace

bool zel::requestComplete(SchedulerLink &link, const char *key, const char *command) {
    return homeAndKeyGiven(link, key) && commandGiven(link, command);
}

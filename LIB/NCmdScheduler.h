// CCmdScheduler: runs shell commands on behalf of the library without blocking the caller.
#pragma once

class CCmdScheduler {
public:
    CCmdScheduler() = default;

    CCmdScheduler(const CCmdScheduler &) = delete;
    CCmdScheduler &operator=(const CCmdScheduler &) = delete;

    /// Hands `command` over under the request key `key`.
    int fCmdSave(const char *key, const char *command);
};

/// The installed scheduler, or null: then no command is scheduled. The embedding program owns it.
extern CCmdScheduler *g_pclCCmdScheduler;

// What the library runs beside the collectors: settings, logger, command scheduler and watchdog.
#pragma once

#include "NCmdScheduler.h"
#include "VornLog.h"

#include <thread>

namespace agent {

/// Assigns the settings; what is not assigned stays 0. To be called before the first collector is built. The
/// environment variable ZEL_HOST_ROOT names the root directory of the sampled host.
void applySettings();

/// Raises the soft limit of descriptors to what the collectors can use, as far as the hard one allows: a quarter of it
/// may stay open between samples. The library itself never changes a limit.
void raiseDescriptorLimit();

/// Starts the logger (../log), the scheduler (inventory commands, one after another) and the watchdog, and ends them.
/// Collectors are built after it and destroyed before it.
class Runtime {
public:
    Runtime();
    ~Runtime();

    Runtime(const Runtime &) = delete;
    Runtime &operator=(const Runtime &) = delete;

    /// Around every pass of the sampling thread, so that the watchdog interrupts one that hangs.
    void passBegins();
    void passEnds();

private:
    void startLogger();
    void startScheduler();
    void startWatchdog();

    CVornLog m_logger;
    CCmdScheduler m_scheduler;
    int m_longestSilence = 60; // seconds without a heartbeat
    std::thread m_watchdog;
};

} // namespace agent

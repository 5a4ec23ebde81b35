// The inside of the alarm watchdog, fgAlarmTh (NGFunctions.h), second by second. The thread sleeps and calls;
// everything that it decides happens in these plain functions.
#pragma once

namespace zel {

/// What the watchdog counts from pass to pass.
struct WatchdogCounters {
    int armedPasses = 0; // passes since g_nAlarmSec was last seen 0
    int passes = 0;      // passes since the last block check
};

/// Gives the shared words their values at the start of the thread.
void watchdogStart(int blockTimeOut);

/// What happens once per second: the alarm, and at every eleventh pass the block check.
void watchdogPass(WatchdogCounters &counters);

} // namespace zel

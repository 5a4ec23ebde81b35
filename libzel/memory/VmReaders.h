// What the VM collector takes from the texts that it reads with a scan format.
#pragma once

namespace zel {

/// Minor and major page faults (fields 10 and 12) of a /proc/<pid>/stat text, by the rules of the scanf format
/// "%*d %*s %*s %*d %*d %*d %*d %*d %*u %lu %*u %lu": a command name that holds blanks shifts the fields and is
/// refused. False when not both are there.
bool parseProcessFaults(const char *text, unsigned long long &minorFaults, unsigned long long &majorFaults);

/// The running tasks of a /proc/loadavg text, by the scanf format "%*d.%*d %*d.%*d %*d.%*d %d/%d": false when not both
/// numbers of the task pair are there.
bool parseRunningTasks(const char *text, int &running);

} // namespace zel

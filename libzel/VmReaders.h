// What the VM collector takes from one process.
#pragma once

namespace zel {

/// Minor and major page faults (fields 10 and 12) of a /proc/<pid>/stat text, by the rules of the scanf format
/// "%*d %*s %*s %*d %*d %*d %*d %*d %*u %lu %*u %lu": a command name that holds blanks shifts the fields and is
/// refused. False when not both are there.
bool parseProcessFaults(const char *text, unsigned long long &minorFaults, unsigned long long &majorFaults);

} // namespace zel

// What the library asks of the system during an input: the answers are values that the input sets, so that a finding
// reproduces, and no command, no lookup and no packet leaves the program.
#pragma once

#include <string>
#include <sys/statfs.h>
#include <sys/time.h>

namespace fuzz {

struct Surroundings {
    timeval now{1700000000, 0};       // moves only when it is moved, or by a sleep
    const char *release = "6.1.0";    // of the kernel
    struct statfs64 filesystem {};    // what statfs64 says of every path
    int statfsError = 0;              // not 0: statfs64 fails with it
    int ioctlResult = -1;             // of every ioctl, which writes nothing
    std::string userName = "someone"; // of every user
    std::string commandOutput = "";   // what popen gives to read
    int commands = 0;                 // shell commands so far; each is checked
};

/// Of the input that runs now; a target begins with freshSurroundings().
Surroundings &surroundings();
Surroundings &freshSurroundings();

/// Lets time pass.
void passTime(long seconds, long microseconds = 0);

/// Ends the program when a shell would read anything but words in `command`, beside what the library itself puts there:
/// its redirections, its one pipeline, the "&" at the end.
void ensureTame(const std::string &command);

} // namespace fuzz

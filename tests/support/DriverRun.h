// Runs the real driver in a staged home.
#pragma once

#include "ScratchHome.h"

#include <string>
#include <vector>

struct DriverResult {
    int status; // exit status; 128 + signal when it was killed
    std::string out;
    std::string err;
    std::vector<long> pauses; // microseconds of every sleep; recorded with a frozen clock only
};

class DriverRun {
public:
    /// The host that the driver reads: a checked-in fixture, or several, one per cycle (the last one stays).
    DriverRun &hosts(const std::vector<std::string> &fixtures);
    /// The same with directories of the test's own.
    DriverRun &hostDirectories(const std::vector<std::string> &directories);
    /// Kernel release that uname answers with.
    DriverRun &kernelRelease(const std::string &release);
    /// Every filesystem has the same size, and every user the same name.
    DriverRun &uniformFilesystemsAndUsers();
    /// Freezes the clock; every sleep moves it by its length and does not wait.
    DriverRun &frozenClock(long seconds = 1700000000);
    /// Kills the driver after so many seconds (status 128 + 15).
    DriverRun &killAfter(int seconds);
    /// Kills the driver (status 128 + 9) when it is about to sleep for the n-th time. Needs the frozen clock.
    DriverRun &killAtPause(int pause);

    /// For a driver that ends with a thread in a system call that hangs: the leak checker of the sanitizers would wait
    /// for that thread.
    DriverRun &withoutLeakCheck();

    /// Standard output goes to standard error, in the order in which the driver prints.
    DriverRun &oneStream();

    DriverResult run(const std::vector<std::string> &arguments) const;

    const ScratchHome &home() const { return m_home; }

private:
    std::string pausesFile() const;

    ScratchHome m_home;
    std::vector<std::string> m_environment;
    int m_killAfter = 60;
    bool m_leakCheck = true;
};

// What tests with the real home kit share: waiting for background commands and finding what they left.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <unistd.h>
#include <vector>

/// Waits for what a background command does, five seconds at most; whether it came.
inline bool soon(const std::function<bool()> &condition) {
    for (int step = 0; step < 500 && !condition(); ++step)
        usleep(10000);
    return condition();
}

/// The names in a directory; none when it cannot be read.
inline std::vector<std::string> namesIn(const std::filesystem::path &directory) {
    std::vector<std::string> names;
    std::error_code missing;
    for (const auto &entry : std::filesystem::directory_iterator(directory, missing))
        names.push_back(entry.path().filename());
    return names;
}

/// The processes that work in a home, but for this one and the one that waits for it: "pid pid ".
inline std::string workersOf(const std::filesystem::path &home) {
    std::string found;
    for (const std::string &name : namesIn("/proc")) {
        const int pid = std::atoi(name.c_str());
        std::error_code denied;
        const std::string directory = std::filesystem::read_symlink("/proc/" + name + "/cwd", denied);
        if (pid > 0 && pid != getpid() && pid != getppid() && directory.rfind(home.string() + "/", 0) == 0)
            found += name + " ";
    }
    return found;
}

/// Whether every command of a home ends by itself.
inline bool everyWorkerEnds(const std::filesystem::path &home) {
    return soon([&home] { return workersOf(home).empty(); });
}

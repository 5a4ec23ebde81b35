// Adds cgroups, and a process that removes them however the benchmark ends.
#include "OwnCgroups.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

namespace fs = std::filesystem;

constexpr long groupsOfSlice = 10; // itself and its services

std::string mountOfMachine() {
    for (const char *place : {"/sys/fs/cgroup", "/sys/fs/cgroup/unified"}) {
        if (fs::exists(std::string(place) + "/cgroup.controllers"))
            return place;
    }
    return "";
}

void removeTree(const fs::path &directory) {
    std::error_code error;
    for (const auto &entry : fs::directory_iterator(directory, error)) {
        if (entry.is_directory(error))
            removeTree(entry.path());
    }
    rmdir(directory.c_str());
}

// Waits until the other end is gone.
[[noreturn]] void guard(const std::string &top, int end) {
    setsid();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
        std::signal(signal, SIG_IGN);
    char nothing = 0;
    while (read(end, &nothing, 1) > 0) {
    }
    removeTree(top);
    _exit(0);
}

} // namespace

OwnCgroups::OwnCgroups() {
    const std::string mount = mountOfMachine();
    const std::string top = mount + "/zel_bench.slice";
    int ends[2];
    if (mount.empty() || mkdir(top.c_str(), 0755) != 0 || pipe2(ends, O_CLOEXEC) != 0)
        return;
    m_top = top;
    m_guardian = fork();
    if (m_guardian == 0) {
        close(ends[1]);
        guard(m_top, ends[0]);
    }
    close(ends[0]);
    m_toGuardian = ends[1];
    m_count = 1;
}

OwnCgroups::~OwnCgroups() {
    if (m_toGuardian >= 0)
        close(m_toGuardian);
    if (m_guardian > 0)
        waitpid(m_guardian, nullptr, 0);
}

bool OwnCgroups::make(const std::string &path) {
    if (mkdir(path.c_str(), 0755) != 0) {
        std::perror(path.c_str());
        return false;
    }
    ++m_count;
    return true;
}

bool OwnCgroups::bringTo(long count) {
    if (m_guardian <= 0)
        return false;
    const auto switchOn = [](const std::string &path) {
        for (const char *controller : {"+cpu", "+memory", "+io", "+pids"}) // each alone: not every machine has all
            std::ofstream(path + "/cgroup.subtree_control") << controller;
    };
    switchOn(m_top);
    while (m_count < count) {
        const std::string slice = m_top + "/app" + std::to_string(m_count) + ".slice";
        if (!make(slice))
            return false;
        switchOn(slice);
        for (long service = 1; service < groupsOfSlice && m_count < count; ++service) {
            if (!make(slice + "/unit" + std::to_string(service) + ".service"))
                return false;
        }
    }
    return true;
}

std::vector<std::string> OwnCgroups::directories() {
    std::vector<std::string> found{mountOfMachine()};
    std::error_code error;
    for (const auto &entry : fs::recursive_directory_iterator(found[0], error)) {
        if (entry.is_directory(error))
            found.push_back(entry.path());
    }
    return found;
}

} // namespace bench

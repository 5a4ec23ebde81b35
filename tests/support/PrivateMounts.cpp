// Forks a child into a mount namespace of its own.
#include "PrivateMounts.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int exitPassed = 0;
constexpr int exitFailed = 1;
constexpr int exitNotPermitted = 2;

void writeOnce(const char *path, const std::string &text) {
    const int file = open(path, O_WRONLY);
    if (file < 0)
        return;
    const ssize_t ignored = write(file, text.data(), text.size());
    static_cast<void>(ignored);
    close(file);
}

// Root makes the namespace directly, anyone else inside a user namespace of its own.
bool enterNamespace() {
    const uid_t user = getuid();
    const gid_t group = getgid();
    if (user == 0 ? unshare(CLONE_NEWNS) != 0 : unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
        return false;
    if (user != 0) {
        writeOnce("/proc/self/setgroups", "deny");
        writeOnce("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
        writeOnce("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
    }
    return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

} // namespace

std::string withPrivateMounts(const std::function<void()> &body) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        if (!enterNamespace())
            _exit(exitNotPermitted);
        body();
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() ? exitFailed : exitPassed);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == exitNotPermitted)
        return "this user may not make a mount namespace";
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == exitPassed) << "the child failed, status " << status;
    return "";
}

bool mountSmall(const std::string &directory, int kilobytes) {
    const std::string options = "size=" + std::to_string(kilobytes) + "k";
    return mount("none", directory.c_str(), "tmpfs", 0, options.c_str()) == 0;
}

bool remountReadOnly(const std::string &directory) {
    return mount(nullptr, directory.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) == 0;
}

#include "NetworkNamespace.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <sched.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int cannotRun = 77;

bool writeFile(const char *path, const std::string &text) {
    std::ofstream file(path);
    file << text;
    file.close();
    return !file.fail();
}

// As an ordinary user the namespace needs a user namespace around it, in which the user is root.
bool enterNamespace() {
    if (unshare(CLONE_NEWNET) == 0)
        return true;
    const uid_t user = getuid();
    const gid_t group = getgid();
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0)
        return false;
    writeFile("/proc/self/setgroups", "deny");
    return writeFile("/proc/self/uid_map", "0 " + std::to_string(user) + " 1") &&
           writeFile("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
}

[[noreturn]] void runChild(const std::function<void()> &body, int reasons) {
    std::string reason;
    if (!enterNamespace())
        reason = std::string("no network namespace: ") + std::strerror(errno);
    else if (runIp({"link", "add", "probe0", "type", "veth", "peer", "name", "probe1"}) != 0 ||
             runIp({"link", "del", "probe0"}) != 0)
        reason = "no program ip that makes veth interfaces";
    if (!reason.empty()) {
        [[maybe_unused]] const ssize_t written = write(reasons, reason.data(), reason.size());
        _exit(cannotRun);
    }
    writeFile("/proc/sys/net/ipv6/conf/default/disable_ipv6", "1");
    writeFile("/proc/sys/net/ipv6/conf/all/disable_ipv6", "1");
    body();
    std::fflush(nullptr);
    _exit(testing::Test::HasFailure() ? 1 : 0);
}

} // namespace

std::string inNetworkNamespace(const std::function<void()> &body) {
    int reasons[2];
    if (pipe(reasons) != 0)
        return "no pipe";
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0)
        runChild(body, reasons[1]);
    close(reasons[1]);
    char text[256] = {};
    [[maybe_unused]] const ssize_t length = read(reasons[0], text, sizeof(text) - 1);
    close(reasons[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == cannotRun)
        return text;
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "in the namespace, see above; status " << status;
    return "";
}

int runIp(const std::vector<std::string> &arguments) {
    std::vector<char *> argv{const_cast<char *>("ip")};
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    pid_t child = 0;
    setenv("PATH", "/usr/sbin:/sbin:/usr/bin:/bin", 1);
    if (posix_spawnp(&child, "ip", nullptr, nullptr, argv.data(), environ) != 0)
        return -1;
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

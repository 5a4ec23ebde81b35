// Forks a child into namespaces of its own and hands its result to the test.
#include "Isolated.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int exitNotPermitted = 77;

bool writeFile(const char *path, const std::string &text) {
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return false;
    const bool written = write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(file);
    return written;
}

bool raiseLoopback() {
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP | IFF_RUNNING;
    const bool raised = ioctl(socket, SIOCSIFFLAGS, &request) == 0;
    close(socket);
    return raised;
}

// An ordinary user becomes root of a user namespace first.
bool enterNamespaces() {
    const uid_t user = getuid();
    const gid_t group = getgid();
    int spaces = CLONE_NEWNET | CLONE_NEWNS;
    if (user != 0)
        spaces |= CLONE_NEWUSER;
    if (unshare(spaces) != 0)
        return false;
    if (user != 0 && (!writeFile("/proc/self/setgroups", "deny") ||
                      !writeFile("/proc/self/uid_map", "0 " + std::to_string(user) + " 1") ||
                      !writeFile("/proc/self/gid_map", "0 " + std::to_string(group) + " 1")))
        return false;
    return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 && raiseLoopback();
}

[[noreturn]] void runChild(const std::function<void()> &body, const void *result, std::size_t size, int out) {
    if (!enterNamespaces())
        _exit(exitNotPermitted);
    body();
    const bool written = write(out, result, size) == static_cast<ssize_t>(size);
    _exit(written ? 0 : 1);
}

bool readAll(int in, void *result, std::size_t size) {
    auto *bytes = static_cast<char *>(result);
    for (std::size_t length = 0; length < size;) {
        const ssize_t count = read(in, bytes + length, size - length);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        length += static_cast<std::size_t>(count);
    }
    return true;
}

} // namespace

IsolatedOutcome runIsolatedBytes(const std::function<void()> &body, void *result, std::size_t size) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return {true, false, "no pipe"};
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0)
        runChild(body, result, size, ends[1]);
    close(ends[1]);
    const bool complete = child > 0 && readAll(ends[0], result, size);
    close(ends[0]);

    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == exitNotPermitted)
        return {false, false, "unshare or mount is refused to this user"};
    if (!complete || status != 0)
        return {true, false, "the child ended with wait status " + std::to_string(status)};
    return {true, true, ""};
}

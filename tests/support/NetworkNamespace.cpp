// Forks a child into a network namespace and makes interfaces there.
#include "NetworkNamespace.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <netpacket/packet.h>
#include <sched.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
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

// Until its link has come up the kernel drops what is sent through an interface.
bool waitUntilRunning(const std::string &name) {
    const int descriptor = socket(AF_INET, SOCK_DGRAM, 0);
    ifreq request{};
    std::strncpy(request.ifr_name, name.c_str(), sizeof(request.ifr_name) - 1);
    bool running = false;
    for (int step = 0; step < 400 && !running; ++step) {
        running = ioctl(descriptor, SIOCGIFFLAGS, &request) == 0 && (request.ifr_flags & IFF_RUNNING) != 0;
        if (!running)
            usleep(5000);
    }
    close(descriptor);
    return running;
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

void makePair(const std::string &one, const std::string &other) {
    ASSERT_EQ(runIp({"link", "add", one, "type", "veth", "peer", "name", other}), 0);
    ASSERT_EQ(runIp({"link", "set", one, "up"}), 0);
    ASSERT_EQ(runIp({"link", "set", other, "up"}), 0);
    ASSERT_TRUE(waitUntilRunning(one));
    ASSERT_TRUE(waitUntilRunning(other));
    ASSERT_EQ(runIp({"link", "set", one, "up"}), 0) << "waits for the kernel to finish what made the links run";
}

void sendFrames(const std::string &name, int count, std::size_t length) {
    const int descriptor = socket(AF_PACKET, SOCK_RAW, 0);
    ASSERT_GE(descriptor, 0);
    sockaddr_ll to{};
    to.sll_family = AF_PACKET;
    to.sll_ifindex = static_cast<int>(if_nametoindex(name.c_str()));
    to.sll_halen = ETH_ALEN;
    std::vector<unsigned char> frame(length, 0xff); // to everybody, of a type that nobody answers
    frame[12] = 0x88;
    frame[13] = 0xb5;
    for (int i = 0; i < count; ++i)
        ASSERT_EQ(sendto(descriptor, frame.data(), frame.size(), 0, reinterpret_cast<sockaddr *>(&to), sizeof(to)),
                  static_cast<ssize_t>(length));
    close(descriptor);
}

bool showOwnInterfaces() {
    return unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("sysfs", "/sys", "sysfs", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) == 0;
}

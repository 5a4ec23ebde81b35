// Makes the host parts of a benchmark in memory and in namespaces, and removes them.
#include "OwnHost.h"

#include "HostRoot.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr const char *memoryDirectory = "/dev/shm";
constexpr unsigned sleeperLifetime = 1800; // seconds

std::string newDirectory(const char *parent) {
    std::string path =
        (fs::is_directory(parent) ? std::string(parent) : fs::temp_directory_path().string()) + "/zel_bench.XXXXXX";
    return mkdtemp(path.data()) == nullptr ? std::string() : path;
}

void removeDirectory(const std::string &path, pid_t owner) {
    std::error_code ignored;
    if (!path.empty() && owner == getpid())
        fs::remove_all(path, ignored);
}

[[noreturn]] void sleepForGood() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    alarm(sleeperLifetime);
    for (;;)
        pause();
}

} // namespace

namespace bench {

ScratchHome::ScratchHome() : m_path(newDirectory(memoryDirectory)), m_owner(getpid()) {
    fs::create_directories(m_path + "/bin");
    fs::create_directories(m_path + "/aproc/shell");
    fs::current_path(m_path + "/bin");
}

ScratchHome::~ScratchHome() {
    if (m_owner == getpid())
        fs::current_path("/");
    removeDirectory(m_path, m_owner);
}

OwnInterfaces::OwnInterfaces() : m_own(unshare(CLONE_NEWNET) == 0) {}

std::string OwnInterfaces::name(long number) {
    return "veth" + std::to_string(number);
}

bool OwnInterfaces::bringTo(long count) {
    if (!m_own || m_count > count)
        return false;
    if (m_count == count)
        return true;
    std::FILE *batch = popen("ip -batch - 2>/dev/null", "w");
    if (batch == nullptr)
        return false;
    for (; m_count < count; m_count += 2)
        std::fprintf(batch, "link add %s up type veth peer name %s\nlink set %s up\n", name(m_count).c_str(),
                     name(m_count + 1).c_str(), name(m_count + 1).c_str());
    return pclose(batch) == 0;
}

OwnMounts::OwnMounts() : m_owner(getpid()) {
    m_own = unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    m_root = newDirectory("/var/tmp"); // on a disk: filesystems in memory are not reported
    fs::create_directory(m_root + "/source");
}

OwnMounts::~OwnMounts() {
    if (m_owner != getpid())
        return;
    for (long i = 0; i < m_count; ++i)
        umount2((m_root + "/mount" + std::to_string(i)).c_str(), MNT_DETACH);
    removeDirectory(m_root, m_owner);
}

bool OwnMounts::add(long count) {
    for (; m_own && count > 0; --count, ++m_count) {
        const std::string target = m_root + "/mount" + std::to_string(m_count);
        fs::create_directory(target);
        if (mount((m_root + "/source").c_str(), target.c_str(), nullptr, MS_BIND, nullptr) != 0)
            return false;
    }
    return m_own;
}

void enterOwnProcesses() {
    if (unshare(CLONE_NEWPID | CLONE_NEWNS) != 0)
        return;
    const pid_t child = fork();
    if (child > 0) {
        int status = 0;
        waitpid(child, &status, 0);
        std::exit(WIFEXITED(status) ? WEXITSTATUS(status) : 1);
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
    if (mount("proc", "/proc", "proc", 0, nullptr) != 0)
        std::perror("own /proc");
}

Sleepers::~Sleepers() {
    for (const pid_t pid : m_pids)
        kill(pid, SIGKILL);
    for (const pid_t pid : m_pids)
        waitpid(pid, nullptr, 0);
}

bool Sleepers::bringTo(long count) {
    while (m_pids.size() < static_cast<std::size_t>(count)) {
        const pid_t child = fork();
        if (child == 0)
            sleepForGood();
        if (child < 0) {
            std::perror("fork");
            return false;
        }
        m_pids.push_back(child);
    }
    return true;
}

GeneratedTree::GeneratedTree() : m_root(newDirectory(memoryDirectory)), m_owner(getpid()) {}

GeneratedTree::~GeneratedTree() {
    showOwnHost();
    removeDirectory(m_root, m_owner);
}

void GeneratedTree::write(const std::string &path, const std::string &text) const {
    fs::create_directories(fs::path(m_root + path).parent_path());
    std::ofstream(m_root + path) << text;
}

void GeneratedTree::link(const std::string &path, const std::string &target) const {
    fs::create_directories(fs::path(m_root + path).parent_path());
    fs::create_symlink(target, m_root + path);
}

void GeneratedTree::show() const {
    std::snprintf(g_strHostRoot, sizeof(g_strHostRoot), "%s", m_root.c_str());
}

void showOwnHost() {
    g_strHostRoot[0] = '\0';
}

} // namespace bench

// Reads the files of processes of this machine, as one who keeps them open and as one who opens them anew, and makes
// processes to be read.
#pragma once

#include "host/HostOpen.h"
#include "kernel/ProcessFiles.h"

#include <csignal>
#include <cstdlib>
#include <functional>
#include <linux/sched.h>
#include <string>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/// What the files of a process gave; a file that gave nothing is empty.
struct ProcessTexts {
    bool exists = false;
    int user = -1;
    std::string stat;
    std::string statm;
    std::string io;
    std::string commandLine;

    bool operator==(const ProcessTexts &) const = default;
};

inline unsigned long flagsOf(const std::string &stat) {
    const std::size_t end = stat.rfind(')');
    const char *rest = end == std::string::npos ? "" : stat.c_str() + end + 2;
    for (int field = 3; field < 9 && *rest != '\0'; ++rest)
        field += *rest == ' ' ? 1 : 0;
    return std::strtoul(rest, nullptr, 10);
}

/// The texts of process `pid` below the open /proc `directory`.
inline ProcessTexts textsOf(int directory, int pid, zel::KeptProcesses *kept = nullptr) {
    thread_local char text[16384];
    thread_local char line[10241];
    ProcessTexts texts;
    zel::ProcessFiles files(directory, pid, text, sizeof(text), kept);
    texts.exists = files.owner(texts.user);
    if (!texts.exists)
        return texts;
    const auto orEmpty = [](const char *found) { return std::string(found == nullptr ? "" : found); };
    texts.stat = orEmpty(files.stat());
    files.takeFlags(flagsOf(texts.stat));
    texts.statm = orEmpty(files.statm());
    zel::LinePieces io = files.io();
    while (const char *piece = io.next())
        texts.io += piece;
    texts.commandLine = std::string(line, files.commandLine(line, sizeof(line)));
    return texts;
}

/// Scans chosen processes of a /proc and keeps their files open, in places of its own.
class KeptReading {
public:
    explicit KeptReading(int limit = 1000, const char *directory = "/proc")
        : setting(limit), m_directory(open(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC)), places(setting),
          kept(places) {}

    std::vector<ProcessTexts> scan(const std::vector<pid_t> &pids) {
        kept.begin(m_directory.get(), true);
        std::vector<ProcessTexts> texts;
        for (const pid_t pid : pids)
            texts.push_back(textsOf(m_directory.get(), pid, &kept));
        kept.finish();
        return texts;
    }
    ProcessTexts scan(pid_t pid) { return scan(std::vector{pid})[0]; }
    /// So that the files of `pids` are open.
    void keep(const std::vector<pid_t> &pids) {
        scan(pids);
        scan(pids);
    }
    ProcessTexts fresh(pid_t pid) const { return textsOf(m_directory.get(), pid); }
    void enter(const char *directory) {
        m_directory = zel::ScopedDescriptor(open(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    }

    int setting;

private:
    zel::ScopedDescriptor m_directory;

public:
    zel::KeptPlaces places;
    zel::KeptProcesses kept;
};

/// A child that does `work` and then sleeps until the end of this object. It sleeps before this object is there, so
/// that what its files say does not change by itself.
class Child {
public:
    explicit Child(const std::function<void()> &work = [] {}) {
        int done[2];
        if (pipe(done) != 0)
            return;
        m_pid = fork();
        if (m_pid == 0)
            run(work, done);
        close(done[1]);
        char byte = 0;
        static_cast<void>(!read(done[0], &byte, 1)); // ends with the first byte or with the child
        close(done[0]);
        for (int look = 0; look < mostLooks && !isAsleep(); ++look)
            usleep(1000);
    }
    ~Child() { end(); }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    pid_t pid() const { return m_pid; }
    /// Lets it do the next of its works (a handler of SIGUSR1 of its own).
    void wake() const { kill(m_pid, SIGUSR1); }
    void end() {
        becomeZombie();
        if (m_pid > 0)
            waitpid(m_pid, nullptr, 0);
        m_pid = 0;
    }
    void becomeZombie() const {
        if (m_pid <= 0)
            return;
        kill(m_pid, SIGKILL);
        siginfo_t ended{};
        waitid(P_PID, static_cast<id_t>(m_pid), &ended, WEXITED | WNOWAIT);
    }

private:
    static constexpr int mostLooks = 10000;

    bool isAsleep() const {
        char text[512] = {};
        const std::string path = "/proc/" + std::to_string(m_pid) + "/stat";
        const zel::ScopedDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
        return read(file.get(), text, sizeof(text) - 1) > 0 && std::string(text).find(") S ") != std::string::npos;
    }

    [[noreturn]] static void run(const std::function<void()> &work, const int *done) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        work();
        static_cast<void>(!write(done[1], "", 1));
        close(done[0]);
        close(done[1]);
        for (;;)
            pause();
    }

    pid_t m_pid = 0;
};

/// A child with exactly this pid, which sleeps; 0 when the kernel refuses (no rights, or the pid is in use).
inline pid_t childWithPid(pid_t pid) {
    clone_args arguments{};
    arguments.exit_signal = SIGCHLD;
    arguments.set_tid = reinterpret_cast<std::uintptr_t>(&pid);
    arguments.set_tid_size = 1;
    const long child = syscall(SYS_clone3, &arguments, sizeof(arguments));
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        prctl(PR_SET_NAME, "successor");
        for (;;)
            pause();
    }
    return child > 0 ? static_cast<pid_t>(child) : 0;
}

// Starts the driver and collects its output, status and pauses.
#include "DriverRun.h"
#include "Paths.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::string slurp(std::FILE *file) {
    std::string text;
    char piece[4096];
    std::rewind(file);
    for (std::size_t count; (count = std::fread(piece, 1, sizeof(piece), file)) > 0;)
        text.append(piece, count);
    std::fclose(file);
    return text;
}

std::vector<long> recordedPauses(const std::filesystem::path &file) {
    std::ifstream text(file);
    return {std::istream_iterator<long>(text), {}};
}

} // namespace

DriverRun &DriverRun::hosts(const std::vector<std::string> &fixtures) {
    std::vector<std::string> directories;
    for (const std::string &fixture : fixtures)
        directories.push_back(std::string(paths::fixtures) + "/" + fixture);
    return hostDirectories(directories);
}

// The driver reads through one link; the preloaded library moves it to the next directory at every pause.
DriverRun &DriverRun::hostDirectories(const std::vector<std::string> &directories) {
    const std::string link = (m_home.path() / "host").string();
    std::filesystem::create_directory_symlink(directories.front(), link);
    std::string list;
    for (const std::string &directory : directories)
        list += directory + ":";
    m_environment.push_back("ZEL_HOST_ROOT=" + link);
    m_environment.push_back("ZEL_TEST_HOSTS=" + list);
    return *this;
}

DriverRun &DriverRun::kernelRelease(const std::string &release) {
    m_environment.push_back("ZEL_TEST_RELEASE=" + release);
    return *this;
}

DriverRun &DriverRun::uniformFilesystemsAndUsers() {
    m_environment.push_back("ZEL_TEST_STATFS=1");
    return *this;
}

DriverRun &DriverRun::frozenClock(long seconds) {
    m_environment.push_back("ZEL_TEST_CLOCK=" + std::to_string(seconds));
    m_environment.push_back("ZEL_TEST_PAUSES=" + pausesFile());
    return *this;
}

DriverRun &DriverRun::killAfter(int seconds) {
    m_killAfter = seconds;
    return *this;
}

DriverRun &DriverRun::withoutLeakCheck() {
    m_leakCheck = false;
    return *this;
}

DriverRun &DriverRun::killAtPause(int pause) {
    m_environment.push_back("ZEL_TEST_KILL_AT_PAUSE=" + std::to_string(pause));
    return *this;
}

DriverRun &DriverRun::oneStream() {
    m_environment.emplace_back("ZEL_TEST_ONE_STREAM=1");
    return *this;
}

std::string DriverRun::pausesFile() const {
    return (m_home.path() / "pauses").string();
}

DriverResult DriverRun::run(const std::vector<std::string> &arguments) const {
    std::filesystem::remove(pausesFile());
    std::FILE *out = std::tmpfile();
    std::FILE *err = std::tmpfile();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        for (const std::string &variable : m_environment)
            putenv(strdup(variable.c_str()));
        if (!m_environment.empty()) {
            setenv("LD_PRELOAD", paths::preload, 1);
            setenv("ASAN_OPTIONS", ("verify_asan_link_order=0:detect_leaks=" + std::to_string(m_leakCheck)).c_str(), 1);
        }
        dup2(fileno(out), STDOUT_FILENO);
        dup2(fileno(err), STDERR_FILENO);
        std::vector<char *> argv{const_cast<char *>("./libzelinfo")};
        for (const std::string &argument : arguments)
            argv.push_back(const_cast<char *>(argument.c_str()));
        argv.push_back(nullptr);
        execv(paths::driver, argv.data());
        _exit(127);
    }
    int status = 0;
    for (int waited = 0; waitpid(child, &status, WNOHANG) == 0; ++waited) {
        if (waited == m_killAfter * 100)
            kill(child, SIGTERM);
        usleep(10000);
    }
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return {code, slurp(out), slurp(err), recordedPauses(pausesFile())};
}

// Starts, stops and ends the FUSE server of the tests.
#include "FuseMounts.h"

#include "Paths.h"

#include <csignal>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

FuseMounts::FuseMounts(const std::vector<std::string> &directories) {
    std::vector<char *> arguments{const_cast<char *>(paths::fuseServer)};
    for (const std::string &directory : directories) {
        if (!std::filesystem::exists(directory))
            std::filesystem::create_directories(directory);
        arguments.push_back(const_cast<char *>(directory.c_str()));
    }
    arguments.push_back(nullptr);
    int out[2];
    if (pipe(out) != 0)
        return;
    m_server = fork();
    if (m_server == 0) {
        dup2(out[1], STDOUT_FILENO);
        close(out[0]);
        close(out[1]);
        execv(paths::fuseServer, arguments.data());
        _exit(127);
    }
    close(out[1]);
    char first = '\0';
    m_works = read(out[0], &first, 1) == 1; // of "ready"; nothing comes when it ends
    close(out[0]);
}

FuseMounts::~FuseMounts() {
    end(SIGTERM);
}

void FuseMounts::stop() const {
    ::kill(m_server, SIGSTOP);
    int status = 0;
    waitpid(m_server, &status, WUNTRACED);
}

void FuseMounts::resume() const {
    ::kill(m_server, SIGCONT);
}

void FuseMounts::kill() {
    end(SIGKILL);
}

void FuseMounts::end(int signal) {
    if (m_server < 0)
        return;
    ::kill(m_server, signal);
    ::kill(m_server, SIGCONT);
    int status = 0;
    while (waitpid(m_server, &status, 0) == m_server && !WIFEXITED(status) && !WIFSIGNALED(status))
        ;
    m_server = -1;
}

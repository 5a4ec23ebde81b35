// Runs a shell line through popen.
#include "ShellRun.h"

#include <chrono>
#include <cstdio>
#include <sys/wait.h>

ShellResult runShell(const std::string &line) {
    const auto start = std::chrono::steady_clock::now();
    ShellResult result{-1, "", 0.0};
    std::FILE *pipe = popen(line.c_str(), "r");
    if (pipe == nullptr)
        return result;
    char piece[4096];
    for (std::size_t count; (count = std::fread(piece, 1, sizeof(piece), pipe)) > 0;)
        result.out.append(piece, count);
    const int status = pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

// Runs a shell line as a user would and keeps its standard output, exit status and duration.
#pragma once

#include <string>

struct ShellResult {
    int status; // exit status; 128 + signal when a signal ended it
    std::string out;
    double seconds;
};

ShellResult runShell(const std::string &line);

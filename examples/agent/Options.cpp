// Reads the command line and finds the name of the sampled host.
#include "Options.h"

#include "HostRoot.h"
#include "Record.h"
#include "TcpReceiver.h"

#include <charconv>
#include <cstdio>
#include <fstream>
#include <string_view>
#include <unistd.h>

namespace agent {

namespace {

// The name in the host's own file: below a host root, the kernel's name is that of the container.
std::string nameInFile() {
    std::ifstream file(fgHostPath("/etc/hostname"));
    std::string name;
    std::getline(file, name);
    return name;
}

std::string nameInKernel() {
    char name[longestWord + 1] = {};
    return gethostname(name, longestWord) == 0 ? name : "";
}

std::string ownHost() {
    const std::string name = g_strHostRoot[0] == '\0' ? nameInKernel() : nameInFile();
    return isWord(name) ? name : "localhost";
}

bool readSeconds(std::string_view text, int &seconds) {
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, seconds);
    return error == std::errc() && stop == end && seconds >= 1 && seconds <= 86400;
}

bool readOption(std::string_view option, const char *value, Options &options) {
    if (option == "--to") {
        options.receiver = value;
        return TcpReceiver::isAddress(options.receiver);
    }
    if (option == "--host") {
        options.host = value;
        return isWord(options.host);
    }
    return option == "--cycle" && readSeconds(value, options.cycle);
}

} // namespace

bool readOptions(int argc, char **argv, Options &options) {
    for (int i = 1; i < argc; i += 2) {
        if (i + 1 == argc || !readOption(argv[i], argv[i + 1], options)) {
            std::fputs("Usage: agent [--to HOST:PORT] [--cycle SECONDS] [--host NAME]\n", stderr);
            return false;
        }
    }
    if (options.host.empty())
        options.host = ownHost();
    return true;
}

} // namespace agent

// Runs one target over files, without libFuzzer: the seeds in the ordinary gate, or a finding under a debugger.
//   zel_fuzz_replay TARGET FILE-OR-DIRECTORY...
#include "FuzzTarget.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

struct Known {
    const char *name;
    fuzz::Body body;
};

std::vector<Known> &knownTargets() {
    static std::vector<Known> targets;
    return targets;
}

void replay(fuzz::Body body, const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    fuzz::FuzzedInput input(reinterpret_cast<const unsigned char *>(content.data()), content.size());
    body(input);
}

int replayAll(fuzz::Body body, char **paths) {
    int count = 0;
    // Whole paths first: a target may change the working directory.
    std::vector<std::filesystem::path> files;
    for (; *paths != nullptr; ++paths) {
        const std::filesystem::path path = std::filesystem::absolute(*paths);
        if (!std::filesystem::is_directory(path)) {
            files.push_back(path);
            continue;
        }
        for (const auto &entry : std::filesystem::directory_iterator(path))
            files.push_back(entry.path());
    }
    for (const auto &file : files) {
        std::fprintf(stderr, "%s\n", file.c_str());
        replay(body, file);
        ++count;
    }
    return count;
}

} // namespace

fuzz::Registration::Registration(const char *name, Body body) {
    knownTargets().push_back({name, body});
}

int main(int argc, char **argv) {
    for (const Known &target : knownTargets()) {
        if (argc < 3 || std::strcmp(target.name, argv[1]) != 0)
            continue;
        const int count = replayAll(target.body, argv + 2);
        std::printf("%s: %d inputs\n", target.name, count);
        return count > 0 ? 0 : 1;
    }
    std::fprintf(stderr, "usage: zel_fuzz_replay TARGET FILE-OR-DIRECTORY...\n");
    return 2;
}

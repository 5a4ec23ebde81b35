// The real driver on a checked-in host, its whole output against a golden text. See tests/golden/README.md.
#include "DriverRun.h"
#include "Paths.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {

std::string visible(const std::string &text) {
    std::string result;
    for (const char character : text) {
        if (character == '\x03')
            result += "^C";
        else if (character == '\x1F')
            result += "^_";
        else
            result += character;
    }
    return result;
}

// The volatile part: processes are in the order of their directory. Sorts the rows of each process table and takes
// their numbers out.
std::string withoutProcessOrder(const std::string &text) {
    std::istringstream lines(text);
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        const std::string row = "^C^_|";
        std::vector<std::string> pieces;
        for (std::size_t start = 0, end = 0; end != std::string::npos; start = end + row.size()) {
            end = line.find(row, start);
            pieces.push_back(line.substr(start, end - start));
        }
        if (line.find("INDEX^C^_~PID") == 0 && pieces.size() > 2) {
            for (std::size_t piece = 1; piece + 1 < pieces.size(); ++piece)
                pieces[piece] = "#" + pieces[piece].substr(pieces[piece].find("^C^_~"));
            std::sort(pieces.begin() + 1, pieces.end() - 1);
        }
        for (std::size_t piece = 0; piece < pieces.size(); ++piece)
            result += (piece == 0 ? "" : "\n" + row) + pieces[piece];
        result += "\n";
    }
    return result;
}

class Golden : public testing::TestWithParam<int> {};

TEST_P(Golden, DriverPrintsWhatTheHostSays) {
    const int option = GetParam();
    DriverRun driver;
    driver.hosts({"linux-6.1.0/t0", "linux-6.1.0/t1"}).kernelRelease("6.1.0-13-amd64").frozenClock();
    const DriverResult run = driver.uniformFilesystemsAndUsers().run({std::to_string(option), "5", "3"});
    EXPECT_EQ(run.status, 0);
    const std::string text =
        withoutProcessOrder(visible("--- standard output\n" + run.out + "--- standard error\n" + run.err));

    const std::string path = std::string(paths::sourceRoot) + "/tests/golden/option-" + std::to_string(option) + ".txt";
    if (std::getenv("ZEL_UPDATE_GOLDEN") != nullptr)
        std::ofstream(path) << text;
    std::ifstream file(path);
    std::ostringstream golden;
    golden << file.rdbuf();
    EXPECT_EQ(text, golden.str()) << path;
}

INSTANTIATE_TEST_SUITE_P(Option, Golden, testing::Range(1, 13));

} // namespace

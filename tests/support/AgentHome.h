// A home for the units of the example agent: what its buffer holds, and kept records written by hand.
#pragma once

#include "NGFunctions.h"
#include "ScratchHome.h"
#include "Separators.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

class AgentHome {
public:
    AgentHome() { g_nDataBufferSaveMaxSize = 10; }
    AgentHome(const AgentHome &) = delete;
    AgentHome &operator=(const AgentHome &) = delete;

    /// A record as it is in a buffer file.
    static std::string record(const std::string &series, int number, const std::string &text) {
        const std::string head = "host " + series + ' ' + std::to_string(number) + " cpu 1700000000 ";
        return "1700000000" + F + head + std::to_string(text.size()) + F + text + F + M + "\n";
    }

    void keep(const std::string &name, const std::string &content) const {
        home.write("agent/buffer/" + name, content);
    }

    /// The names of the files in ../buffer, sorted, without the file of the numbers.
    static std::vector<std::string> files() {
        std::vector<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator("../buffer")) {
            if (entry.path().filename() != "numbering")
                names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    ScratchHome home;
};

/// Waits up to ten seconds until `condition` holds; whether it does.
template<typename Condition> bool soon(const Condition &condition) {
    for (int tries = 0; tries < 1000 && !condition(); ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return condition();
}

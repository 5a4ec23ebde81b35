// A stand-in for NVIDIA's management library (support/gpu), and what it answers during a test.
#pragma once

#include "TempDirectory.h"

#include <cstdlib>
#include <filesystem>
#include <string>

class NvmlStandIn {
public:
    NvmlStandIn() {
        answers("");
        setenv("ZEL_TEST_NVML", (m_directory.path() / "answers").c_str(), 1);
    }
    ~NvmlStandIn() { unsetenv("ZEL_TEST_NVML"); }
    NvmlStandIn(const NvmlStandIn &) = delete;
    NvmlStandIn &operator=(const NvmlStandIn &) = delete;

    /// The lines that say what functions give; at once for all functions.
    void answers(const std::string &lines) const {
        m_directory.write("new", lines + "\n");
        std::filesystem::rename(m_directory.path() / "new", m_directory.path() / "answers");
    }

private:
    TempDirectory m_directory;
};

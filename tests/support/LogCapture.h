// Installs a logger and collects what is logged while it lives. All gates are open, or only those that the test names.
// Its log file is in a directory of its own and never fills, so that no outside command is started on its behalf.
#pragma once

#include "StreamCapture.h"
#include "TempDirectory.h"
#include "VornLog.h"

#include <string>
#include <vector>

class LogCapture {
public:
    LogCapture();
    /// Opens one module bit and one detail bit of the error and normal words only.
    LogCapture(int module, int detail);
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    /// The logged lines so far without their time, such as "[INFO][MM_CPU_Info][41]cpu read failed".
    std::vector<std::string> lines() const;
    /// The messages alone.
    std::vector<std::string> messages() const;

private:
    StreamCapture m_streams;
    TempDirectory m_directory;
    CVornLog m_log;
};

// Installs a logger and records every call to it with its level, below the logger's own rules. Gates are set by the
// test (OpenGate); without one only what is logged whenever a logger is installed arrives.
#pragma once

#include "SystemHooks.h"
#include "VornLog.h"

#include <mutex>
#include <string>
#include <vector>

struct LogCall {
    int level;
    std::string source;
    std::string message;

    bool operator==(const LogCall &) const = default;
};

class LogRecorder {
public:
    LogRecorder() : m_log(2, "test", 2) {
        g_pclVornLog = &m_log;
        systemHooks().writeLog = [this](int level, int, const char *source, const char *message) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_calls.push_back({level, source, message});
        };
    }
    ~LogRecorder() {
        systemHooks().writeLog = nullptr;
        g_pclVornLog = nullptr;
    }
    LogRecorder(const LogRecorder &) = delete;
    LogRecorder &operator=(const LogRecorder &) = delete;

    std::vector<LogCall> calls() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_calls;
    }

private:
    CVornLog m_log;
    mutable std::mutex m_mutex;
    std::vector<LogCall> m_calls;
};

/// Sets one module word and one detail word, such as g_nLogModERROR to 16 and g_nLoggingERROR2 to 1, for its lifetime.
class OpenGate {
public:
    OpenGate(int &moduleWord, int module, int &detailWord, int detail)
        : m_moduleWord(moduleWord), m_detailWord(detailWord) {
        m_moduleWord = module;
        m_detailWord = detail;
    }
    ~OpenGate() { m_moduleWord = m_detailWord = 0; }
    OpenGate(const OpenGate &) = delete;
    OpenGate &operator=(const OpenGate &) = delete;

private:
    int &m_moduleWord;
    int &m_detailWord;
};

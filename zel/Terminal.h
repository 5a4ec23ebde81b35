// What the reader's terminal can show, and the line of progress on it.
#pragma once

#include "zel/Table.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace zel {

/// Utf8 when the environment says so: LC_ALL, LC_CTYPE or LANG, the first one that is set.
Charset terminalCharset();

/// Colours only on a terminal that is not "dumb", and not with NO_COLOR; the width only of a terminal.
Style outputStyle();

/// A line on standard error that says what is waited for: it comes when the object has lived for `delay`, and goes with
/// it. Nothing where standard error is no terminal.
class Progress {
public:
    explicit Progress(std::string text, std::chrono::milliseconds delay = {});
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

private:
    void show();

    std::string m_text;
    std::chrono::milliseconds m_delay;
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_over = false;
    bool m_shown = false;
    std::thread m_thread;
};

} // namespace zel

// Asks the environment and the terminal what they can show.
#include "zel/Terminal.h"

#include "zel/Output.h"

#include <cctype>
#include <cstdlib>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>

namespace zel {

namespace {

constexpr std::string_view eraseLine = "\r\033[K";
constexpr std::size_t narrowestTerminal = 20; // a terminal that says less does not know its size

std::string_view variable(const char *name) {
    const char *value = std::getenv(name);
    return value == nullptr ? "" : value;
}

bool isDumb() {
    return variable("TERM").empty() || variable("TERM") == "dumb";
}

std::size_t terminalWidth() {
    winsize size{};
    const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col >= narrowestTerminal;
    return known ? size.ws_col : 0;
}

} // namespace

Charset terminalCharset() {
    std::string name;
    for (const char *each : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        if (name.empty())
            name = variable(each);
    }
    std::string letters;
    for (const char character : name) {
        if (character != '-')
            letters += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    }
    return letters.find("utf8") == letters.npos ? Charset::Ascii : Charset::Utf8;
}

Style outputStyle() {
    Style style;
    style.charset = terminalCharset();
    if (!isTerminalOut())
        return style;
    style.colours = variable("NO_COLOR").empty() && !isDumb();
    style.width = terminalWidth();
    return style;
}

Progress::Progress(std::string text, std::chrono::milliseconds delay) : m_text(std::move(text)), m_delay(delay) {
    if (isTerminalError() && !isDumb())
        m_thread = std::thread([this] { show(); });
}

void Progress::show() {
    std::unique_lock held(m_lock);
    if (m_changed.wait_for(held, m_delay, [this] { return m_over; }))
        return;
    m_shown = true;
    writeError(m_text);
}

Progress::~Progress() {
    if (!m_thread.joinable())
        return;
    {
        const std::lock_guard held(m_lock);
        m_over = true;
    }
    m_changed.notify_one();
    m_thread.join();
    if (m_shown)
        writeError(eraseLine);
}

} // namespace zel

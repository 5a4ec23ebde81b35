// Server: this host over HTTP, as docs/serve.md says.
//
//   zel::Server server([](std::string_view line) { zel::complain(line); });
//   std::string problem;
//   if (!server.start(settings, problem)) ...        // listens from here on
//   server.reload(other, problem);                   // connections stay
//   server.stop();                                   // streams end, answers that go are finished
//
// It has two threads: one for all connections, which never waits for any of them, and one that samples. Everything here
// may be called from any thread that is neither; signals are blocked in both.
#pragma once

#include "zel/serve/ServeSettings.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

/// How long stop() waits for answers to be taken.
inline constexpr std::chrono::seconds STOP_TIME{3};

class Server {
public:
    using Log = std::function<void(std::string_view)>;

    /// `log` takes what an operator should see, one line each, from any thread.
    explicit Server(Log log = {});
    /// Stops.
    ~Server();
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    /// False, and what is wrong and what would be right in `problem`, when it cannot serve. To be called once.
    bool start(const ServeSettings &settings, std::string &problem);
    /// Takes new settings; files of token, certificate and key are read again. False, with everything as it was, when
    /// something is wrong with them. Settings that are only taken at start are logged when they changed.
    bool reload(const ServeSettings &settings, std::string &problem);
    void stop();

    /// Where it listens: "127.0.0.1:9100".
    std::vector<std::string> addresses() const;
    /// Whether both threads do what they should, as a watchdog asks. Takes `limit` at most.
    bool isAlive(std::chrono::milliseconds limit);

private:
    struct Running;
    Log m_log;
    std::unique_ptr<Running> m_running;
};

/// What is wrong with settings together; empty when nothing is. Files are looked at, sockets are not opened.
std::string settingsProblem(const ServeSettings &settings);

} // namespace zel

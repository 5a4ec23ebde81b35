// The thread that has all connections. Nothing in it waits for a client, a sample or a file.
#pragma once

#include "zel/serve/Listeners.h"
#include "zel/serve/Protection.h"
#include "zel/serve/RequestDesk.h"

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>

namespace zel {

/// How much of the settings the loop has to know.
struct LoopSettings {
    Protection protection;
    DeskRules desk;
    ClientLimits limits;
    AnswerSettings answers;
};

class ServerLoop {
public:
    using Clock = std::chrono::steady_clock;
    using Log = std::function<void(std::string_view)>;

    ServerLoop(const Options &options, LoopSettings settings, std::vector<Listener> listeners, Log log);
    /// Ends it.
    ~ServerLoop();
    ServerLoop(const ServerLoop &) = delete;
    ServerLoop &operator=(const ServerLoop &) = delete;

    /// Starts the thread. `problem` says why it cannot.
    bool start(std::string &problem);
    bool change(LoopSettings settings, std::string &problem);
    void stop(std::chrono::milliseconds time);
    bool isAlive(std::chrono::milliseconds limit);

private:
    using Command = std::function<void()>;
    void post(Command command);
    void wake() const;
    void runCommands();

    void run();
    void waitForEvents();
    int timeout(Clock::time_point now) const;
    void acceptAll(Clock::time_point now);
    bool acceptOne(const Listener &listener);
    bool makeDaemon(const LoopSettings &settings, std::string &problem);
    void dropRetired();
    void beginStop(Clock::time_point until);
    void lookAtStop(Clock::time_point now);

    Log m_log;
    ScopedDescriptor m_wake;
    Clients m_clients;
    SamplingThread m_sampling;
    RequestDesk m_desk;
    LoopSettings m_settings;
    std::vector<Listener> m_listeners;
    std::vector<std::unique_ptr<HttpDaemon>> m_daemons; // the last takes new connections, the others are left
    std::vector<pollfd> m_polled;
    Clock::time_point m_nextLook{}, m_acceptFrom{};
    bool m_isStopping = false, m_isDone = false;
    Clock::time_point m_stopBegun{}, m_stopUntil{};

    std::mutex m_lock; // of the commands
    std::vector<Command> m_commands;
    std::thread m_thread;
};

} // namespace zel

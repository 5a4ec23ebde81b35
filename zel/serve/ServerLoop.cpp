// Polls all sockets and runs what is ready.
#include "zel/serve/ServerLoop.h"

#include "threads/WorkerThread.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <future>
#include <limits>

#include <sys/eventfd.h>

namespace zel {

namespace {

constexpr std::chrono::milliseconds lookInterval{250}; // between two looks at the time that clients take
constexpr std::chrono::milliseconds acceptPause{100};  // when no descriptor is left for a client
constexpr std::chrono::milliseconds stopPatience{250}; // when the server stops, for a request that is on its way
constexpr int stopStep = 10;                           // milliseconds between two looks at who is still there
constexpr int acceptsAtOnce = 64;                      // then the other clients have their turn
constexpr std::size_t retiredAtMost = 3;               // daemons of earlier settings; of older ones clients are cut

bool isOutOfDescriptors(int error) {
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

} // namespace

ServerLoop::ServerLoop(const Options &options, LoopSettings settings, std::vector<Listener> listeners, Log log)
    : m_log(std::move(log)), m_wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      m_sampling(options, settings.answers, [this] { wake(); }), m_desk(m_clients, m_sampling),
      m_settings(std::move(settings)), m_listeners(std::move(listeners)) {}

ServerLoop::~ServerLoop() {
    stop(std::chrono::milliseconds{0});
}

bool ServerLoop::start(std::string &problem) {
    if (!makeDaemon(m_settings, problem))
        return false;
    m_clients.setLimits(m_settings.limits);
    m_desk.setRules(m_settings.desk);
    const SignalsBlocked blocked;
    m_thread = std::thread([this] { run(); });
    return true;
}

bool ServerLoop::makeDaemon(const LoopSettings &settings, std::string &problem) {
    auto made = std::make_unique<HttpDaemon>(settings.protection.tls, settings.desk.requestBytes, m_desk, problem);
    if (problem.empty())
        m_daemons.push_back(std::move(made));
    return problem.empty();
}

void ServerLoop::post(Command command) {
    {
        const std::lock_guard held(m_lock);
        m_commands.push_back(std::move(command));
    }
    wake();
}

void ServerLoop::wake() const {
    const std::uint64_t one = 1;
    static_cast<void>(write(m_wake.get(), &one, sizeof(one)));
}

void ServerLoop::runCommands() {
    std::uint64_t count = 0;
    static_cast<void>(read(m_wake.get(), &count, sizeof(count)));
    std::vector<Command> commands;
    {
        const std::lock_guard held(m_lock);
        std::swap(commands, m_commands);
    }
    for (const Command &command : commands)
        command();
}

bool ServerLoop::change(LoopSettings settings, std::string &problem) {
    const auto result = std::make_shared<std::promise<std::string>>();
    const auto wanted = std::make_shared<LoopSettings>(std::move(settings));
    post([this, result, wanted] {
        std::string wrong;
        const HttpDaemon &current = *m_daemons.back();
        const bool isSame =
            current.tls() == wanted->protection.tls && current.requestBytes() == wanted->desk.requestBytes;
        if (isSame || makeDaemon(*wanted, wrong)) {
            m_settings = *wanted;
            m_clients.setLimits(m_settings.limits);
            m_desk.setRules(m_settings.desk);
            m_sampling.change(m_settings.answers);
        }
        result->set_value(wrong);
    });
    problem = result->get_future().get();
    return problem.empty();
}

void ServerLoop::stop(std::chrono::milliseconds time) {
    if (!m_thread.joinable())
        return;
    post([this, time] { beginStop(Clock::now() + time); });
    m_thread.join();
}

bool ServerLoop::isAlive(std::chrono::milliseconds limit) {
    const auto result = std::make_shared<std::promise<bool>>();
    std::future<bool> answer = result->get_future();
    post([this, result] { result->set_value(m_desk.isHealthy()); });
    return answer.wait_for(limit) == std::future_status::ready && answer.get();
}

void ServerLoop::run() {
    while (!m_isDone) {
        waitForEvents();
        runCommands();
        m_desk.takeTexts();
        for (const std::string &remark : m_sampling.takeRemarks())
            m_log(remark);
        const Clock::time_point now = Clock::now();
        acceptAll(now);
        if (now >= m_nextLook) {
            m_clients.cutLate(now);
            m_desk.look(now);
            m_nextLook = now + lookInterval;
        }
        lookAtStop(now);
        for (const std::unique_ptr<HttpDaemon> &daemon : m_daemons)
            daemon->run();
        dropRetired();
        m_isDone = m_isStopping && (m_clients.size() == 0 || now >= m_stopUntil);
    }
    for (const std::unique_ptr<HttpDaemon> &daemon : m_daemons) {
        m_desk.release(*daemon);
        daemon->run();
    }
    m_daemons.clear();
}

void ServerLoop::waitForEvents() {
    const Clock::time_point now = Clock::now();
    m_polled.clear();
    m_polled.push_back({m_wake.get(), POLLIN, 0});
    for (const std::unique_ptr<HttpDaemon> &daemon : m_daemons)
        m_polled.push_back({daemon->descriptor(), POLLIN, 0});
    for (const Listener &listener : m_listeners) {
        if (now >= m_acceptFrom)
            m_polled.push_back({listener.socket.get(), POLLIN, 0});
    }
    poll(m_polled.data(), m_polled.size(), timeout(now));
}

int ServerLoop::timeout(Clock::time_point now) const {
    constexpr int endless = std::numeric_limits<int>::max();
    const auto until = [now](Clock::time_point time) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - now).count();
        return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left, 0));
    };
    int least = endless;
    for (const std::unique_ptr<HttpDaemon> &daemon : m_daemons) {
        if (const int due = daemon->timeout(); due >= 0)
            least = std::min(least, due);
    }
    if (m_clients.size() > 0)
        least = std::min(least, until(m_nextLook));
    if (m_isStopping)
        least = std::min(least, stopStep);
    if (now < m_acceptFrom)
        least = std::min(least, until(m_acceptFrom));
    return least == endless ? -1 : least;
}

void ServerLoop::acceptAll(Clock::time_point now) {
    if (now < m_acceptFrom)
        return;
    for (const Listener &listener : m_listeners) {
        for (int count = 0; count < acceptsAtOnce && acceptOne(listener); ++count) {
        }
        if (isOutOfDescriptors(errno))
            m_acceptFrom = now + acceptPause;
    }
}

// False when nobody waits; then errno says why.
bool ServerLoop::acceptOne(const Listener &listener) {
    SocketAddress peer, own;
    ScopedDescriptor socket = acceptOn(listener, peer, own);
    if (!socket.valid())
        return errno == ECONNABORTED || errno == EINTR;
    HttpDaemon &daemon = *m_daemons.back();
    if (m_clients.add(socket.get(), peer, isLoopback(own), daemon) == nullptr)
        return true;
    const int number = socket.release(); // the library closes it, whatever becomes of it
    if (!daemon.add(number, peer))
        m_clients.remove(number);
    errno = 0;
    return true;
}

void ServerLoop::dropRetired() {
    while (m_daemons.size() > retiredAtMost + 1) {
        m_desk.release(*m_daemons.front());
        m_daemons.front()->run();
        m_daemons.erase(m_daemons.begin());
    }
    for (std::size_t index = 0; index + 1 < m_daemons.size();) {
        if (m_clients.hasAny(*m_daemons[index]))
            ++index;
        else
            m_daemons.erase(m_daemons.begin() + static_cast<std::ptrdiff_t>(index));
    }
}

void ServerLoop::beginStop(Clock::time_point until) {
    m_isStopping = true;
    m_stopBegun = Clock::now();
    m_stopUntil = until;
    m_listeners.clear();
    m_desk.end();
}

void ServerLoop::lookAtStop(Clock::time_point now) {
    if (!m_isStopping)
        return;
    m_clients.forEach([&](Client &client) {
        const bool isLate = now - m_stopBegun > stopPatience;
        if (client.phase == Client::Phase::Idle || (client.phase == Client::Phase::Asking && isLate))
            Clients::cut(client);
    });
}

} // namespace zel

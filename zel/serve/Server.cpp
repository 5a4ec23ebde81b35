// Starts, changes and stops the server.
#include "zel/serve/Server.h"

#include "zel/Directory.h"
#include "zel/serve/ServerLoop.h"

namespace zel {

namespace {

AnswerSettings answerSettings(const ServeSettings &settings, std::string &problem) {
    AnswerSettings answers;
    answers.metrics.processes = settings.topProcesses;
    answers.metrics.commandLines = settings.commandLines;
    answers.metrics.version = ZEL_VERSION;
    if (!settings.metricsSections.empty())
        answers.metrics.sections = MetricSections();
    for (const std::string &section : settings.metricsSections) {
        if (!answers.metrics.sections.add(section))
            problem = "there is no section '" + section + "' of metrics";
    }
    answers.units = settings.root.empty() && !settings.withoutSystemd;
    answers.textfileDirectory = usedTextfileDirectory(settings);
    answers.textfiles = {settings.textfileBytes, settings.textfiles};
    answers.sampleAge = settings.sampleAge;
    answers.deadline = settings.deadline;
    answers.commandLines = settings.commandLines;
    return answers;
}

LoopSettings loopSettings(const ServeSettings &settings, std::string &problem) {
    LoopSettings loop;
    loop.answers = answerSettings(settings, problem);
    if (problem.empty())
        loop.protection = readProtection(settings, problem);
    loop.desk = {loop.protection.token, settings.serverNames, areaSetOf(settings.areas), settings.requestBytes,
                 settings.streams,      settings.streamLeast, settings.streamHeartbeat,  settings.deadline};
    loop.limits = {settings.connections, settings.connectionsPerAddress, settings.requestTime, settings.answerTime,
                   settings.idleTime};
    return loop;
}

constexpr std::string_view plainToken =
    "the token is sent without encryption: a certificate and key would protect it on the way";

bool isTokenPlain(const Protection &protection) {
    return !protection.token.empty() && !protection.tls.isUsed();
}

Options samplerOptions(const ServeSettings &settings) {
    Options options;
    options.root = settings.root;
    options.areas = settings.areas;
    options.deadline = settings.deadline;
    options.firstMounts = true; // those of a service are read-only for it alone
    return options;
}

} // namespace

struct Server::Running {
    ServeSettings settings;
    std::vector<std::string> addresses;
    std::unique_ptr<ServerLoop> loop;
};

Server::Server(Log log) : m_log(log ? std::move(log) : [](std::string_view) {}) {}

Server::~Server() {
    stop();
}

bool Server::start(const ServeSettings &settings, std::string &problem) {
    if (!settings.root.empty())
        problem = rootProblem(settings.root);
    if (!problem.empty()) {
        problem.insert(0, "root " + settings.root + ": ");
        return false;
    }
    LoopSettings loop = loopSettings(settings, problem);
    if (!problem.empty())
        return false;
    std::vector<Listener> listeners = listenOn(settings.listen, problem);
    if (!problem.empty())
        return false;
    auto running = std::make_unique<Running>();
    running->settings = settings;
    for (const Listener &listener : listeners)
        running->addresses.push_back(addressText(listener.address));
    const std::string start = loop.protection.tls.isUsed() ? "serving https://" : "serving http://";
    const bool isPlain = isTokenPlain(loop.protection);
    running->loop =
        std::make_unique<ServerLoop>(samplerOptions(settings), std::move(loop), std::move(listeners), m_log);
    if (!running->loop->start(problem))
        return false;
    for (const std::string &address : running->addresses)
        m_log(std::string(start).append(address).append("/metrics"));
    if (isPlain)
        m_log(plainToken);
    m_running = std::move(running);
    return true;
}

bool Server::reload(const ServeSettings &settings, std::string &problem) {
    ServeSettings wanted = settings;
    const ServeSettings &current = m_running->settings;
    wanted.listen = current.listen;
    wanted.deadline = current.deadline;
    wanted.root = current.root;
    wanted.areas = current.areas;
    LoopSettings loop = loopSettings(wanted, problem);
    const bool isPlain = isTokenPlain(loop.protection);
    if (!problem.empty() || !m_running->loop->change(std::move(loop), problem))
        return false;
    if (settings.listen != current.listen)
        m_log("listen changed: a restart is needed for it");
    if (settings.deadline != current.deadline || settings.root != current.root || settings.areas != current.areas)
        m_log("deadline, root or areas changed: a restart is needed for them");
    if (isPlain)
        m_log(plainToken);
    m_running->settings = wanted;
    return true;
}

void Server::stop() {
    if (m_running != nullptr)
        m_running->loop->stop(STOP_TIME);
    m_running = nullptr;
}

std::vector<std::string> Server::addresses() const {
    return m_running == nullptr ? std::vector<std::string>() : m_running->addresses;
}

bool Server::isAlive(std::chrono::milliseconds limit) {
    return m_running != nullptr && m_running->loop->isAlive(limit);
}

std::string settingsProblem(const ServeSettings &settings) {
    std::string problem;
    loopSettings(settings, problem);
    return problem;
}

} // namespace zel

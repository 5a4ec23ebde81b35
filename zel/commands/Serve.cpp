// `zel serve`: this host over HTTP, as a service of systemd or from a terminal.
#include "zel/Duration.h"
#include "zel/Output.h"
#include "zel/commands/Commands.h"
#include "zel/config/ConfigFile.h"
#include "zel/config/ServeOptions.h"
#include "zel/serve/Server.h"
#include "zel/service/ServiceManager.h"
#include "zel/service/ServiceSignals.h"

#include <algorithm>

namespace zel {

namespace {

using Clock = ServiceSignals::Clock;

// The watchdog is fed some times in its time, so that one slow answer does not end a service that is well.
constexpr int beatsInTime = 3;
constexpr std::chrono::hours longTime{1}; // between two looks at nothing, without a watchdog

constexpr Example examples[] = {
    {"zel serve", "on 127.0.0.1:9100, as /etc/zel/zel.toml says"},
    {"curl -s http://127.0.0.1:9100/metrics", "what Prometheus gets"},
    {"zel serve --listen :9100 --token-file /etc/zel/token", "for other machines that have the token"},
    {"zel serve --root /host --areas cpu,memory,disks", "some of another host, as in a container"},
};

constexpr std::string_view about =
    "/metrics has this host for Prometheus, /api/v1/sample as JSON, /api/v1/stream as events; /healthz says whether "
    "the server is well.\n"
    "Options that are not given come from the configuration, which zel check explains. SIGHUP reads it again: one with "
    "errors is refused in one line and the old one stays; connections stay open. SIGTERM and Ctrl-C end the server "
    "after the answers that are being sent.\n"
    "Only programs of this machine reach it, unless --listen says otherwise; then a token or TLS has to protect it. "
    "Nothing is sent anywhere by itself.";

constexpr Example exitStatus[] = {
    {"0", "ended by SIGTERM or Ctrl-C"},
    {"1", "an address cannot be listened to, or a file of the configuration does not fit"},
    {"2", "the command line or the configuration is wrong"}};

struct Configured {
    ServeSettings settings;
    std::vector<std::string> problems; // of the file
    std::string problem;               // of the command line
};

Configured configuredSettings(const Command &command, const Arguments &given) {
    const ConfigFile file = readConfigFileOf(given);
    Configured result{{}, file.problems, {}};
    if (file.problems.empty())
        result.settings = readServeSettings(withConfiguration(file.configuration, command, given), result.problem);
    return result;
}

class Service {
public:
    Service(const Command &command, const Arguments &given)
        : m_command(command), m_given(given), m_server([](std::string_view line) { complain(line); }) {}

    int run() {
        const Configured configured = configuredSettings(m_command, m_given);
        for (const std::string &problem : configured.problems)
            complain(problem);
        if (!configured.problems.empty())
            return EXIT_USAGE;
        if (!configured.problem.empty())
            return refuse(m_command, configured.problem);
        std::string problem;
        if (!m_server.start(configured.settings, problem)) {
            complain("serve: " + problem);
            return EXIT_FAILED;
        }
        if (!m_manager.sayReady(status()))
            complain("the socket of NOTIFY_SOCKET takes no message: systemd will not know that the service is ready");
        return loop();
    }

private:
    int loop() {
        const auto time = m_manager.watchdogTime();
        const Clock::duration beat = time ? Clock::duration(*time) / beatsInTime : Clock::duration(longTime);
        for (Clock::time_point next = Clock::now();;) {
            switch (m_signals.wait(next)) {
            case ServiceEvent::End:
                m_manager.sayStopping();
                m_server.stop();
                return EXIT_DONE;
            case ServiceEvent::Reload:
                reload();
                break;
            case ServiceEvent::Time:
                if (time)
                    look(std::chrono::duration_cast<std::chrono::milliseconds>(beat));
                next = Clock::now() + beat;
                break;
            }
        }
    }

    // Who does not answer in a beat is not well: after some more of them systemd starts the service anew.
    void look(std::chrono::milliseconds limit) {
        const bool isWell = m_server.isAlive(limit);
        if (isWell)
            m_manager.sayWell();
        if (isWell != m_wasWell)
            complain(isWell ? "samples are taken in time again"
                            : "a sample or an answer has taken longer than " + durationText(limit));
        m_wasWell = isWell;
    }

    void reload() {
        m_manager.sayReloading();
        const Configured configured = configuredSettings(m_command, m_given);
        std::string problem = configured.problems.empty() ? configured.problem : configured.problems[0];
        if (configured.problems.size() > 1)
            problem += " (and " + std::to_string(configured.problems.size() - 1) + " more: zel check)";
        const bool isTaken = problem.empty() && m_server.reload(configured.settings, problem);
        complain(isTaken ? "the configuration is taken"
                         : "the configuration is refused, the old one stays: " + problem);
        m_manager.sayReady(status() + (isTaken ? "" : "; a configuration was refused"));
    }

    std::string status() const {
        std::string text = "serving";
        for (const std::string &address : m_server.addresses())
            text += ' ' + address;
        return text;
    }

    const Command &m_command;
    const Arguments &m_given;
    ServiceManager m_manager;
    ServiceSignals m_signals; // before the threads of the server
    Server m_server;
    bool m_wasWell = true;
};

int runServe(const Command &command, const Arguments &arguments) {
    return Service(command, arguments).run();
}

std::string problemOfServe(const Arguments &arguments) {
    std::string problem;
    readServeSettings(arguments, problem);
    return problem;
}

} // namespace

const Command serveCommand{"serve",
                           "",
                           "this host over HTTP: metrics for Prometheus, JSON, events",
                           about,
                           serveOptions(),
                           examples,
                           exitStatus,
                           runServe,
                           problemOfServe};

} // namespace zel

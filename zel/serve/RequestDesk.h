// Takes the requests that the HTTP library tells of, and answers each: at once, or when the sampling thread has the
// text.
#pragma once

#include "zel/serve/Clients.h"
#include "zel/serve/HttpDaemon.h"
#include "zel/serve/Responses.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace zel {

/// What requests are judged by.
struct DeskRules {
    std::string token;
    std::vector<std::string> names;
    AreaSet areas;
    std::size_t requestBytes = 0, streams = 0;
    std::chrono::milliseconds streamLeast{}, heartbeat{}, deadline{};
};

/// Everything is called from the thread of the HTTP library.
class RequestDesk : public HttpEvents {
public:
    RequestDesk(Clients &clients, SamplingThread &sampling) : m_clients(clients), m_sampling(sampling) {}

    /// Streams end when the token is another one.
    void setRules(DeskRules rules);

    /// Hands finished texts to those who wait for them.
    void takeTexts();
    /// Comments for streams that were silent for long; an end for those who waited too long for a sample.
    void look(Client::Clock::time_point now);
    /// Streams end, and nobody waits any more.
    void end();
    /// Ends the waiting of all clients of a daemon that is to be stopped.
    void release(const HttpDaemon &daemon);
    bool isHealthy() const;

    Client *opened(MHD_Connection *connection, int socket) noexcept override;
    void closed(Client &client) noexcept override;
    void begun(Client &client, const char *target) noexcept override;
    MHD_Result asked(Client &client, const char *method) noexcept override;
    void completed(Client &client) noexcept override;

private:
    void readHead(Client &client, const char *method) const;
    MHD_Result answer(Client &client);
    MHD_Result answerText(Client &client);
    MHD_Result answerStream(Client &client);
    MHD_Result queue(Client &client, unsigned status, const Response &response);
    MHD_Result refuse(Client &client, unsigned status, std::string_view problem);
    void giveUp(Client &client);
    void endStreams();

    Clients &m_clients;
    SamplingThread &m_sampling;
    DeskRules m_rules;
    bool m_isEnding = false;
    std::size_t m_streams = 0;
    std::vector<FinishedText> m_finished;
};

} // namespace zel

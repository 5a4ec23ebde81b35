// The loop over all agents: wait, receive, store, answer.
#include "Reception.h"

#include <utility>

namespace {

constexpr std::size_t mostAgents = 512;
constexpr std::size_t mostBytesHeld = std::size_t{256} << 20; // of records that have arrived in part
constexpr int longestWait = 1000; // milliseconds, after which agents that are stuck are left

} // namespace

void Reception::serve() {
    while (m_left != 0) {
        waitAndReceive();
        for (auto arrivals = takeRecords(); !arrivals.empty(); arrivals = takeRecords())
            storeAndAnswer(arrivals);
        forgetAgentsThatLeft();
    }
}

void Reception::waitAndReceive() {
    std::vector<pollfd> waited;
    for (const auto &agent : m_agents)
        waited.push_back({agent->socket(), POLLIN, 0});
    if (m_agents.size() < mostAgents)
        waited.push_back({m_listener.socket(), POLLIN, 0});
    if (poll(waited.data(), waited.size(), longestWait) <= 0)
        return;
    std::size_t held = 0;
    for (std::size_t i = 0; i < m_agents.size(); ++i) {
        if (waited[i].revents != 0)
            m_agents[i]->receive();
        held += m_agents[i]->bytesHeld();
        if (held > mostBytesHeld)
            m_agents[i]->close();
    }
    acceptAgents();
}

void Reception::acceptAgents() {
    while (m_agents.size() < mostAgents) {
        const int socket = m_listener.accept();
        if (socket < 0)
            return;
        m_agents.push_back(std::make_unique<AgentConnection>(socket));
    }
}

// At most one of each agent: most wait for the answer before they send the next.
std::vector<Reception::Arrival> Reception::takeRecords() {
    std::vector<Arrival> arrivals;
    for (const auto &agent : m_agents) {
        if (static_cast<long>(arrivals.size()) == m_left)
            break;
        ReceivedRecord record;
        if (agent->takeRecord(record))
            arrivals.push_back({agent.get(), std::move(record)});
    }
    return arrivals;
}

void Reception::storeAndAnswer(const std::vector<Arrival> &arrivals) {
    std::vector<ReceivedRecord> records;
    for (const Arrival &arrival : arrivals)
        records.push_back(arrival.record);
    const bool stored = m_store.store(records);
    for (const Arrival &arrival : arrivals) {
        if (!stored)
            arrival.agent->close();
        else if (m_left < 0 || --m_left > 0)
            arrival.agent->answer(arrival.record);
    }
}

void Reception::forgetAgentsThatLeft() {
    std::erase_if(m_agents, [](const auto &agent) { return agent->isOver(); });
}

// Serves all agents in one loop: whatever has arrived from any of them is stored together, flushed once, and answered
// only then. An agent that sends half a record holds nobody up. 512 agents are served at a time; others wait.
#pragma once

#include "AgentConnection.h"
#include "Listener.h"
#include "RecordStore.h"

#include <memory>
#include <poll.h>
#include <vector>

class Reception {
public:
    /// After `deafAfter` records have been stored it ends, without answering the last one; below 0: never.
    Reception(Listener &listener, long deafAfter) : m_listener(listener), m_left(deafAfter) {}

    void serve();

private:
    // A record, and who is to have its answer.
    struct Arrival {
        AgentConnection *agent;
        ReceivedRecord record;
    };

    void waitAndReceive();
    void acceptAgents();
    std::vector<Arrival> takeRecords();
    void storeAndAnswer(const std::vector<Arrival> &arrivals);
    void forgetAgentsThatLeft();

    Listener &m_listener;
    RecordStore m_store;
    std::vector<std::unique_ptr<AgentConnection>> m_agents;
    long m_left; // records until it turns deaf
};

// The connection of one agent: collects what arrives, hands out whole records, sends answers. Nothing blocks. What an
// agent sends is bounded: a line of 511 bytes, a text of 64 MB, and a record that stops arriving for a minute is given
// up.
#pragma once

#include "ReceivedRecord.h"

#include <chrono>
#include <cstddef>
#include <string>

class AgentConnection {
public:
    /// Takes over the connected socket.
    explicit AgentConnection(int socket);
    ~AgentConnection();

    AgentConnection(const AgentConnection &) = delete;
    AgentConnection &operator=(const AgentConnection &) = delete;

    int socket() const { return m_socket; }
    /// Whether the connection is of no more use: ended by the agent, broken, or stuck in a record.
    bool isOver() const;
    void close() { m_closed = true; }

    std::size_t bytesHeld() const { return m_bytes.size(); }

    /// Reads what has arrived, at most 64 KB.
    void receive();
    /// Takes the next record; false when it has not arrived yet. What is no record closes the connection.
    bool takeRecord(ReceivedRecord &record);
    void answer(const ReceivedRecord &record);

private:
    bool readLine(const std::string &line);

    int m_socket;
    bool m_closed = false;
    std::string m_bytes;        // received and not taken
    ReceivedRecord m_record;    // its line has arrived, or it is empty
    std::size_t m_textSize = 0; // of m_record
    std::chrono::steady_clock::time_point m_lastProgress = std::chrono::steady_clock::now();
};

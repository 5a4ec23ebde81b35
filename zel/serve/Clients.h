// All clients: the limits on their number, and the time that each may take.
#pragma once

#include "zel/serve/Client.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <unordered_map>

namespace zel {

inline constexpr std::size_t EXCESS_CLIENTS_AT_MOST = 32; // beyond the limits that are told so; others are only closed
inline constexpr std::chrono::seconds EXCESS_TIME{2};     // that such a one has for its request

struct ClientLimits {
    std::size_t clients = 0, perAddress = 0;
    std::chrono::milliseconds requestTime{}, answerTime{}, idleTime{};
};

class Clients {
public:
    void setLimits(const ClientLimits &limits) { m_limits = limits; }

    /// A client whose connection was accepted; null when there is no room even to tell it so.
    Client *add(int socket, const SocketAddress &peer, bool byLoopback, HttpDaemon &daemon);
    void remove(int socket);
    Client *bySocket(int socket);
    Client *byNumber(ClientNumber number);
    /// Each request has a number of its own: what was made for an earlier one of the client finds nobody.
    void renumber(Client &client);

    std::size_t size() const { return m_clients.size(); }
    bool hasAny(const HttpDaemon &daemon) const;
    template<class Use> void forEach(Use &&use) {
        for (auto &[socket, client] : m_clients)
            use(*client);
    }

    /// Cuts the connections whose time is over. A connection that is cut is closed by its daemon, as if the client had.
    void cutLate(Client::Clock::time_point now);
    static void cut(Client &client);
    /// The request has been answered: the connection waits for the next one.
    static void becomeIdle(Client &client, Client::Clock::time_point now);
    /// The head of a request is whole.
    static void noteHead(Client &client);

private:
    bool isIdleTooLong(Client &client, Client::Clock::time_point now) const;
    bool isLate(Client &client, Client::Clock::time_point now) const;

    ClientLimits m_limits;
    std::unordered_map<int, std::unique_ptr<Client>> m_clients; // by socket
    std::unordered_map<ClientNumber, Client *> m_numbers;
    std::unordered_map<std::string, std::size_t> m_addresses; // how many are of each, excess ones not counted
    std::size_t m_counted = 0;
    ClientNumber m_last = 0;
};

} // namespace zel

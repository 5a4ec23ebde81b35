// Keeps the clients and looks at their time.
#include "zel/serve/Clients.h"

#include <algorithm>

#include <linux/tcp.h>
#include <sys/socket.h>

namespace zel {

namespace {

constexpr unsigned closeWait = 8; // the kernel's state of a connection whose other end has no more to say

// What the kernel knows of a connection; zeros for what it does not.
tcp_info stateOf(int socket) {
    tcp_info info{};
    socklen_t length = sizeof(info);
    getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &length);
    return info;
}

} // namespace

void EventQueue::add(SharedText event) {
    if (current == nullptr)
        current = std::move(event);
    else
        next = std::move(event);
}

std::size_t EventQueue::take(char *out, std::size_t most) {
    if (current == nullptr)
        return 0;
    const std::size_t length = std::min(most, current->size() - taken);
    std::copy_n(current->data() + taken, length, out);
    taken += length;
    if (taken == current->size()) {
        current = std::move(next);
        next = nullptr;
        taken = 0;
    }
    return length;
}

Client *Clients::add(int socket, const SocketAddress &peer, bool byLoopback, HttpDaemon &daemon) {
    std::string key = clientKey(peer);
    const auto ofAddress = m_addresses.find(key);
    const std::size_t same = ofAddress == m_addresses.end() ? 0 : ofAddress->second;
    const bool isExcess = m_counted >= m_limits.clients || same >= m_limits.perAddress;
    if (isExcess && m_clients.size() - m_counted >= EXCESS_CLIENTS_AT_MOST)
        return nullptr;
    auto made = std::make_unique<Client>();
    Client *client = made.get();
    client->number = ++m_last;
    client->socket = socket;
    client->byLoopback = byLoopback;
    client->isExcess = isExcess;
    client->daemon = &daemon;
    client->since = Client::Clock::now();
    if (!isExcess) {
        ++m_counted;
        ++m_addresses[key];
    }
    client->key = std::move(key);
    m_clients[socket] = std::move(made);
    m_numbers[client->number] = client;
    return client;
}

void Clients::remove(int socket) {
    const auto found = m_clients.find(socket);
    if (found == m_clients.end())
        return;
    const Client &client = *found->second;
    if (!client.isExcess) {
        --m_counted;
        if (const auto address = m_addresses.find(client.key); --address->second == 0)
            m_addresses.erase(address);
    }
    m_numbers.erase(client.number);
    m_clients.erase(found);
}

Client *Clients::bySocket(int socket) {
    const auto found = m_clients.find(socket);
    return found == m_clients.end() ? nullptr : found->second.get();
}

Client *Clients::byNumber(ClientNumber number) {
    const auto found = m_numbers.find(number);
    return found == m_numbers.end() ? nullptr : found->second;
}

void Clients::renumber(Client &client) {
    m_numbers.emplace(m_last + 1, &client);
    m_numbers.erase(client.number);
    client.number = ++m_last;
}

bool Clients::hasAny(const HttpDaemon &daemon) const {
    return std::any_of(m_clients.begin(), m_clients.end(),
                       [&daemon](const auto &entry) { return entry.second->daemon == &daemon; });
}

void Clients::cutLate(Client::Clock::time_point now) {
    for (auto &[socket, client] : m_clients) {
        if (isLate(*client, now))
            cut(*client);
    }
}

void Clients::cut(Client &client) {
    client.phase = Client::Phase::Cut;
    shutdown(client.socket, SHUT_RDWR);
}

void Clients::becomeIdle(Client &client, Client::Clock::time_point now) {
    if (client.phase == Client::Phase::Cut)
        return;
    client.enter(Client::Phase::Idle, now);
}

void Clients::noteHead(Client &client) {
    client.bytesAtHead = stateOf(client.socket).tcpi_bytes_received;
}

// The library tells of a request when its first line is whole. Who sends it byte by byte is seen by the bytes that came
// after the last one. And the library does not see an end that came together with the last request.
bool Clients::isIdleTooLong(Client &client, Client::Clock::time_point now) const {
    const tcp_info state = stateOf(client.socket);
    if (state.tcpi_state == closeWait)
        return true;
    if (state.tcpi_bytes_received == client.bytesAtHead)
        return now - client.since > m_limits.idleTime;
    client.enter(Client::Phase::Asking, now);
    return false;
}

bool Clients::isLate(Client &client, Client::Clock::time_point now) const {
    const Client::Clock::duration time = now - client.since;
    switch (client.phase) {
    case Client::Phase::Idle:
        return isIdleTooLong(client, now);
    case Client::Phase::Asking:
        return time > (client.isExcess ? std::min<Client::Clock::duration>(EXCESS_TIME, m_limits.requestTime)
                                       : Client::Clock::duration(m_limits.requestTime));
    case Client::Phase::Answering:
        return time > m_limits.answerTime;
    case Client::Phase::Streaming:
        return !client.isSuspended && time > m_limits.answerTime;
    case Client::Phase::Waiting:
    case Client::Phase::Cut:
        break;
    }
    return false;
}

} // namespace zel

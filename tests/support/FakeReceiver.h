// A receiver of the example agent's records that does what a test tells it to, on a loopback port of its own.
#pragma once

#include <arpa/inet.h>
#include <atomic>
#include <cstdio>
#include <memory>
#include <mutex>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

class FakeReceiver {
public:
    /// Listens at once; serves one connection at a time. Port 0 takes a free one.
    explicit FakeReceiver(int port = 0) {
        m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const int on = 1;
        setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<in_port_t>(port));
        socklen_t size = sizeof(address);
        m_listening =
            bind(m_listener, reinterpret_cast<sockaddr *>(&address), size) == 0 && listen(m_listener, 64) == 0;
        getsockname(m_listener, reinterpret_cast<sockaddr *>(&address), &size);
        m_port = ntohs(address.sin_port);
        m_thread = std::thread([this] { serve(); });
    }
    ~FakeReceiver() {
        m_end = true;
        m_thread.join();
        close(m_listener);
    }
    FakeReceiver(const FakeReceiver &) = delete;
    FakeReceiver &operator=(const FakeReceiver &) = delete;

    bool isListening() const { return m_listening; }
    int port() const { return m_port; }
    std::string address() const { return "127.0.0.1:" + std::to_string(m_port); }

    /// Whether records are answered; they are read and counted in any case.
    void answerRecords(bool answers) { m_answers = answers; }
    /// The first lines of all records so far.
    std::vector<std::string> lines() const {
        const std::lock_guard lock(m_mutex);
        return m_lines;
    }

private:
    bool isReadable(int descriptor) const {
        pollfd waited{descriptor, POLLIN, 0};
        return poll(&waited, 1, 20) > 0;
    }

    void serve() {
        while (!m_end) {
            if (!isReadable(m_listener))
                continue;
            const int agent = accept(m_listener, nullptr, nullptr);
            std::string bytes;
            while (!m_end && receive(agent, bytes)) {
            }
            close(agent);
        }
    }

    // False at the end of the connection.
    bool receive(int agent, std::string &bytes) {
        if (!isReadable(agent))
            return true;
        char part[65536];
        const ssize_t got = recv(agent, part, sizeof(part), 0);
        if (got <= 0)
            return false;
        bytes.append(part, static_cast<std::size_t>(got));
        takeRecord(agent, bytes);
        return true;
    }

    void takeRecord(int agent, std::string &bytes) {
        const std::size_t end = bytes.find('\n');
        if (end == std::string::npos)
            return;
        const std::string line = bytes.substr(0, end);
        char series[65] = "";
        unsigned long number = 0;
        unsigned long size = 0;
        std::sscanf(line.c_str(), "%*s %64s %lu %*s %*s %lu", series, &number, &size);
        if (bytes.size() < end + 1 + size)
            return;
        bytes.erase(0, end + 1 + size);
        {
            const std::lock_guard lock(m_mutex);
            m_lines.push_back(line);
        }
        if (m_answers)
            dprintf(agent, "%s %lu\n", series, number);
    }

    int m_listener = -1;
    int m_port = 0;
    bool m_listening = false;
    std::atomic<bool> m_answers{true};
    std::atomic<bool> m_end{false};
    mutable std::mutex m_mutex;
    std::vector<std::string> m_lines;
    std::thread m_thread;
};

// A client that says exactly what a test gives it, and a server in the test's own program.
#pragma once

#include "host/ScopedHandle.h"
#include "zel/serve/Server.h"

#include <chrono>
#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <thread>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

struct HttpAnswer {
    int status = 0;
    std::map<std::string, std::string> headers; // by their names in small letters
    std::string body;
};

/// A connection by loopback. What does not come within some seconds fails the test.
class RawHttp {
public:
    explicit RawHttp(int port, int receiveBuffer = 0)
        : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), m_port(port) {
        if (receiveBuffer > 0)
            setsockopt(m_socket.get(), SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof(receiveBuffer));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(connect(m_socket.get(), reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
    }

    void send(std::string_view text) {
        EXPECT_EQ(::send(m_socket.get(), text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
    }
    /// False when the other end has closed.
    bool trySend(std::string_view text) { return ::send(m_socket.get(), text.data(), text.size(), MSG_NOSIGNAL) >= 0; }

    /// Everything until `end` has come, or until the connection ends.
    std::string readUntil(std::string_view end) {
        while (m_read.find(end) == std::string::npos && receive()) {
        }
        const std::size_t at = std::min(m_read.find(end), m_read.size());
        const std::string text = m_read.substr(0, std::min(at + end.size(), m_read.size()));
        m_read.erase(0, text.size());
        return text;
    }
    std::string readBytes(std::size_t count) {
        while (m_read.size() < count && receive()) {
        }
        const std::string text = m_read.substr(0, count);
        m_read.erase(0, text.size());
        return text;
    }
    /// Whether the other end closes within the time; what comes before that is left out.
    bool isClosedWithin(std::chrono::milliseconds time) {
        const auto until = std::chrono::steady_clock::now() + time;
        while (std::chrono::steady_clock::now() < until) {
            m_read.clear();
            if (!receive(std::chrono::milliseconds(50)) && m_isClosed)
                return true;
        }
        return false;
    }

    /// Whether the other end gives the connection up within the time while nothing is read. Its last bytes wait for a
    /// reader, so that only the kernel's table shows it.
    bool isGivenUpWithin(std::chrono::milliseconds time) const {
        const auto until = std::chrono::steady_clock::now() + time;
        while (std::chrono::steady_clock::now() < until) {
            if (!isEstablishedThere())
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return false;
    }

    HttpAnswer readAnswer(bool withoutBody = false) {
        HttpAnswer answer;
        std::string head = readUntil("\r\n\r\n");
        if (std::sscanf(head.c_str(), "HTTP/1.%*d %d", &answer.status) != 1)
            ADD_FAILURE() << "no answer: " << head;
        for (std::size_t at = head.find("\r\n") + 2; at + 2 < head.size();) {
            const std::size_t colon = head.find(':', at), end = head.find("\r\n", at);
            std::string name = head.substr(at, colon - at);
            for (char &byte : name)
                byte = static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + 32 : byte);
            answer.headers[name] = head.substr(colon + 2, end - colon - 2);
            at = end + 2;
        }
        if (!withoutBody && answer.headers.contains("content-length"))
            answer.body = readBytes(std::stoul(answer.headers["content-length"]));
        return answer;
    }
    /// A request with Host and Connection: keep-alive, and its answer.
    HttpAnswer get(std::string_view target, std::string_view headers = "", std::string_view method = "GET") {
        send(std::string(method) + ' ' + std::string(target) + " HTTP/1.1\r\nHost: localhost\r\n" +
             std::string(headers) + "\r\n");
        return readAnswer(method == "HEAD");
    }

    int socketNumber() const { return m_socket.get(); }

private:
    // "   1: 0100007F:1F90 0100007F:C350 01 ..." in the view of the other end: its own port, then ours; 01 is
    // ESTABLISHED.
    bool isEstablishedThere() const {
        sockaddr_in own{};
        socklen_t size = sizeof(own);
        getsockname(m_socket.get(), reinterpret_cast<sockaddr *>(&own), &size);
        char wanted[40];
        std::snprintf(wanted, sizeof(wanted), ":%04X 0100007F:%04X 01 ", m_port, ntohs(own.sin_port));
        std::ifstream table("/proc/net/tcp");
        for (std::string line; std::getline(table, line);) {
            if (line.find(wanted) != std::string::npos)
                return true;
        }
        return false;
    }

    bool receive(std::chrono::milliseconds time = std::chrono::seconds(15)) {
        pollfd waited{m_socket.get(), POLLIN, 0};
        if (poll(&waited, 1, static_cast<int>(time.count())) <= 0)
            return false;
        char bytes[16384];
        const ssize_t got = recv(m_socket.get(), bytes, sizeof(bytes), 0);
        m_isClosed = got <= 0;
        if (got > 0)
            m_read.append(bytes, static_cast<std::size_t>(got));
        return got > 0;
    }

    zel::ScopedDescriptor m_socket;
    int m_port;
    std::string m_read;
    bool m_isClosed = false;
};

/// A server on a free port.
class ServedHost {
public:
    explicit ServedHost(zel::ServeSettings settings = {}) : m_settings(std::move(settings)) {
        m_settings.listen = {"127.0.0.1:0"};
        std::string problem;
        EXPECT_TRUE(m_server.start(m_settings, problem)) << problem;
        const std::string address = m_server.addresses().empty() ? ":0" : m_server.addresses()[0];
        m_port = std::stoi(address.substr(address.rfind(':') + 1));
    }
    int port() const { return m_port; }
    zel::Server &server() { return m_server; }
    zel::ServeSettings &settings() { return m_settings; }

private:
    zel::ServeSettings m_settings;
    zel::Server m_server;
    int m_port = 0;
};

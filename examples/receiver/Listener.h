// The socket that agents connect to.
#pragma once

#include <string>

class Listener {
public:
    /// Listens on the address (a number, such as 127.0.0.1 or ::1) and the port; 0 takes a free port. -1 in socket()
    /// and a line on standard error when that fails.
    Listener(const std::string &address, const std::string &port);
    ~Listener();

    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;

    int socket() const { return m_socket; }
    int port() const;

    /// The socket of the next agent that waits; -1: none can be taken now.
    int accept();

private:
    int m_socket = -1;
};

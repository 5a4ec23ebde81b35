// What systemd is told of the service: that it is ready, reloads its configuration, stops, is well. The protocol is a
// datagram of lines to the socket that NOTIFY_SOCKET names; without that variable nothing is sent.
//
// A message waits for a full queue a second at most; one that cannot be sent is lost, as the manager is told nothing
// that it does not hear again or find out by itself. One thread.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>

namespace zel {

class ServiceManager {
public:
    /// Of the environment: NOTIFY_SOCKET, WATCHDOG_USEC and WATCHDOG_PID, which are taken out of it: no child gets
    /// them.
    ServiceManager();
    ~ServiceManager();
    ServiceManager(const ServiceManager &) = delete;
    ServiceManager &operator=(const ServiceManager &) = delete;

    /// Whether there is a manager to tell.
    bool isThere() const { return m_socket >= 0; }
    /// In which time the service has to say that it is well; none: nobody waits for that.
    std::optional<std::chrono::microseconds> watchdogTime() const { return m_watchdogTime; }

    /// False when there is a manager and it cannot be told.
    bool sayReady(std::string_view status);
    void sayReloading();
    void sayStopping();
    /// One line for people: `systemctl status` shows it.
    void sayStatus(std::string_view status);
    void sayWell();

private:
    void setAddress(std::string_view address);
    bool send(const std::string &message) const;

    int m_socket = -1;
    sockaddr_un m_address = {};
    socklen_t m_addressLength = 0;
    std::optional<std::chrono::microseconds> m_watchdogTime;
};

} // namespace zel

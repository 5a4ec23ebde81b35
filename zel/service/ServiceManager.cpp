// Sends the messages of a service to systemd.
#include "zel/service/ServiceManager.h"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/time.h>
#include <unistd.h>

namespace zel {

namespace {

constexpr const char *socketVariable = "NOTIFY_SOCKET";
constexpr const char *timeVariable = "WATCHDOG_USEC";
constexpr const char *processVariable = "WATCHDOG_PID";
constexpr timeval longestWait{1, 0};                               // for room in the queue of the manager
constexpr std::uint64_t longestWatchdog = std::uint64_t{1} << 52U; // microseconds; what is longer is no time

std::string_view variable(const char *name) {
    const char *const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

std::optional<std::uint64_t> numberOf(std::string_view text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

// The variables may be those of a program that started this one: then they name another process.
std::optional<std::chrono::microseconds> watchdogOfEnvironment() {
    const std::string_view process = variable(processVariable);
    const std::optional<std::uint64_t> time = numberOf(variable(timeVariable));
    const bool isOurs = process.empty() || numberOf(process) == static_cast<std::uint64_t>(getpid());
    if (!isOurs || !time || *time == 0 || *time > longestWatchdog)
        return std::nullopt;
    return std::chrono::microseconds(*time);
}

std::uint64_t monotonicMicroseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000000 + static_cast<std::uint64_t>(now.tv_nsec) / 1000;
}

// A line is a statement of its own: a status may not make more of them.
std::string statusLine(std::string_view status) {
    std::string line = "STATUS=";
    for (const char letter : status)
        line += static_cast<unsigned char>(letter) < ' ' ? ' ' : letter;
    return line + '\n';
}

} // namespace

ServiceManager::ServiceManager() {
    setAddress(variable(socketVariable));
    if (isThere())
        m_watchdogTime = watchdogOfEnvironment();
    for (const char *name : {socketVariable, timeVariable, processVariable})
        unsetenv(name);
}

ServiceManager::~ServiceManager() {
    if (isThere())
        close(m_socket);
}

// "/run/systemd/notify", or "@name": a name without a file, which begins with a zero byte.
void ServiceManager::setAddress(std::string_view address) {
    const bool isKnown = address.size() > 1 && (address[0] == '/' || address[0] == '@');
    if (!isKnown || address.size() >= sizeof(m_address.sun_path))
        return;
    m_address.sun_family = AF_UNIX;
    std::memcpy(m_address.sun_path, address.data(), address.size());
    if (address[0] == '@')
        m_address.sun_path[0] = '\0';
    m_addressLength = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + address.size());
    m_socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (isThere())
        setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &longestWait, sizeof(longestWait));
}

bool ServiceManager::send(const std::string &message) const {
    if (!isThere())
        return true;
    const auto *const address = reinterpret_cast<const sockaddr *>(&m_address);
    return sendto(m_socket, message.data(), message.size(), MSG_NOSIGNAL, address, m_addressLength) >= 0;
}

bool ServiceManager::sayReady(std::string_view status) {
    return send("READY=1\n" + statusLine(status));
}

void ServiceManager::sayReloading() {
    send("RELOADING=1\nMONOTONIC_USEC=" + std::to_string(monotonicMicroseconds()) + '\n');
}

void ServiceManager::sayStopping() {
    send("STOPPING=1\n" + statusLine("stopping"));
}

void ServiceManager::sayStatus(std::string_view status) {
    send(statusLine(status));
}

void ServiceManager::sayWell() {
    send("WATCHDOG=1\n");
}

} // namespace zel

// Reads listen addresses and judges the Host header.
#include "zel/serve/HostCheck.h"

#include "zel/serve/Caseless.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <optional>

#include <arpa/inet.h>

namespace zel {

namespace {

constexpr std::size_t nameAtMost = 255; // of a host name, and of what can be an address

std::optional<std::uint16_t> readPort(std::string_view text) {
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return port;
}

SocketAddress addressOf(const in_addr &address, std::uint16_t port) {
    SocketAddress result;
    sockaddr_in filled{};
    filled.sin_family = AF_INET;
    filled.sin_addr = address;
    filled.sin_port = htons(port);
    std::memcpy(&result.storage, &filled, sizeof(filled));
    result.length = sizeof(filled);
    return result;
}

SocketAddress addressOf(const in6_addr &address, std::uint16_t port) {
    SocketAddress result;
    sockaddr_in6 filled{};
    filled.sin6_family = AF_INET6;
    filled.sin6_addr = address;
    filled.sin6_port = htons(port);
    std::memcpy(&result.storage, &filled, sizeof(filled));
    result.length = sizeof(filled);
    return result;
}

std::optional<SocketAddress> readNumeric(std::string_view text, bool bracketed, std::uint16_t port) {
    const std::string terminated(text.substr(0, nameAtMost));
    in_addr four{};
    if (!bracketed && inet_pton(AF_INET, terminated.c_str(), &four) == 1)
        return addressOf(four, port);
    in6_addr six{};
    if (bracketed && inet_pton(AF_INET6, terminated.c_str(), &six) == 1)
        return addressOf(six, port);
    return std::nullopt;
}

sockaddr_in asFour(const SocketAddress &address) {
    sockaddr_in four{};
    std::memcpy(&four, &address.storage, sizeof(four));
    return four;
}

sockaddr_in6 asSix(const SocketAddress &address) {
    sockaddr_in6 six{};
    std::memcpy(&six, &address.storage, sizeof(six));
    return six;
}

constexpr std::size_t firstOfMapped = 12; // byte of the IPv4 address in an IPv6 one

bool isSixLoopback(const in6_addr &address) {
    return std::memcmp(&address, &in6addr_loopback, sizeof(address)) == 0 ||
           (IN6_IS_ADDR_V4MAPPED(&address) && address.s6_addr[firstOfMapped] == IN_LOOPBACKNET);
}

// "host:port" apart; an IPv6 address is in brackets.
struct HostAndPort {
    std::string_view host, port;
    bool bracketed = false, hasPort = false, isFormed = true;
};

HostAndPort splitHost(std::string_view text) {
    HostAndPort split;
    if (text.starts_with('[')) {
        const std::size_t close = text.find(']');
        split.bracketed = true;
        split.isFormed = close != std::string_view::npos;
        split.host = split.isFormed ? text.substr(1, close - 1) : text;
        text.remove_prefix(split.isFormed ? close + 1 : text.size());
        split.hasPort = text.starts_with(':');
        split.isFormed = split.isFormed && (text.empty() || split.hasPort);
        split.port = split.hasPort ? text.substr(1) : "";
        return split;
    }
    const std::size_t colon = text.rfind(':');
    split.hasPort = colon != std::string_view::npos;
    split.host = text.substr(0, colon);
    split.port = split.hasPort ? text.substr(colon + 1) : "";
    split.isFormed = split.host.find(':') == std::string_view::npos;
    return split;
}

} // namespace

std::vector<SocketAddress> readListen(std::string_view text, std::string &problem) {
    const HostAndPort split = splitHost(text);
    const std::optional<std::uint16_t> port = readPort(split.port);
    const std::string wrong = std::string("'").append(text).append("' is no address to listen on");
    if (!split.isFormed || !split.hasPort || !port) {
        problem = wrong + ": it needs an address and a port, such as 127.0.0.1:9100, [::1]:9100 or :9100";
        return {};
    }
    if (split.host.empty() && !split.bracketed)
        return {addressOf(in6addr_any, *port)};
    if (isSameName(split.host, "localhost") && !split.bracketed)
        return {addressOf(in_addr{htonl(INADDR_LOOPBACK)}, *port), addressOf(in6addr_loopback, *port)};
    if (const std::optional<SocketAddress> address = readNumeric(split.host, split.bracketed, *port))
        return {*address};
    problem = wrong + ": names are not looked up; give the address in numbers (IPv6 in brackets), or localhost";
    return {};
}

std::string addressText(const SocketAddress &address) {
    char text[INET6_ADDRSTRLEN] = "";
    if (address.storage.ss_family == AF_INET) {
        const sockaddr_in four = asFour(address);
        inet_ntop(AF_INET, &four.sin_addr, text, sizeof(text));
        return std::string(text) + ':' + std::to_string(ntohs(four.sin_port));
    }
    const sockaddr_in6 six = asSix(address);
    inet_ntop(AF_INET6, &six.sin6_addr, text, sizeof(text));
    return std::string("[").append(text).append("]:").append(std::to_string(ntohs(six.sin6_port)));
}

bool isLoopback(const SocketAddress &address) {
    if (address.storage.ss_family == AF_INET)
        return ntohl(asFour(address).sin_addr.s_addr) >> IN_CLASSA_NSHIFT == IN_LOOPBACKNET;
    return address.storage.ss_family == AF_INET6 && isSixLoopback(asSix(address).sin6_addr);
}

std::string firstOpen(std::span<const std::string> listen, std::string &problem) {
    for (const std::string &text : listen) {
        const std::vector<SocketAddress> addresses = readListen(text, problem);
        if (!std::all_of(addresses.begin(), addresses.end(), isLoopback))
            return text;
    }
    return {};
}

std::string clientKey(const SocketAddress &address) {
    constexpr std::size_t network = 8; // bytes of a /64
    if (address.storage.ss_family == AF_INET) {
        const in_addr four = asFour(address).sin_addr;
        return {reinterpret_cast<const char *>(&four), sizeof(four)};
    }
    const in6_addr six = asSix(address).sin6_addr;
    const char *bytes = reinterpret_cast<const char *>(&six);
    if (IN6_IS_ADDR_V4MAPPED(&six))
        return {bytes + firstOfMapped, sizeof(six) - firstOfMapped};
    return {bytes, isSixLoopback(six) ? sizeof(six) : network};
}

bool isHostAllowed(std::string_view host, bool byLoopback, std::span<const std::string> names) {
    if (host.empty() || (!byLoopback && names.empty()))
        return true;
    const HostAndPort split = splitHost(host);
    if (!split.isFormed || host.size() > nameAtMost || (split.hasPort && !readPort(split.port)))
        return false;
    if (std::any_of(names.begin(), names.end(), [&](const std::string &name) { return isSameName(name, split.host); }))
        return true;
    if (!byLoopback)
        return false;
    if (!split.bracketed && (isSameName(split.host, "localhost") || isSameName(split.host, "localhost.")))
        return true;
    const std::optional<SocketAddress> address = readNumeric(split.host, split.bracketed, 0);
    return address && isLoopback(*address);
}

bool isServerName(std::string_view name) {
    constexpr std::string_view allowed = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_";
    if (name.empty() || name.size() > nameAtMost)
        return false;
    return name.find_first_not_of(allowed) == name.npos || readNumeric(name, true, 0).has_value();
}

} // namespace zel

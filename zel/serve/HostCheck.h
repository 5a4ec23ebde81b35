// Addresses and names: where the server listens, and which Host a client may give.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <netinet/in.h>
#include <sys/socket.h>

namespace zel {

/// An address and port of a socket, of IPv4 or IPv6.
struct SocketAddress {
    sockaddr_storage storage{};
    socklen_t length = 0;
};

/// Reads "127.0.0.1:9100", "[::1]:9100", "localhost:9100" (both loopback addresses) or ":9100" (every address). No name
/// is looked up. Nothing, and what is wrong in `problem`, for any other text.
std::vector<SocketAddress> readListen(std::string_view text, std::string &problem);

/// "127.0.0.1:9100", "[::1]:9100".
std::string addressText(const SocketAddress &address);
bool isLoopback(const SocketAddress &address);
/// The first text to listen on that others than this host can reach; empty when there is none. `problem` takes what is
/// wrong with a text.
std::string firstOpen(std::span<const std::string> listen, std::string &problem);

/// Those two addresses are of one client: the same IPv4 address, or the same /64 of IPv6, of which a client has all.
/// Equal texts are one client.
std::string clientKey(const SocketAddress &address);

/// The rule against a page that gives the name of its own server the address of this one: a request by loopback names
/// localhost, a loopback address, or one of `names`; where there are names, so does every other request. `host` is the
/// text of the header, with or without a port; an empty one, as of a client before HTTP/1.1, is no page's.
bool isHostAllowed(std::string_view host, bool byLoopback, std::span<const std::string> names);

/// Whether a client can give this name as its Host: a host name, or an address in numbers; without port and brackets.
bool isServerName(std::string_view name);

} // namespace zel

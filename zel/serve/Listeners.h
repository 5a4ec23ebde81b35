// The sockets that wait for clients.
#pragma once

#include "host/ScopedHandle.h"
#include "zel/serve/HostCheck.h"

#include <span>
#include <string>
#include <vector>

namespace zel {

struct Listener {
    ScopedDescriptor socket{-1};
    SocketAddress address; // with the port that it got
};

/// A socket for each address of each text. `problem` says what is wrong with the first that cannot be had; then there
/// are none. An address of "localhost" that this host does not have is left out, when it has the other one.
std::vector<Listener> listenOn(std::span<const std::string> texts, std::string &problem);

/// A connection that waits, and its two addresses; invalid with errno set when there is none.
ScopedDescriptor acceptOn(const Listener &listener, SocketAddress &peer, SocketAddress &own);

} // namespace zel

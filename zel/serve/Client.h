// A connection of a client, and what is being done for it.
#pragma once

#include "zel/serve/HostCheck.h"
#include "zel/serve/Request.h"
#include "zel/serve/SamplingThread.h"

#include <chrono>
#include <cstdint>
#include <string>

struct MHD_Connection;

namespace zel {

class HttpDaemon;

/// The events of a stream that wait for its client: the one that it takes, and the newest one after it. One that comes
/// before the client has taken both replaces the second: a slow client misses events, it does not gather them.
struct EventQueue {
    SharedText current, next;
    std::size_t taken = 0; // bytes of the current one
    bool isEnding = false; // no event follows

    void add(SharedText event);
    /// Up to `most` bytes of what waits; 0 when nothing does.
    std::size_t take(char *out, std::size_t most);
    bool isEmpty() const { return current == nullptr; }
};

struct Client {
    using Clock = std::chrono::steady_clock;
    enum class Phase : unsigned char {
        Idle,      // between two requests
        Asking,    // a request comes
        Waiting,   // for a sample; the connection is suspended
        Answering, // an answer goes
        Streaming,
        Cut // its time is over; it closes
    };

    ClientNumber number = 0; // of its request
    int socket = -1;
    std::string key; // of its address
    bool byLoopback = false;
    bool isExcess = false; // beyond the limits: it is told so
    HttpDaemon *daemon = nullptr;
    MHD_Connection *connection = nullptr;

    Phase phase = Phase::Asking;
    Clock::time_point since;       // of the phase; while it streams: since when an event waits for the client
    std::uint64_t bytesAtHead = 0; // that had come when the head of the last request was whole
    bool isSuspended = false;

    RequestHead head;
    bool isHeadRead = false;
    ParsedRequest request;
    SharedText text; // of the answer, once it is there
    bool hasText = false;
    bool isStream = false; // its answer
    EventQueue events;
    Clock::time_point lastEvent;
    std::string lastNumber; // of the event that was added last

    void enter(Phase next, Clock::time_point now) {
        phase = next;
        since = now;
    }
};

} // namespace zel

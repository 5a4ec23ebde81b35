// ServeSettings: everything that `zel serve` is told, with its defaults and its limits. Plain values: the configuration
// file and the command line fill them, the server reads them.
//
// `Server::reload` takes all of them but those marked "at start": a change of these is reported and waits for a
// restart.
#pragma once

#include "host/Sampler.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace zel {

inline constexpr const char *LISTEN_DEFAULT = "127.0.0.1:9100";
/// Where the exporter that this one takes the place of reads them in Debian.
inline constexpr const char *TEXTFILE_DIRECTORY_DEFAULT = "/var/lib/prometheus/node-exporter";

/// A number that is set, and its limits, both included.
template<class Number> struct SettingRange { Number otherwise, least, most; };

inline constexpr SettingRange<std::chrono::milliseconds> SAMPLE_AGE{std::chrono::seconds{1}, std::chrono::seconds{0},
                                                                    std::chrono::seconds{2}};
inline constexpr SettingRange<std::chrono::milliseconds> SERVE_DEADLINE{DEADLINE_DEFAULT, std::chrono::milliseconds{10},
                                                                        std::chrono::minutes{1}};
inline constexpr SettingRange<std::chrono::milliseconds> REQUEST_TIME{std::chrono::seconds{10}, std::chrono::seconds{1},
                                                                      std::chrono::minutes{10}};
inline constexpr SettingRange<std::chrono::milliseconds> ANSWER_TIME{std::chrono::minutes{1}, std::chrono::seconds{1},
                                                                     std::chrono::hours{1}};
inline constexpr SettingRange<std::chrono::milliseconds> IDLE_TIME{std::chrono::minutes{2}, std::chrono::seconds{1},
                                                                   std::chrono::hours{1}};
inline constexpr SettingRange<std::chrono::milliseconds> STREAM_LEAST{
    std::chrono::milliseconds{500}, std::chrono::milliseconds{100}, std::chrono::minutes{1}};
inline constexpr SettingRange<std::chrono::milliseconds> STREAM_HEARTBEAT{
    std::chrono::seconds{15}, std::chrono::seconds{1}, std::chrono::minutes{10}};
inline constexpr SettingRange<std::size_t> CONNECTIONS{256, 1, 8192};
inline constexpr SettingRange<std::size_t> CONNECTIONS_PER_ADDRESS{64, 1, 8192};
inline constexpr SettingRange<std::size_t> STREAMS{32, 0, 1024};
inline constexpr SettingRange<std::size_t> REQUEST_BYTES{8192, 1024, 65536};
inline constexpr SettingRange<std::size_t> TOP_PROCESSES{10, 0, 1000};
inline constexpr SettingRange<std::size_t> TEXTFILE_BYTES{std::size_t{1} << 20U, 1024, std::size_t{16} << 20U};
inline constexpr SettingRange<std::size_t> TEXTFILES{256, 1, 4096};

struct ServeSettings {
    // Where it listens: "127.0.0.1:9100", "[::1]:9100", "localhost:9100", ":9100" for every address. Port 0: any free
    // one. At start.
    std::vector<std::string> listen{LISTEN_DEFAULT};
    // Outside loopback it listens only with a token file or with TLS; true: also without both.
    bool listenUnprotected = false;
    // Names that a client may give in Host, beside localhost and loopback addresses. Where there are some, they are the
    // only ones on every address; without them a connection that does not come by loopback may give any.
    std::vector<std::string> serverNames = {};

    std::string tokenFile = {};       // one line: what "Authorization: Bearer" has to give; empty: none is asked for
    std::string certificateFile = {}; // PEM, the server's own first; with the key: TLS, and nothing without TLS
    std::string keyFile = {};         // PEM

    std::chrono::milliseconds sampleAge = SAMPLE_AGE.otherwise;    // a younger sample is shared, an older one renewed
    std::chrono::milliseconds deadline = SERVE_DEADLINE.otherwise; // of a sample; at start
    std::string root = {};                                         // as in Options; at start
    std::vector<Area> areas = {};                                  // that are sampled; empty: all; at start

    std::vector<std::string> metricsSections = {};      // in /metrics: "all", or names; empty: those written by default
    std::size_t topProcesses = TOP_PROCESSES.otherwise; // in /metrics, each by CPU, by memory and by I/O; 0: none
    bool withoutSystemd = false;                        // units of systemd are not asked for; a root has none
    bool commandLines = false;                          // command lines of processes may leave the machine

    // Its *.prom are part of /metrics; empty: there is none. The default one is, where this host has it.
    std::string textfileDirectory = TEXTFILE_DIRECTORY_DEFAULT;
    std::size_t textfileBytes = TEXTFILE_BYTES.otherwise; // of one file; a longer one is an error
    std::size_t textfiles = TEXTFILES.otherwise;          // that are read; more are an error

    std::size_t connections = CONNECTIONS.otherwise; // at one time, and from one address
    std::size_t connectionsPerAddress = CONNECTIONS_PER_ADDRESS.otherwise;
    std::size_t streams = STREAMS.otherwise;            // of the connections
    std::size_t requestBytes = REQUEST_BYTES.otherwise; // request line and headers

    std::chrono::milliseconds requestTime = REQUEST_TIME.otherwise; // from the first byte of a request to its last
    std::chrono::milliseconds answerTime = ANSWER_TIME.otherwise;   // to take an answer, or one event of a stream
    std::chrono::milliseconds idleTime = IDLE_TIME.otherwise;       // a connection waits for its next request

    std::chrono::milliseconds streamLeast = STREAM_LEAST.otherwise;         // the shortest time between two events
    std::chrono::milliseconds streamHeartbeat = STREAM_HEARTBEAT.otherwise; // an event or a comment comes in this time
};

/// The directory of text files that is read: the default one where it is there and this host is served.
std::string usedTextfileDirectory(const ServeSettings &settings);

} // namespace zel

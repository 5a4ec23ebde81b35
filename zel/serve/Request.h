// What a client asks for: a pure function from the head of its request to an order, or to what is wrong with it.
//
//   GET /metrics                                          the host in a metrics format, as Accept says
//   GET /api/v1/sample?areas=cpu,disks&rates=true         a sample as JSON
//   GET /api/v1/stream?every=2s&areas=cpu&rates=true      samples as server-sent events
//   GET /healthz                                          whether the server can answer, for everybody
//   GET /                                                 what there is
//
// HEAD gives the head of the same answer. Nothing takes a body. /metrics takes no parameter and ignores what it is
// given, as scrapers are configured with some; the others refuse one that they do not know.
#pragma once

#include "host/Sample.h"
#include "zel/serve/Negotiation.h"

#include <bitset>
#include <chrono>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace zel {

enum class Endpoint : unsigned char { Index, Metrics, Sample, Stream, Health };

using AreaSet = std::bitset<AREA_COUNT>;

/// The areas as a list; all of them as an empty one.
std::vector<Area> areasIn(const AreaSet &set);
/// The same the other way: an empty list is all.
AreaSet areaSetOf(std::span<const Area> areas);

inline constexpr std::chrono::seconds STREAM_EVERY_DEFAULT{2};
inline constexpr std::chrono::hours STREAM_EVERY_MOST{1};

/// The head of a request as the client sent it. A header that is sent several times is one text, with commas.
struct RequestHead {
    std::string method, target;
    std::string host, accept, acceptEncoding, authorization;
    unsigned hosts = 0, authorizations = 0; // how many of them were sent
    std::size_t bytes = 0;                  // of request line and headers
    bool hasBody = false;
    bool isMalformed = false; // a header is: what follows on the connection may be no request
    bool byLoopback = false;  // the address that it came to

    void clear();
};

/// What an answer depends on beside the request.
struct RequestRules {
    std::size_t requestBytes = 0;
    std::string_view token; // empty: none is asked for
    std::span<const std::string> names;
    AreaSet areas; // that are sampled
    std::chrono::milliseconds streamLeast{};
};

struct Order {
    Endpoint endpoint = Endpoint::Index;
    bool headOnly = false;
    MetricFormat format = MetricFormat::PrometheusText;
    Coding coding = Coding::Identity;
    AreaSet areas;
    bool rates = false;
    std::chrono::milliseconds every = STREAM_EVERY_DEFAULT;
};

struct ParsedRequest {
    Order order;
    unsigned status = 0;    // of the refusal; 0: there is none
    std::string problem;    // what is wrong and what would be right
    bool isProgram = false; // the path is one of those that answer in JSON
};

ParsedRequest parseRequest(const RequestHead &head, const RequestRules &rules);

/// Whether RFC 9110 allows a header of this name and value. A blank before the colon, or a control byte, is what makes
/// two readers see two different requests.
bool isHeaderFormed(std::string_view name, std::string_view value);

/// Whether both are the same, in a time that says nothing about where they differ.
bool isSameSecret(std::string_view given, std::string_view secret);

} // namespace zel

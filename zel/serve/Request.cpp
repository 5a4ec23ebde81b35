// Reads the head of a request.
#include "zel/serve/Request.h"

#include "zel/Duration.h"
#include "zel/serve/Caseless.h"
#include "zel/serve/HostCheck.h"
#include "zel/serve/Status.h"
#include "zel/serve/Target.h"

#include <algorithm>
#include <array>
#include <optional>

namespace zel {

namespace {

struct Path {
    std::string_view text;
    Endpoint endpoint;
};
constexpr std::array<Path, 5> paths{{{"/", Endpoint::Index},
                                     {"/metrics", Endpoint::Metrics},
                                     {"/api/v1/sample", Endpoint::Sample},
                                     {"/api/v1/stream", Endpoint::Stream},
                                     {"/healthz", Endpoint::Health}}};

constexpr std::string_view programPaths = "/api/";

// The first thing that is wrong; later ones are not looked at.
class Reader {
public:
    Reader(const RequestHead &head, const RequestRules &rules) : m_head(head), m_rules(rules) {}

    ParsedRequest read() {
        readHead();
        return std::move(m_result);
    }

private:
    bool refuse(unsigned status, std::string problem) {
        m_result.status = status;
        m_result.problem = std::move(problem);
        return false;
    }

    bool readHead() {
        const Target target = readTarget(m_head.target);
        m_result.isProgram = target.path.starts_with(programPaths);
        if (m_head.bytes > m_rules.requestBytes)
            return refuse(STATUS_HEADER_TOO_LARGE, "request line and headers are longer than " +
                                                       std::to_string(m_rules.requestBytes) + " bytes");
        if (!target.problem.empty())
            return refuse(STATUS_BAD_REQUEST, target.problem);
        if (m_head.isMalformed)
            return refuse(STATUS_BAD_REQUEST, "a header has a name or a value that HTTP does not allow");
        if (m_head.hosts > 1)
            return refuse(STATUS_BAD_REQUEST, "there is more than one Host");
        if (target.hasAuthority && target.authority.empty())
            return refuse(STATUS_BAD_REQUEST, "the target names no host");
        const std::string_view host = target.hasAuthority ? std::string_view(target.authority) : m_head.host;
        if (!isHostAllowed(host, m_head.byLoopback, m_rules.names))
            return refuse(STATUS_MISDIRECTED, "this is not the server of Host " + quotedForClient(host) +
                                                  "; a name of it has to be in its configuration (server-names)");
        return readEndpoint(target) && checkToken() && checkMethod() && checkBody() && readOrder(target);
    }

    bool readEndpoint(const Target &target) {
        const auto found =
            std::find_if(paths.begin(), paths.end(), [&target](const Path &path) { return path.text == target.path; });
        m_isKnown = found != paths.end();
        if (m_isKnown)
            m_result.order.endpoint = found->endpoint;
        // Who may not ask is not told what there is.
        if (!m_isKnown && checkToken())
            refuse(STATUS_NOT_FOUND, "there is no " + quotedForClient(target.path) +
                                         "; there are /metrics, /api/v1/sample, /api/v1/stream and /healthz");
        return m_isKnown;
    }
    bool checkMethod() {
        m_result.order.headOnly = m_head.method == "HEAD";
        if (m_head.method == "GET" || m_result.order.headOnly)
            return true;
        return refuse(STATUS_WRONG_METHOD, "the method is GET or HEAD");
    }
    bool checkToken() {
        const bool isFree = m_isKnown && m_result.order.endpoint == Endpoint::Health;
        if (m_rules.token.empty() || isFree)
            return true;
        constexpr std::string_view scheme = "bearer ";
        const std::string_view given = m_head.authorization;
        const bool isBearer = m_head.authorizations == 1 && given.size() > scheme.size() &&
                              isSameName(given.substr(0, scheme.size()), scheme);
        if (isBearer && isSameSecret(given.substr(scheme.size()), m_rules.token))
            return true;
        return refuse(STATUS_UNAUTHORISED, "Authorization: Bearer has to give the token of this server");
    }
    bool checkBody() { return !m_head.hasBody || refuse(STATUS_TOO_LARGE, "no request here has a body"); }

    bool readOrder(const Target &target) {
        switch (m_result.order.endpoint) {
        case Endpoint::Metrics:
            return readMetrics();
        case Endpoint::Sample:
            return readParameters(target) && accept("application/json") && readCoding();
        case Endpoint::Stream:
            return readParameters(target) && accept("text/event-stream");
        case Endpoint::Health:
            return readParameters(target) && accept("text/plain");
        case Endpoint::Index:
            break;
        }
        return readParameters(target) && accept("text/html");
    }

    bool readMetrics() {
        const std::optional<MetricFormat> format = negotiateMetrics(m_head.accept);
        if (!format)
            return refuse(STATUS_NOT_ACCEPTABLE, "Accept leaves out what there is: text/plain;version=0.0.4 and "
                                                 "application/openmetrics-text;version=1.0.0");
        m_result.order.format = *format;
        return readCoding();
    }
    bool accept(std::string_view mediaType) {
        return isAccepted(m_head.accept, mediaType) ||
               refuse(STATUS_NOT_ACCEPTABLE, "Accept leaves out what there is: " + std::string(mediaType));
    }
    bool readCoding() {
        const std::optional<Coding> coding = negotiateCoding(m_head.acceptEncoding);
        if (!coding)
            return refuse(STATUS_NOT_ACCEPTABLE, "Accept-Encoding leaves out what there is: zstd, gzip and identity");
        m_result.order.coding = *coding;
        return true;
    }

    bool readParameters(const Target &target) {
        const Endpoint endpoint = m_result.order.endpoint;
        const bool isData = endpoint == Endpoint::Sample || endpoint == Endpoint::Stream;
        m_result.order.areas = m_rules.areas;
        for (const Parameter &parameter : target.parameters) {
            bool isKnown = true, isRight = true;
            if (isData && parameter.name == "areas")
                isRight = readAreas(parameter.value);
            else if (isData && parameter.name == "rates")
                isRight = readRates(parameter.value);
            else if (endpoint == Endpoint::Stream && parameter.name == "every")
                isRight = readEvery(parameter.value);
            else
                isKnown = false;
            if (!isKnown)
                return refuseParameter(parameter);
            if (!isRight)
                return false;
        }
        return true;
    }
    bool refuseParameter(const Parameter &parameter) {
        const Endpoint endpoint = m_result.order.endpoint;
        std::string known = "it takes none";
        if (endpoint == Endpoint::Sample)
            known = "there are areas and rates";
        else if (endpoint == Endpoint::Stream)
            known = "there are areas, rates and every";
        return refuse(STATUS_BAD_REQUEST, "there is no parameter " + quotedForClient(parameter.name) + "; " + known);
    }
    bool readAreas(std::string_view list) {
        if (!m_areasGiven)
            m_result.order.areas.reset();
        m_areasGiven = true;
        while (true) {
            const std::size_t comma = list.find(',');
            if (!addArea(list.substr(0, comma)))
                return false;
            if (comma == std::string_view::npos)
                return true;
            list.remove_prefix(comma + 1);
        }
    }
    bool addArea(std::string_view name) {
        std::string known;
        for (std::size_t area = 0; area < AREA_COUNT; ++area) {
            if (!m_rules.areas.test(area))
                continue;
            if (areaName(static_cast<Area>(area)) == name) {
                m_result.order.areas.set(area);
                return true;
            }
            known += (known.empty() ? "" : ", ") + std::string(areaName(static_cast<Area>(area)));
        }
        return refuse(STATUS_BAD_REQUEST,
                      "areas: there is no area " + quotedForClient(name) + " here; there are " + known);
    }
    bool readRates(std::string_view value) {
        m_result.order.rates = value == "true" || value == "1";
        return m_result.order.rates || value == "false" || value == "0" ||
               refuse(STATUS_BAD_REQUEST, "rates is true or false, not " + quotedForClient(value));
    }
    bool readEvery(std::string_view value) {
        const ReadDuration read = readDuration(value, m_rules.streamLeast, STREAM_EVERY_MOST);
        m_result.order.every = read.value;
        return read.problem.empty() ||
               refuse(STATUS_BAD_REQUEST, "every=" + quotedForClient(value) + ": " + read.problem);
    }

    const RequestHead &m_head;
    const RequestRules &m_rules;
    ParsedRequest m_result;
    bool m_isKnown = false;
    bool m_areasGiven = false;
};

} // namespace

void RequestHead::clear() {
    for (std::string *text : {&method, &target, &host, &accept, &acceptEncoding, &authorization})
        text->clear();
    hosts = authorizations = 0;
    bytes = 0;
    hasBody = isMalformed = byLoopback = false;
}

std::vector<Area> areasIn(const AreaSet &set) {
    std::vector<Area> areas;
    for (std::size_t area = 0; area < AREA_COUNT && !set.all(); ++area) {
        if (set.test(area))
            areas.push_back(static_cast<Area>(area));
    }
    return areas;
}

AreaSet areaSetOf(std::span<const Area> areas) {
    AreaSet set;
    for (const Area area : areas)
        set.set(static_cast<std::size_t>(area));
    return areas.empty() ? set.set() : set;
}

ParsedRequest parseRequest(const RequestHead &head, const RequestRules &rules) {
    return Reader(head, rules).read();
}

bool isHeaderFormed(std::string_view name, std::string_view value) {
    constexpr std::string_view marks = "!#$%&'*+-.^_`|~";
    constexpr char deleted = 0x7f;
    const auto isTokenByte = [marks](char byte) {
        const char lower = lowered(byte);
        return (lower >= 'a' && lower <= 'z') || (byte >= '0' && byte <= '9') || marks.find(byte) != marks.npos;
    };
    const auto isControl = [](char byte) {
        return (static_cast<unsigned char>(byte) < ' ' && byte != '\t') || byte == deleted;
    };
    return !name.empty() && std::all_of(name.begin(), name.end(), isTokenByte) &&
           std::none_of(value.begin(), value.end(), isControl);
}

bool isSameSecret(std::string_view given, std::string_view secret) {
    unsigned difference = given.size() == secret.size() ? 0 : 1;
    for (std::size_t at = 0; at < given.size(); ++at) {
        const char byte = secret.empty() ? '\0' : secret[at % secret.size()];
        difference |= static_cast<unsigned char>(given[at]) ^ static_cast<unsigned>(static_cast<unsigned char>(byte));
    }
    return difference == 0;
}

} // namespace zel

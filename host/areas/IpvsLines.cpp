// Parses what the kernel's load balancer says.
#include "host/areas/IpvsLines.h"

#include "host/source/LineScan.h"
#include "host/source/SourceFile.h"

#include <algorithm>
#include <arpa/inet.h>
#include <charconv>
#include <cstdio>
#include <netinet/in.h>
#include <optional>
#include <string>

namespace zel {

namespace {

// More servers are not believed, nor longer names.
constexpr std::size_t backendsAtMost = 65536;
constexpr std::size_t nameLimit = 64;
constexpr std::size_t headingOfStatistics = 2;
constexpr std::size_t headingOfBackends = 3;

const char *skipLines(const char *text, std::size_t lines) {
    for (; lines > 0; --lines)
        text = nextLine(text);
    return text;
}

// Exactly as many hexadecimal digits as fill the number.
template<class Unsigned> std::optional<Unsigned> fixedHexadecimal(std::string_view digits) {
    Unsigned number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
    if (digits.size() != 2 * sizeof(Unsigned) || error != std::errc() || end != digits.data() + digits.size())
        return std::nullopt;
    return number;
}

using AddressText = char[INET6_ADDRSTRLEN];

// Sample: 2001:0db8:0000:0000:0000:0000:0000:0001
bool writeSix(std::string_view digits, AddressText &out) {
    in6_addr address{};
    AddressText text;
    if (digits.size() >= sizeof(text))
        return false;
    *std::copy(digits.begin(), digits.end(), text) = '\0';
    return inet_pton(AF_INET6, text, &address) == 1 && inet_ntop(AF_INET6, &address, out, sizeof(out)) != nullptr;
}

// Sample: C0000201
bool writeFour(std::string_view digits, AddressText &out) {
    const auto number = fixedHexadecimal<std::uint32_t>(digits);
    if (!number)
        return false;
    in_addr address{};
    address.s_addr = htonl(*number);
    return inet_ntop(AF_INET, &address, out, sizeof(out)) != nullptr;
}

// Samples: C0000201:0CEA
//          [2001:0db8:0000:0000:0000:0000:0000:0001]:0050
bool takeAddress(std::string_view word, std::string &out) {
    const std::size_t colon = word.rfind(':');
    if (colon == word.npos)
        return false;
    const auto port = fixedHexadecimal<std::uint16_t>(word.substr(colon + 1));
    const std::string_view address = word.substr(0, colon);
    const bool six = address.size() > 1 && address.front() == '[' && address.back() == ']';
    AddressText text;
    if (!port || !(six ? writeSix(address.substr(1, address.size() - 2), text) : writeFour(address, text)))
        return false;
    char end[sizeof("]:65535")];
    std::snprintf(end, sizeof(end), "%s:%u", six ? "]" : "", static_cast<unsigned>(*port));
    out.clear();
    if (six)
        out += '[';
    out.append(text).append(end);
    return true;
}

// A line without an arrow, which begins the service whose servers follow it.
struct Service {
    std::string protocol, address;
    std::string_view scheduler;
    bool known = false;

    // Samples: TCP  C0000201:0CEA wlc
    //          FWM  10001000 wlc persistent 300 FFFFFFFF
    bool take(const char *cursor) {
        const std::string_view name = takeWord(cursor), word = takeWord(cursor);
        scheduler = takeWord(cursor);
        protocol.assign(name.substr(0, nameLimit));
        const bool isMark = name == "FWM" && fixedHexadecimal<std::uint32_t>(word);
        if (isMark)
            address.assign(word);
        known = name.size() <= nameLimit && !scheduler.empty() && scheduler.size() <= nameLimit &&
                (isMark || takeAddress(word, address));
        return known;
    }
};

// Sample:  C0000202:0CEA      Tunnel  100    248        2
bool takeServer(const char *cursor, const Service &service, IpvsBackend &row) {
    if (!takeAddress(takeWord(cursor), row.server))
        return false;
    const std::string_view forwarding = takeWord(cursor);
    if (forwarding.empty() || forwarding.size() > nameLimit)
        return false;
    row.protocol = service.protocol;
    row.service = service.address;
    row.scheduler.set(service.scheduler);
    row.forwarding.set(forwarding);
    row.weight = takeCount(cursor);
    row.activeConnections = takeCount(cursor);
    row.inactiveConnections = takeCount(cursor);
    return row.inactiveConnections.has();
}

} // namespace

// Sample:  16AA370 E33656E5        0     51D8C8883AB3                0
bool takeIpvsStatistics(const char *text, Ipvs &ipvs) {
    const char *cursor = skipLines(text, headingOfStatistics);
    bool whole = true;
    for (const Field<Ipvs> &field : fieldsOf<Ipvs>()) {
        Count &value = ipvs.*std::get<Count Ipvs::*>(field.member);
        value = takeHexadecimal(cursor);
        whole &= value.has();
    }
    if (!whole)
        forget(ipvs, Absence::Malformed);
    return whole;
}

bool takeIpvsBackends(const char *text, Rows<IpvsBackend> &rows) {
    bool whole = *text != '\0';
    Service service;
    for (const char *line = skipLines(text, headingOfBackends); *line != '\0'; line = nextLine(line)) {
        const char *cursor = line;
        if (takeWord(cursor) != "->") {
            whole &= service.take(line);
            continue;
        }
        if (rows.size() == backendsAtMost)
            return false;
        if (service.known && takeServer(cursor, service, rows.append()))
            continue;
        whole = false;
        if (service.known)
            rows.dropLast();
    }
    return whole;
}

} // namespace zel

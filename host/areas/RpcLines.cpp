// Parses /proc/net/rpc/nfs and /proc/net/rpc/nfsd.
#include "host/areas/RpcLines.h"

#include "host/areas/RpcOperations.h"
#include "host/source/LineScan.h"
#include "host/source/SourceFile.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <span>

namespace zel {

namespace {

constexpr std::size_t operationsAtMost = 256; // of one version: the largest has 79

// A line and where its numbers go; what has no place is passed over.
template<class Row> struct KeyedLine {
    std::string_view key;
    std::span<Count Row::*const> columns;
};

using Client = NfsClient;
constexpr Count Client::*clientNet[] = {&Client::packets, &Client::udpPackets, &Client::tcpPackets,
                                        &Client::tcpConnections};
constexpr Count Client::*clientRpc[] = {&Client::calls, &Client::retransmissions, &Client::authenticationRefreshes};
constexpr KeyedLine<Client> clientLines[] = {{"net ", clientNet}, {"rpc ", clientRpc}};

using Server = NfsServer;
constexpr Count Server::*replyCache[] = {&Server::replyCacheHits, &Server::replyCacheMisses, &Server::uncachedReplies};
constexpr Count Server::*handles[] = {&Server::staleHandles};
constexpr Count Server::*bytes[] = {&Server::readBytes, &Server::writtenBytes};
constexpr Count Server::*threads[] = {&Server::threads};
constexpr Count Server::*serverNet[] = {&Server::packets, &Server::udpPackets, &Server::tcpPackets,
                                        &Server::tcpConnections};
constexpr Count Server::*serverRpc[] = {&Server::calls, &Server::badCalls, &Server::badFormats,
                                        &Server::badAuthentications, &Server::badClients};
constexpr Count Server::*recalls[] = {&Server::delegationRecalls};
constexpr KeyedLine<Server> serverLines[] = {{"rc ", replyCache},
                                             {"fh ", handles},
                                             {"io ", bytes},
                                             {"th ", threads},
                                             {"net ", serverNet},
                                             {"rpc ", serverRpc},
                                             {"wdeleg_getattr ", recalls}};

// Sample: rpc 1218785755 374636 1218815394
// Whether it is whole; nothing for another line.
template<class Row>
std::optional<bool> takeKeyed(const char *line, std::span<const KeyedLine<std::type_identity_t<Row>>> lines, Row &row) {
    const auto known =
        std::find_if(lines.begin(), lines.end(), [line](const auto &each) { return startsWith(line, each.key); });
    if (known == lines.end())
        return std::nullopt;
    const char *cursor = line + known->key.size();
    bool whole = true;
    for (Count Row::*column : known->columns) {
        row.*column = takeCount(cursor);
        whole &= (row.*column).has();
    }
    return whole;
}

// Sample: ra 32 0 0 0 0 0 0 0 0 0 0 7
// The size, the hits of each depth, and what was not found.
bool takeReadAhead(const char *cursor, Server &server) {
    constexpr int depths = 10;
    server.readAheadBlocks = takeCount(cursor);
    std::uint64_t hits = 0;
    bool whole = server.readAheadBlocks.has();
    for (int depth = 0; depth < depths; ++depth) {
        const Count found = takeCount(cursor);
        whole &= found.has();
        hits += found.valueOr(0);
    }
    server.readAheadHits = whole ? Count(hits) : Count(Absence::Malformed);
    server.readAheadMisses = takeCount(cursor);
    return whole && server.readAheadMisses.has();
}

void setName(std::string_view name, std::size_t number, std::string &out) {
    if (!name.empty()) {
        out = name;
        return;
    }
    char text[24];
    out.assign(text, std::to_chars(text, std::end(text), number).ptr);
}

// Sample: 22 0 1061909262 48906 4077635 ...
// The number of counts, then the counts. `nameOf` gives the name of one by its place.
template<class Row, class NameOf>
bool takeCalls(const char *cursor, std::uint64_t version, Rows<Row> &calls, NameOf nameOf) {
    const Count count = takeCount(cursor);
    if (!count || *count > operationsAtMost)
        return false;
    for (std::size_t index = 0; index < *count; ++index) {
        const Count made = takeCount(cursor);
        const std::string_view name = nameOf(index, *count);
        if (name.empty() && made && *made == 0)
            continue; // a number that means nothing, or nothing yet
        Row &row = calls.append();
        row.version = version;
        setName(name, index, row.operation);
        row.calls = made;
        if (!made)
            return false;
    }
    return true;
}

// Sample: proc3 22 0 1061909262 ...
// The version, and the cursor behind it; 0 for another line.
unsigned procedureVersion(const char *&cursor) {
    constexpr std::string_view key = "proc";
    if (!startsWith(cursor, key) || cursor[key.size()] < '2' || cursor[key.size()] > '4' ||
        !isSpace(cursor[key.size() + 1]))
        return 0;
    const auto version = static_cast<unsigned>(cursor[key.size()] - '0');
    cursor += key.size() + 1;
    return version;
}

} // namespace

bool parseNfsClient(const char *line, NfsClient &client, Rows<NfsClientCall> &calls) {
    bool whole = true, any = false;
    forget(client, Absence::Unsupported);
    for (; *line != '\0'; line = nextLine(line)) {
        const char *cursor = line;
        if (const auto keyed = takeKeyed(line, clientLines, client); keyed) {
            whole &= *keyed;
            any = true;
        } else if (const unsigned version = procedureVersion(cursor); version != 0) {
            whole &= takeCalls(cursor, version, calls, [version](std::size_t index, std::size_t count) {
                return nfsClientOperation(version, index, count);
            });
        }
    }
    return whole && any;
}

bool parseNfsServer(const char *line, NfsServer &server, Rows<NfsServerCall> &calls) {
    constexpr std::string_view operations = "proc4ops ", readAhead = "ra ";
    constexpr unsigned versionOfOperations = 4;
    bool whole = true, any = false;
    forget(server, Absence::Unsupported);
    for (; *line != '\0'; line = nextLine(line)) {
        const char *cursor = line;
        if (const auto keyed = takeKeyed(line, serverLines, server); keyed) {
            whole &= *keyed;
            any = true;
        } else if (startsWith(line, readAhead)) {
            whole &= takeReadAhead(line + readAhead.size(), server);
        } else if (startsWith(line, operations)) {
            whole &= takeCalls(line + operations.size(), versionOfOperations, calls,
                               [](std::size_t index, std::size_t) { return nfsServerOperation(index); });
        } else if (const unsigned version = procedureVersion(cursor); version != 0) {
            whole &= takeCalls(cursor, version, calls, [version](std::size_t index, std::size_t) {
                return nfsServerProcedure(version, index);
            });
        }
    }
    return whole && any;
}

} // namespace zel

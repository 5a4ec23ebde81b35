// The fields of the NFS client and server.
#include "host/Nfs.h"

namespace zel {

namespace {

constexpr std::string_view clientFile = "/proc/net/rpc/nfs", serverFile = "/proc/net/rpc/nfsd";
constexpr std::string_view clientProvider = "module nfs, in the first network namespace before kernel 6.9";
constexpr std::string_view serverProvider = "module nfsd";
constexpr unsigned char bits = 32; // of every counter, but for some of newer kernels

constexpr Entries<NfsClient> client{Area::Nfs, "nfs_client", clientFile, clientProvider};
constexpr Field<NfsClient> clientFields[] = {
    client.counter("packets_total", &NfsClient::packets, Unit::None, "Packets; the kernel counts none here.", bits),
    client.counter("udp_packets_total", &NfsClient::udpPackets, Unit::None, "Those over UDP.", bits),
    client.counter("tcp_packets_total", &NfsClient::tcpPackets, Unit::None, "Those over TCP.", bits),
    client.counter("tcp_connections_total", &NfsClient::tcpConnections, Unit::None, "TCP connections.", bits),
    client.counter("calls_total", &NfsClient::calls, Unit::None, "RPC calls.", bits),
    client.counter("retransmissions_total", &NfsClient::retransmissions, Unit::None, "Calls sent once more.", bits),
    client.counter("authentication_refreshes_total", &NfsClient::authenticationRefreshes, Unit::None,
                   "Times that credentials were refreshed.", bits),
};

constexpr Entries<NfsClientCall> clientCall{Area::Nfs, "nfs_client_calls", clientFile, clientProvider};
constexpr Field<NfsClientCall> clientCallFields[] = {
    clientCall.label("version", &NfsClientCall::version, "Version of NFS: 2, 3 or 4."),
    clientCall.label("operation", &NfsClientCall::operation, "Name of the operation, such as READ."),
    clientCall.counter("calls_total", &NfsClientCall::calls, Unit::None, "Calls of it.", bits),
};

constexpr Entries<NfsServer> server{Area::Nfs, "nfs_server", serverFile, serverProvider};
constexpr Field<NfsServer> serverFields[] = {
    server.counter("reply_cache_hits_total", &NfsServer::replyCacheHits, Unit::None,
                   "Repeated requests that were answered from the reply cache.", bits),
    server.counter("reply_cache_misses_total", &NfsServer::replyCacheMisses, Unit::None,
                   "Requests whose answer went into the reply cache.", bits),
    server.counter("uncached_replies_total", &NfsServer::uncachedReplies, Unit::None,
                   "Requests whose answer needs no reply cache.", bits),
    server.counter("stale_handles_total", &NfsServer::staleHandles, Unit::None, "Stale file handles.", bits),
    server.counter("read_bytes_total", &NfsServer::readBytes, Unit::Bytes, "Bytes that clients read.", bits),
    server.counter("written_bytes_total", &NfsServer::writtenBytes, Unit::Bytes, "Bytes that clients wrote.", bits),
    server.gauge("threads", &NfsServer::threads, Unit::None, "Threads that serve."),
    server.gauge("read_ahead_blocks", &NfsServer::readAheadBlocks, Unit::None, "Size of the read-ahead cache."),
    server.counter("read_ahead_hits_total", &NfsServer::readAheadHits, Unit::None, "Finds in the read-ahead cache.",
                   bits),
    server.counter("read_ahead_misses_total", &NfsServer::readAheadMisses, Unit::None,
                   "What was not found in the read-ahead cache.", bits),
    server.counter("packets_total", &NfsServer::packets, Unit::None, "Packets received.", bits),
    server.counter("udp_packets_total", &NfsServer::udpPackets, Unit::None, "Those over UDP.", bits),
    server.counter("tcp_packets_total", &NfsServer::tcpPackets, Unit::None, "Those over TCP.", bits),
    server.counter("tcp_connections_total", &NfsServer::tcpConnections, Unit::None, "TCP connections taken.", bits),
    server.counter("calls_total", &NfsServer::calls, Unit::None, "RPC calls.", bits),
    server.counter("bad_calls_total", &NfsServer::badCalls, Unit::None, "Calls refused.", bits),
    server.counter("bad_formats_total", &NfsServer::badFormats, Unit::None, "Calls refused for their format.", bits),
    server.counter("bad_authentications_total", &NfsServer::badAuthentications, Unit::None,
                   "Calls refused for their credentials.", bits),
    server.counter("bad_clients_total", &NfsServer::badClients, Unit::None, "Calls refused for their client.", bits),
    server.counter("delegation_recalls_total", &NfsServer::delegationRecalls, Unit::None,
                   "GETATTRs of a file that another client may write (kernel 6.7 and later)."),
};

constexpr Entries<NfsServerCall> serverCall{Area::Nfs, "nfs_server_calls", serverFile, serverProvider};
constexpr Field<NfsServerCall> serverCallFields[] = {
    serverCall.label("version", &NfsServerCall::version, "Version of NFS: 2, 3 or 4."),
    serverCall.label("operation", &NfsServerCall::operation, "Name of the operation, such as READ."),
    serverCall.counter("calls_total", &NfsServerCall::calls, Unit::None, "Calls of it.", bits),
};

} // namespace

template<> std::span<const Field<NfsClient>> fieldsOf<NfsClient>() {
    return clientFields;
}

template<> std::span<const Field<NfsClientCall>> fieldsOf<NfsClientCall>() {
    return clientCallFields;
}

template<> std::span<const Field<NfsServer>> fieldsOf<NfsServer>() {
    return serverFields;
}

template<> std::span<const Field<NfsServerCall>> fieldsOf<NfsServerCall>() {
    return serverCallFields;
}

} // namespace zel

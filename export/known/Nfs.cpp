// The known names of the client and the server of NFS. Operations have names of their own there; those without one have
// no series.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr MetricType counter = MetricType::Counter;

struct Method {
    std::string_view operation, method;
};
constexpr Method version2[] = {
    {"NULL", "Null"},       {"GETATTR", "GetAttr"},   {"SETATTR", "SetAttr"}, {"ROOT", "Root"},
    {"LOOKUP", "Lookup"},   {"READLINK", "ReadLink"}, {"READ", "Read"},       {"WRCACHE", "WrCache"},
    {"WRITE", "Write"},     {"CREATE", "Create"},     {"REMOVE", "Remove"},   {"RENAME", "Rename"},
    {"LINK", "Link"},       {"SYMLINK", "SymLink"},   {"MKDIR", "MkDir"},     {"RMDIR", "RmDir"},
    {"READDIR", "ReadDir"}, {"FSSTAT", "FsStat"},
};
constexpr Method version3[] = {
    {"NULL", "Null"},     {"GETATTR", "GetAttr"}, {"SETATTR", "SetAttr"},
    {"LOOKUP", "Lookup"}, {"ACCESS", "Access"},   {"READLINK", "ReadLink"},
    {"READ", "Read"},     {"WRITE", "Write"},     {"CREATE", "Create"},
    {"MKDIR", "MkDir"},   {"SYMLINK", "SymLink"}, {"MKNOD", "MkNod"},
    {"REMOVE", "Remove"}, {"RMDIR", "RmDir"},     {"RENAME", "Rename"},
    {"LINK", "Link"},     {"READDIR", "ReadDir"}, {"READDIRPLUS", "ReadDirPlus"},
    {"FSSTAT", "FsStat"}, {"FSINFO", "FsInfo"},   {"PATHCONF", "PathConf"},
    {"COMMIT", "Commit"},
};
constexpr Method client4[] = {
    {"NULL", "Null"},
    {"READ", "Read"},
    {"WRITE", "Write"},
    {"COMMIT", "Commit"},
    {"OPEN", "Open"},
    {"OPEN_CONFIRM", "OpenConfirm"},
    {"OPEN_NOATTR", "OpenNoattr"},
    {"OPEN_DOWNGRADE", "OpenDowngrade"},
    {"CLOSE", "Close"},
    {"SETATTR", "Setattr"},
    {"FSINFO", "FsInfo"},
    {"RENEW", "Renew"},
    {"SETCLIENTID", "SetClientID"},
    {"SETCLIENTID_CONFIRM", "SetClientIDConfirm"},
    {"LOCK", "Lock"},
    {"LOCKT", "Lockt"},
    {"LOCKU", "Locku"},
    {"ACCESS", "Access"},
    {"GETATTR", "Getattr"},
    {"LOOKUP", "Lookup"},
    {"LOOKUP_ROOT", "LookupRoot"},
    {"REMOVE", "Remove"},
    {"RENAME", "Rename"},
    {"LINK", "Link"},
    {"SYMLINK", "Symlink"},
    {"CREATE", "Create"},
    {"PATHCONF", "Pathconf"},
    {"STATFS", "StatFs"},
    {"READLINK", "ReadLink"},
    {"READDIR", "ReadDir"},
    {"SERVER_CAPS", "ServerCaps"},
    {"DELEGRETURN", "DelegReturn"},
    {"GETACL", "GetACL"},
    {"SETACL", "SetACL"},
    {"FS_LOCATIONS", "FsLocations"},
    {"RELEASE_LOCKOWNER", "ReleaseLockowner"},
    {"SECINFO", "Secinfo"},
    {"FSID_PRESENT", "FsidPresent"},
    {"EXCHANGE_ID", "ExchangeID"},
    {"CREATE_SESSION", "CreateSession"},
    {"DESTROY_SESSION", "DestroySession"},
    {"SEQUENCE", "Sequence"},
    {"GET_LEASE_TIME", "GetLeaseTime"},
    {"RECLAIM_COMPLETE", "ReclaimComplete"},
    {"LAYOUTGET", "LayoutGet"},
    {"GETDEVICEINFO", "GetDeviceInfo"},
    {"LAYOUTCOMMIT", "LayoutCommit"},
    {"LAYOUTRETURN", "LayoutReturn"},
    {"SECINFO_NO_NAME", "SecinfoNoName"},
    {"TEST_STATEID", "TestStateID"},
    {"FREE_STATEID", "FreeStateID"},
    {"GETDEVICELIST", "GetDeviceList"},
    {"BIND_CONN_TO_SESSION", "BindConnToSession"},
    {"DESTROY_CLIENTID", "DestroyClientID"},
    {"SEEK", "Seek"},
    {"ALLOCATE", "Allocate"},
    {"DEALLOCATE", "DeAllocate"},
    {"LAYOUTSTATS", "LayoutStats"},
    {"CLONE", "Clone"},
};
// LOOKUPP is called the lookup of the root.
constexpr Method server4[] = {
    {"ACCESS", "Access"},
    {"CLOSE", "Close"},
    {"COMMIT", "Commit"},
    {"CREATE", "Create"},
    {"DELEGPURGE", "DelegPurge"},
    {"DELEGRETURN", "DelegReturn"},
    {"GETATTR", "GetAttr"},
    {"GETFH", "GetFH"},
    {"LINK", "Link"},
    {"LOCK", "Lock"},
    {"LOCKT", "Lockt"},
    {"LOCKU", "Locku"},
    {"LOOKUP", "Lookup"},
    {"LOOKUPP", "LookupRoot"},
    {"NVERIFY", "Nverify"},
    {"OPEN", "Open"},
    {"OPENATTR", "OpenAttr"},
    {"OPEN_CONFIRM", "OpenConfirm"},
    {"OPEN_DOWNGRADE", "OpenDgrd"},
    {"PUTFH", "PutFH"},
    {"READ", "Read"},
    {"READDIR", "ReadDir"},
    {"READLINK", "ReadLink"},
    {"REMOVE", "Remove"},
    {"RENAME", "Rename"},
    {"RENEW", "Renew"},
    {"RESTOREFH", "RestoreFH"},
    {"SAVEFH", "SaveFH"},
    {"SECINFO", "SecInfo"},
    {"SETATTR", "SetAttr"},
    {"VERIFY", "Verify"},
    {"WRITE", "Write"},
    {"RELEASE_LOCKOWNER", "RelLockOwner"},
};

std::span<const Method> methodsOf(std::uint64_t version, std::span<const Method> version4) {
    switch (version) {
    case 2:
        return version2;
    case 3:
        return version3;
    case 4:
        return version4;
    default:
        return {};
    }
}

// Calls that only ask whether the other side is there: of the server they have no series.
constexpr bool isShown(const NfsClientCall &) {
    return true;
}
bool isShown(const NfsServerCall &call) {
    return call.operation != "NULL";
}

template<class Call> void writeCalls(const Rows<Call> &calls, std::span<const Method> version4, MetricSink &sink) {
    for (const Call &call : calls) {
        if (!isShown(call))
            continue;
        for (const Method &method : methodsOf(call.version, version4)) {
            if (method.operation == call.operation)
                sink.label("method", method.method).label("proto", call.version).value(call.calls);
        }
    }
}

constexpr KnownField<NfsClient> clientFields[] = {
    {&NfsClient::tcpConnections, "node_nfs_connections_total", counter, "Connections over TCP."},
    {&NfsClient::calls, "node_nfs_rpcs_total", counter, "Calls."},
    {&NfsClient::retransmissions, "node_nfs_rpc_retransmissions_total", counter, "Calls that were sent again."},
    {&NfsClient::authenticationRefreshes, "node_nfs_rpc_authentication_refreshes_total", counter,
     "Times that credentials were refreshed."},
};
constexpr KnownTable<NfsClient> client{.one = &Sample::nfsClient, .fields = clientFields};

constexpr KnownField<NfsServer> serverFields[] = {
    {&NfsServer::replyCacheHits, "node_nfsd_reply_cache_hits_total", counter, "Answers that came from the cache."},
    {&NfsServer::replyCacheMisses, "node_nfsd_reply_cache_misses_total", counter, "Answers put into the cache."},
    {&NfsServer::uncachedReplies, "node_nfsd_reply_cache_nocache_total", counter, "Answers that are never cached."},
    {&NfsServer::staleHandles, "node_nfsd_file_handles_stale_total", counter, "Handles of files that are gone."},
    {&NfsServer::readBytes, "node_nfsd_disk_bytes_read_total", counter, "Bytes read."},
    {&NfsServer::writtenBytes, "node_nfsd_disk_bytes_written_total", counter, "Bytes written."},
    {&NfsServer::threads, "node_nfsd_server_threads", MetricType::Gauge, "Threads of the server."},
    {&NfsServer::readAheadBlocks, "node_nfsd_read_ahead_cache_size_blocks", MetricType::Gauge,
     "Size of the cache of reading ahead, of kernels before 5.4."},
    {&NfsServer::readAheadMisses, "node_nfsd_read_ahead_cache_not_found_total", counter,
     "What was not in the cache of reading ahead, of kernels before 5.4."},
    {&NfsServer::tcpConnections, "node_nfsd_connections_total", counter, "Connections over TCP."},
    {&NfsServer::calls, "node_nfsd_server_rpcs_total", counter, "Calls."},
};
constexpr KnownTable<NfsServer> server{.one = &Sample::nfsServer, .fields = serverFields};

void writeClient(const Sample &sample, MetricSink &sink) {
    writeKnown(client, sample, sink);
    sink.family("node_nfs_packets_total", counter, "Packets, by the protocol below.");
    sink.label("protocol", "tcp").value(sample.nfsClient.tcpPackets);
    sink.label("protocol", "udp").value(sample.nfsClient.udpPackets);
    sink.family("node_nfs_requests_total", counter, "Calls of the client, by version and operation.");
    writeCalls(sample.nfsClientCalls, client4, sink);
}

void writeServer(const Sample &sample, MetricSink &sink) {
    writeKnown(server, sample, sink);
    sink.family("node_nfsd_packets_total", counter, "Packets, by the protocol below.");
    sink.label("proto", "tcp").value(sample.nfsServer.tcpPackets);
    sink.label("proto", "udp").value(sample.nfsServer.udpPackets);
    sink.family("node_nfsd_rpc_errors_total", counter, "Calls that were refused, by the reason.");
    sink.label("error", "fmt").value(sample.nfsServer.badFormats);
    sink.label("error", "auth").value(sample.nfsServer.badAuthentications);
    sink.label("error", "cInt").value(sample.nfsServer.badClients);
    sink.family("node_nfsd_requests_total", counter, "Calls to the server, by version and operation.");
    writeCalls(sample.nfsServerCalls, server4, sink);
}

void write(const Sample &sample, MetricSink &sink) {
    writeClient(sample, sink);
    writeServer(sample, sink);
}

void listFields(KnownFields &known) {
    known.add(client);
    known.add(server);
    known.add<NfsClient>({&NfsClient::tcpPackets, &NfsClient::udpPackets});
    known.add<NfsServer>({&NfsServer::tcpPackets, &NfsServer::udpPackets, &NfsServer::badFormats,
                          &NfsServer::badAuthentications, &NfsServer::badClients});
    known.add<NfsClientCall>({&NfsClientCall::calls});
    known.add<NfsServerCall>({&NfsServerCall::calls});
}

} // namespace

const KnownMetrics knownNfs{Area::Nfs, write, listFields};

} // namespace zel

// The fields of the NFS mounts.
#include "host/Nfs.h"

namespace zel {

namespace {

constexpr std::string_view statistics = "/proc/self/mountstats";
constexpr std::string_view provider = "an NFS mount";
using Mount = NfsMount;

constexpr Entries<Mount> mount{Area::Nfs, "nfs_mounts", statistics, provider};
constexpr Field<Mount> mountFields[] = {
    mount.label("device", &Mount::device, "Server and path."),
    mount.label("mount_point", &Mount::mountPoint, "Where it is mounted."),
    mount.label("type", &Mount::type, "nfs or nfs4."),
    mount.info("version", &Mount::version, "Version of the protocol (vers)."),
    mount.info("protocol", &Mount::protocol, "Transport protocol (proto)."),
    mount.info("security", &Mount::security, "Security flavour (sec)."),
    mount.info("options", &Mount::options, "Options of the mount."),
    mount.state("read_only", &Mount::readOnly, "1 when nothing can be written to it."),
    mount.gauge("age_seconds", &Mount::ageSeconds, Unit::Seconds, "Time since it was mounted."),
    mount.gauge("read_size_bytes", &Mount::readSizeBytes, Unit::Bytes, "Largest read request (rsize)."),
    mount.gauge("write_size_bytes", &Mount::writeSizeBytes, Unit::Bytes, "Largest write request (wsize)."),
    mount.info("capabilities", &Mount::capabilities, "Capabilities of the server as bits (NFS_CAP_*)."),
    mount.gauge("write_multiple_bytes", &Mount::writeMultipleBytes, Unit::Bytes,
                "Of what number the server wants writes to be a multiple (wtmult)."),
    mount.gauge("directory_read_bytes", &Mount::directoryReadBytes, Unit::Bytes,
                "Largest read of a directory (dtsize)."),
    mount.gauge("block_size_bytes", &Mount::blockSizeBytes, Unit::Bytes, "Block size; 0 when none was chosen (bsize)."),
    mount.gauge("name_length", &Mount::nameLength, Unit::None, "Longest name of a file (namlen)."),
    mount.info("security_flavour", &Mount::securityFlavour, "Number of the RPC security flavour."),
    mount.info("security_pseudoflavour", &Mount::securityPseudoFlavour, "Number of the security pseudoflavour."),
    mount.info("pnfs", &Mount::parallel, "Layout driver of parallel NFS, or not configured."),
    mount.gauge("lease_seconds", &Mount::leaseSeconds, Unit::Seconds, "Time of the lease that the server gives."),
    mount.gauge("lease_expired_seconds", &Mount::leaseExpiredSeconds, Unit::Seconds,
                "For how long the lease has been over; 0 while it holds."),

    mount.counter("inode_revalidations_total", &Mount::inodeRevalidations, Unit::None,
                  "Times that cached attributes of a file were checked."),
    mount.counter("entry_revalidations_total", &Mount::entryRevalidations, Unit::None,
                  "Times that cached directory entries were checked."),
    mount.counter("data_invalidations_total", &Mount::dataInvalidations, Unit::None,
                  "Times that cached data of a file were dropped."),
    mount.counter("attribute_invalidations_total", &Mount::attributeInvalidations, Unit::None,
                  "Times that cached attributes were dropped."),
    mount.counter("opens_total", &Mount::opens, Unit::None, "Files and directories opened."),
    mount.counter("lookups_total", &Mount::lookups, Unit::None, "Names looked up in a directory."),
    mount.counter("access_checks_total", &Mount::accessChecks, Unit::None, "Checks of permissions."),
    mount.counter("page_updates_total", &Mount::pageUpdates, Unit::None, "Pages changed in part."),
    mount.counter("page_reads_total", &Mount::pageReads, Unit::None, "Pages read one by one."),
    mount.counter("grouped_page_reads_total", &Mount::groupedPageReads, Unit::None, "Reads of several pages at once."),
    mount.counter("page_writes_total", &Mount::pageWrites, Unit::None, "Pages written one by one."),
    mount.counter("grouped_page_writes_total", &Mount::groupedPageWrites, Unit::None,
                  "Writes of several pages at once."),
    mount.counter("directory_reads_total", &Mount::directoryReads, Unit::None, "Reads of a directory."),
    mount.counter("attribute_changes_total", &Mount::attributeChanges, Unit::None, "Changes of attributes."),
    mount.counter("flushes_total", &Mount::flushes, Unit::None, "Flushes of what was written, mostly at close."),
    mount.counter("syncs_total", &Mount::syncs, Unit::None, "Calls of fsync on files and directories."),
    mount.counter("locks_total", &Mount::locks, Unit::None, "Calls that lock or unlock a part of a file."),
    mount.counter("releases_total", &Mount::releases, Unit::None, "Files closed."),
    mount.counter("congestion_waits_total", &Mount::congestionWaits, Unit::None,
                  "Waits because of congestion; unused by the kernel."),
    mount.counter("truncations_total", &Mount::truncations, Unit::None, "Files that were cut."),
    mount.counter("extending_writes_total", &Mount::extendingWrites, Unit::None, "Writes behind the end of a file."),
    mount.counter("silly_renames_total", &Mount::sillyRenames, Unit::None, "Open files that were removed."),
    mount.counter("short_reads_total", &Mount::shortReads, Unit::None, "Reads that gave less than was asked for."),
    mount.counter("short_writes_total", &Mount::shortWrites, Unit::None, "Writes that took less than was given."),
    mount.counter("delays_total", &Mount::delays, Unit::None, "Times that the server said: later (EJUKEBOX, DELAY)."),
    mount.counter("pnfs_reads_total", &Mount::parallelReads, Unit::None, "Reads by parallel NFS."),
    mount.counter("pnfs_writes_total", &Mount::parallelWrites, Unit::None, "Writes by parallel NFS."),

    mount.counter("read_bytes_total", &Mount::readBytes, Unit::Bytes, "Bytes that programs read, cached or not."),
    mount.counter("written_bytes_total", &Mount::writtenBytes, Unit::Bytes, "Bytes that programs wrote."),
    mount.counter("direct_read_bytes_total", &Mount::directReadBytes, Unit::Bytes,
                  "Bytes that programs read past the page cache (O_DIRECT)."),
    mount.counter("direct_written_bytes_total", &Mount::directWrittenBytes, Unit::Bytes,
                  "Bytes that programs wrote past the page cache (O_DIRECT)."),
    mount.counter("server_read_bytes_total", &Mount::serverReadBytes, Unit::Bytes, "Bytes read from the server."),
    mount.counter("server_written_bytes_total", &Mount::serverWrittenBytes, Unit::Bytes,
                  "Bytes written to the server."),
    mount.counter("read_pages_total", &Mount::readPages, Unit::None, "Pages read."),
    mount.counter("written_pages_total", &Mount::writtenPages, Unit::None, "Pages written."),

    mount.counter("operations_total", &Mount::operations, Unit::None, "Operations completed, of all kinds."),
    mount.counter("transmissions_total", &Mount::transmissions, Unit::None, "Requests sent."),
    mount.counter("retransmissions_total", &Mount::retransmissions, Unit::None, "Requests sent once more."),
    mount.counter("timeouts_total", &Mount::timeouts, Unit::None, "Operations that timed out (major timeouts)."),
    mount.counter("sent_bytes_total", &Mount::sentBytes, Unit::Bytes, "Bytes sent, headers included."),
    mount.counter("received_bytes_total", &Mount::receivedBytes, Unit::Bytes, "Bytes received, headers included."),
    mount.counter("queue_seconds_total", &Mount::queueSeconds, Unit::Seconds,
                  "Time that operations waited to be sent."),
    mount.counter("round_trip_seconds_total", &Mount::roundTripSeconds, Unit::Seconds,
                  "Time between request and reply."),
    mount.counter("execute_seconds_total", &Mount::executeSeconds, Unit::Seconds,
                  "Time of operations from start to end."),
    mount.counter("errors_total", &Mount::errors, Unit::None, "Operations that ended with an error."),
};

using Operation = NfsOperation;
constexpr Entries<Operation> operation{Area::Nfs, "nfs_operations", statistics, provider};
constexpr Field<Operation> operationFields[] = {
    operation.label("device", &Operation::device, "Server and path."),
    operation.label("mount_point", &Operation::mountPoint, "Where it is mounted."),
    operation.label("type", &Operation::type, "nfs or nfs4."),
    operation.label("operation", &Operation::operation, "Name of the operation, such as READ."),
    operation.counter("operations_total", &Operation::operations, Unit::None, "Operations completed."),
    operation.counter("transmissions_total", &Operation::transmissions, Unit::None, "Requests sent."),
    operation.counter("retransmissions_total", &Operation::retransmissions, Unit::None, "Requests sent once more."),
    operation.counter("timeouts_total", &Operation::timeouts, Unit::None,
                      "Operations that timed out (major timeouts)."),
    operation.counter("sent_bytes_total", &Operation::sentBytes, Unit::Bytes, "Bytes sent, headers included."),
    operation.counter("received_bytes_total", &Operation::receivedBytes, Unit::Bytes,
                      "Bytes received, headers included."),
    operation.counter("queue_seconds_total", &Operation::queueSeconds, Unit::Seconds,
                      "Time that operations waited to be sent."),
    operation.counter("round_trip_seconds_total", &Operation::roundTripSeconds, Unit::Seconds,
                      "Time between request and reply."),
    operation.counter("execute_seconds_total", &Operation::executeSeconds, Unit::Seconds,
                      "Time of operations from start to end."),
    operation.counter("errors_total", &Operation::errors, Unit::None, "Operations that ended with an error."),
};

using Transport = NfsTransport;
constexpr Entries<Transport> transport{Area::Nfs, "nfs_transports", statistics, provider};
constexpr Entries<Transport> rdma = transport.from(statistics, "an NFS mount over RDMA");
constexpr Field<Transport> transportFields[] = {
    transport.label("device", &Transport::device, "Server and path."),
    transport.label("mount_point", &Transport::mountPoint, "Where it is mounted."),
    transport.label("type", &Transport::type, "nfs or nfs4."),
    transport.label("transport", &Transport::transport, "Number of the connection, from 0."),
    transport.info("protocol", &Transport::protocol, "tcp, udp, rdma or local."),
    transport.info("local_port", &Transport::localPort, "Local port; 0 for one that is not reserved."),
    transport.counter("binds_total", &Transport::binds, Unit::None, "Times that the server's port was asked for."),
    transport.counter("connects_total", &Transport::connects, Unit::None, "Connections made."),
    transport.counter("connect_seconds_total", &Transport::connectSeconds, Unit::Seconds,
                      "Time that making connections took."),
    transport.gauge("idle_seconds", &Transport::idleSeconds, Unit::Seconds, "Time since it was last used."),
    transport.counter("sends_total", &Transport::sends, Unit::None, "Requests sent."),
    transport.counter("receives_total", &Transport::receives, Unit::None, "Replies received."),
    transport.counter("bad_transactions_total", &Transport::badTransactions, Unit::None,
                      "Replies that belong to no request (bad XIDs)."),
    transport.counter("in_flight_total", &Transport::inFlight, Unit::None,
                      "Requests without a reply, added up at each send."),
    transport.counter("backlog_total", &Transport::backlog, Unit::None,
                      "Requests that waited for a slot, added up at each send."),
    transport.gauge("slots_limit", &Transport::slotsAtMost, Unit::None, "Slots that were in use at most."),
    transport.counter("sending_queue_total", &Transport::sendingQueue, Unit::None,
                      "Requests that waited to be sent, added up at each send."),
    transport.counter("pending_queue_total", &Transport::pendingQueue, Unit::None,
                      "Requests that waited for their reply, added up at each send."),

    rdma.counter("read_chunks_total", &Transport::readChunks, Unit::None, "Read chunks sent."),
    rdma.counter("write_chunks_total", &Transport::writeChunks, Unit::None, "Write chunks sent."),
    rdma.counter("reply_chunks_total", &Transport::replyChunks, Unit::None, "Reply chunks sent."),
    rdma.counter("remote_request_bytes_total", &Transport::remoteRequestBytes, Unit::Bytes,
                 "Bytes that the server took by RDMA."),
    rdma.counter("remote_reply_bytes_total", &Transport::remoteReplyBytes, Unit::Bytes,
                 "Bytes that the server gave by RDMA."),
    rdma.counter("pulled_up_bytes_total", &Transport::pulledUpBytes, Unit::Bytes, "Bytes copied to send them."),
    rdma.counter("fixed_up_bytes_total", &Transport::fixedUpBytes, Unit::Bytes, "Bytes copied after they came."),
    rdma.counter("hardway_registrations_total", &Transport::hardwayRegistrations, Unit::None,
                 "Buffers registered anew because they were too small."),
    rdma.counter("failed_marshals_total", &Transport::failedMarshals, Unit::None, "Requests that could not be built."),
    rdma.counter("bad_replies_total", &Transport::badReplies, Unit::None, "Replies that could not be read."),
    rdma.counter("calls_without_message_total", &Transport::callsWithoutMessage, Unit::None,
                 "Requests sent as RDMA_NOMSG."),
    rdma.counter("regions_recycled_total", &Transport::regionsRecycled, Unit::None, "Memory regions recycled."),
    rdma.counter("regions_orphaned_total", &Transport::regionsOrphaned, Unit::None, "Memory regions lost."),
    rdma.counter("regions_allocated_total", &Transport::regionsAllocated, Unit::None, "Memory regions allocated."),
    rdma.counter("local_invalidations_total", &Transport::localInvalidations, Unit::None,
                 "Replies after which memory had to be invalidated here."),
    rdma.counter("empty_send_contexts_total", &Transport::emptySendContexts, Unit::None,
                 "Times without a free send context."),
    rdma.counter("waiting_replies_total", &Transport::repliesThatWaited, Unit::None,
                 "Replies that waited for the end of their send."),
};

} // namespace

template<> std::span<const Field<NfsMount>> fieldsOf<NfsMount>() {
    return mountFields;
}

template<> std::span<const Field<NfsOperation>> fieldsOf<NfsOperation>() {
    return operationFields;
}

template<> std::span<const Field<NfsTransport>> fieldsOf<NfsTransport>() {
    return transportFields;
}

} // namespace zel

// The fields of the rates of Fibre Channel ports and NFS.
#include "host/Rates.h"

namespace zel {

namespace {

using Port = FibreChannelRates;
constexpr Entries<Port> port{Area::FibreChannel, "fibrechannel", "/sys/class/fc_host/*/statistics"};
constexpr Field<Port> portFields[] = {
    port.label("name", &Port::name, "Name of the port."),
    port.gauge("transmit_bytes_per_second", &Port::transmitBytes, Unit::Bytes, "Bytes sent per second."),
    port.gauge("receive_bytes_per_second", &Port::receiveBytes, Unit::Bytes, "Bytes received per second."),
    port.gauge("transmit_frames_per_second", &Port::transmitFrames, Unit::None, "Frames sent per second."),
    port.gauge("receive_frames_per_second", &Port::receiveFrames, Unit::None, "Frames received per second."),
    port.gauge("input_requests_per_second", &Port::inputRequests, Unit::None, "SCSI requests that read, per second."),
    port.gauge("output_requests_per_second", &Port::outputRequests, Unit::None,
               "SCSI requests that write, per second."),
    port.gauge("control_requests_per_second", &Port::controlRequests, Unit::None,
               "SCSI requests without data, per second."),
    port.gauge("input_megabytes_per_second", &Port::inputMegabytes, Unit::None, "Megabytes read per second."),
    port.gauge("output_megabytes_per_second", &Port::outputMegabytes, Unit::None, "Megabytes written per second."),
    port.gauge("loop_initialisations_per_second", &Port::loopInitialisations, Unit::None,
               "Loop initialisation primitives (LIP) per second."),
    port.gauge("not_operational_per_second", &Port::notOperational, Unit::None,
               "Not-operational sequences (NOS) per second."),
    port.gauge("error_frames_per_second", &Port::errorFrames, Unit::None, "Frames with an error per second."),
    port.gauge("dumped_frames_per_second", &Port::dumpedFrames, Unit::None,
               "Frames lost for want of a buffer, per second."),
    port.gauge("link_failures_per_second", &Port::linkFailures, Unit::None, "Failures of the link per second."),
    port.gauge("sync_losses_per_second", &Port::lossesOfSync, Unit::None, "Losses of synchronisation per second."),
    port.gauge("signal_losses_per_second", &Port::lossesOfSignal, Unit::None, "Losses of the signal per second."),
    port.gauge("primitive_sequence_errors_per_second", &Port::primitiveSequenceErrors, Unit::None,
               "Errors of the primitive sequence protocol per second."),
    port.gauge("invalid_transmit_words_per_second", &Port::invalidTransmitWords, Unit::None,
               "Invalid transmission words per second."),
    port.gauge("invalid_crcs_per_second", &Port::invalidCrcs, Unit::None, "Frames with a wrong checksum per second."),
    port.gauge("packet_aborts_per_second", &Port::packetAborts, Unit::None, "SCSI requests aborted per second."),
    port.gauge("transmit_utilisation_ratio", &Port::transmitUtilisation, Unit::Ratio,
               "Share of the speed that was used for sending."),
    port.gauge("receive_utilisation_ratio", &Port::receiveUtilisation, Unit::Ratio,
               "Share of the speed that was used for receiving."),
    port.gauge("utilisation_ratio", &Port::utilisation, Unit::Ratio, "The larger of both shares."),
};

constexpr std::string_view statistics = "/proc/self/mountstats";

using Mount = NfsMountRates;
constexpr Entries<Mount> mount{Area::Nfs, "nfs_mounts", statistics};
constexpr Field<Mount> mountFields[] = {
    mount.label("device", &Mount::device, "Server and path."),
    mount.label("mount_point", &Mount::mountPoint, "Where it is mounted."),
    mount.label("type", &Mount::type, "nfs or nfs4."),
    mount.gauge("operations_per_second", &Mount::operations, Unit::None, "Operations completed per second."),
    mount.gauge("sent_bytes_per_second", &Mount::sentBytes, Unit::Bytes, "Bytes sent per second, headers included."),
    mount.gauge("received_bytes_per_second", &Mount::receivedBytes, Unit::Bytes,
                "Bytes received per second, headers included."),
    mount.gauge("read_bytes_per_second", &Mount::readBytes, Unit::Bytes,
                "Bytes that programs read per second, cached or not."),
    mount.gauge("written_bytes_per_second", &Mount::writtenBytes, Unit::Bytes, "Bytes that programs wrote per second."),
    mount.gauge("server_read_bytes_per_second", &Mount::serverReadBytes, Unit::Bytes,
                "Bytes read from the server per second."),
    mount.gauge("server_written_bytes_per_second", &Mount::serverWrittenBytes, Unit::Bytes,
                "Bytes written to the server per second."),
    mount.gauge("retransmissions_per_second", &Mount::retransmissions, Unit::None,
                "Requests sent once more, per second."),
    mount.gauge("timeouts_per_second", &Mount::timeouts, Unit::None, "Operations that timed out, per second."),
    mount.gauge("errors_per_second", &Mount::errors, Unit::None, "Operations that ended with an error, per second."),
    mount.gauge("retransmission_ratio", &Mount::retransmissionShare, Unit::Ratio, "Retransmissions per operation."),
    mount.gauge("operation_bytes", &Mount::operationBytes, Unit::Bytes, "Mean bytes of an operation, both ways."),
    mount.gauge("queue_seconds", &Mount::queueSeconds, Unit::Seconds, "Mean time that an operation waited to be sent."),
    mount.gauge("round_trip_seconds", &Mount::roundTripSeconds, Unit::Seconds, "Mean time from request to reply."),
    mount.gauge("execute_seconds", &Mount::executeSeconds, Unit::Seconds, "Mean time of an operation."),
};

using Operation = NfsOperationRates;
constexpr Entries<Operation> operation{Area::Nfs, "nfs_operations", statistics};
constexpr Field<Operation> operationFields[] = {
    operation.label("device", &Operation::device, "Server and path."),
    operation.label("mount_point", &Operation::mountPoint, "Where it is mounted."),
    operation.label("type", &Operation::type, "nfs or nfs4."),
    operation.label("operation", &Operation::operation, "Name of the operation, such as READ."),
    operation.gauge("operations_per_second", &Operation::operations, Unit::None, "Operations completed per second."),
    operation.gauge("sent_bytes_per_second", &Operation::sentBytes, Unit::Bytes,
                    "Bytes sent per second, headers included."),
    operation.gauge("received_bytes_per_second", &Operation::receivedBytes, Unit::Bytes,
                    "Bytes received per second, headers included."),
    operation.gauge("retransmissions_per_second", &Operation::retransmissions, Unit::None,
                    "Requests sent once more, per second."),
    operation.gauge("timeouts_per_second", &Operation::timeouts, Unit::None, "Operations that timed out, per second."),
    operation.gauge("errors_per_second", &Operation::errors, Unit::None,
                    "Operations that ended with an error, per second."),
    operation.gauge("retransmission_ratio", &Operation::retransmissionShare, Unit::Ratio,
                    "Retransmissions per operation."),
    operation.gauge("operation_bytes", &Operation::operationBytes, Unit::Bytes,
                    "Mean bytes of an operation, both ways."),
    operation.gauge("queue_seconds", &Operation::queueSeconds, Unit::Seconds,
                    "Mean time that an operation waited to be sent."),
    operation.gauge("round_trip_seconds", &Operation::roundTripSeconds, Unit::Seconds,
                    "Mean time from request to reply."),
    operation.gauge("execute_seconds", &Operation::executeSeconds, Unit::Seconds, "Mean time of an operation."),
};

using Transport = NfsTransportRates;
constexpr Entries<Transport> transport{Area::Nfs, "nfs_transports", statistics};
constexpr Field<Transport> transportFields[] = {
    transport.label("device", &Transport::device, "Server and path."),
    transport.label("mount_point", &Transport::mountPoint, "Where it is mounted."),
    transport.label("type", &Transport::type, "nfs or nfs4."),
    transport.label("transport", &Transport::transport, "Number of the connection, from 0."),
    transport.gauge("sends_per_second", &Transport::sends, Unit::None, "Requests sent per second."),
    transport.gauge("receives_per_second", &Transport::receives, Unit::None, "Replies received per second."),
    transport.gauge("bad_transactions_per_second", &Transport::badTransactions, Unit::None,
                    "Replies that belong to no request, per second."),
    transport.gauge("connects_per_second", &Transport::connects, Unit::None, "Connections made per second."),
    transport.gauge("in_flight", &Transport::inFlight, Unit::None, "Mean number of requests without a reply."),
    transport.gauge("backlog", &Transport::backlog, Unit::None, "Mean number of requests that waited for a slot."),
    transport.gauge("sending_queue", &Transport::sendingQueue, Unit::None,
                    "Mean number of requests that waited to be sent."),
    transport.gauge("pending_queue", &Transport::pendingQueue, Unit::None,
                    "Mean number of requests that waited for their reply."),
};

} // namespace

template<> std::span<const Field<FibreChannelRates>> fieldsOf<FibreChannelRates>() {
    return portFields;
}

template<> std::span<const Field<NfsMountRates>> fieldsOf<NfsMountRates>() {
    return mountFields;
}

template<> std::span<const Field<NfsOperationRates>> fieldsOf<NfsOperationRates>() {
    return operationFields;
}

template<> std::span<const Field<NfsTransportRates>> fieldsOf<NfsTransportRates>() {
    return transportFields;
}

} // namespace zel

// The fields of the Fibre Channel ports.
#include "host/FibreChannel.h"

namespace zel {

namespace {

constexpr std::string_view provider = "a Fibre Channel adapter and its driver";

constexpr Entries<FibreChannelPort> host{Area::FibreChannel, "fibrechannel", "/sys/class/fc_host", provider};
constexpr Entries<FibreChannelPort> counted = host.from("/sys/class/fc_host/*/statistics", provider);

constexpr Field<FibreChannelPort> ports[] = {
    host.label("name", &FibreChannelPort::name, "Name of the port, such as host0."),
    host.state("state", &FibreChannelPort::state, "State of the port, such as Online or Linkdown."),
    host.info("speed", &FibreChannelPort::speed, "Speed of the link, as the driver names it."),
    host.gauge("speed_bytes_per_second", &FibreChannelPort::speedBytesPerSecond, Unit::Bytes,
               "Speed of the link; a gigabit is 125,000,000 bytes."),
    host.info("type", &FibreChannelPort::type, "Kind of port and topology."),
    host.info("port_id", &FibreChannelPort::portId, "Address of the port in its fabric."),
    host.info("port_name", &FibreChannelPort::portName, "World-wide name of the port."),
    host.info("node_name", &FibreChannelPort::nodeName, "World-wide name of the node."),
    host.info("fabric_name", &FibreChannelPort::fabricName, "World-wide name of the fabric."),
    host.info("symbolic_name", &FibreChannelPort::symbolicName, "Name for people that the port gives the fabric."),
    host.info("supported_speeds", &FibreChannelPort::supportedSpeeds, "Speeds that the port supports."),
    host.gauge("fastest_bytes_per_second", &FibreChannelPort::fastestBytesPerSecond, Unit::Bytes,
               "The highest speed that the port supports."),
    host.info("supported_classes", &FibreChannelPort::supportedClasses, "Classes of service that it supports."),
    host.gauge("maximum_frame_bytes", &FibreChannelPort::maximumFrameBytes, Unit::Bytes, "Largest frame."),
    host.gauge("device_loss_seconds", &FibreChannelPort::deviceLossSeconds, Unit::Seconds,
               "For how long a remote port may be away before its devices are taken out."),
    host.gauge("virtual_ports", &FibreChannelPort::virtualPorts, Unit::None, "Virtual ports (NPIV) in use."),
    host.gauge("virtual_ports_limit", &FibreChannelPort::virtualPortsAtMost, Unit::None,
               "Virtual ports (NPIV) that there can be."),

    counted.gauge("since_reset_seconds", &FibreChannelPort::secondsSinceReset, Unit::Seconds,
                  "Time since the statistics were reset."),
    counted.counter("transmit_frames_total", &FibreChannelPort::transmitFrames, Unit::None, "Frames sent."),
    counted.counter("transmit_words_total", &FibreChannelPort::transmitWords, Unit::None, "Words of 4 bytes sent."),
    counted.counter("receive_frames_total", &FibreChannelPort::receiveFrames, Unit::None, "Frames received."),
    counted.counter("receive_words_total", &FibreChannelPort::receiveWords, Unit::None, "Words of 4 bytes received."),
    counted.counter("loop_initialisations_total", &FibreChannelPort::loopInitialisations, Unit::None,
                    "Loop initialisation primitives (LIP) seen."),
    counted.counter("not_operational_total", &FibreChannelPort::notOperational, Unit::None,
                    "Not-operational sequences (NOS) seen."),
    counted.counter("error_frames_total", &FibreChannelPort::errorFrames, Unit::None, "Frames with an error."),
    counted.counter("dumped_frames_total", &FibreChannelPort::dumpedFrames, Unit::None,
                    "Frames lost for want of a buffer."),
    counted.counter("link_failures_total", &FibreChannelPort::linkFailures, Unit::None, "Failures of the link."),
    counted.counter("sync_losses_total", &FibreChannelPort::lossesOfSync, Unit::None, "Losses of synchronisation."),
    counted.counter("signal_losses_total", &FibreChannelPort::lossesOfSignal, Unit::None, "Losses of the signal."),
    counted.counter("primitive_sequence_errors_total", &FibreChannelPort::primitiveSequenceErrors, Unit::None,
                    "Errors of the primitive sequence protocol."),
    counted.counter("invalid_transmit_words_total", &FibreChannelPort::invalidTransmitWords, Unit::None,
                    "Invalid transmission words."),
    counted.counter("invalid_crcs_total", &FibreChannelPort::invalidCrcs, Unit::None, "Frames with a wrong checksum."),
    counted.counter("input_requests_total", &FibreChannelPort::inputRequests, Unit::None, "SCSI requests that read."),
    counted.counter("output_requests_total", &FibreChannelPort::outputRequests, Unit::None,
                    "SCSI requests that write."),
    counted.counter("control_requests_total", &FibreChannelPort::controlRequests, Unit::None,
                    "SCSI requests without data."),
    counted.counter("input_megabytes_total", &FibreChannelPort::inputMegabytes, Unit::None,
                    "Megabytes read, of a million bytes or of 2^20 as the driver has it."),
    counted.counter("output_megabytes_total", &FibreChannelPort::outputMegabytes, Unit::None,
                    "Megabytes written, of a million bytes or of 2^20 as the driver has it."),
    counted.counter("packet_aborts_total", &FibreChannelPort::packetAborts, Unit::None, "SCSI requests aborted."),
};

constexpr Entries<FibreChannelEvents> events{Area::FibreChannel, "fibrechannel_events",
                                             "/sys/class/fc_host/*/statistics", provider};
constexpr Entries<FibreChannelEvents> notices =
    events.from("/sys/class/fc_host/*/statistics", "kernel 5.11 and a driver that hears the fabric's notices");

constexpr Field<FibreChannelEvents> eventFields[] = {
    events.label("name", &FibreChannelEvents::name, "Name of the port, such as host0."),
    events.counter("packet_allocation_failures_total", &FibreChannelEvents::packetAllocationFailures, Unit::None,
                   "SCSI requests for which there was no memory."),
    events.counter("frame_allocation_failures_total", &FibreChannelEvents::frameAllocationFailures, Unit::None,
                   "Frames for which there was no memory."),
    events.counter("no_free_exchange_total", &FibreChannelEvents::noFreeExchange, Unit::None,
                   "Times without memory for an exchange."),
    events.counter("no_free_exchange_id_total", &FibreChannelEvents::noFreeExchangeId, Unit::None,
                   "Times without a free exchange id."),
    events.counter("exchange_id_not_found_total", &FibreChannelEvents::exchangeIdNotFound, Unit::None,
                   "Frames of an exchange that is not known."),
    events.counter("exchange_id_busy_total", &FibreChannelEvents::exchangeIdBusy, Unit::None,
                   "Frames of an exchange that was in use."),
    events.counter("sequence_not_found_total", &FibreChannelEvents::sequenceNotFound, Unit::None,
                   "Frames of a sequence that is not known."),
    events.counter("unexpected_responses_total", &FibreChannelEvents::unexpectedResponses, Unit::None,
                   "Responses that were none of basic link services where one was expected."),

    notices.counter("congestion_warnings_total", &FibreChannelEvents::congestionWarnings, Unit::None,
                    "Warning signals of congestion."),
    notices.counter("congestion_alarms_total", &FibreChannelEvents::congestionAlarms, Unit::None,
                    "Alarm signals of congestion."),
    notices.counter("delivery_notices_total", &FibreChannelEvents::deliveryNotices, Unit::None,
                    "Notices of frames that were not delivered."),
    notices.counter("delivery_unknown_total", &FibreChannelEvents::deliveryUnknown, Unit::None,
                    "Those without a known reason."),
    notices.counter("delivery_timeouts_total", &FibreChannelEvents::deliveryTimeouts, Unit::None,
                    "Those because of a timeout."),
    notices.counter("delivery_unable_to_route_total", &FibreChannelEvents::deliveryUnableToRoute, Unit::None,
                    "Those that found no way."),
    notices.counter("delivery_device_specific_total", &FibreChannelEvents::deliveryDeviceSpecific, Unit::None,
                    "Those of a reason that the device has."),
    notices.counter("link_notices_total", &FibreChannelEvents::linkNotices, Unit::None,
                    "Notices of the integrity of a link."),
    notices.counter("link_unknown_total", &FibreChannelEvents::linkUnknown, Unit::None,
                    "Those without a known reason."),
    notices.counter("link_failures_total", &FibreChannelEvents::linkFailures, Unit::None, "Those of link failures."),
    notices.counter("link_sync_losses_total", &FibreChannelEvents::linkLossesOfSync, Unit::None,
                    "Those of losses of synchronisation."),
    notices.counter("link_signal_losses_total", &FibreChannelEvents::linkLossesOfSignal, Unit::None,
                    "Those of losses of the signal."),
    notices.counter("link_primitive_sequence_errors_total", &FibreChannelEvents::linkPrimitiveSequenceErrors,
                    Unit::None, "Those of errors of the primitive sequence protocol."),
    notices.counter("link_invalid_transmit_words_total", &FibreChannelEvents::linkInvalidTransmitWords, Unit::None,
                    "Those of invalid transmission words."),
    notices.counter("link_invalid_crcs_total", &FibreChannelEvents::linkInvalidCrcs, Unit::None,
                    "Those of wrong checksums."),
    notices.counter("link_device_specific_total", &FibreChannelEvents::linkDeviceSpecific, Unit::None,
                    "Those of a reason that the device has."),
    notices.counter("congestion_notices_total", &FibreChannelEvents::congestionNotices, Unit::None,
                    "Notices of congestion."),
    notices.counter("congestion_cleared_total", &FibreChannelEvents::congestionCleared, Unit::None,
                    "Those that it is over."),
    notices.counter("congestion_lost_credit_total", &FibreChannelEvents::congestionLostCredit, Unit::None,
                    "Those of lost credit."),
    notices.counter("congestion_credit_stalls_total", &FibreChannelEvents::congestionCreditStalls, Unit::None,
                    "Those of stalled credit."),
    notices.counter("congestion_oversubscriptions_total", &FibreChannelEvents::congestionOversubscriptions, Unit::None,
                    "Those of oversubscription."),
    notices.counter("congestion_device_specific_total", &FibreChannelEvents::congestionDeviceSpecific, Unit::None,
                    "Those of a reason that the device has."),
};

} // namespace

template<> std::span<const Field<FibreChannelPort>> fieldsOf<FibreChannelPort>() {
    return ports;
}

template<> std::span<const Field<FibreChannelEvents>> fieldsOf<FibreChannelEvents>() {
    return eventFields;
}

} // namespace zel

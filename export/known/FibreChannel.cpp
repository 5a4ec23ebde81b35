// The known names of Fibre Channel ports.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr MetricType counter = MetricType::Counter;

constexpr KnownLabel<FibreChannelPort> labels[] = {{"fc_host", &FibreChannelPort::name}};
constexpr KnownField<FibreChannelPort> fields[] = {
    {&FibreChannelPort::dumpedFrames, "node_fibrechannel_dumped_frames_total", counter,
     "Frames lost for want of a buffer."},
    {&FibreChannelPort::errorFrames, "node_fibrechannel_error_frames_total", counter, "Frames with an error."},
    {&FibreChannelPort::packetAborts, "node_fibrechannel_fcp_packet_aborts_total", counter, "SCSI requests aborted."},
    {&FibreChannelPort::invalidCrcs, "node_fibrechannel_invalid_crc_total", counter, "Frames with a wrong checksum."},
    {&FibreChannelPort::invalidTransmitWords, "node_fibrechannel_invalid_tx_words_total", counter,
     "Invalid transmission words."},
    {&FibreChannelPort::linkFailures, "node_fibrechannel_link_failure_total", counter, "Failures of the link."},
    {&FibreChannelPort::lossesOfSignal, "node_fibrechannel_loss_of_signal_total", counter, "Losses of the signal."},
    {&FibreChannelPort::lossesOfSync, "node_fibrechannel_loss_of_sync_total", counter, "Losses of synchronisation."},
    {&FibreChannelPort::notOperational, "node_fibrechannel_nos_total", counter, "Not-operational sequences seen."},
    {&FibreChannelPort::receiveFrames, "node_fibrechannel_rx_frames_total", counter, "Frames received."},
    {&FibreChannelPort::receiveWords, "node_fibrechannel_rx_words_total", counter, "Words of 4 bytes received."},
    {&FibreChannelPort::secondsSinceReset, "node_fibrechannel_seconds_since_last_reset_total", counter,
     "Seconds since the statistics were reset."},
    {&FibreChannelPort::transmitFrames, "node_fibrechannel_tx_frames_total", counter, "Frames sent."},
    {&FibreChannelPort::transmitWords, "node_fibrechannel_tx_words_total", counter, "Words of 4 bytes sent."},
};
constexpr KnownTable<FibreChannelPort> table{.rows = &Sample::fibreChannelPorts, .labels = labels, .fields = fields};

constexpr KnownLabel<FibreChannelPort> infoLabels[] = {
    {"fc_host", &FibreChannelPort::name},
    {"dev_loss_tmo", &FibreChannelPort::deviceLossSeconds},
    {"port_state", &FibreChannelPort::state},
    {"port_type", &FibreChannelPort::type},
    {"speed", &FibreChannelPort::speed},
    {"supported_classes", &FibreChannelPort::supportedClasses},
    {"supported_speeds", &FibreChannelPort::supportedSpeeds},
    {"symbolic_name", &FibreChannelPort::symbolicName},
};

// Names of the fabric have no 0x there.
struct Number16 {
    std::string_view label;
    Reading<std::string> FibreChannelPort::*member;
};
constexpr Number16 numbers[] = {
    {"fabric_name", &FibreChannelPort::fabricName},
    {"port_id", &FibreChannelPort::portId},
    {"port_name", &FibreChannelPort::portName},
};

void writeInfo(const Sample &sample, MetricSink &sink) {
    constexpr std::string_view prefix = "0x";
    sink.family("node_fibrechannel_info", MetricType::Gauge, "What describes a port.");
    for (const FibreChannelPort &port : sample.fibreChannelPorts) {
        addLabels(std::span<const KnownLabel<FibreChannelPort>>(infoLabels), port, sink);
        for (const Number16 &number : numbers) {
            const Reading<std::string> &text = port.*number.member;
            const std::string_view digits = text ? std::string_view(*text) : std::string_view();
            sink.label(number.label, digits.starts_with(prefix) ? digits.substr(prefix.size()) : digits);
        }
        sink.one();
    }
}

void write(const Sample &sample, MetricSink &sink) {
    writeInfo(sample, sink);
    writeKnown(table, sample, sink);
}

void listFields(KnownFields &known) {
    known.add(table);
    for (const KnownLabel<FibreChannelPort> &label : infoLabels)
        known.add<FibreChannelPort>({label.member});
    for (const Number16 &number : numbers)
        known.add<FibreChannelPort>({number.member});
}

} // namespace

const KnownMetrics knownFibreChannel{Area::FibreChannel, write, listFields};

} // namespace zel

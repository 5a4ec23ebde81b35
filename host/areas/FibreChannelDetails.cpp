// Reads what a Fibre Channel port says of itself.
#include "host/areas/FibreChannelDetails.h"

#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <string>

namespace zel {

namespace {

using Port = FibreChannelPort;
using Events = FibreChannelEvents;

constexpr std::uint64_t bytesPerGigabit = 125000000;
constexpr std::uint64_t notSupported = UINT64_MAX; // what the kernel shows of a statistic that no driver fills

// A file below statistics/, and where its number goes: into one of the two.
struct Statistic {
    std::string_view file;
    Count Port::*port = nullptr;
    Count Events::*events = nullptr;

    Count &of(FibreChannelReading &reading) const {
        return port != nullptr ? reading.port.*port : reading.events.*events;
    }
    const Count &of(const FibreChannelReading &reading) const {
        return port != nullptr ? reading.port.*port : reading.events.*events;
    }
};

constexpr Statistic statistics[] = {
    {"statistics/seconds_since_last_reset", &Port::secondsSinceReset},
    {"statistics/tx_frames", &Port::transmitFrames},
    {"statistics/tx_words", &Port::transmitWords},
    {"statistics/rx_frames", &Port::receiveFrames},
    {"statistics/rx_words", &Port::receiveWords},
    {"statistics/lip_count", &Port::loopInitialisations},
    {"statistics/nos_count", &Port::notOperational},
    {"statistics/error_frames", &Port::errorFrames},
    {"statistics/dumped_frames", &Port::dumpedFrames},
    {"statistics/link_failure_count", &Port::linkFailures},
    {"statistics/loss_of_sync_count", &Port::lossesOfSync},
    {"statistics/loss_of_signal_count", &Port::lossesOfSignal},
    {"statistics/prim_seq_protocol_err_count", &Port::primitiveSequenceErrors},
    {"statistics/invalid_tx_word_count", &Port::invalidTransmitWords},
    {"statistics/invalid_crc_count", &Port::invalidCrcs},
    {"statistics/fcp_input_requests", &Port::inputRequests},
    {"statistics/fcp_output_requests", &Port::outputRequests},
    {"statistics/fcp_control_requests", &Port::controlRequests},
    {"statistics/fcp_input_megabytes", &Port::inputMegabytes},
    {"statistics/fcp_output_megabytes", &Port::outputMegabytes},
    {"statistics/fcp_packet_aborts", &Port::packetAborts},
    {"statistics/fcp_packet_alloc_failures", nullptr, &Events::packetAllocationFailures},
    {"statistics/fcp_frame_alloc_failures", nullptr, &Events::frameAllocationFailures},
    {"statistics/fc_no_free_exch", nullptr, &Events::noFreeExchange},
    {"statistics/fc_no_free_exch_xid", nullptr, &Events::noFreeExchangeId},
    {"statistics/fc_xid_not_found", nullptr, &Events::exchangeIdNotFound},
    {"statistics/fc_xid_busy", nullptr, &Events::exchangeIdBusy},
    {"statistics/fc_seq_not_found", nullptr, &Events::sequenceNotFound},
    {"statistics/fc_non_bls_resp", nullptr, &Events::unexpectedResponses},
    {"statistics/cn_sig_warn", nullptr, &Events::congestionWarnings},
    {"statistics/cn_sig_alarm", nullptr, &Events::congestionAlarms},
    {"statistics/fpin_dn", nullptr, &Events::deliveryNotices},
    {"statistics/fpin_dn_unknown", nullptr, &Events::deliveryUnknown},
    {"statistics/fpin_dn_timeout", nullptr, &Events::deliveryTimeouts},
    {"statistics/fpin_dn_unable_to_route", nullptr, &Events::deliveryUnableToRoute},
    {"statistics/fpin_dn_device_specific", nullptr, &Events::deliveryDeviceSpecific},
    {"statistics/fpin_li", nullptr, &Events::linkNotices},
    {"statistics/fpin_li_failure_unknown", nullptr, &Events::linkUnknown},
    {"statistics/fpin_li_link_failure_count", nullptr, &Events::linkFailures},
    {"statistics/fpin_li_loss_of_sync_count", nullptr, &Events::linkLossesOfSync},
    {"statistics/fpin_li_loss_of_signals_count", nullptr, &Events::linkLossesOfSignal},
    {"statistics/fpin_li_prim_seq_err_count", nullptr, &Events::linkPrimitiveSequenceErrors},
    {"statistics/fpin_li_invalid_tx_word_count", nullptr, &Events::linkInvalidTransmitWords},
    {"statistics/fpin_li_invalid_crc_count", nullptr, &Events::linkInvalidCrcs},
    {"statistics/fpin_li_device_specific", nullptr, &Events::linkDeviceSpecific},
    {"statistics/fpin_cn", nullptr, &Events::congestionNotices},
    {"statistics/fpin_cn_clear", nullptr, &Events::congestionCleared},
    {"statistics/fpin_cn_lost_credit", nullptr, &Events::congestionLostCredit},
    {"statistics/fpin_cn_credit_stall", nullptr, &Events::congestionCreditStalls},
    {"statistics/fpin_cn_oversubscription", nullptr, &Events::congestionOversubscriptions},
    {"statistics/fpin_cn_device_specific", nullptr, &Events::congestionDeviceSpecific},
};
static_assert(std::size(statistics) == FC_STATISTICS);

// What hardly ever changes.
struct Text {
    std::string_view file;
    Reading<std::string> Port::*member;
};
constexpr Text texts[] = {
    {"port_type", &Port::type},
    {"port_id", &Port::portId},
    {"port_name", &Port::portName},
    {"node_name", &Port::nodeName},
    {"fabric_name", &Port::fabricName},
    {"symbolic_name", &Port::symbolicName},
    {"supported_speeds", &Port::supportedSpeeds},
    {"supported_classes", &Port::supportedClasses},
};
struct Figure {
    std::string_view file;
    Count Port::*member;
};
constexpr Figure figures[] = {
    {"maxframe_size", &Port::maximumFrameBytes}, // Sample: 2048 bytes
    {"dev_loss_tmo", &Port::deviceLossSeconds},
    {"npiv_vports_inuse", &Port::virtualPorts},
    {"max_npiv_vports", &Port::virtualPortsAtMost},
};

// Sample: 0x1a
Count statisticIn(DeviceAttributes &files, std::string_view file) {
    if (const int error = files.read(file); error != 0)
        return absenceOf(error);
    const Count value = attributeHexadecimal(files.text().data());
    return value && *value == notSupported ? Count(Absence::Unsupported) : value;
}

Count speedOf(const Reading<std::string> &text) {
    return text ? fibreChannelSpeed(*text) : Count(text.absence());
}

void readNames(DeviceAttributes &files, Port &port) {
    for (const Text &text : texts)
        files.text(text.file, port.*text.member);
    for (const Figure &figure : figures)
        port.*figure.member = files.number(figure.file);
    port.fastestBytesPerSecond = speedOf(port.supportedSpeeds);
}

} // namespace

Count fibreChannelSpeed(std::string_view text) {
    constexpr std::string_view unit = " Gbit";
    std::uint64_t highest = 0;
    while (!text.empty()) {
        const std::string_view each = trimmed(text.substr(0, text.find(',')));
        text.remove_prefix(std::min(text.size(), text.find(',') == text.npos ? text.size() : text.find(',') + 1));
        std::uint32_t gigabits = 0;
        const auto [end, error] = std::from_chars(each.data(), each.data() + each.size(), gigabits);
        if (error == std::errc() && std::string_view(end, each.data() + each.size()) == unit)
            highest = std::max<std::uint64_t>(highest, gigabits);
    }
    return highest > 0 ? Count(highest * bytesPerGigabit) : Count(Absence::Unsupported);
}

int readFibreChannelPort(const HostDirectory &root, std::string_view name, FibreChannelScope scope, bool names,
                         FibreChannelReading &reading) {
    DeviceAttributes files(root, FC_HOST_DIRECTORY, name);
    if (!files.has(""))
        return ENOENT;
    files.text("port_state", reading.port.state);
    files.text("speed", reading.port.speed);
    reading.port.speedBytesPerSecond = speedOf(reading.port.speed);
    for (std::size_t index = 0; index < FC_STATISTICS; ++index) {
        if (scope[index])
            statistics[index].of(reading) = statisticIn(files, statistics[index].file);
    }
    if (names)
        readNames(files, reading.port);
    return 0;
}

void assignFibreChannel(const FibreChannelReading &from, FibreChannelScope scope, bool names, FibreChannelReading &to) {
    to.port.state.assign(from.port.state);
    to.port.speed.assign(from.port.speed);
    to.port.speedBytesPerSecond = from.port.speedBytesPerSecond;
    for (std::size_t index = 0; index < FC_STATISTICS; ++index) {
        if (scope[index])
            statistics[index].of(to) = statistics[index].of(from);
    }
    if (!names)
        return;
    for (const Text &text : texts)
        (to.port.*text.member).assign(from.port.*text.member);
    for (const Figure &figure : figures)
        to.port.*figure.member = from.port.*figure.member;
    to.port.fastestBytesPerSecond = from.port.fastestBytesPerSecond;
}

FibreChannelScope supportedStatistics(const FibreChannelReading &reading) {
    FibreChannelScope supported;
    for (std::size_t index = 0; index < FC_STATISTICS; ++index)
        supported[index] = statistics[index].of(reading).absence() != Absence::Unsupported;
    return supported;
}

} // namespace zel

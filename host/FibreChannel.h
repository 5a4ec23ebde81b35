// Fibre Channel ports of this host, from /sys/class/fc_host. Any user.
//
// A port is its name, such as "host0"; another adapter under an old name has another port name (WWN). Each value is
// read alone: a file that is missing, or that a driver does not fill (all bits set), leaves its own reading out.
//
// Some drivers ask the firmware of the adapter for every one of these files, which takes long and may hang: on this
// host each port is read by a bounded call of its own. Timed out when it does not answer. What a port does not support
// is asked for again, and what hardly changes (names, supported speeds and classes) is read again, every 30 seconds.
// Ports that come are seen within 30 seconds. Below a root directory everything is read in each sample.
//
// Counters start anew when the adapter is reset, or when somebody writes to reset_statistics: rates are not yet then.
// Words are of 4 bytes. What a megabyte is, a million bytes or 2^20, differs from driver to driver.
#pragma once

#include "host/Schema.h"

namespace zel {

struct FibreChannelPort {
    std::string name;                // "host0"
    Reading<std::string> state;      // "Online", "Linkdown"
    Reading<std::string> speed;      // "16 Gbit", "Unknown"
    Count speedBytesPerSecond;       // a gigabit is 125,000,000 bytes; unsupported without a link
    Reading<std::string> type;       // "NPort (fabric via point-to-point)"
    Reading<std::string> portId;     // "0x010200": the address in the fabric
    Reading<std::string> portName;   // "0x1000e0071bce95f2": the WWN of the port
    Reading<std::string> nodeName;   // and that of the node
    Reading<std::string> fabricName; // the WWN of the fabric
    Reading<std::string> symbolicName;
    Reading<std::string> supportedSpeeds; // "4 Gbit, 8 Gbit, 16 Gbit"
    Count fastestBytesPerSecond;          // the highest of them
    Reading<std::string> supportedClasses;
    Count maximumFrameBytes;
    Count deviceLossSeconds; // for how long a remote port may be away before its devices are taken out
    Count virtualPorts, virtualPortsAtMost;

    Count secondsSinceReset; // of the statistics
    Count transmitFrames, transmitWords;
    Count receiveFrames, receiveWords;
    Count loopInitialisations, notOperational; // LIP and NOS
    Count errorFrames, dumpedFrames;
    Count linkFailures, lossesOfSync, lossesOfSignal;
    Count primitiveSequenceErrors, invalidTransmitWords, invalidCrcs;
    Count inputRequests, outputRequests, controlRequests; // of SCSI over Fibre Channel (FCP)
    Count inputMegabytes, outputMegabytes;
    Count packetAborts;
};

/// Rarer events of a port: of exchanges that the host itself keeps (FCoE), and what the fabric notified it of (FPIN,
/// kernel 5.11 and later).
struct FibreChannelEvents {
    std::string name;
    Count packetAllocationFailures, frameAllocationFailures;
    Count noFreeExchange, noFreeExchangeId, exchangeIdNotFound, exchangeIdBusy;
    Count sequenceNotFound, unexpectedResponses;

    Count congestionWarnings, congestionAlarms; // signals of the link
    Count deliveryNotices, deliveryUnknown, deliveryTimeouts, deliveryUnableToRoute, deliveryDeviceSpecific;
    Count linkNotices, linkUnknown, linkFailures, linkLossesOfSync, linkLossesOfSignal;
    Count linkPrimitiveSequenceErrors, linkInvalidTransmitWords, linkInvalidCrcs, linkDeviceSpecific;
    Count congestionNotices, congestionCleared, congestionLostCredit, congestionCreditStalls;
    Count congestionOversubscriptions, congestionDeviceSpecific;
};

template<> std::span<const Field<FibreChannelPort>> fieldsOf<FibreChannelPort>();
template<> std::span<const Field<FibreChannelEvents>> fieldsOf<FibreChannelEvents>();

} // namespace zel

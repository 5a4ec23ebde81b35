// Rates: what two samples of the same host say together, per second and as shares. Pure functions of the samples: no
// clock, no file. Devices and processes are matched by identity; a new one, one whose counter was reset, and the first
// sample are "not yet". A counter that the kernel keeps in 32 bits may wrap once between the samples.
#pragma once

#include "host/Sample.h"

namespace zel {

/// How processors spent the time: shares of 1 that add up to 1. Guests are not part of user and nice here.
struct CpuRates {
    Number user, nice, system, idle, iowait, irq, softirq, steal, guest, guestNice;
    Number busy; // all but idle and iowait
};

struct ProcessorRates {
    std::uint64_t cpu = 0;
    Number user, nice, system, idle, iowait, irq, softirq, steal, guest, guestNice;
    Number busy;
    Number coreThrottles, packageThrottles; // per second
};

/// One block device. Wait times, queue and request sizes as iostat defines them: 0 when there was no request.
struct DiskRates {
    std::string name;
    Number reads, writes, discards, flushes; // per second
    Number readBytes, writtenBytes, discardedBytes;
    Number readsMerged, writesMerged, discardsMerged;
    Number readMergedShare, writeMergedShare, discardMergedShare; // of the requests that were queued
    Number readWaitSeconds, writeWaitSeconds, discardWaitSeconds, flushWaitSeconds;
    Number readRequestBytes, writeRequestBytes, discardRequestBytes;
    Number queueLength;
    Number utilisation; // share of the time with I/O in progress
};

struct InterfaceRates {
    std::string name;
    Number receiveBytes, receivePackets, receiveErrors, receiveDrops, receiveMulticast; // per second
    Number transmitBytes, transmitPackets, transmitErrors, transmitDrops, transmitCollisions;
    Number receiveUtilisation, transmitUtilisation; // shares of the speed
    Number utilisation; // of both directions: the larger share; with half duplex, where they share the line, the sum
};

struct ProcessRates {
    std::uint64_t pid = 0;
    std::string name;
    Number cpu, user, system;        // 1 is one processor
    Number guest;                    // part of user
    Number minorFaults, majorFaults; // per second
    Number readBytes, writtenBytes, cancelledWriteBytes;
    Number readCharacters, writtenCharacters;
    Number readCalls, writeCalls;
    Number delay; // share of the time in which it waited for block I/O
};

/// One Fibre Channel port. The shares are of the speed, which links with the old coding (up to 8 Gbit) use to 0.8 at
/// most.
struct FibreChannelRates {
    std::string name;
    Number transmitBytes, receiveBytes, transmitFrames, receiveFrames; // per second
    Number inputRequests, outputRequests, controlRequests;
    Number inputMegabytes, outputMegabytes;
    Number loopInitialisations, notOperational;
    Number errorFrames, dumpedFrames;
    Number linkFailures, lossesOfSync, lossesOfSignal;
    Number primitiveSequenceErrors, invalidTransmitWords, invalidCrcs;
    Number packetAborts;
    Number transmitUtilisation, receiveUtilisation, utilisation; // the last one: the larger of both
};

/// One NFS mount, all operations together. Means and shares are those of nfsiostat: 0 when there was no operation.
struct NfsMountRates {
    std::string device, mountPoint, type;
    Number operations, sentBytes, receivedBytes; // per second
    Number readBytes, writtenBytes;              // by programs, per second, cached or not
    Number serverReadBytes, serverWrittenBytes;  // from and to the server
    Number retransmissions, timeouts, errors;
    Number retransmissionShare; // retransmissions per operation
    Number operationBytes;      // per operation, sent and received
    Number queueSeconds, roundTripSeconds, executeSeconds;
};

struct NfsOperationRates {
    std::string device, mountPoint, type, operation;
    Number operations, sentBytes, receivedBytes; // per second
    Number retransmissions, timeouts, errors;
    Number retransmissionShare;
    Number operationBytes;
    Number queueSeconds, roundTripSeconds, executeSeconds;
};

struct NfsTransportRates {
    std::string device, mountPoint, type;
    std::uint64_t transport = 0;
    Number sends, receives, badTransactions, connects; // per second
    // How long queues were when a request was sent, on average.
    Number inFlight, backlog, sendingQueue, pendingQueue;
};

/// The growth of any other counter, per second.
struct CounterRate {
    const Family *family = nullptr; // of the counter
    Labels labels;                  // belong to the later sample
    Number perSecond;
};

struct Rates {
    // Compiled once, not in every file that has one: each is as long as the list of members.
    Rates();
    ~Rates();
    Rates(const Rates &);
    Rates(Rates &&) noexcept;
    Rates &operator=(const Rates &);
    Rates &operator=(Rates &&) noexcept;

    double seconds = 0; // between the samples
    CpuRates cpu;
    Rows<ProcessorRates> processors;
    Rows<DiskRates> disks;
    Rows<InterfaceRates> interfaces;
    Rows<ProcessRates> processes;
    Rows<FibreChannelRates> fibreChannelPorts;
    Rows<NfsMountRates> nfsMounts;
    Rows<NfsOperationRates> nfsOperations;
    Rows<NfsTransportRates> nfsTransports;
    Rows<CounterRate> counters; // of the sections that have no struct of rates, in their order
    std::array<bool, AREA_COUNT> asked{};

    /// The rate of the counter `name` of `section`, of its only row or of the one whose first label is `label`, as a
    /// text; unsupported when there is none. `rates.perSecond("vm", "pgfault_total")`
    Number perSecond(std::string_view section, std::string_view name, std::string_view label = {}) const;
};

/// The sections of rates that have structs.
inline constexpr std::tuple RATE_SECTIONS{
    sectionOf(Area::Cpu, "cpu", &Rates::cpu),
    sectionOf(Area::Cpu, "processors", &Rates::processors),
    sectionOf(Area::Disks, "disks", &Rates::disks),
    sectionOf(Area::Interfaces, "interfaces", &Rates::interfaces),
    sectionOf(Area::Processes, "processes", &Rates::processes),
    sectionOf(Area::FibreChannel, "fibrechannel", &Rates::fibreChannelPorts),
    sectionOf(Area::Nfs, "nfs_mounts", &Rates::nfsMounts),
    sectionOf(Area::Nfs, "nfs_operations", &Rates::nfsOperations),
    sectionOf(Area::Nfs, "nfs_transports", &Rates::nfsTransports),
};

/// The same without the types of their rows.
std::span<const AnySection<Rates>> rateSections();

/// The rates between two samples. The result refers to `now` for the labels of `counters`.
Rates between(const Sample &before, const Sample &now);
/// The same into `rates`, whose memory is used again.
void between(const Sample &before, const Sample &now, Rates &rates);

template<> std::span<const Field<CpuRates>> fieldsOf<CpuRates>();
template<> std::span<const Field<ProcessorRates>> fieldsOf<ProcessorRates>();
template<> std::span<const Field<DiskRates>> fieldsOf<DiskRates>();
template<> std::span<const Field<InterfaceRates>> fieldsOf<InterfaceRates>();
template<> std::span<const Field<ProcessRates>> fieldsOf<ProcessRates>();
template<> std::span<const Field<FibreChannelRates>> fieldsOf<FibreChannelRates>();
template<> std::span<const Field<NfsMountRates>> fieldsOf<NfsMountRates>();
template<> std::span<const Field<NfsOperationRates>> fieldsOf<NfsOperationRates>();
template<> std::span<const Field<NfsTransportRates>> fieldsOf<NfsTransportRates>();

} // namespace zel

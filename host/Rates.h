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

/// The growth of any other counter, per second.
struct CounterRate {
    const Family *family = nullptr; // of the counter
    Labels labels;                  // belong to the later sample
    Number perSecond;
};

struct Rates {
    double seconds = 0; // between the samples
    CpuRates cpu;
    Rows<ProcessorRates> processors;
    Rows<DiskRates> disks;
    Rows<InterfaceRates> interfaces;
    Rows<ProcessRates> processes;
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
};

/// The rates between two samples. The result refers to `now` for the labels of `counters`.
Rates between(const Sample &before, const Sample &now);
/// The same into `rates`, whose memory is used again.
void between(const Sample &before, const Sample &now, Rates &rates);

template<> std::span<const Field<CpuRates>> fieldsOf<CpuRates>();
template<> std::span<const Field<ProcessorRates>> fieldsOf<ProcessorRates>();
template<> std::span<const Field<DiskRates>> fieldsOf<DiskRates>();
template<> std::span<const Field<InterfaceRates>> fieldsOf<InterfaceRates>();
template<> std::span<const Field<ProcessRates>> fieldsOf<ProcessRates>();

} // namespace zel

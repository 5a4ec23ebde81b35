// The arithmetic between two readings of a network interface: plain functions over records.
#pragma once

struct _ST_NETWORK;
struct _ST_STATIC_NETWORK;

namespace zel {

/// Clears `result` and copies name and link word of `reading` into it.
void startInterfaceResult(const _ST_STATIC_NETWORK &reading, _ST_NETWORK &result);

/// The thirteen values of `result` from two readings that are `elapsed` seconds apart, by the rules that the header of
/// CMM_NWT_Info gives. Bandwidth and duplex are those of `previous`.
void computeInterfaceRates(const _ST_STATIC_NETWORK &reading, const _ST_STATIC_NETWORK &previous, double elapsed,
                           _ST_NETWORK &result);

/// The seven counters of `reading`, without bandwidth and duplex, into `previous`.
void copyInterfaceCounters(const _ST_STATIC_NETWORK &reading, _ST_STATIC_NETWORK &previous);

} // namespace zel

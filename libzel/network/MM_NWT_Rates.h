// The records of the interface traffic collector and the arithmetic between two readings of an interface.
#pragma once

#include <cstddef>

inline constexpr std::size_t INTERFACE_RECORD_NAME_SIZE = 128;
inline constexpr std::size_t INTERFACE_LINK_SIZE = 16;

/// One raw reading of an interface: counters since it came up.
struct _ST_STATIC_NETWORK {
    char l_strIfName[INTERFACE_RECORD_NAME_SIZE];
    char l_strLinkAlive[INTERFACE_LINK_SIZE]; // link word of the walk
    unsigned long long l_ulInPkt;
    unsigned long long l_ulOutPkt;
    unsigned long long l_ulInByte;
    unsigned long long l_ulOutByte;
    unsigned long long l_ulInErr;
    unsigned long long l_ulOutErr;
    unsigned long long l_ulCollisions;
    unsigned long long l_ulBandWidth; // bits per second, 0: unknown
    unsigned int l_nDuplexFlag;       // DUPLEX_UNKNOWN, DUPLEX_HALF, DUPLEX_FULL
};

/// The previous reading of an interface.
struct _ST_NETWORK_OLD_LIST : _ST_STATIC_NETWORK {};

/// One computed result.
struct _ST_NETWORK {
    char l_strIfName[INTERFACE_RECORD_NAME_SIZE];
    char l_strLinkAlive[INTERFACE_LINK_SIZE];
    double l_dInPkt; // per second, as the next five
    double l_dOutPkt;
    double l_dInByte;
    double l_dOutByte;
    double l_dInErr;
    double l_dOutErr;
    double l_dInErrRate; // per cent
    double l_dOutErrRate;
    double l_dCollisions;    // per second
    double l_dCollisionRate; // per packet sent, whole
    double l_dPortRate;      // per cent of the bandwidth, -1: bandwidth unknown
    double l_dPortRxRate;
    double l_dPortTxRate;
};

using ST_NETTRAFF = _ST_NETWORK;

namespace zel {

/// Clears `result` and copies name and link word of `reading` into it.
void startInterfaceResult(const _ST_STATIC_NETWORK &reading, _ST_NETWORK &result);

/// The thirteen values of `result` from two readings that are `elapsed` seconds apart:
/// - packets and bytes: a counter that fell wrapped once at 32 bits; errors and collisions have no such correction;
/// - a counter that did not move gives exactly 0, whatever `elapsed` is; an `elapsed` of 0 divides by zero;
/// - utilisation from bandwidth and duplex of `previous`: full duplex counts both directions, otherwise the busier one
///   counts; nothing moved counts as one byte, so that an idle link shows a small positive utilisation;
/// - error and collision rates from the counters themselves, as whole quotients: almost always 0. A divisor that
///   wraps to 0 gives 0.
void computeInterfaceRates(const _ST_STATIC_NETWORK &reading, const _ST_STATIC_NETWORK &previous, double elapsed,
                           _ST_NETWORK &result);

/// The seven counters of `reading`, without bandwidth and duplex, into `previous`.
void copyInterfaceCounters(const _ST_STATIC_NETWORK &reading, _ST_STATIC_NETWORK &previous);

} // namespace zel

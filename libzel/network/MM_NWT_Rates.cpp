// Rates, utilisation and error shares of a network interface.
#include "network/MM_NWT_Rates.h"

#include "BandwidthList.h"
#include "MM_NWT_Info.h"
#include "rates/Growth.h"

#include <cstring>

namespace {

constexpr unsigned long long counterWrap = 4294967296; // 2^32
constexpr double bytesPerBit = 0.125;

// The growth of a counter that the kernel may keep in 32 bits.
unsigned long long wrappedGrowth(unsigned long long current, unsigned long long previous) {
    const unsigned long long growth = current - previous;
    return current >= previous ? growth : growth + counterWrap;
}

double percentOfBandwidth(unsigned long long bytes, double elapsed, unsigned long long bandwidth) {
    const unsigned long long counted = bytes == 0 ? 1 : bytes;
    return (static_cast<double>(counted) / elapsed) / (static_cast<double>(bandwidth) * bytesPerBit) * 100;
}

void computeUtilisation(unsigned long long inBytes, unsigned long long outBytes, const _ST_STATIC_NETWORK &previous,
                        double elapsed, _ST_NETWORK &result) {
    const unsigned long long bandwidth = previous.l_ulBandWidth;
    if (bandwidth == 0) {
        result.l_dPortRate = result.l_dPortRxRate = result.l_dPortTxRate = -1.0;
        return;
    }
    unsigned long long traffic = outBytes >= inBytes ? outBytes : inBytes;
    if (previous.l_nDuplexFlag == DUPLEX_FULL) {
        traffic = inBytes + outBytes;
        if (traffic == 0)
            outBytes = 1;
    }
    result.l_dPortRate = percentOfBandwidth(traffic, elapsed, bandwidth);
    result.l_dPortRxRate = percentOfBandwidth(inBytes, elapsed, bandwidth);
    result.l_dPortTxRate = percentOfBandwidth(outBytes, elapsed, bandwidth);
}

// Whole quotient; 0 when either counter is 0 or the divisor wraps to it.
double wholeRatio(unsigned long long events, unsigned long long packets, unsigned long long divisor) {
    if (events == 0 || packets == 0 || divisor == 0)
        return 0.0;
    const unsigned long long quotient = events / divisor;
    return static_cast<double>(quotient);
}

} // namespace

namespace zel {

void startInterfaceResult(const _ST_STATIC_NETWORK &reading, _ST_NETWORK &result) {
    result = {};
    std::memcpy(result.l_strIfName, reading.l_strIfName, sizeof(result.l_strIfName));
    std::memcpy(result.l_strLinkAlive, reading.l_strLinkAlive, sizeof(result.l_strLinkAlive));
}

void computeInterfaceRates(const _ST_STATIC_NETWORK &reading, const _ST_STATIC_NETWORK &previous, double elapsed,
                           _ST_NETWORK &result) {
    const unsigned long long inBytes = wrappedGrowth(reading.l_ulInByte, previous.l_ulInByte);
    const unsigned long long outBytes = wrappedGrowth(reading.l_ulOutByte, previous.l_ulOutByte);
    result.l_dInPkt = zel::perSecond(wrappedGrowth(reading.l_ulInPkt, previous.l_ulInPkt), elapsed);
    result.l_dOutPkt = zel::perSecond(wrappedGrowth(reading.l_ulOutPkt, previous.l_ulOutPkt), elapsed);
    result.l_dInByte = zel::perSecond(inBytes, elapsed);
    result.l_dOutByte = zel::perSecond(outBytes, elapsed);
    result.l_dInErr = zel::perSecond(reading.l_ulInErr - previous.l_ulInErr, elapsed);
    result.l_dOutErr = zel::perSecond(reading.l_ulOutErr - previous.l_ulOutErr, elapsed);
    result.l_dCollisions = zel::perSecond(reading.l_ulCollisions - previous.l_ulCollisions, elapsed);

    computeUtilisation(inBytes, outBytes, previous, elapsed, result);

    result.l_dInErrRate = wholeRatio(reading.l_ulInErr, reading.l_ulInPkt, reading.l_ulInPkt + reading.l_ulInErr) * 100;
    result.l_dOutErrRate =
        wholeRatio(reading.l_ulOutErr, reading.l_ulOutPkt, reading.l_ulOutPkt + reading.l_ulOutErr) * 100;
    result.l_dCollisionRate = wholeRatio(reading.l_ulCollisions, reading.l_ulOutPkt, reading.l_ulOutPkt);
}

void copyInterfaceCounters(const _ST_STATIC_NETWORK &reading, _ST_STATIC_NETWORK &previous) {
    previous.l_ulInPkt = reading.l_ulInPkt;
    previous.l_ulOutPkt = reading.l_ulOutPkt;
    previous.l_ulInByte = reading.l_ulInByte;
    previous.l_ulOutByte = reading.l_ulOutByte;
    previous.l_ulInErr = reading.l_ulInErr;
    previous.l_ulOutErr = reading.l_ulOutErr;
    previous.l_ulCollisions = reading.l_ulCollisions;
}

} // namespace zel

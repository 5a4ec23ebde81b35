// CBandwidthList: bandwidth and duplex of interfaces by name. Operations, ownership and failures: NamedList.
#pragma once

#include "NamedList.h"

inline constexpr int DUPLEX_UNKNOWN = 0;
inline constexpr int DUPLEX_HALF = 1;
inline constexpr int DUPLEX_FULL = 2;

struct _ST_BANDWIDTH_LIST {
    char m_strIFName[NAMED_LIST_NAME_SIZE];
    long m_lBandwidth; // thousands of bits per second
    int m_nDuplex;     // DUPLEX_HALF, DUPLEX_FULL; other values are kept
    _ST_BANDWIDTH_LIST *m_pstNext;
    _ST_BANDWIDTH_LIST *m_pstPrev;
};

struct BandwidthListTexts {
    static void allocationFailed(char (&message)[NAMED_LIST_ERROR_SIZE], int error);
};

class CBandwidthList : public NamedList<_ST_BANDWIDTH_LIST, BandwidthListTexts> {
public:
    /// Adds an interface (NamedList::fAddNode). A null or empty name prints a line on standard output and returns -1.
    int fAddLinkedList(const char *name, long bandwidth, int duplex);
};

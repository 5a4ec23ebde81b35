// CMM_NWT_Info: packets, bytes, errors and collisions per second and port utilisation of every network interface but
// the loopback interface "lo"; bandwidth and duplex of the interfaces; the interface inventory and the extra
// interfaces.
//
// Kernel files: /proc/net/dev (network.h), /proc/net/bonding/<bond>. Bandwidth and duplex come from scripts, once, when
// the object is built. g_nInterfaceStrType chooses the mode:
//   1          text: each pass builds the performance text (m_pstrNetworkInfo) of the interfaces known since the first
//              pass, and leaves the computed results in m_pclList as well; the first pass gives null
//   otherwise  list: each pass yields m_pclList; the first one holds zeros. 0 empties the list before every pass,
//              other values let it grow
// A failed pass gives null. Results belong to the collector, valid until the next pass. One thread, one pass at a time.
//
// Previous readings are never removed. In text mode they are keyed by ELFHash of the name: names with the same hash
// share one. Bandwidth and duplex reach an interface on the first pass only; one that shows up later has none.
#pragma once

#include "BandwidthList.h"
#include "MM_INIT_Info.h"
#include "NetworkExtList.h"
#include "PerfText.h"
#include "SSList.h"
#include "SSUtil.h"

#include <cstddef>
#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <sys/time.h>

namespace zel {
struct NetworkState;
} // namespace zel

inline constexpr std::size_t INTERFACE_PATH_SIZE = 512;
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

class CMM_NWT_Info : public CMM_INIT_Info {
public:
    /// Runs the bandwidth scripts: the one that gives bandwidth and duplex when g_nLinuxBandwidthFlag is 1, otherwise
    /// those that measure interface by interface. Text mode must be set by now: its buffers are made here.
    CMM_NWT_Info();
    ~CMM_NWT_Info();

    CMM_NWT_Info(const CMM_NWT_Info &) = delete;
    CMM_NWT_Info &operator=(const CMM_NWT_Info &) = delete;

    // Passes --------------------------------------------------------------------------------------------------------

    /// One pass; rates are per `elapsed` seconds. `push` below 1 builds the plain table, from 1 on the push text with a
    /// walk of its own; a pass with exactly 0 also appends the extra interfaces that were not seen. Returns m_pclList,
    /// or null as above.
    CSSList *fMGetNetworkStat(double elapsed, int push);
    /// The same over the time since its own last call, with push -1.
    CSSList *fMGetNetworkStat();
    /// The same over the time since the last fSetElapsedTime.
    CSSList *fMGetVelmorNetworkStat(int push);
    /// Measures m_dElapsedTime since its last call (the constructor makes the first). Returns 1.
    int fSetElapsedTime();
    /// The next result of the last pass, or null at the end. A pass starts it anew.
    _ST_NETWORK *fMGetNetworkStatNext();

    // Computation: results in m_pstNetworkInfo -----------------------------------------------------------------------
    //
    // - packets and bytes: a counter that fell wrapped once at 32 bits; errors and collisions have no such correction;
    // - a counter that did not move gives exactly 0, whatever `elapsed` is; an `elapsed` of 0 divides by zero;
    // - utilisation from bandwidth and duplex of the previous reading: full duplex counts both directions, otherwise
    //   the busier one counts; nothing moved counts as one byte, so that an idle link shows a small utilisation above
    //   0;
    // - error and collision rates from the counters themselves, as whole quotients: almost always 0. A divisor that
    //   wraps to 0 gives 0.

    ST_NETTRAFF *fMNetComputeIo(const _ST_STATIC_NETWORK *reading, const _ST_NETWORK_OLD_LIST *previous,
                                double elapsed);
    /// Finds the previous reading itself; without one all values are 0.
    ST_NETTRAFF *fMComputeNetwork(const _ST_STATIC_NETWORK *reading, double elapsed);
    /// The previous reading of list mode with the name of `reading`, or null.
    _ST_STATIC_NETWORK *fMGetOldCompNetwork(const _ST_STATIC_NETWORK *reading);
    /// Updates the counters of the previous reading, or stores the whole reading when there is none. Returns 1.
    int fMSetOldCompNetwork(const _ST_STATIC_NETWORK *reading);
    /// List comparison of records that begin with a name: 1 when the names are equal, else 0.
    static int fCMPInterfaceName(const void *a, const void *b);
    /// 1 when the interface is up or cannot be asked, 0 when it is down. Opens a socket; passes share one.
    int fGetLinkAlive(const char *name);

    // Bandwidth and duplex: fill m_pclBandwidthList; return 1 ---------------------------------------------------------

    /// One script writes lines TORVSC|name|bandwidth|duplex.
    int fGetNewBandwidthDuplex();
    /// One script lists the interfaces, another measures each; a bond is measured through its active member. Duplex is
    /// recorded as half.
    int fGetBandwidth();
    /// One script writes lines of name, blank, bandwidth. Duplex is recorded as half.
    int fGetNewBandwidth();
    /// Writes the active member of bonding interface `bond` into `slave` (at least NAMED_LIST_NAME_SIZE bytes). Returns
    /// 1; -1 when there is none, or when its name does not fit.
    int fGetBondInfo(const char *bond, char *slave);
    /// Copies bandwidth and duplex of the list; leaves both untouched for an unknown name. Returns 1.
    int fReturnBand(const char *name, long *bandwidth, int *duplex);

    // Inventory and extra interfaces (text mode) ----------------------------------------------------------------------

    /// Reads the inventory text and rebuilds the extra interfaces from it when g_nNetworkExtGather is 1. Returns 1, or
    /// -1 without a usable file.
    int fGetInterfaceINV();
    /// The same with the new inventory text.
    int fGetInterfaceNewINV();
    /// 1 when the inventory differs from the last one seen, 0 when it is the same or the first, -1 without a usable
    /// file.
    int fInterfaceChangeCheck();
    /// Has the scheduler run the inventory program. Returns its answer, -1 without a scheduler.
    int fCommandINV(int count);
    /// Removes both inventory files. Returns the result of the second removal.
    int fINVFileRemove();
    /// Rebuilds the extra interfaces from the second fields of the rows of an inventory table. Returns 0.
    int fSetExtNetwork(const char *text);
    /// Marks an extra interface as reported; it stays so until the list is rebuilt. Returns 0.
    int fMatchNicName(const char *name);
    /// Appends a row of "-" values for every extra interface that is not reported. Returns 0.
    int fAddExtNicZEL();

    CSSList *m_pclList;            // results (_ST_NETWORK)
    CSSList *m_pclList_Old;        // previous readings of list mode (_ST_STATIC_NETWORK)
    CSSUtil *m_pclUtil;            // kept for embedding programs
    SSListNode *m_pstNextNode;     // cursor of fMGetNetworkStatNext
    ST_NETTRAFF *m_pstNetworkInfo; // result of the last computation
    timeval m_stOldIoTime;
    timeval m_stOldVelmorIoTime;
    int m_nIfCnt;     // interfaces counted in the last pass
    int m_nFirstFlag; // 0 until the first pass has finished
    char m_strLogMsg[1024];
    PerfSplit m_strSplit;
    PerfSplit m_strPushSplit;
    int m_nInterfaceZELCnt;   // rows of the current pass
    char *m_pStrInterfaceZEL; // one row or header at a time
    int m_nInterfaceZELSize;
    int m_nZELSkipChk;             // 0 until the first text pass was swallowed
    std::string g_stringNetwork;   // the text of the pass
    const char *m_pstrNetworkInfo; // the same, set by text passes
    CBandwidthList *m_pclBandwidthList;
    CNetworkExtList *m_pclNetworkExtList;
    double m_dElapsedTime;
    std::map<int, std::unique_ptr<_ST_NETWORK_OLD_LIST>> m_NetworkMap; // previous readings of text mode
    int m_nInsertFirst;                                                // 0 until the first pass has finished
    char m_strDataPath[INTERFACE_PATH_SIZE];                           // inventory files, relative
    char m_strDataNewPath[INTERFACE_PATH_SIZE];
    char *m_pStrInterfaceINV; // inventory texts
    int m_nInterfaceINVSize;
    char *m_pStrInterfaceNewINV;
    int m_nInterfaceINVNewSize;
    int m_nInterfaceINVCnt;    // 1 after an inventory text was read
    char *m_pstrInterfaceName; // last inventory line of the change check, "1" before the first
    int m_nInterfaceNameSize;
    char *m_pStrRealTimeNICZEL; // kept for embedding programs
    int m_nInterfaceRealZELSize;

private:
    std::unique_ptr<zel::NetworkState> m_state; // of the passes
};

/// Asks a script whether the interface runs "Full Duplex" or "Half Duplex" and writes that into `text` (at least 12
/// bytes). An answer that is less than 301 seconds old (one dated in the future is not) is taken as it is, for whatever
/// interface it was given; otherwise the script is scheduled, or run at once without a scheduler. Returns 1, -1 without
/// an answer.
int fGetDuplex(const char *name, char *text);

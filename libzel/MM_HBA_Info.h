// CMM_HBA_Info: request and megabyte rates of the Fibre Channel ports below /sys/class/fc_host, as one performance
// text, and the HBA card and port inventory that an outside program writes.
//
// Read per port, one read each: port_name, statistics/fcp_{input,output}_{megabytes,requests}, port_state. Rates are
// per second over the time between two gathers; megabytes are counted in whole ones by the kernel, so their rates move
// in steps. The first gather stores the counters and gives no row, and so does the first gather that finds a new port.
// A counter that fell gives 0; a negative rate (the clock was set back) gives -1.
//
// The texts belong to the collector and stay valid until the next call that writes them. Not thread-safe.
#pragma once

#include "MM_INIT_Info.h"
#include "PerfText.h"

#include <cstddef>
#include <map>
#include <string>
#include <sys/time.h>

inline constexpr std::size_t HBA_TEXT_SIZE = 128;        // text fields of a record
inline constexpr std::size_t HBA_LINE_SIZE = 256;        // first line of a kernel file, with its terminator
inline constexpr std::size_t HBA_LOG_MESSAGE_SIZE = 512; //
inline constexpr int HBA_ROW_SIZE = 512;                 // first size of the row buffer
inline constexpr int HBA_INVENTORY_SIZE = 10240;         // first size of the inventory texts

/// One reading of a port, also kept as its previous one.
struct _ST_HBA_OLD_LIST {
    char l_strDevName[HBA_TEXT_SIZE]; // directory below /sys/class/fc_host, such as host3
    char l_strState[HBA_TEXT_SIZE];   // port_state
    char l_strPWWN[HBA_TEXT_SIZE];    // formatted port name
    unsigned long long l_ulInputMB;   // cumulative counters
    unsigned long long l_ulOutputMB;
    unsigned long long l_ulInputCnt;
    unsigned long long l_ulOutputCnt;
};

/// One computed result, per second.
struct _ST_HBA_IO {
    char l_strDevName[HBA_TEXT_SIZE];
    char l_strState[HBA_TEXT_SIZE];
    char l_strPWWN[HBA_TEXT_SIZE];
    double l_fInputMB; // megabytes
    double l_fOutputMB;
    double l_fInputCnt; // requests
    double l_fOutputCnt;
    double l_fIOMega; // input + output megabytes
    double l_fIOPS;   // input + output requests
};
using ST_HBA_IO = _ST_HBA_IO;

class CMM_HBA_Info : public CMM_INIT_Info {
public:
    CMM_HBA_Info();
    ~CMM_HBA_Info();

    CMM_HBA_Info(const CMM_HBA_Info &) = delete;
    CMM_HBA_Info &operator=(const CMM_HBA_Info &) = delete;

    // Rates ---------------------------------------------------------------------------------------------------------

    /// One gather. Always returns -1: judge it by m_nHBACount (rows) and m_const_pstrHBAZelInfo (the table, null before
    /// the first gather that found /sys/class/fc_host). Without that directory the count is 0 and neither the table
    /// pointer nor m_nInsertFirst moves. A file that cannot be read ends the walk: the ports before it are reported.
    int fGatherHBAZel();

    /// Stores the seconds since its previous call, at first since the construction, in m_dElapsedTime. Returns 1.
    int fSetElapsedTime();

    /// The first line of the kernel file `path` without its line feed, as text of at most HBA_LINE_SIZE bytes with its
    /// terminator, or of `size` bytes when `text` is smaller. Returns 1; -1 when the file cannot be opened (logged) or
    /// read or is empty.
    int fGetFileInfoChar(const char *path, char *text, std::size_t size = HBA_LINE_SIZE);
    /// The first line as a hexadecimal number, with or without "0x"; 0 for a line that is none. Returns 1; -1, with
    /// `value` untouched, when the file cannot be opened or read or is empty.
    int fGetFileInfoLong(const char *path, unsigned long long *value);

    /// Appends the port name `wwn` to `text`, a field of HBA_TEXT_SIZE bytes, cut to it: what follows "0x" in upper
    /// case and in pairs joined by "-". A name without "0x" is appended as it is.
    static void fWWNtoString(const char *wwn, char *text);

    /// Fills m_pstIO with the rates from `previous` to `reading` over m_dElapsedTime. Returns 1.
    int fMComputeIo(const _ST_HBA_OLD_LIST *reading, const _ST_HBA_OLD_LIST *previous);

    // Inventory -----------------------------------------------------------------------------------------------------

    /// Take the text after "TORVHBACARD|" of the card file, or "TORVHBAPORT|" of the port file: 1, also when that text
    /// is empty; -1 when there is no such line (the count is then 0). The reasons are logged whenever a logger is
    /// installed.
    int fGatherHBACardInv();
    int fGatherHBAPortInv();
    /// Starts the inventory program: at once with mode 1, otherwise through the command scheduler, under the request
    /// key that the CPU collector uses too. Returns 1, or 0 when it could not be started.
    int fCommandINV(int mode);
    /// Removes the card file, then the port file. Returns the result of the second: 0, or -1 when that failed.
    int fINVFileRemove();

    char m_strLogMsg[HBA_LOG_MESSAGE_SIZE] = {};
    char *m_pStrHBAZel; // one header or row at a time
    int m_nZelLen = HBA_ROW_SIZE;
    char m_strSplit[2][4];
    std::string m_stringHBAZel;                   // the table of the last gather
    const char *m_const_pstrHBAZelInfo = nullptr; // its text
    std::map<int, _ST_HBA_OLD_LIST *> m_HBA_Map;  // owned previous readings, keyed by ELFHash of the directory name
    int m_nInsertFirst = 0;                       // 1 once a gather has walked the directory
    timeval m_stOldIoTime{};                      // time of the last gather
    double m_dElapsedTime = 0;                    // seconds between the last two gathers
    ST_HBA_IO *m_pstIO;                           // owned scratch result
    int m_nHBACount = 0;                          // rows of the last gather
    char m_strCardDataPath[HBA_TEXT_SIZE];
    char m_strPortDataPath[HBA_TEXT_SIZE];
    char *m_pStrHBACardINV; // card inventory
    int m_nHBACardINVSize = HBA_INVENTORY_SIZE;
    int m_nHBAINVCardCnt = 0; // 1 when a record was read
    char *m_pStrHBAPortINV;   // port inventory
    int m_nHBAPortINVSize = HBA_INVENTORY_SIZE;
    int m_nHBAINVPortCnt = 0;
};

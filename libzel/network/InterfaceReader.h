// The walk over the kernel's interface table /proc/net/dev: its records, its parsers and the reader behind the units
// network and push_network.
//
// The table has two header lines and one line per interface; three layouts of it exist (INTERFACE_LAYOUT_...). One
// reader walks it once per sample: open, next until it fails, close. Two readers share nothing, so an ordinary pass and
// a push pass may be under way at the same time; one reader serves one walk at a time. Not thread-safe.
#pragma once

#include <cstddef>
#include <cstdio>
#include <net/if.h>
#include <sys/socket.h>

inline constexpr std::size_t INTERFACE_NAME_SIZE = 16;     // a kernel interface name with its terminator
inline constexpr std::size_t INTERFACE_HARDWARE_SIZE = 32; // text of a hardware address

inline constexpr int INTERFACE_LAYOUT_PACKETS = 1;    // no byte counts (kernel 2.0)
inline constexpr int INTERFACE_LAYOUT_BYTES = 2;      // byte counts (kernel 2.1)
inline constexpr int INTERFACE_LAYOUT_COMPRESSED = 3; // 16 counters (kernel 2.2 and later)

/// Every counter of one interface since it came up. The table fills those that its layout has.
struct user_net_device_stats {
    unsigned long long rx_packets;
    unsigned long long tx_packets;
    unsigned long long rx_bytes;
    unsigned long long tx_bytes;
    unsigned long long rx_errors;
    unsigned long long tx_errors;
    unsigned long long rx_dropped;
    unsigned long long tx_dropped;
    unsigned long long rx_multicast;
    unsigned long long rx_compressed;
    unsigned long long tx_compressed;
    unsigned long long collisions;
    unsigned long long rx_length_errors;
    unsigned long long rx_over_errors;
    unsigned long long rx_crc_errors;
    unsigned long long rx_frame_errors;
    unsigned long long rx_fifo_errors;
    unsigned long long rx_missed_errors;
    unsigned long long tx_aborted_errors;
    unsigned long long tx_carrier_errors;
    unsigned long long tx_fifo_errors;
    unsigned long long tx_heartbeat_errors;
    unsigned long long tx_window_errors;
};

/// One interface. The walk fills name and stats; the rest stays zero and keeps the record's shape for its readers.
struct interface {
    interface *next;
    char name[INTERFACE_NAME_SIZE];
    short type;
    short flags;
    int metric;
    int mtu;
    int tx_queue_len;
    ifmap map;
    sockaddr addr;
    sockaddr dstaddr;
    sockaddr broadaddr;
    sockaddr netmask;
    sockaddr ipxaddr_bb;
    sockaddr ipxaddr_sn;
    sockaddr ipxaddr_e3;
    sockaddr ipxaddr_e2;
    sockaddr ddpaddr;
    sockaddr ecaddr;
    int has_ip;
    int has_ipx_bb;
    int has_ipx_sn;
    int has_ipx_e3;
    int has_ipx_e2;
    int has_ax25;
    int has_ddp;
    int has_econet;
    char hwaddr[INTERFACE_HARDWARE_SIZE];
    int statistics_valid;
    user_net_device_stats stats;
    int keepalive;
    int outfill;
};

namespace zel {

/// The layout that the second header line tells.
int interfaceLayout(const char *headerLine);

/// Copies the interface name at the start of `line` into `name`, cut at its size, and returns where the counters begin.
const char *takeInterfaceName(const char *line, char (&name)[INTERFACE_NAME_SIZE]);

/// Reads the counters of a line. A counter that is missing or malformed stays as it is, with all that follow it.
void parseInterfaceCounters(int layout, const char *text, user_net_device_stats &stats);

/// Hands "4.6(NWT) <what>[<text of errno>]" to a trace sink.
void traceInterfaceError(int (*trace)(const char *message), const char *what);

class InterfaceReader {
public:
    /// Takes the state that the reader's unit publishes, and the sink of its trace messages.
    InterfaceReader(std::FILE *&stream, interface *&record, int &layout, int &socketDescriptor,
                    int (*trace)(const char *message));

    InterfaceReader(const InterfaceReader &) = delete;
    InterfaceReader &operator=(const InterfaceReader &) = delete;

    /// Opens the table behind its header lines. Returns 0, or -1 when the table cannot be opened, or when there is no
    /// socket: then the table stays open until the next open or close. An open walk is closed first.
    int open();

    /// Steps to the next interface. Returns its record (owned by the reader, valid until the next step), or null at the
    /// end of the table or when none is open.
    const interface *next();

    /// Ends the walk, however far it came. Returns 0.
    int close();

private:
    void release();

    // Few reads: the kernel hands out a page of lines at a time, whatever its size.
    static constexpr std::size_t STREAM_BUFFER_SIZE = 65536;

    std::FILE *&m_stream;
    interface *&m_record;
    int &m_layout;
    int &m_socket;
    int (*m_trace)(const char *);
    bool m_open = false; // the published pointers are not reset when the walk ends
    char m_streamBuffer[STREAM_BUFFER_SIZE];
};

/// What both units answer with for one step: copies of the name (at least INTERFACE_NAME_SIZE bytes), the link word
/// (6 characters, no terminator) and seven counters. Returns 0, or -1 without touching anything at the end.
int deliverInterface(const interface *record, char *name, char *link, unsigned long long *rxPackets,
                     unsigned long long *txPackets, unsigned long long *rxBytes, unsigned long long *txBytes,
                     unsigned long long *rxErrors, unsigned long long *txErrors, unsigned long long *collisions);

} // namespace zel

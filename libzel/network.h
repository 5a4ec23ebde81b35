// network: the interface table of the kernel, one interface at a time, and three questions about a single interface.
//
// Kernel file: /proc/net/dev, counters since an interface came up. Call init, then get-next until it returns -1, then
// finish. push_network is the same walk on a state of its own, so a walk here and one there do not disturb each other.
// The state is process-wide: one walk at a time, one thread.
#pragma once

#include <cstddef>
#include <cstdio>
#include <linux/ethtool.h>
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

// State of the walk, for embedding programs to look at. It changes only through the functions below; finish frees what
// `fh` and `ife` point at without resetting them.
extern std::FILE *fh;      // the table, from its third line on; null before the first walk
extern interface *ife;     // the current interface
extern int procnetdev_vsn; // layout of the table (INTERFACE_LAYOUT_...), found anew by every init
extern int skfd;           // datagram socket; -1 when no walk is open

// --- The walk ------------------------------------------------------------------------------------------------------

/// Opens the table. Returns 0; -1 when it cannot be opened or no socket can be (the table then stays open until the
/// next init or finish).
int init_netinfo();

/// The next interface: its name (at least 16 bytes), a link word ("LINKUP" without a terminator, for a zero-filled
/// buffer of at least 16 bytes: every listed interface is reported as up) and seven counters. `spare` is never written.
/// Returns 0; -1 at the end of the table and when none is open.
int get_next_netinfo(char *name, char *link, unsigned long long *rx_packets, unsigned long long *tx_packets,
                     unsigned long long *rx_bytes, unsigned long long *tx_bytes, unsigned long long *rx_errors,
                     unsigned long long *tx_errors, unsigned long long *collisions, unsigned long long *spare);

/// Ends the walk; harmless when none is open. Returns 0.
int fin_netinfo();

// --- One interface -------------------------------------------------------------------------------------------------

/// Writes the name of the hardware type of interface `name` into `type` (at least 33 bytes), "UNKNOWN" for a type
/// without a name. Returns 1; -1 when there is no socket or no such interface, with `type` untouched.
int get_net_type(const char *name, char *type);

/// Writes the 14 raw bytes of the hardware address into `hwaddr`; for Ethernet the first six are the MAC address.
/// Returns 1, or -1 as get_net_type.
int get_net_mac(const char *name, char *hwaddr);

/// Writes the link speed in bits per second, computed in 32 bits: from 2148 Mb/s on it wraps (10000 Mb/s gives
/// 1410065408), and a negative product is widened with its sign. 9999 means a failure of any kind. Returns 1.
int fGetSpeed(const char *name, unsigned long long *speed);

/// The trace sink of this unit: takes a message and writes nothing. Returns 1.
int fWrite_Msg(const char *message);

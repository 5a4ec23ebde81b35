// The walk over the kernel's interface table /proc/net/dev: the reader that the units network and push_network use.
//
// The table has two header lines and one line per interface; three layouts of it exist (INTERFACE_LAYOUT_...). One
// reader walks it once per pass: open, next until it fails, close. Two readers share nothing, so an ordinary pass and a
// push pass may be open at the same time; one reader serves one walk at a time. Not thread-safe.
#pragma once

#include "host/ScopedHandle.h"
#include "kernel/KeptFile.h"
#include "network.h"
#include "network/LineMemory.h"
#include "network/TableLines.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace zel {

/// Hands "4.6(NWT) <what>[<text of errno>]" to a trace sink.
void traceInterfaceError(int (*trace)(const char *message), const char *what);

class InterfaceReader {
public:
    /// Takes the state that the reader's unit publishes, and the sink of its trace messages.
    InterfaceReader(std::FILE *&stream, interface *&record, int &layout, int &socketDescriptor,
                    int (*trace)(const char *message));

    InterfaceReader(const InterfaceReader &) = delete;
    InterfaceReader &operator=(const InterfaceReader &) = delete;

    /// Opens the table and reads its header lines. Returns 0, or -1 when the table cannot be opened, or when there is
    /// no socket: then the table stays open until the next open or close. An open walk is closed first.
    int open();

    /// Steps to the next interface. Returns its record (owned by the reader, valid until the next step), or null at the
    /// end of the table or when none is open.
    const interface *next();

    /// Ends the walk, however far it came. Returns 0.
    int close();

    /// The socket of the walk: open from open() to close(), then -1.
    const int &socket() const { return m_socket; }

private:
    bool openKeptTable(int socket);
    bool openFreshTable();
    bool takeHeader();
    void closeTable();
    void release();

    static constexpr std::size_t STREAM_BUFFER_SIZE = 4096; // for the header lines

    std::FILE *&m_stream;
    interface *&m_record;
    int &m_layout;
    int &m_socket;
    int (*m_trace)(const char *);
    bool m_open = false;         // the published pointers are not reset when the walk ends
    ScopedDescriptor m_file{-1}; // of the open walk, when it is not m_kept
    KeptFile m_kept;
    std::uint64_t m_namespace = 0; // whose table the walk before read, 0: not known
    char m_streamBuffer[STREAM_BUFFER_SIZE];
    TableLines m_lines;
    LineMemory m_memory;
};

/// What one step of either unit gives: copies of the name (at least INTERFACE_NAME_SIZE bytes), the link word
/// (6 characters, no terminator) and seven counters. Returns 0, or -1 without touching anything at the end.
int deliverInterface(const interface *record, char *name, char *link, unsigned long long *rxPackets,
                     unsigned long long *txPackets, unsigned long long *rxBytes, unsigned long long *txBytes,
                     unsigned long long *rxErrors, unsigned long long *txErrors, unsigned long long *collisions);

} // namespace zel

// The lines of a mount in /proc/self/mountstats that RPC writes: its connections and its operations.
#pragma once

#include "host/areas/NfsMountLines.h"

#include <array>

namespace zel {

/// Takes the lines of one mount after each other, and adds the operations up.
class NfsRpcLines {
public:
    explicit NfsRpcLines(NfsMountRows rows) : m_rows(rows) {}

    /// Takes the line at `text`, which is behind its tabs. False when it should be one of these lines and is not what
    /// kernels write; any other line is passed over.
    bool take(const char *text);
    /// To be called behind the last line: gives the mount the sums of its operations. False when one is malformed.
    bool finish();

private:
    static constexpr std::size_t OPERATIONS_LIMIT = 256; // of one mount: NFSv4.2 has 76
    static constexpr std::size_t TRANSPORTS_LIMIT = 64;  // the kernel allows 16 (nconnect)

    bool takeTransport(const char *text);
    bool takeOperation(const char *text);
    void startOperations();

    NfsMountRows m_rows;
    bool m_operations = false;   // the operations have begun
    bool m_secondsKnown = false; // times of connections are seconds, not ticks
    std::size_t m_transports = 0, m_counted = 0;
    std::array<Count, 3> m_milliseconds{Count(0), Count(0),
                                        Count(0)}; // of all operations: queue, round trip, execution
};

} // namespace zel

// Parses the lines of a mount that RPC writes.
#include "host/areas/NfsOperationLines.h"

#include "host/source/LineScan.h"

#include <array>

namespace zel {

namespace {

constexpr double millisecondsPerSecond = 1000;

using T = NfsTransport;

// Where a column goes: a count, or seconds.
struct Column {
    Count T::*count = nullptr;
    Number T::*seconds = nullptr;
};

constexpr Column connecting{nullptr, &T::connectSeconds}, idle{nullptr, &T::idleSeconds};

// Sample: xprt: tcp 832 0 1 0 11 6428 6428 0 12154 0 24 26 5726
constexpr Column tcpColumns[] = {
    {&T::localPort},   {&T::binds},        {&T::connects},        connecting,     idle,
    {&T::sends},       {&T::receives},     {&T::badTransactions}, {&T::inFlight}, {&T::backlog},
    {&T::slotsAtMost}, {&T::sendingQueue}, {&T::pendingQueue}};
// Sample: xprt: udp 832 0 6428 6428 0 12154 0 24 26 5726
constexpr Column udpColumns[] = {{&T::localPort},       {&T::binds},       {&T::sends},   {&T::receives},
                                 {&T::badTransactions}, {&T::inFlight},    {&T::backlog}, {&T::slotsAtMost},
                                 {&T::sendingQueue},    {&T::pendingQueue}};
// As tcp, without a port.
constexpr std::span localColumns = std::span(tcpColumns).subspan(1);
// Sample: xprt: rdma 0 0 1 0 4 72 72 0 72 0 0 5 7 3968 96 0 0 0 0 0 0 12 0 3 0 0 0
constexpr Column rdmaColumns[] = {{&T::localPort},
                                  {&T::binds},
                                  {&T::connects},
                                  connecting,
                                  idle,
                                  {&T::sends},
                                  {&T::receives},
                                  {&T::badTransactions},
                                  {&T::inFlight},
                                  {&T::backlog},
                                  {&T::readChunks},
                                  {&T::writeChunks},
                                  {&T::replyChunks},
                                  {&T::remoteRequestBytes},
                                  {&T::remoteReplyBytes},
                                  {&T::pulledUpBytes},
                                  {&T::fixedUpBytes},
                                  {&T::hardwayRegistrations},
                                  {&T::failedMarshals},
                                  {&T::badReplies},
                                  {&T::callsWithoutMessage},
                                  {&T::regionsRecycled},
                                  {&T::regionsOrphaned},
                                  {&T::regionsAllocated},
                                  {&T::localInvalidations},
                                  {&T::emptySendContexts},
                                  {&T::repliesThatWaited}};

struct Protocol {
    std::string_view name;
    std::span<const Column> columns;
};
constexpr Protocol protocols[] = {
    {"tcp", tcpColumns}, {"udp", udpColumns}, {"rdma", rdmaColumns}, {"local", localColumns}};

bool takeColumn(const char *&cursor, const Column &column, T &transport) {
    if (column.seconds == nullptr) {
        transport.*column.count = takeCount(cursor);
        return (transport.*column.count).has();
    }
    const Count seconds = takeCount(cursor);
    transport.*column.seconds = seconds ? Number(static_cast<double>(*seconds)) : Number(seconds.absence());
    return seconds.has();
}

using Operation = NfsOperation;

// The columns of an operation, in the kernel's order: counts, then times in milliseconds, then errors.
constexpr Count Operation::*counts[] = {&Operation::operations, &Operation::transmissions, &Operation::timeouts,
                                        &Operation::sentBytes, &Operation::receivedBytes};
constexpr Number Operation::*times[] = {&Operation::queueSeconds, &Operation::roundTripSeconds,
                                        &Operation::executeSeconds};
// And of the sums.
constexpr Count NfsMount::*sums[] = {&NfsMount::operations, &NfsMount::transmissions, &NfsMount::timeouts,
                                     &NfsMount::sentBytes, &NfsMount::receivedBytes};
constexpr Number NfsMount::*timeSums[] = {&NfsMount::queueSeconds, &NfsMount::roundTripSeconds,
                                          &NfsMount::executeSeconds};

// A time that the kernel computed to be negative, which some do, is printed as one beyond 63 bits.
Count takeTime(const char *&cursor) {
    const Count milliseconds = takeCount(cursor);
    return milliseconds && *milliseconds > INT64_MAX ? Count(Absence::Malformed) : milliseconds;
}

Number secondsOf(const Count &milliseconds) {
    return milliseconds ? Number(static_cast<double>(*milliseconds) / millisecondsPerSecond)
                        : Number(milliseconds.absence());
}

// One that is not known makes the sum unknown.
void add(const Count &part, Count &sum) {
    std::uint64_t whole = 0;
    if (!sum || !part)
        sum = sum ? Count(part.absence()) : sum;
    else
        sum = __builtin_add_overflow(*sum, *part, &whole) ? Count(Absence::Malformed) : Count(whole);
}

Count difference(const Count &transmissions, const Count &operations) {
    if (!transmissions || !operations)
        return transmissions ? operations : transmissions;
    return *transmissions > *operations ? *transmissions - *operations : 0;
}

} // namespace

bool NfsRpcLines::take(const char *text) {
    constexpr std::string_view version = "RPC iostats version: ", transport = "xprt:\t", operations = "per-op";
    if (endsLine(*text))
        return true;
    if (m_operations)
        return takeOperation(text);
    if (startsWith(text, version)) {
        m_secondsKnown = !startsWith(text + version.size(), "1.0 ");
        return true;
    }
    if (startsWith(text, operations)) {
        startOperations();
        return true;
    }
    return !startsWith(text, transport) || takeTransport(text + transport.size());
}

bool NfsRpcLines::takeTransport(const char *text) {
    if (m_transports == TRANSPORTS_LIMIT)
        return false;
    NfsTransport &row = m_rows.transports.append();
    forget(row, Absence::Unsupported);
    row.device = m_rows.mount.device;
    row.mountPoint = m_rows.mount.mountPoint;
    row.type = m_rows.mount.type;
    row.transport = m_transports++;
    const std::string_view name = takeWord(text);
    row.protocol.set(name);
    for (const Protocol &protocol : protocols) {
        if (protocol.name != name)
            continue;
        bool whole = true;
        for (const Column &column : protocol.columns) {
            if (whole && endsLine(*skipSpaces(text)))
                break; // an older kernel has no more
            whole = takeColumn(text, column, row);
        }
        if (!m_secondsKnown)
            row.connectSeconds = Absence::Unsupported;
        return whole;
    }
    return true; // a kind that is not known has its name
}

// Sample: READ: 1298 1298 0 207680 1210292152 6 79386 79407 0
bool NfsRpcLines::takeOperation(const char *text) {
    const std::string_view word = takeWord(text);
    if (word.size() < 2 || word.back() != ':' || m_counted++ >= OPERATIONS_LIMIT)
        return false;
    Operation &row = m_rows.operations.append();
    bool whole = true, used = false;
    const auto note = [&](const Count &value) {
        whole &= value.has() || value.absence() == Absence::Unsupported;
        used |= value.valueOr(1) != 0 && value.absence() != Absence::Unsupported;
    };
    for (std::size_t index = 0; index < std::size(counts); ++index) {
        row.*counts[index] = takeCount(text);
        note(row.*counts[index]);
        add(row.*counts[index], m_rows.mount.*sums[index]);
    }
    for (std::size_t index = 0; index < std::size(times); ++index) {
        const Count milliseconds = takeTime(text);
        row.*times[index] = secondsOf(milliseconds);
        note(milliseconds);
        add(milliseconds, m_milliseconds[index]);
    }
    row.errors = endsLine(*skipSpaces(text)) ? Count(Absence::Unsupported) : takeCount(text);
    note(row.errors);
    add(row.errors, m_rows.mount.errors);
    row.retransmissions = difference(row.transmissions, row.operations);
    add(row.retransmissions, m_rows.mount.retransmissions);
    if (!used) {
        m_rows.operations.dropLast();
        return true;
    }
    row.device = m_rows.mount.device;
    row.mountPoint = m_rows.mount.mountPoint;
    row.type = m_rows.mount.type;
    row.operation = word.substr(0, word.size() - 1);
    return whole;
}

void NfsRpcLines::startOperations() {
    m_operations = true;
    for (Count NfsMount::*sum : sums)
        m_rows.mount.*sum = 0;
    m_rows.mount.retransmissions = m_rows.mount.errors = 0;
}

bool NfsRpcLines::finish() {
    if (!m_operations)
        return true;
    bool whole = true;
    for (Count NfsMount::*sum : sums)
        whole &= (m_rows.mount.*sum).absence() != Absence::Malformed;
    for (std::size_t index = 0; index < std::size(timeSums); ++index) {
        whole &= m_milliseconds[index].has();
        m_rows.mount.*timeSums[index] = secondsOf(m_milliseconds[index]);
    }
    return whole && m_rows.mount.retransmissions.absence() != Absence::Malformed &&
           m_rows.mount.errors.absence() != Absence::Malformed;
}

} // namespace zel

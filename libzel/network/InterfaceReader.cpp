// Opens the interface table and walks its lines.
#include "network/InterfaceReader.h"

#include "host/HostOpen.h"
#include "network/InterfaceLine.h"
#include "network/LinkEvents.h"
#include "text/LineReader.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <unistd.h>
#include <utility>

namespace {

constexpr const char *tablePath = "/proc/net/dev";
constexpr std::size_t headerLineSize = 512;
constexpr std::size_t traceSize = 512;

// Every interface that the table lists counts as up; who needs the state of the link asks for it.
constexpr char linkWord[] = {'L', 'I', 'N', 'K', 'U', 'P'};

// The path of the table leads to that of the first thread, whichever thread opens it: in this one its namespace is that
// of a socket. 0 when it is not known. A look at the path costs several times as much.
std::uint64_t namespaceOfTable(int socket) {
    std::uint64_t number = 0;
    return gettid() == getpid() && zel::namespaceOf(socket, number) ? number : 0;
}

} // namespace

namespace zel {

void traceInterfaceError(int (*trace)(const char *message), const char *what) {
    char message[traceSize];
    std::snprintf(message, sizeof(message), "4.6(NWT) %s[%s]\n", what, std::strerror(errno));
    trace(message);
}

InterfaceReader::InterfaceReader(std::FILE *&stream, interface *&record, int &layout, int &socketDescriptor,
                                 int (*trace)(const char *message))
    : m_stream(stream), m_record(record), m_layout(layout), m_socket(socketDescriptor), m_trace(trace) {}

int InterfaceReader::open() {
    m_trace("4.6(NWT) ZEL network init_netinfo start\n");
    m_trace("---------------networ info start-----------------\n");
    release();
    ScopedDescriptor ownSocket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)); // also tells the namespace
    const int socketError = errno;
    if (!openKeptTable(ownSocket.get()) && !openFreshTable()) {
        traceInterfaceError(m_trace, "fopen failed ");
        return -1;
    }
    m_record = static_cast<interface *>(std::malloc(sizeof(interface)));
    if (m_record == nullptr) {
        closeTable();
        m_stream = nullptr;
        return -1;
    }
    m_open = true;
    m_lines.start(m_stream);
    m_memory.start();

    m_socket = ownSocket.release();
    if (m_socket < 0) {
        errno = socketError;
        traceInterfaceError(m_trace, "socket error");
        return -1;
    }
    return 0;
}

// Reads from the table that stayed open. False when there is none, or when it does not begin as a table does.
bool InterfaceReader::openKeptTable(int socket) {
    const std::uint64_t last = std::exchange(m_namespace, namespaceOfTable(socket));
    const bool same = m_namespace != 0 && m_namespace == last;
    const int kept = same ? m_kept.descriptorOfSamePlace(tablePath) : m_kept.descriptor(tablePath);
    if (kept < 0)
        return false;
    m_stream = openStreamFromStart(kept, tablePath).release();
    if (m_stream != nullptr && takeHeader())
        return true;
    closeTable();
    m_kept.drop();
    return false;
}

bool InterfaceReader::openFreshTable() {
    m_file = openHostFile(tablePath);
    m_stream = m_file.valid() ? openStreamOver(m_file.get()).release() : nullptr;
    if (m_stream == nullptr) {
        closeTable();
        return false;
    }
    takeHeader();
    return true;
}

// Reads the two header lines, which tell the layout. False when they are missing.
bool InterfaceReader::takeHeader() {
    std::setvbuf(m_stream, m_streamBuffer, _IOFBF, sizeof(m_streamBuffer));
    char header[headerLineSize];
    const bool complete = readLine(m_stream, header) != Line::None && readLine(m_stream, header) != Line::None;
    m_layout = interfaceLayout(complete ? header : "");
    return complete;
}

// A fresh table stays open for the next walk, where it may.
void InterfaceReader::closeTable() {
    if (m_stream != nullptr)
        std::fclose(m_stream);
    if (m_file.valid())
        m_kept.keep(std::move(m_file), tablePath, KeptScope::Namespace);
}

const interface *InterfaceReader::next() {
    if (!m_open || m_stream == nullptr)
        return nullptr;
    std::size_t length = 0;
    const char *line = m_lines.next(length);
    if (line == nullptr)
        return nullptr;
    const LineMemory::Entry &entry = m_memory.next(m_layout, line, length);
    *m_record = {};
    std::memcpy(m_record->name, entry.name, sizeof(m_record->name));
    m_record->stats = entry.stats;
    return m_record;
}

int InterfaceReader::close() {
    release();
    m_trace("---------------networ info end  -----------------\n");
    return 0;
}

void InterfaceReader::release() {
    if (!m_open)
        return;
    m_open = false;
    std::free(m_record);
    closeTable();
    if (m_socket >= 0)
        ::close(m_socket);
    m_socket = -1;
}

int deliverInterface(const interface *record, char *name, char *link, unsigned long long *rxPackets,
                     unsigned long long *txPackets, unsigned long long *rxBytes, unsigned long long *txBytes,
                     unsigned long long *rxErrors, unsigned long long *txErrors, unsigned long long *collisions) {
    if (record == nullptr)
        return -1;
    std::memcpy(name, record->name, std::strlen(record->name) + 1);
    std::memcpy(link, linkWord, sizeof(linkWord));
    *rxPackets = record->stats.rx_packets;
    *txPackets = record->stats.tx_packets;
    *rxBytes = record->stats.rx_bytes;
    *txBytes = record->stats.tx_bytes;
    *rxErrors = record->stats.rx_errors;
    *txErrors = record->stats.tx_errors;
    *collisions = record->stats.collisions;
    return 0;
}

} // namespace zel

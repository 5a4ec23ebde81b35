// Makes rates of the NFS mounts, their operations and their connections, by the definitions of nfsiostat.
#include "host/rates/Growth.h"
#include "host/rates/Matching.h"

namespace zel {

namespace {

template<class One, class Other> bool onSameMount(const One &left, const Other &right) {
    return left.mountPoint == right.mountPoint && left.device == right.device && left.type == right.type;
}

bool sameOperation(const NfsOperation &left, const NfsOperation &right) {
    return left.operation == right.operation && onSameMount(left, right);
}

bool sameTransport(const NfsTransport &left, const NfsTransport &right) {
    return left.transport == right.transport && onSameMount(left, right) && sameReading(left.protocol, right.protocol);
}

// One that was mounted since the earlier sample is younger than that, and it is younger than the earlier one would be.
// Ages are whole seconds.
bool isRemounted(const NfsMount &before, const NfsMount &now, double seconds) {
    constexpr double slack = 0.1, drift = 0.001; // between the reading of the age and that of the clock
    if (!before.ageSeconds || !now.ageSeconds)
        return true;
    const auto earlier = static_cast<double>(*before.ageSeconds), age = static_cast<double>(*now.ageSeconds);
    const double most = slack + drift * seconds;
    return age < earlier || (age <= seconds + most && age < earlier + seconds - 1 - most);
}

bool goesOn(const NfsMount &before, const NfsMount &now, double seconds) {
    const bool fell = before.operations && now.operations && *now.operations < *before.operations;
    return !fell && !isRemounted(before, now, seconds);
}

// What mounts and their operations have alike.
template<class Row, class Rate> void takeOperations(const Row &before, const Row &now, double seconds, Rate &rates) {
    const Number operations = growthOf(before.operations, now.operations);
    const Number sent = growthOf(before.sentBytes, now.sentBytes);
    const Number received = growthOf(before.receivedBytes, now.receivedBytes);
    const Number retransmissions = growthOf(before.retransmissions, now.retransmissions);
    rates.operations = perSecond(operations, seconds);
    rates.sentBytes = perSecond(sent, seconds);
    rates.receivedBytes = perSecond(received, seconds);
    rates.retransmissions = perSecond(retransmissions, seconds);
    rates.timeouts = perSecond(growthOf(before.timeouts, now.timeouts), seconds);
    rates.errors = perSecond(growthOf(before.errors, now.errors), seconds);
    rates.retransmissionShare = quotient(retransmissions, operations);
    rates.operationBytes = quotient(sent && received ? Number(*sent + *received) : sent ? received : sent, operations);
    rates.queueSeconds = quotient(growthOf(before.queueSeconds, now.queueSeconds), operations);
    rates.roundTripSeconds = quotient(growthOf(before.roundTripSeconds, now.roundTripSeconds), operations);
    rates.executeSeconds = quotient(growthOf(before.executeSeconds, now.executeSeconds), operations);
}

Number sumOf(const Number &left, const Number &right) {
    if (!left || !right)
        return left ? right : left;
    return *left + *right;
}

void takeMount(const NfsMount &before, const NfsMount &now, double seconds, NfsMountRates &rates) {
    const auto rate = [&](Count NfsMount::*counter) {
        return perSecond(growthOf(before.*counter, now.*counter), seconds);
    };
    takeOperations(before, now, seconds, rates);
    rates.readBytes = sumOf(rate(&NfsMount::readBytes), rate(&NfsMount::directReadBytes));
    rates.writtenBytes = sumOf(rate(&NfsMount::writtenBytes), rate(&NfsMount::directWrittenBytes));
    rates.serverReadBytes = rate(&NfsMount::serverReadBytes);
    rates.serverWrittenBytes = rate(&NfsMount::serverWrittenBytes);
}

void takeTransport(const NfsTransport &before, const NfsTransport &now, double seconds, NfsTransportRates &rates) {
    const auto growth = [&](Count NfsTransport::*counter) { return growthOf(before.*counter, now.*counter); };
    const Number sends = growth(&NfsTransport::sends);
    rates.sends = perSecond(sends, seconds);
    rates.receives = perSecond(growth(&NfsTransport::receives), seconds);
    rates.badTransactions = perSecond(growth(&NfsTransport::badTransactions), seconds);
    rates.connects = perSecond(growth(&NfsTransport::connects), seconds);
    rates.inFlight = quotient(growth(&NfsTransport::inFlight), sends);
    rates.backlog = quotient(growth(&NfsTransport::backlog), sends);
    rates.sendingQueue = quotient(growth(&NfsTransport::sendingQueue), sends);
    rates.pendingQueue = quotient(growth(&NfsTransport::pendingQueue), sends);
}

template<class Row, class Rate> void nameAs(const Row &row, Rate &rate) {
    rate.device = row.device;
    rate.mountPoint = row.mountPoint;
    rate.type = row.type;
}

// An operation that has a row now and had none was not used before: it grew from nothing.
const NfsOperation &unusedOperation() {
    static const NfsOperation unused = [] {
        NfsOperation none;
        for (Count NfsOperation::*count :
             {&NfsOperation::operations, &NfsOperation::transmissions, &NfsOperation::retransmissions,
              &NfsOperation::timeouts, &NfsOperation::sentBytes, &NfsOperation::receivedBytes, &NfsOperation::errors})
            none.*count = 0;
        none.queueSeconds = none.roundTripSeconds = none.executeSeconds = 0.0;
        return none;
    }();
    return unused;
}

// Goes through the rows of both samples, mount by mount, as the reader wrote them.
class NfsWalk {
public:
    NfsWalk(const Sample &before, const Sample &now, Rates &rates)
        : m_now(now), m_rates(rates), m_seconds(secondsBetween(before, now, Area::Nfs)),
          m_mounts(before.nfsMounts, onSameMount<NfsMount, NfsMount>),
          m_operations(before.nfsOperations, sameOperation), m_transports(before.nfsTransports, sameTransport) {}

    void takeAll() {
        static const NfsMount none{};
        for (const NfsMount &mount : m_now.nfsMounts) {
            const NfsMount *old = m_mounts.of(mount);
            const bool known = old != nullptr && goesOn(*old, mount, m_seconds);
            NfsMountRates &row = m_rates.nfsMounts.append();
            nameAs(mount, row);
            takeMount(known ? *old : none, mount, m_seconds, row);
            while (m_operation < m_now.nfsOperations.size() && onSameMount(m_now.nfsOperations[m_operation], mount))
                takeOperation(known);
            while (m_transport < m_now.nfsTransports.size() && onSameMount(m_now.nfsTransports[m_transport], mount))
                takeTransportRow(known);
        }
        while (m_operation < m_now.nfsOperations.size())
            takeOperation(false);
        while (m_transport < m_now.nfsTransports.size())
            takeTransportRow(false);
    }

private:
    void takeOperation(bool known) {
        static const NfsOperation none{};
        const NfsOperation &operation = m_now.nfsOperations[m_operation++];
        const NfsOperation *old = known ? m_operations.of(operation) : &none;
        NfsOperationRates &row = m_rates.nfsOperations.append();
        nameAs(operation, row);
        row.operation = operation.operation;
        takeOperations(old == nullptr ? unusedOperation() : *old, operation, m_seconds, row);
    }

    void takeTransportRow(bool known) {
        static const NfsTransport none{};
        const NfsTransport &transport = m_now.nfsTransports[m_transport++];
        const NfsTransport *old = known ? m_transports.of(transport) : nullptr;
        NfsTransportRates &row = m_rates.nfsTransports.append();
        nameAs(transport, row);
        row.transport = transport.transport;
        takeTransport(old == nullptr ? none : *old, transport, m_seconds, row);
    }

    template<class Row> using Same = bool (*)(const Row &, const Row &);

    const Sample &m_now;
    Rates &m_rates;
    double m_seconds;
    Earlier<Rows<NfsMount>, Same<NfsMount>> m_mounts;
    Earlier<Rows<NfsOperation>, Same<NfsOperation>> m_operations;
    Earlier<Rows<NfsTransport>, Same<NfsTransport>> m_transports;
    std::size_t m_operation = 0, m_transport = 0; // the next rows of the later sample
};

} // namespace

void takeNfs(const Sample &before, const Sample &now, Rates &rates) {
    NfsWalk(before, now, rates).takeAll();
}

} // namespace zel

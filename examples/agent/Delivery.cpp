// Moves records from the backlog to their destination.
#include "Delivery.h"

namespace agent {

namespace {

constexpr std::chrono::milliseconds pause{100};
constexpr std::chrono::seconds timeAtTheEnd{1};

} // namespace

Delivery::Delivery(Backlog &backlog, std::unique_ptr<Destination> destination)
    : m_backlog(backlog), m_destination(std::move(destination)), m_thread([this] { run(); }) {}

Delivery::~Delivery() {
    m_stop.stopWithin(timeAtTheEnd);
    m_thread.join();
}

void Delivery::run() {
    while (!m_stop.isOver()) {
        if (deliverOldest())
            continue;
        if (m_stop.isRequested())
            break;
        std::this_thread::sleep_for(pause);
    }
    m_backlog.keep();
}

// False when there was nothing to deliver, or it could not be delivered.
bool Delivery::deliverOldest() {
    if (!m_destination->isReady(m_stop)) {
        m_backlog.keep();
        return false;
    }
    Record record;
    if (!m_backlog.next(record, pause))
        return false;
    if (!m_destination->deliver(record, m_stop)) {
        m_backlog.keep();
        return false;
    }
    m_backlog.acknowledge(record.head);
    return true;
}

} // namespace agent

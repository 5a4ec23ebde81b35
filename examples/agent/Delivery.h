// The delivery thread: takes the oldest record of the backlog, delivers it, acknowledges it. What cannot be delivered
// is kept in files until it can, in order, each record at least once.
#pragma once

#include "Backlog.h"
#include "Destination.h"

#include <memory>
#include <thread>

namespace agent {

class Delivery {
public:
    Delivery(Backlog &backlog, std::unique_ptr<Destination> destination);
    /// Gives what waits one more second, then keeps it.
    ~Delivery();

    Delivery(const Delivery &) = delete;
    Delivery &operator=(const Delivery &) = delete;

private:
    void run();
    bool deliverOldest();

    Backlog &m_backlog;
    std::unique_ptr<Destination> m_destination;
    StopTime m_stop;
    std::thread m_thread;
};

} // namespace agent

// Delivers records to a receiver at HOST:PORT, one after another, each answered before the next. A receiver that does
// not take or answer a record for five seconds is left; two seconds after an attempt to connect the next one is made.
// Says once when the receiver cannot be used, and once when it can be used again.
#pragma once

#include "Descriptor.h"
#include "Destination.h"

#include <netdb.h>
#include <string>

namespace agent {

class TcpReceiver : public Destination {
public:
    /// `address` is HOST:PORT, an IPv6 address in brackets. False when it is not of that form.
    static bool isAddress(const std::string &address);

    explicit TcpReceiver(const std::string &address);

    /// A look-up of the host's name is not ended by the stop time; it has the limits of the resolver.
    bool isReady(const StopTime &stop) override;
    bool deliver(const Record &record, const StopTime &stop) override;

private:
    void connectToAny(const StopTime &stop);
    bool connectTo(const addrinfo &address, const StopTime &stop);
    bool send(const std::string &bytes, const StopTime &stop);
    bool receiveAnswer(const std::string &expected, const StopTime &stop);
    void leave(const std::string &reason);

    std::string m_address;
    Descriptor m_socket;
    Clock::time_point m_nextAttempt; // no connection is tried before
    std::string m_problem;           // why the last attempt or delivery failed
    bool m_away = false;             // the problem has been said
};

} // namespace agent

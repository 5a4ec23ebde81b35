// Delivers records to standard output, which gives no answers: what is written is delivered. On a terminal the control
// bytes of a text are blanks, so that nothing that is sampled can give the terminal commands.
#pragma once

#include "Destination.h"

#include <string>

namespace agent {

class StandardOutput : public Destination {
public:
    StandardOutput();

    bool isReady(const StopTime &stop) override;
    bool deliver(const Record &record, const StopTime &stop) override;

private:
    bool write(const std::string &bytes, const StopTime &stop);

    bool m_terminal;
    bool m_closed = false; // a write has failed
};

} // namespace agent

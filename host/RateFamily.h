// The family of the rate of a counter: "faults_total" gives "faults_per_second", "some_seconds_total" gives
// "some_ratio", "consumed_joules_total" gives "consumed_watts".
#pragma once

#include "host/Schema.h"

#include <string>

namespace zel {

class RateFamily {
public:
    explicit RateFamily(const Family &counter);
    RateFamily(const RateFamily &) = delete; // the family has a view of the name
    RateFamily &operator=(const RateFamily &) = delete;

    const Family &family() const { return m_family; }

private:
    std::string m_name;
    Family m_family;
};

} // namespace zel

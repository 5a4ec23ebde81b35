// The units of systemd as metrics, under the names that dashboards know.
//
//   node_systemd_unit_state{name="ssh.service",state="active",type="notify"} 1
//   node_systemd_units{state="failed"} 0
//   zel_systemd_up 1                                       0: systemd did not answer, and there are no other families
//   zel_systemd_units_left_out 0                           units beyond SYSTEMD_UNITS_AT_MOST: counted, not shown
//
// Nothing is written of a host without systemd. Units are asked for on a bounded call: a bus that hangs holds nobody
// longer than SYSTEMD_TIME once, and after a failure SYSTEMD_PAUSE goes by before it is asked again.
#pragma once

#include "export/MetricSink.h"
#include "zel/systemd/UnitBus.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace zel {

inline constexpr std::chrono::milliseconds SYSTEMD_TIME{1000}; // for all that is asked for one page
inline constexpr std::chrono::seconds SYSTEMD_PAUSE{10};       // after a failure

/// Appends the families of a state to a text that has no end yet. Null: systemd did not answer.
void appendSystemdFamilies(const SystemdState *state, MetricFormat format, MetricSink &sink, std::string &out);

/// Belongs to one thread.
class SystemdMetrics {
public:
    using Clock = std::chrono::steady_clock;

    /// `isExpected`: it is a failure when systemd does not answer.
    explicit SystemdMetrics(bool isExpected = isStartedBySystemd());

    /// Asks, for `limit` and SYSTEMD_TIME at most.
    void refresh(std::chrono::milliseconds limit, Clock::time_point now = Clock::now());
    /// Appends what was answered to a text of families, before its end where it has one.
    void append(MetricFormat format, std::string &out);
    /// What is wrong, or that it is no longer, where that is not what it was at the last call.
    std::vector<std::string> newProblems();

private:
    bool m_isExpected;
    std::shared_ptr<UnitBus> m_bus; // of the call that may still run
    std::shared_ptr<const UnitsRead> m_read;
    Clock::time_point m_askAfter{};
    std::string m_problem, m_reported;
    MetricSink m_sink;
};

} // namespace zel

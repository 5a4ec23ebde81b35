// Writes units as metrics.
#include "zel/systemd/SystemdMetrics.h"

#include "threads/BoundedCall.h"

#include <algorithm>
#include <cerrno>

namespace zel {

namespace {

constexpr double microsecondsPerSecond = 1e6;
constexpr std::string_view pageEnd = "# EOF\n"; // of OpenMetrics

void writeHost(const SystemdState &state, MetricSink &sink) {
    sink.family("node_systemd_version", MetricType::Gauge, "Version of systemd; the label has it in full.");
    if (const auto number = systemdVersionNumber(state.version))
        sink.label("version", state.version).value(*number);
    sink.family("node_systemd_system_running", MetricType::Gauge,
                "1 when systemd calls the whole system running; 0 when it is starting, stopping or degraded.");
    if (!state.systemState.empty())
        sink.value(std::uint64_t{state.systemState == "running" ? 1U : 0U});
    sink.family("node_systemd_units", MetricType::Gauge, "Units of every kind by their state.");
    for (const auto &[name, count] : state.units)
        sink.label("state", name).value(count);
}

void writeUnitStates(const SystemdState &state, MetricSink &sink) {
    sink.family("node_systemd_unit_state", MetricType::Gauge, "1 for the state that the unit is in.");
    for (const SystemdUnit &unit : state.shown) {
        for (const std::string_view name : SYSTEMD_STATES) {
            sink.label("name", unit.name).label("state", name).label("type", unit.serviceType);
            sink.value(std::uint64_t{unit.activeState == name ? 1U : 0U});
        }
    }
}

void writeTriggers(const SystemdState &state, MetricSink &sink) {
    for (const SystemdUnit &unit : state.shown) {
        if (unit.lastTriggerMicroseconds)
            sink.label("name", unit.name)
                .value(static_cast<double>(*unit.lastTriggerMicroseconds) / microsecondsPerSecond);
    }
}

void writeCounts(const SystemdState &state, std::optional<std::uint64_t> SystemdUnit::*member, MetricSink &sink) {
    for (const SystemdUnit &unit : state.shown) {
        if (unit.*member)
            sink.label("name", unit.name).value(*(unit.*member));
    }
}

void writeUnitNumbers(const SystemdState &state, MetricSink &sink) {
    sink.family("node_systemd_timer_last_trigger_seconds", MetricType::Gauge,
                "When the timer elapsed last, in seconds since 1970; 0: never.");
    writeTriggers(state, sink);
    sink.family("node_systemd_socket_accepted_connections_total", MetricType::Counter,
                "Connections that the socket unit has accepted.");
    writeCounts(state, &SystemdUnit::accepted, sink);
    sink.family("node_systemd_socket_current_connections", MetricType::Gauge,
                "Connections of the socket unit that are open.");
    writeCounts(state, &SystemdUnit::current, sink);
    sink.family("node_systemd_socket_refused_connections_total", MetricType::Gauge,
                "Connections that the socket unit has refused, because there were too many.");
    writeCounts(state, &SystemdUnit::refused, sink);
}

} // namespace

void appendSystemdFamilies(const SystemdState *state, MetricFormat format, MetricSink &sink, std::string &out) {
    sink.start(format, out);
    if (state != nullptr) {
        writeHost(*state, sink);
        writeUnitStates(*state, sink);
        writeUnitNumbers(*state, sink);
        sink.family("zel_systemd_units_left_out", MetricType::Gauge,
                    "Units that have no series of their own, because there are too many.");
        sink.value(std::uint64_t{state->leftOut});
    }
    sink.family("zel_systemd_up", MetricType::Gauge, "1 when systemd answered when it was asked for its units.");
    sink.value(std::uint64_t{state != nullptr ? 1U : 0U});
}

SystemdMetrics::SystemdMetrics(bool isExpected) : m_isExpected(isExpected), m_bus(std::make_shared<UnitBus>()) {}

void SystemdMetrics::refresh(std::chrono::milliseconds limit, Clock::time_point now) {
    if (now < m_askAfter)
        return;
    const std::chrono::milliseconds most = std::min(limit, SYSTEMD_TIME);
    using Answer = std::shared_ptr<const UnitsRead>;
    BoundedCall<Answer> call("units of systemd", most, [bus = m_bus, most](Answer &answer) {
        answer = std::make_shared<const UnitsRead>(bus->read(most));
        return answer->error == ETIMEDOUT ? ETIMEDOUT : 0;
    });
    const int error = call.wait().error;
    m_read = error == 0 ? call.answer() : nullptr;
    m_problem.clear();
    if (m_read == nullptr)
        m_problem = "does not answer";
    else if (m_read->error != 0)
        m_problem = m_read->problem;
    if (!m_problem.empty() || (m_read != nullptr && m_read->error != 0))
        m_askAfter = now + SYSTEMD_PAUSE;
}

void SystemdMetrics::append(MetricFormat format, std::string &out) {
    const bool isRead = m_read != nullptr && m_read->error == 0;
    if (!isRead && !m_isExpected)
        return;
    const bool hasEnd = format == MetricFormat::OpenMetrics && out.ends_with(pageEnd);
    out.resize(out.size() - (hasEnd ? pageEnd.size() : 0));
    appendSystemdFamilies(isRead ? &m_read->state : nullptr, format, m_sink, out);
    if (hasEnd)
        out += pageEnd;
}

std::vector<std::string> SystemdMetrics::newProblems() {
    if (!m_isExpected || m_problem == m_reported)
        return {};
    m_reported = m_problem;
    return {"systemd: " + (m_problem.empty() ? "it answers again" : m_problem)};
}

} // namespace zel

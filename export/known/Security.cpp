// The known names of SELinux.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr MetricType gauge = MetricType::Gauge;

// 1 enforces, 0 reports only, -1 is disabled.
Number modeNumber(const Reading<std::string> &mode) {
    if (!mode)
        return mode.absence();
    return *mode == "enforcing" ? 1.0 : *mode == "permissive" ? 0.0 : -1.0;
}

void write(const Sample &sample, MetricSink &sink) {
    const SecurityModules &security = sample.securityModules;
    sink.family("node_selinux_enabled", gauge, "1 when SELinux is enabled.");
    sink.value(security.selinuxEnabled);
    sink.family("node_selinux_config_mode", gauge, "Mode of the next boot: 1 enforcing, 0 permissive, -1 disabled.");
    sink.value(modeNumber(security.selinuxConfigured));
    sink.family("node_selinux_current_mode", gauge, "Mode now: 1 enforcing, 0 permissive.");
    sink.value(security.selinuxEnforcing);
}

void listFields(KnownFields &known) {
    known.add<SecurityModules>(
        {&SecurityModules::selinuxEnabled, &SecurityModules::selinuxEnforcing, &SecurityModules::selinuxConfigured});
}

} // namespace

const KnownMetrics knownSecurity{Area::Limits, write, listFields};

} // namespace zel

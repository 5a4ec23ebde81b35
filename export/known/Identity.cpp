// The known names of which host this is.
#include "export/known/Known.h"

namespace zel {

namespace {

// What the kernel gives as the domain when none is set.
constexpr std::string_view noDomain = "(none)";

void write(const Sample &sample, MetricSink &sink) {
    const Identity &identity = sample.identity;
    if (!identity.kernelName)
        return;
    sink.family("node_uname_info", MetricType::Gauge, "What the kernel says of itself and of its host (uname).");
    sink.label("domainname", identity.domainName ? std::string_view(*identity.domainName) : noDomain)
        .label("machine", identity.architecture)
        .label("nodename", identity.hostName)
        .label("release", identity.kernelRelease)
        .label("sysname", identity.kernelName)
        .label("version", identity.kernelVersion)
        .one();
}

void listFields(KnownFields &known) {
    known.add<Identity>({&Identity::domainName, &Identity::architecture, &Identity::hostName, &Identity::kernelRelease,
                         &Identity::kernelName, &Identity::kernelVersion});
}

} // namespace

const KnownMetrics knownIdentity{Area::Identity, write, listFields};

} // namespace zel

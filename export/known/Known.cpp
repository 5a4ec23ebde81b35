// The list of the files of this folder.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr const KnownMetrics *all[] = {
    &knownIdentity,  &knownProcessors, &knownLoad,        &knownPressure,         &knownMemory,  &knownVm,
    &knownActivity,  &knownDisks,      &knownFilesystems, &knownInterfaceTraffic, &knownSensors, &knownTime,
    &knownProtocols, &knownSockets,    &knownPacketPath,  &knownLimits,
};

} // namespace

std::span<const KnownMetrics *const> knownMetrics() {
    return all;
}

} // namespace zel

// The list of the files of this folder.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr const KnownMetrics *all[] = {
    &knownIdentity,
    &knownProcessors,
    &knownLoad,
    &knownPressure,
    &knownMemory,
    &knownVm,
    &knownActivity,
    &knownDisks,
    &knownFilesystems,
    &knownInterfaceTraffic,
    &knownInterfaceAttributes,
    &knownInfiniband,
    &knownSensors,
    &knownTime,
    &knownProtocols,
    &knownSockets,
    &knownPacketPath,
    &knownIpvs,
    &knownLimits,
    &knownBtrfs,
    &knownXfs,
    &knownZfs,
    &knownEdac,
    &knownThermal,
    &knownPowerSupplies,
    &knownPowerZones,
    &knownFibreChannel,
    &knownNfs,
    &knownDistribution,
    &knownProcessorDetails,
    &knownUdevDisks,
    &knownStorageDevices,
    &knownBcache,
    &knownDriverSettings,
    &knownSecurity,
};

} // namespace

std::span<const KnownMetrics *const> knownMetrics() {
    return all;
}

} // namespace zel

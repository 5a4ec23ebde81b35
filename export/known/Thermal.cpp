// The known names of thermal zones and of what cools them.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr MetricType gauge = MetricType::Gauge;

constexpr KnownLabel<ThermalZone> zoneLabels[] = {{"type", &ThermalZone::type}, {"zone", &ThermalZone::zone}};
constexpr KnownField<ThermalZone> zoneFields[] = {
    {&ThermalZone::temperature, "node_thermal_zone_temp", gauge, "Temperature in degrees Celsius."},
};
constexpr KnownTable<ThermalZone> zones{.rows = &Sample::thermalZones, .labels = zoneLabels, .fields = zoneFields};

constexpr KnownLabel<CoolingDevice> deviceLabels[] = {{"name", &CoolingDevice::device}, {"type", &CoolingDevice::type}};
constexpr KnownField<CoolingDevice> deviceFields[] = {
    {&CoolingDevice::state, "node_cooling_device_cur_state", gauge, "How strongly it cools: 0 is not at all."},
    {&CoolingDevice::maxState, "node_cooling_device_max_state", gauge, "The most that it can."},
};
constexpr KnownTable<CoolingDevice> devices{
    .rows = &Sample::coolingDevices, .labels = deviceLabels, .fields = deviceFields};

void write(const Sample &sample, MetricSink &sink) {
    writeKnown(zones, sample, sink);
    writeKnown(devices, sample, sink);
}

void listFields(KnownFields &known) {
    known.add(zones);
    known.add(devices);
}

} // namespace

const KnownMetrics knownThermal{Area::Sensors, write, listFields};

} // namespace zel

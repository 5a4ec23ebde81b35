// The fields of thermal zones and of cooling devices.
#include "host/Thermal.h"

namespace zel {

namespace {

constexpr std::string_view thermal = "/sys/class/thermal";
constexpr std::string_view firmware = "firmware or a driver that tells the kernel of one (CONFIG_THERMAL=y)";

constexpr Entries<ThermalZone> zone{Area::Sensors, "thermal_zones", thermal, firmware};
constexpr Field<ThermalZone> zoneFields[] = {
    zone.label("zone", &ThermalZone::zone, "Number of the zone."),
    zone.label("type", &ThermalZone::type, "Kind of zone, such as x86_pkg_temp or acpitz."),
    zone.gauge("temperature_celsius", &ThermalZone::temperature, Unit::Celsius, "Temperature."),
    zone.gauge("critical_celsius", &ThermalZone::critical, Unit::Celsius, "From this on the machine is switched off."),
    zone.gauge("hot_celsius", &ThermalZone::hot, Unit::Celsius, "From this on firmware or drivers are told."),
    zone.gauge("passive_celsius", &ThermalZone::passive, Unit::Celsius, "From this on processors are slowed down."),
    zone.gauge("active_celsius", &ThermalZone::active, Unit::Celsius, "From this on fans are switched on."),
    zone.state("mode", &ThermalZone::mode, "Whether the kernel watches it: enabled or disabled."),
    zone.info("policy", &ThermalZone::policy, "How the kernel chooses what to do."),
};

constexpr Entries<CoolingDevice> cooling{Area::Sensors, "cooling_devices", thermal, firmware};
constexpr Field<CoolingDevice> coolingFields[] = {
    cooling.label("device", &CoolingDevice::device, "Number of the device."),
    cooling.label("type", &CoolingDevice::type, "Kind of device, such as Processor or Fan."),
    cooling.gauge("state", &CoolingDevice::state, Unit::None, "How strongly it cools: 0 is not at all."),
    cooling.gauge("max_state", &CoolingDevice::maxState, Unit::None, "The most that it can."),
};

} // namespace

template<> std::span<const Field<ThermalZone>> fieldsOf<ThermalZone>() {
    return zoneFields;
}

template<> std::span<const Field<CoolingDevice>> fieldsOf<CoolingDevice>() {
    return coolingFields;
}

} // namespace zel

// The fields of power supplies and of power zones.
#include "host/PowerSupply.h"

namespace zel {

namespace {

constexpr Entries<PowerSupply> supply{Area::Sensors, "power_supplies", "/sys/class/power_supply",
                                      "a driver of the supply (CONFIG_POWER_SUPPLY=y)"};
constexpr Field<PowerSupply> supplyFields[] = {
    supply.label("supply", &PowerSupply::supply, "Name of the supply."),
    supply.info("type", &PowerSupply::type, "Battery, Mains, UPS, USB or Wireless."),
    supply.info("scope", &PowerSupply::scope, "System, or Device for one that feeds a device alone."),
    supply.info("manufacturer", &PowerSupply::manufacturer, "Manufacturer."),
    supply.info("model_name", &PowerSupply::model, "Model."),
    supply.info("serial_number", &PowerSupply::serial, "Serial number."),
    supply.info("technology", &PowerSupply::technology, "Chemistry of a battery."),
    supply.info("usb_type", &PowerSupply::usbType, "Kinds of USB supply; the one in use is in brackets."),
    supply.state("status", &PowerSupply::status, "Charging, Discharging, Not charging, Full or Unknown."),
    supply.state("health", &PowerSupply::health, "Good, or what is wrong with it."),
    supply.state("capacity_level", &PowerSupply::capacityLevel, "Critical, Low, Normal, High or Full."),
    supply.state("charge_type", &PowerSupply::chargeType, "How it is charged."),
    supply.state("online", &PowerSupply::online,
                 "1 when it feeds the machine; 2 when it does by a programmable supply."),
    supply.state("present", &PowerSupply::present, "1 when it is there."),
    supply.state("authentic", &PowerSupply::authentic, "1 when it is known to be genuine."),
    supply.state("calibrate", &PowerSupply::calibrate, "1 while it is calibrated."),
    supply.counter("cycles_total", &PowerSupply::cycles, Unit::None, "How often it was charged and discharged."),
    supply.gauge("capacity_ratio", &PowerSupply::capacity, Unit::Ratio, "How full it is."),
    supply.gauge("capacity_alert_min_ratio", &PowerSupply::capacityAlertMin, Unit::Ratio,
                 "Below this it gives an alert."),
    supply.gauge("capacity_alert_max_ratio", &PowerSupply::capacityAlertMax, Unit::Ratio,
                 "Above this it gives an alert."),
    supply.gauge("charge_start_ratio", &PowerSupply::chargeStart, Unit::Ratio, "Below this it begins to charge."),
    supply.gauge("charge_end_ratio", &PowerSupply::chargeEnd, Unit::Ratio, "At this it ends charging."),
    supply.gauge("charge_control_limit", &PowerSupply::chargeControlLimit, Unit::None,
                 "How far charging is held back."),
    supply.gauge("charge_control_limit_max", &PowerSupply::chargeControlLimitMax, Unit::None, "Highest value of that."),
    supply.gauge("energy_joules", &PowerSupply::energy, Unit::Joules, "Energy in it."),
    supply.gauge("energy_average_joules", &PowerSupply::energyAverage, Unit::Joules, "Average of that."),
    supply.gauge("energy_full_joules", &PowerSupply::energyFull, Unit::Joules, "Energy in it when it was full last."),
    supply.gauge("energy_full_design_joules", &PowerSupply::energyFullDesign, Unit::Joules,
                 "Energy in it when it was new and full."),
    supply.gauge("energy_empty_joules", &PowerSupply::energyEmpty, Unit::Joules,
                 "Energy in it at which it counts as empty."),
    supply.gauge("charge_coulombs", &PowerSupply::charge, Unit::Coulombs, "Charge in it."),
    supply.gauge("charge_average_coulombs", &PowerSupply::chargeAverage, Unit::Coulombs, "Average of that."),
    supply.gauge("charge_full_coulombs", &PowerSupply::chargeFull, Unit::Coulombs,
                 "Charge in it when it was full last."),
    supply.gauge("charge_full_design_coulombs", &PowerSupply::chargeFullDesign, Unit::Coulombs,
                 "Charge in it when it was new and full."),
    supply.gauge("charge_empty_coulombs", &PowerSupply::chargeEmpty, Unit::Coulombs,
                 "Charge in it at which it counts as empty."),
    supply.gauge("charge_counter_coulombs", &PowerSupply::chargeCounter, Unit::Coulombs,
                 "Charge that went in less what came out, from any beginning."),
    supply.gauge("voltage_volts", &PowerSupply::voltage, Unit::Volts, "Voltage."),
    supply.gauge("voltage_average_volts", &PowerSupply::voltageAverage, Unit::Volts, "Average of that."),
    supply.gauge("voltage_open_volts", &PowerSupply::voltageOpen, Unit::Volts,
                 "Voltage that it would have without a load."),
    supply.gauge("voltage_boot_volts", &PowerSupply::voltageBoot, Unit::Volts, "Voltage at the boot."),
    supply.gauge("voltage_min_volts", &PowerSupply::voltageMin, Unit::Volts, "Lowest voltage."),
    supply.gauge("voltage_max_volts", &PowerSupply::voltageMax, Unit::Volts, "Highest voltage."),
    supply.gauge("voltage_min_design_volts", &PowerSupply::voltageMinDesign, Unit::Volts,
                 "Lowest voltage that it is made for."),
    supply.gauge("voltage_max_design_volts", &PowerSupply::voltageMaxDesign, Unit::Volts,
                 "Highest voltage that it is made for."),
    supply.gauge("constant_charge_voltage_volts", &PowerSupply::constantChargeVoltage, Unit::Volts,
                 "Voltage at which it is charged."),
    supply.gauge("constant_charge_voltage_max_volts", &PowerSupply::constantChargeVoltageMax, Unit::Volts,
                 "Highest value of that."),
    supply.gauge("current_amperes", &PowerSupply::current, Unit::Amperes,
                 "Current; many drivers give a negative one while it discharges."),
    supply.gauge("current_average_amperes", &PowerSupply::currentAverage, Unit::Amperes, "Average of that."),
    supply.gauge("current_boot_amperes", &PowerSupply::currentBoot, Unit::Amperes, "Current at the boot."),
    supply.gauge("current_max_amperes", &PowerSupply::currentMax, Unit::Amperes, "Highest current."),
    supply.gauge("input_current_limit_amperes", &PowerSupply::inputCurrentLimit, Unit::Amperes,
                 "Highest current that it takes."),
    supply.gauge("constant_charge_current_amperes", &PowerSupply::constantChargeCurrent, Unit::Amperes,
                 "Current at which it is charged."),
    supply.gauge("constant_charge_current_max_amperes", &PowerSupply::constantChargeCurrentMax, Unit::Amperes,
                 "Highest value of that."),
    supply.gauge("precharge_current_amperes", &PowerSupply::prechargeCurrent, Unit::Amperes,
                 "Current at which an empty one is charged first."),
    supply.gauge("charge_term_current_amperes", &PowerSupply::chargeTermCurrent, Unit::Amperes,
                 "Current below which it counts as full."),
    supply.gauge("power_watts", &PowerSupply::power, Unit::Watts, "Power."),
    supply.gauge("power_average_watts", &PowerSupply::powerAverage, Unit::Watts, "Average of that."),
    supply.gauge("temperature_celsius", &PowerSupply::temperature, Unit::Celsius, "Temperature."),
    supply.gauge("ambient_celsius", &PowerSupply::ambient, Unit::Celsius, "Temperature around it."),
    supply.gauge("temperature_min_celsius", &PowerSupply::temperatureMin, Unit::Celsius,
                 "Lowest temperature at which it works."),
    supply.gauge("temperature_max_celsius", &PowerSupply::temperatureMax, Unit::Celsius,
                 "Highest temperature at which it works."),
    supply.gauge("temperature_alert_min_celsius", &PowerSupply::temperatureAlertMin, Unit::Celsius,
                 "Below this it gives an alert."),
    supply.gauge("temperature_alert_max_celsius", &PowerSupply::temperatureAlertMax, Unit::Celsius,
                 "Above this it gives an alert."),
    supply.gauge("time_to_empty_seconds", &PowerSupply::timeToEmpty, Unit::Seconds, "Time until it is empty."),
    supply.gauge("time_to_empty_average_seconds", &PowerSupply::timeToEmptyAverage, Unit::Seconds,
                 "The same by the average current."),
    supply.gauge("time_to_full_seconds", &PowerSupply::timeToFull, Unit::Seconds, "Time until it is full."),
    supply.gauge("time_to_full_average_seconds", &PowerSupply::timeToFullAverage, Unit::Seconds,
                 "The same by the average current."),
};

constexpr Entries<PowerZone> zone{Area::Sensors, "power_zones", "/sys/class/powercap",
                                  "module intel_rapl_msr, on processors that count what they consume"};
constexpr Field<PowerZone> zoneFields[] = {
    zone.label("zone", &PowerZone::zone, "Directory of the zone; what follows its last colon is a part of the rest."),
    zone.label("name", &PowerZone::name, "What it measures: package-0, core, uncore, dram, psys."),
    zone.needing(Rights::Root, zone.wrapping(&PowerZone::consumedRange,
                                             zone.counter("consumed_joules_total", &PowerZone::consumed, Unit::Joules,
                                                          "Energy that was consumed; begins again at 0 when it comes "
                                                          "to consumed_range_joules."))),
    zone.gauge("consumed_range_joules", &PowerZone::consumedRange, Unit::Joules, "Where that begins again."),
    zone.state("enabled", &PowerZone::enabled, "1 when its limits are kept."),
    zone.info("constraint_0", &PowerZone::constraint0, "Name of its first limit."),
    zone.info("constraint_1", &PowerZone::constraint1, "Name of its second limit."),
    zone.info("constraint_2", &PowerZone::constraint2, "Name of its third limit."),
    zone.gauge("limit_0_watts", &PowerZone::limit0, Unit::Watts, "The first limit."),
    zone.gauge("limit_1_watts", &PowerZone::limit1, Unit::Watts, "The second limit."),
    zone.gauge("limit_2_watts", &PowerZone::limit2, Unit::Watts, "The third limit."),
    zone.gauge("window_0_seconds", &PowerZone::window0, Unit::Seconds, "Time over which the first limit is kept."),
    zone.gauge("window_1_seconds", &PowerZone::window1, Unit::Seconds, "Time over which the second limit is kept."),
};

} // namespace

template<> std::span<const Field<PowerSupply>> fieldsOf<PowerSupply>() {
    return supplyFields;
}

template<> std::span<const Field<PowerZone>> fieldsOf<PowerZone>() {
    return zoneFields;
}

} // namespace zel

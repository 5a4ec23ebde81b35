// The known names of power supplies. Energies and charges are counted by the hour there.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr MetricType gauge = MetricType::Gauge;
constexpr double percent = 100, micro = 1e-6, hours = 1.0 / 3600;

constexpr KnownLabel<PowerSupply> labels[] = {{"power_supply", &PowerSupply::supply}};
constexpr KnownField<PowerSupply> fields[] = {
    {&PowerSupply::authentic, "node_power_supply_authentic", gauge, "1 when it is one of its maker."},
    {&PowerSupply::calibrate, "node_power_supply_calibrate", gauge, "State of its calibration."},
    {&PowerSupply::capacity, "node_power_supply_capacity", gauge, "Charge in percent.", percent},
    {&PowerSupply::capacityAlertMax, "node_power_supply_capacity_alert_max", gauge,
     "Charge in percent above which it warns.", percent},
    {&PowerSupply::capacityAlertMin, "node_power_supply_capacity_alert_min", gauge,
     "Charge in percent below which it warns.", percent},
    {&PowerSupply::charge, "node_power_supply_charge_ampere", gauge, "Charge in ampere hours.", hours},
    {&PowerSupply::chargeControlLimit, "node_power_supply_charge_control_limit", gauge,
     "Limit of the current that charges, in amperes.", micro},
    {&PowerSupply::chargeControlLimitMax, "node_power_supply_charge_control_limit_max", gauge,
     "The highest such limit.", micro},
    {&PowerSupply::chargeCounter, "node_power_supply_charge_counter", gauge, "Counter of charge, in ampere hours.",
     hours},
    {&PowerSupply::chargeEmpty, "node_power_supply_charge_empty", gauge,
     "Charge when it counts as empty, in ampere hours.", hours},
    {&PowerSupply::chargeEmptyDesign, "node_power_supply_charge_empty_design", gauge, "The same as it was made.",
     hours},
    {&PowerSupply::chargeFull, "node_power_supply_charge_full", gauge,
     "Charge when it counts as full, in ampere hours.", hours},
    {&PowerSupply::chargeFullDesign, "node_power_supply_charge_full_design", gauge, "The same as it was made.", hours},
    {&PowerSupply::chargeTermCurrent, "node_power_supply_charge_term_current", gauge,
     "Current at which charging ends, in amperes."},
    {&PowerSupply::constantChargeCurrent, "node_power_supply_constant_charge_current", gauge,
     "Constant current of charging, in amperes."},
    {&PowerSupply::constantChargeCurrentMax, "node_power_supply_constant_charge_current_max", gauge,
     "The highest such current."},
    {&PowerSupply::constantChargeVoltage, "node_power_supply_constant_charge_voltage", gauge,
     "Constant voltage of charging, in volts."},
    {&PowerSupply::constantChargeVoltageMax, "node_power_supply_constant_charge_voltage_max", gauge,
     "The highest such voltage."},
    {&PowerSupply::current, "node_power_supply_current_ampere", gauge, "Current in amperes."},
    {&PowerSupply::currentBoot, "node_power_supply_current_boot", gauge,
     "Current when the machine was started, in amperes."},
    {&PowerSupply::currentMax, "node_power_supply_current_max", gauge, "Highest current, in amperes."},
    {&PowerSupply::cycles, "node_power_supply_cyclecount", gauge, "How often it was charged and discharged."},
    {&PowerSupply::energyEmpty, "node_power_supply_energy_empty", gauge,
     "Energy when it counts as empty, in watt hours.", hours},
    {&PowerSupply::energyEmptyDesign, "node_power_supply_energy_empty_design", gauge, "The same as it was made.",
     hours},
    {&PowerSupply::energyFull, "node_power_supply_energy_full", gauge, "Energy when it counts as full, in watt hours.",
     hours},
    {&PowerSupply::energyFullDesign, "node_power_supply_energy_full_design", gauge, "The same as it was made.", hours},
    {&PowerSupply::energy, "node_power_supply_energy_watthour", gauge, "Energy in watt hours.", hours},
    {&PowerSupply::inputCurrentLimit, "node_power_supply_input_current_limit", gauge,
     "Highest current that it takes, in amperes."},
    {&PowerSupply::online, "node_power_supply_online", gauge, "1 when it feeds the machine."},
    {&PowerSupply::power, "node_power_supply_power_watt", gauge, "Power in watts."},
    {&PowerSupply::prechargeCurrent, "node_power_supply_precharge_current", gauge,
     "Current of charging from empty, in amperes."},
    {&PowerSupply::present, "node_power_supply_present", gauge, "1 when it is there."},
    {&PowerSupply::temperatureAlertMax, "node_power_supply_temp_alert_max_celsius", gauge,
     "Temperature above which it warns."},
    {&PowerSupply::temperatureAlertMin, "node_power_supply_temp_alert_min_celsius", gauge,
     "Temperature below which it warns."},
    {&PowerSupply::ambient, "node_power_supply_temp_ambient_celsius", gauge, "Temperature around it."},
    {&PowerSupply::temperature, "node_power_supply_temp_celsius", gauge, "Its temperature."},
    {&PowerSupply::temperatureMax, "node_power_supply_temp_max_celsius", gauge,
     "Highest temperature that it is made for."},
    {&PowerSupply::temperatureMin, "node_power_supply_temp_min_celsius", gauge,
     "Lowest temperature that it is made for."},
    {&PowerSupply::timeToEmpty, "node_power_supply_time_to_empty_seconds", gauge, "Seconds until it is empty."},
    {&PowerSupply::timeToFull, "node_power_supply_time_to_full_seconds", gauge, "Seconds until it is full."},
    {&PowerSupply::voltageBoot, "node_power_supply_voltage_boot", gauge,
     "Voltage when the machine was started, in volts."},
    {&PowerSupply::voltageMax, "node_power_supply_voltage_max", gauge, "Highest voltage, in volts."},
    {&PowerSupply::voltageMaxDesign, "node_power_supply_voltage_max_design", gauge, "The same as it was made."},
    {&PowerSupply::voltageMin, "node_power_supply_voltage_min", gauge, "Lowest voltage, in volts."},
    {&PowerSupply::voltageMinDesign, "node_power_supply_voltage_min_design", gauge, "The same as it was made."},
    {&PowerSupply::voltageOpen, "node_power_supply_voltage_ocv", gauge, "Voltage without a load, in volts."},
    {&PowerSupply::voltage, "node_power_supply_voltage_volt", gauge, "Voltage in volts."},
};
constexpr KnownLabel<PowerSupply> infoLabels[] = {
    {"capacity_level", &PowerSupply::capacityLevel},
    {"charge_type", &PowerSupply::chargeType},
    {"health", &PowerSupply::health},
    {"manufacturer", &PowerSupply::manufacturer},
    {"model_name", &PowerSupply::model},
    {"power_supply", &PowerSupply::supply},
    {"scope", &PowerSupply::scope},
    {"serial_number", &PowerSupply::serial},
    {"status", &PowerSupply::status},
    {"technology", &PowerSupply::technology},
    {"type", &PowerSupply::type},
    {"usb_type", &PowerSupply::usbType},
};
constexpr KnownInfo<PowerSupply> infos[] = {{"node_power_supply_info", "What describes a power supply.", infoLabels}};
constexpr KnownTable<PowerSupply> table{
    .rows = &Sample::powerSupplies, .labels = labels, .fields = fields, .infos = infos};

void write(const Sample &sample, MetricSink &sink) {
    writeKnown(table, sample, sink);
}

void listFields(KnownFields &known) {
    known.add(table);
}

} // namespace

const KnownMetrics knownPowerSupplies{Area::Sensors, write, listFields};

} // namespace zel

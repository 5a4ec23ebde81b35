// The files of thermal zones, cooling devices, power supplies and power zones, and the fields that they fill.
#pragma once

#include "host/PowerSupply.h"
#include "host/Thermal.h"
#include "host/areas/SensorAttribute.h"

namespace zel {

inline constexpr SensorAttribute<ThermalZone> THERMAL_ATTRIBUTES[] = {
    {"type", &ThermalZone::type},
    {"temp", &ThermalZone::temperature, EACH_SAMPLE, MILLI},
    {"mode", &ThermalZone::mode},
    {"policy", &ThermalZone::policy},
};

inline constexpr SensorAttribute<CoolingDevice> COOLING_ATTRIBUTES[] = {
    {"type", &CoolingDevice::type},
    {"cur_state", &CoolingDevice::state, EACH_SAMPLE},
    {"max_state", &CoolingDevice::maxState},
};

inline constexpr SensorAttribute<PowerSupply> SUPPLY_ATTRIBUTES[] = {
    {"type", &PowerSupply::type},
    {"scope", &PowerSupply::scope},
    {"manufacturer", &PowerSupply::manufacturer},
    {"model_name", &PowerSupply::model},
    {"serial_number", &PowerSupply::serial},
    {"technology", &PowerSupply::technology},
    {"usb_type", &PowerSupply::usbType},
    {"status", &PowerSupply::status, EACH_SAMPLE},
    {"health", &PowerSupply::health, EACH_SAMPLE},
    {"capacity_level", &PowerSupply::capacityLevel, EACH_SAMPLE},
    {"charge_type", &PowerSupply::chargeType, EACH_SAMPLE},
    {"online", &PowerSupply::online, EACH_SAMPLE},
    {"present", &PowerSupply::present, EACH_SAMPLE},
    {"authentic", &PowerSupply::authentic},
    {"calibrate", &PowerSupply::calibrate},
    {"cycle_count", &PowerSupply::cycles},
    {"capacity", &PowerSupply::capacity, EACH_SAMPLE, PERCENT},
    {"capacity_alert_min", &PowerSupply::capacityAlertMin, NOW_AND_THEN, PERCENT},
    {"capacity_alert_max", &PowerSupply::capacityAlertMax, NOW_AND_THEN, PERCENT},
    {"charge_control_start_threshold", &PowerSupply::chargeStart, NOW_AND_THEN, PERCENT},
    {"charge_control_end_threshold", &PowerSupply::chargeEnd, NOW_AND_THEN, PERCENT},
    {"charge_control_limit", &PowerSupply::chargeControlLimit},
    {"charge_control_limit_max", &PowerSupply::chargeControlLimitMax},
    {"energy_now", &PowerSupply::energy, EACH_SAMPLE, MICRO_HOURS},
    {"energy_avg", &PowerSupply::energyAverage, EACH_SAMPLE, MICRO_HOURS},
    {"energy_full", &PowerSupply::energyFull, NOW_AND_THEN, MICRO_HOURS},
    {"energy_full_design", &PowerSupply::energyFullDesign, NOW_AND_THEN, MICRO_HOURS},
    {"energy_empty", &PowerSupply::energyEmpty, NOW_AND_THEN, MICRO_HOURS},
    {"energy_empty_design", &PowerSupply::energyEmptyDesign, NOW_AND_THEN, MICRO_HOURS},
    {"charge_now", &PowerSupply::charge, EACH_SAMPLE, MICRO_HOURS},
    {"charge_avg", &PowerSupply::chargeAverage, EACH_SAMPLE, MICRO_HOURS},
    {"charge_full", &PowerSupply::chargeFull, NOW_AND_THEN, MICRO_HOURS},
    {"charge_full_design", &PowerSupply::chargeFullDesign, NOW_AND_THEN, MICRO_HOURS},
    {"charge_empty", &PowerSupply::chargeEmpty, NOW_AND_THEN, MICRO_HOURS},
    {"charge_empty_design", &PowerSupply::chargeEmptyDesign, NOW_AND_THEN, MICRO_HOURS},
    {"charge_counter", &PowerSupply::chargeCounter, EACH_SAMPLE, MICRO_HOURS},
    {"voltage_now", &PowerSupply::voltage, EACH_SAMPLE, MICRO},
    {"voltage_avg", &PowerSupply::voltageAverage, EACH_SAMPLE, MICRO},
    {"voltage_ocv", &PowerSupply::voltageOpen, EACH_SAMPLE, MICRO},
    {"voltage_boot", &PowerSupply::voltageBoot, NOW_AND_THEN, MICRO},
    {"voltage_min", &PowerSupply::voltageMin, NOW_AND_THEN, MICRO},
    {"voltage_max", &PowerSupply::voltageMax, NOW_AND_THEN, MICRO},
    {"voltage_min_design", &PowerSupply::voltageMinDesign, NOW_AND_THEN, MICRO},
    {"voltage_max_design", &PowerSupply::voltageMaxDesign, NOW_AND_THEN, MICRO},
    {"constant_charge_voltage", &PowerSupply::constantChargeVoltage, NOW_AND_THEN, MICRO},
    {"constant_charge_voltage_max", &PowerSupply::constantChargeVoltageMax, NOW_AND_THEN, MICRO},
    {"current_now", &PowerSupply::current, EACH_SAMPLE, MICRO},
    {"current_avg", &PowerSupply::currentAverage, EACH_SAMPLE, MICRO},
    {"current_boot", &PowerSupply::currentBoot, NOW_AND_THEN, MICRO},
    {"current_max", &PowerSupply::currentMax, NOW_AND_THEN, MICRO},
    {"input_current_limit", &PowerSupply::inputCurrentLimit, NOW_AND_THEN, MICRO},
    {"constant_charge_current", &PowerSupply::constantChargeCurrent, NOW_AND_THEN, MICRO},
    {"constant_charge_current_max", &PowerSupply::constantChargeCurrentMax, NOW_AND_THEN, MICRO},
    {"precharge_current", &PowerSupply::prechargeCurrent, NOW_AND_THEN, MICRO},
    {"charge_term_current", &PowerSupply::chargeTermCurrent, NOW_AND_THEN, MICRO},
    {"power_now", &PowerSupply::power, EACH_SAMPLE, MICRO},
    {"power_avg", &PowerSupply::powerAverage, EACH_SAMPLE, MICRO},
    {"temp", &PowerSupply::temperature, EACH_SAMPLE, TENTH},
    {"temp_ambient", &PowerSupply::ambient, EACH_SAMPLE, TENTH},
    {"temp_min", &PowerSupply::temperatureMin, NOW_AND_THEN, TENTH},
    {"temp_max", &PowerSupply::temperatureMax, NOW_AND_THEN, TENTH},
    {"temp_alert_min", &PowerSupply::temperatureAlertMin, NOW_AND_THEN, TENTH},
    {"temp_alert_max", &PowerSupply::temperatureAlertMax, NOW_AND_THEN, TENTH},
    {"time_to_empty_now", &PowerSupply::timeToEmpty, EACH_SAMPLE},
    {"time_to_empty_avg", &PowerSupply::timeToEmptyAverage, EACH_SAMPLE},
    {"time_to_full_now", &PowerSupply::timeToFull, EACH_SAMPLE},
    {"time_to_full_avg", &PowerSupply::timeToFullAverage, EACH_SAMPLE},
};

inline constexpr SensorAttribute<PowerZone> ZONE_ATTRIBUTES[] = {
    {"name", &PowerZone::name},
    {"energy_uj", &PowerZone::consumed, EACH_SAMPLE, MICRO_COUNTED},
    {"max_energy_range_uj", &PowerZone::consumedRange, NOW_AND_THEN, MICRO_COUNTED},
    {"enabled", &PowerZone::enabled},
    {"constraint_0_name", &PowerZone::constraint0},
    {"constraint_1_name", &PowerZone::constraint1},
    {"constraint_2_name", &PowerZone::constraint2},
    {"constraint_0_power_limit_uw", &PowerZone::limit0, NOW_AND_THEN, MICRO},
    {"constraint_1_power_limit_uw", &PowerZone::limit1, NOW_AND_THEN, MICRO},
    {"constraint_2_power_limit_uw", &PowerZone::limit2, NOW_AND_THEN, MICRO},
    {"constraint_0_time_window_us", &PowerZone::window0, NOW_AND_THEN, MICRO},
    {"constraint_1_time_window_us", &PowerZone::window1, NOW_AND_THEN, MICRO},
};

template<> struct ChannelKind<ThermalZone> {
    static constexpr std::string_view PREFIX = "";
    static constexpr std::span<const SensorAttribute<ThermalZone>> ATTRIBUTES = THERMAL_ATTRIBUTES;
};

template<> struct ChannelKind<CoolingDevice> {
    static constexpr std::string_view PREFIX = "";
    static constexpr std::span<const SensorAttribute<CoolingDevice>> ATTRIBUTES = COOLING_ATTRIBUTES;
};

template<> struct ChannelKind<PowerSupply> {
    static constexpr std::string_view PREFIX = "";
    static constexpr std::span<const SensorAttribute<PowerSupply>> ATTRIBUTES = SUPPLY_ATTRIBUTES;
};

template<> struct ChannelKind<PowerZone> {
    static constexpr std::string_view PREFIX = "";
    static constexpr std::span<const SensorAttribute<PowerZone>> ATTRIBUTES = ZONE_ATTRIBUTES;
};

} // namespace zel

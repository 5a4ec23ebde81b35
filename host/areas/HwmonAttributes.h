// The files of a chip below /sys/class/hwmon and the fields that they fill: all that the kernel's description of its
// interface to sensors names for reading.
#pragma once

#include "host/Sensors.h"
#include "host/areas/SensorAttribute.h"

namespace zel {

inline constexpr SensorAttribute<SensorChip> CHIP_ATTRIBUTES[] = {
    {"name", &SensorChip::name},
    {"update_interval", &SensorChip::updateInterval, NOW_AND_THEN, MILLI},
    {"beep_enable", &SensorChip::beepEnabled},
    {"vrm", &SensorChip::voltageRegulator},
};

inline constexpr SensorAttribute<Temperature> TEMP_ATTRIBUTES[] = {
    {"label", &Temperature::label},
    {"input", &Temperature::input, EACH_SAMPLE, MILLI},
    {"average", &Temperature::average, EACH_SAMPLE, MILLI},
    {"lowest", &Temperature::lowest, NOW_AND_THEN, MILLI},
    {"highest", &Temperature::highest, NOW_AND_THEN, MILLI},
    {"min", &Temperature::min, NOW_AND_THEN, MILLI},
    {"min_hyst", &Temperature::minHysteresis, NOW_AND_THEN, MILLI},
    {"max", &Temperature::max, NOW_AND_THEN, MILLI},
    {"max_hyst", &Temperature::maxHysteresis, NOW_AND_THEN, MILLI},
    {"lcrit", &Temperature::criticalLow, NOW_AND_THEN, MILLI},
    {"lcrit_hyst", &Temperature::criticalLowHysteresis, NOW_AND_THEN, MILLI},
    {"crit", &Temperature::critical, NOW_AND_THEN, MILLI},
    {"crit_hyst", &Temperature::criticalHysteresis, NOW_AND_THEN, MILLI},
    {"emergency", &Temperature::emergency, NOW_AND_THEN, MILLI},
    {"emergency_hyst", &Temperature::emergencyHysteresis, NOW_AND_THEN, MILLI},
    {"rated_min", &Temperature::ratedMin, NOW_AND_THEN, MILLI},
    {"rated_max", &Temperature::ratedMax, NOW_AND_THEN, MILLI},
    {"offset", &Temperature::offset, NOW_AND_THEN, MILLI},
    {"type", &Temperature::type},
    {"enable", &Temperature::enabled},
    {"alarm", &Temperature::alarm},
    {"min_alarm", &Temperature::minAlarm},
    {"max_alarm", &Temperature::maxAlarm},
    {"lcrit_alarm", &Temperature::criticalLowAlarm},
    {"crit_alarm", &Temperature::criticalAlarm},
    {"emergency_alarm", &Temperature::emergencyAlarm},
    {"fault", &Temperature::fault, EACH_SAMPLE},
    {"beep", &Temperature::beep},
};

inline constexpr SensorAttribute<Fan> FAN_ATTRIBUTES[] = {
    {"label", &Fan::label},
    {"input", &Fan::input, EACH_SAMPLE},
    {"min", &Fan::min},
    {"max", &Fan::max},
    {"target", &Fan::target},
    {"div", &Fan::divisor},
    {"pulses", &Fan::pulses},
    {"enable", &Fan::enabled},
    {"alarm", &Fan::alarm},
    {"min_alarm", &Fan::minAlarm},
    {"max_alarm", &Fan::maxAlarm},
    {"fault", &Fan::fault, EACH_SAMPLE},
    {"beep", &Fan::beep},
};

inline constexpr SensorAttribute<FanControl> CONTROL_ATTRIBUTES[] = {
    {"label", &FanControl::label},    {"", &FanControl::output, EACH_SAMPLE, BYTE},
    {"enable", &FanControl::mode},    {"mode", &FanControl::current},
    {"freq", &FanControl::frequency}, {"auto_channels_temp", &FanControl::temperatures},
};

inline constexpr SensorAttribute<Voltage> VOLTAGE_ATTRIBUTES[] = {
    {"label", &Voltage::label},
    {"input", &Voltage::input, EACH_SAMPLE, MILLI},
    {"average", &Voltage::average, EACH_SAMPLE, MILLI},
    {"lowest", &Voltage::lowest, NOW_AND_THEN, MILLI},
    {"highest", &Voltage::highest, NOW_AND_THEN, MILLI},
    {"min", &Voltage::min, NOW_AND_THEN, MILLI},
    {"max", &Voltage::max, NOW_AND_THEN, MILLI},
    {"lcrit", &Voltage::criticalLow, NOW_AND_THEN, MILLI},
    {"crit", &Voltage::critical, NOW_AND_THEN, MILLI},
    {"rated_min", &Voltage::ratedMin, NOW_AND_THEN, MILLI},
    {"rated_max", &Voltage::ratedMax, NOW_AND_THEN, MILLI},
    {"enable", &Voltage::enabled},
    {"alarm", &Voltage::alarm},
    {"min_alarm", &Voltage::minAlarm},
    {"max_alarm", &Voltage::maxAlarm},
    {"lcrit_alarm", &Voltage::criticalLowAlarm},
    {"crit_alarm", &Voltage::criticalAlarm},
    {"fault", &Voltage::fault, EACH_SAMPLE},
    {"beep", &Voltage::beep},
};

inline constexpr SensorAttribute<Current> CURRENT_ATTRIBUTES[] = {
    {"label", &Current::label},
    {"input", &Current::input, EACH_SAMPLE, MILLI},
    {"average", &Current::average, EACH_SAMPLE, MILLI},
    {"lowest", &Current::lowest, NOW_AND_THEN, MILLI},
    {"highest", &Current::highest, NOW_AND_THEN, MILLI},
    {"min", &Current::min, NOW_AND_THEN, MILLI},
    {"max", &Current::max, NOW_AND_THEN, MILLI},
    {"lcrit", &Current::criticalLow, NOW_AND_THEN, MILLI},
    {"crit", &Current::critical, NOW_AND_THEN, MILLI},
    {"rated_min", &Current::ratedMin, NOW_AND_THEN, MILLI},
    {"rated_max", &Current::ratedMax, NOW_AND_THEN, MILLI},
    {"enable", &Current::enabled},
    {"alarm", &Current::alarm},
    {"min_alarm", &Current::minAlarm},
    {"max_alarm", &Current::maxAlarm},
    {"lcrit_alarm", &Current::criticalLowAlarm},
    {"crit_alarm", &Current::criticalAlarm},
    {"beep", &Current::beep},
};

inline constexpr SensorAttribute<Power> POWER_ATTRIBUTES[] = {
    {"label", &Power::label},
    {"input", &Power::input, EACH_SAMPLE, MICRO},
    {"average", &Power::average, EACH_SAMPLE, MICRO},
    {"input_lowest", &Power::lowest, NOW_AND_THEN, MICRO},
    {"input_highest", &Power::highest, NOW_AND_THEN, MICRO},
    {"average_lowest", &Power::averageLowest, NOW_AND_THEN, MICRO},
    {"average_highest", &Power::averageHighest, NOW_AND_THEN, MICRO},
    {"average_min", &Power::averageMin, NOW_AND_THEN, MICRO},
    {"average_max", &Power::averageMax, NOW_AND_THEN, MICRO},
    {"min", &Power::min, NOW_AND_THEN, MICRO},
    {"max", &Power::max, NOW_AND_THEN, MICRO},
    {"lcrit", &Power::criticalLow, NOW_AND_THEN, MICRO},
    {"crit", &Power::critical, NOW_AND_THEN, MICRO},
    {"rated_min", &Power::ratedMin, NOW_AND_THEN, MICRO},
    {"rated_max", &Power::ratedMax, NOW_AND_THEN, MICRO},
    {"cap", &Power::cap, NOW_AND_THEN, MICRO},
    {"cap_hyst", &Power::capHysteresis, NOW_AND_THEN, MICRO},
    {"cap_min", &Power::capMin, NOW_AND_THEN, MICRO},
    {"cap_max", &Power::capMax, NOW_AND_THEN, MICRO},
    {"average_interval", &Power::averageInterval, NOW_AND_THEN, MILLI},
    {"average_interval_min", &Power::averageIntervalMin, NOW_AND_THEN, MILLI},
    {"average_interval_max", &Power::averageIntervalMax, NOW_AND_THEN, MILLI},
    {"enable", &Power::enabled},
    {"alarm", &Power::alarm},
    {"min_alarm", &Power::minAlarm},
    {"max_alarm", &Power::maxAlarm},
    {"lcrit_alarm", &Power::criticalLowAlarm},
    {"crit_alarm", &Power::criticalAlarm},
    {"cap_alarm", &Power::capAlarm},
};

inline constexpr SensorAttribute<Energy> ENERGY_ATTRIBUTES[] = {
    {"label", &Energy::label},
    {"input", &Energy::consumed, EACH_SAMPLE, MICRO_COUNTED},
    {"enable", &Energy::enabled},
};

inline constexpr SensorAttribute<Humidity> HUMIDITY_ATTRIBUTES[] = {
    {"label", &Humidity::label},
    {"input", &Humidity::input, EACH_SAMPLE, MILLI_PERCENT},
    {"min", &Humidity::min, NOW_AND_THEN, MILLI_PERCENT},
    {"min_hyst", &Humidity::minHysteresis, NOW_AND_THEN, MILLI_PERCENT},
    {"max", &Humidity::max, NOW_AND_THEN, MILLI_PERCENT},
    {"max_hyst", &Humidity::maxHysteresis, NOW_AND_THEN, MILLI_PERCENT},
    {"rated_min", &Humidity::ratedMin, NOW_AND_THEN, MILLI_PERCENT},
    {"rated_max", &Humidity::ratedMax, NOW_AND_THEN, MILLI_PERCENT},
    {"enable", &Humidity::enabled},
    {"alarm", &Humidity::alarm},
    {"min_alarm", &Humidity::minAlarm},
    {"max_alarm", &Humidity::maxAlarm},
    {"fault", &Humidity::fault, EACH_SAMPLE},
};

inline constexpr SensorAttribute<Frequency> FREQUENCY_ATTRIBUTES[] = {
    {"label", &Frequency::label},
    {"input", &Frequency::input, EACH_SAMPLE},
};

inline constexpr SensorAttribute<Intrusion> INTRUSION_ATTRIBUTES[] = {
    {"label", &Intrusion::label},
    {"alarm", &Intrusion::alarm, EACH_SAMPLE},
    {"beep", &Intrusion::beep},
};

inline constexpr SensorAttribute<ProcessorVoltage> PROCESSOR_ATTRIBUTES[] = {
    {"vid", &ProcessorVoltage::requested, NOW_AND_THEN, MILLI},
};

// The file is named by the row.
inline constexpr SensorAttribute<SensorSetting> SETTING_ATTRIBUTES[] = {
    {"", &SensorSetting::value, NOW_AND_THEN, WHOLE_OR_NONE},
};

template<> struct ChannelKind<SensorChip> {
    static constexpr std::string_view PREFIX = "";
    static constexpr std::span<const SensorAttribute<SensorChip>> ATTRIBUTES = CHIP_ATTRIBUTES;
};

template<> struct ChannelKind<Temperature> {
    static constexpr std::string_view PREFIX = "temp";
    static constexpr std::span<const SensorAttribute<Temperature>> ATTRIBUTES = TEMP_ATTRIBUTES;
};

template<> struct ChannelKind<Fan> {
    static constexpr std::string_view PREFIX = "fan";
    static constexpr std::span<const SensorAttribute<Fan>> ATTRIBUTES = FAN_ATTRIBUTES;
};

template<> struct ChannelKind<FanControl> {
    static constexpr std::string_view PREFIX = "pwm";
    static constexpr std::span<const SensorAttribute<FanControl>> ATTRIBUTES = CONTROL_ATTRIBUTES;
};

template<> struct ChannelKind<Voltage> {
    static constexpr std::string_view PREFIX = "in";
    static constexpr std::span<const SensorAttribute<Voltage>> ATTRIBUTES = VOLTAGE_ATTRIBUTES;
};

template<> struct ChannelKind<Current> {
    static constexpr std::string_view PREFIX = "curr";
    static constexpr std::span<const SensorAttribute<Current>> ATTRIBUTES = CURRENT_ATTRIBUTES;
};

template<> struct ChannelKind<Power> {
    static constexpr std::string_view PREFIX = "power";
    static constexpr std::span<const SensorAttribute<Power>> ATTRIBUTES = POWER_ATTRIBUTES;
};

template<> struct ChannelKind<Energy> {
    static constexpr std::string_view PREFIX = "energy";
    static constexpr std::span<const SensorAttribute<Energy>> ATTRIBUTES = ENERGY_ATTRIBUTES;
};

template<> struct ChannelKind<Humidity> {
    static constexpr std::string_view PREFIX = "humidity";
    static constexpr std::span<const SensorAttribute<Humidity>> ATTRIBUTES = HUMIDITY_ATTRIBUTES;
};

template<> struct ChannelKind<Frequency> {
    static constexpr std::string_view PREFIX = "freq";
    static constexpr std::span<const SensorAttribute<Frequency>> ATTRIBUTES = FREQUENCY_ATTRIBUTES;
};

template<> struct ChannelKind<Intrusion> {
    static constexpr std::string_view PREFIX = "intrusion";
    static constexpr std::span<const SensorAttribute<Intrusion>> ATTRIBUTES = INTRUSION_ATTRIBUTES;
};

template<> struct ChannelKind<ProcessorVoltage> {
    static constexpr std::string_view PREFIX = "cpu";
    static constexpr std::span<const SensorAttribute<ProcessorVoltage>> ATTRIBUTES = PROCESSOR_ATTRIBUTES;
};

/// Takes what no other kind does, of the sensors of these prefixes.
template<> struct ChannelKind<SensorSetting> {
    static constexpr std::string_view PREFIX = "";
    static constexpr std::span<const SensorAttribute<SensorSetting>> ATTRIBUTES = SETTING_ATTRIBUTES;
    static constexpr std::string_view SENSOR_PREFIXES[] = {"temp",   "fan",      "in",  "curr",     "power",
                                                           "energy", "humidity", "pwm", "intrusion"};
};

} // namespace zel

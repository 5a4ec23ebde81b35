// The fields of the chips that measure.
#include "host/Sensors.h"

namespace zel {

namespace {

constexpr std::string_view hwmon = "/sys/class/hwmon";
constexpr std::string_view driver = "a driver of the chip (CONFIG_HWMON=y)";
constexpr std::string_view chipHelp = "Name of the chip, by its place in the machine.";

constexpr Entries<SensorChip> chip{Area::Sensors, "sensor_chips", hwmon, driver};
constexpr Field<SensorChip> chipFields[] = {
    chip.label("chip", &SensorChip::chip, chipHelp),
    chip.info("directory", &SensorChip::directory,
              "Its directory below /sys/class/hwmon; another one after each boot."),
    chip.info("name", &SensorChip::name, "Name that the driver gives it."),
    chip.info("device", &SensorChip::device, "Device that it is part of."),
    chip.gauge("update_interval_seconds", &SensorChip::updateInterval, Unit::Seconds, "How often the chip measures."),
    chip.state("beep_enabled", &SensorChip::beepEnabled, "1 when it may beep."),
    chip.info("voltage_regulator_version", &SensorChip::voltageRegulator,
              "Version of the table that the voltages of its processors come from, times ten (vrm)."),
    chip.gauge("silent_seconds", &SensorChip::silentSeconds, Unit::Seconds,
               "For how long it has not answered; 0 when it does."),
};

constexpr Entries<Temperature> temp{Area::Sensors, "temperatures", hwmon, driver};
constexpr Field<Temperature> tempFields[] = {
    temp.label("chip", &Temperature::chip, chipHelp),
    temp.label("sensor", &Temperature::sensor, "Name of the temperature on its chip."),
    temp.info("label", &Temperature::label, "What it measures, as the chip says."),
    temp.gauge("input_celsius", &Temperature::input, Unit::Celsius, "Temperature."),
    temp.gauge("average_celsius", &Temperature::average, Unit::Celsius, "Its average, as the chip keeps it."),
    temp.gauge("lowest_celsius", &Temperature::lowest, Unit::Celsius, "Lowest temperature since the chip was reset."),
    temp.gauge("highest_celsius", &Temperature::highest, Unit::Celsius,
               "Highest temperature since the chip was reset."),
    temp.gauge("min_celsius", &Temperature::min, Unit::Celsius, "Below this it is too cold."),
    temp.gauge("min_hysteresis_celsius", &Temperature::minHysteresis, Unit::Celsius,
               "From this on it is no longer too cold."),
    temp.gauge("max_celsius", &Temperature::max, Unit::Celsius, "Above this it is too hot."),
    temp.gauge("max_hysteresis_celsius", &Temperature::maxHysteresis, Unit::Celsius,
               "From this on down it is no longer too hot."),
    temp.gauge("critical_low_celsius", &Temperature::criticalLow, Unit::Celsius, "Below this the device may fail."),
    temp.gauge("critical_low_hysteresis_celsius", &Temperature::criticalLowHysteresis, Unit::Celsius,
               "From this on that is over."),
    temp.gauge("critical_celsius", &Temperature::critical, Unit::Celsius,
               "Above this the device may fail or switches itself off."),
    temp.gauge("critical_hysteresis_celsius", &Temperature::criticalHysteresis, Unit::Celsius,
               "From this on down that is over."),
    temp.gauge("emergency_celsius", &Temperature::emergency, Unit::Celsius, "A limit above the critical one."),
    temp.gauge("emergency_hysteresis_celsius", &Temperature::emergencyHysteresis, Unit::Celsius,
               "From this on down that is over."),
    temp.gauge("rated_min_celsius", &Temperature::ratedMin, Unit::Celsius,
               "Lowest temperature that the device is made for."),
    temp.gauge("rated_max_celsius", &Temperature::ratedMax, Unit::Celsius,
               "Highest temperature that the device is made for."),
    temp.gauge("offset_celsius", &Temperature::offset, Unit::Celsius, "What the chip adds to what it measures."),
    temp.info(
        "type", &Temperature::type,
        "Kind of sensor: 1 embedded diode, 2 3904 transistor, 3 thermal diode, 4 thermistor, 5 AMD, 6 Intel PECI."),
    temp.state("enabled", &Temperature::enabled, "0 when the sensor is switched off."),
    temp.state("alarm", &Temperature::alarm, "1 when the chip raises its alarm."),
    temp.state("min_alarm", &Temperature::minAlarm, "1 when it is too cold."),
    temp.state("max_alarm", &Temperature::maxAlarm, "1 when it is too hot."),
    temp.state("critical_low_alarm", &Temperature::criticalLowAlarm, "1 when it is critically cold."),
    temp.state("critical_alarm", &Temperature::criticalAlarm, "1 when it is critically hot."),
    temp.state("emergency_alarm", &Temperature::emergencyAlarm, "1 when it is hotter than the limit for emergencies."),
    temp.state("fault", &Temperature::fault,
               "1 when the chip says that the sensor is broken: then its value means nothing."),
    temp.state("beep", &Temperature::beep, "1 when the chip beeps at an alarm."),
};

constexpr Entries<Fan> fan{Area::Sensors, "fans", hwmon, driver};
constexpr Field<Fan> fanFields[] = {
    fan.label("chip", &Fan::chip, chipHelp),
    fan.label("sensor", &Fan::sensor, "Name of the fan on its chip."),
    fan.info("label", &Fan::label, "What it measures, as the chip says."),
    fan.gauge("input_rpm", &Fan::input, Unit::RevolutionsPerMinute, "Speed."),
    fan.gauge("min_rpm", &Fan::min, Unit::RevolutionsPerMinute, "Below this it is too slow."),
    fan.gauge("max_rpm", &Fan::max, Unit::RevolutionsPerMinute, "Above this it is too fast."),
    fan.gauge("target_rpm", &Fan::target, Unit::RevolutionsPerMinute, "Speed that the chip tries to keep."),
    fan.info("divisor", &Fan::divisor, "Divisor of its clock."),
    fan.info("pulses", &Fan::pulses, "Pulses per revolution."),
    fan.state("enabled", &Fan::enabled, "0 when the sensor is switched off."),
    fan.state("alarm", &Fan::alarm, "1 when the chip raises its alarm."),
    fan.state("min_alarm", &Fan::minAlarm, "1 when it is too slow."),
    fan.state("max_alarm", &Fan::maxAlarm, "1 when it is too fast."),
    fan.state("fault", &Fan::fault, "1 when the chip says that the sensor is broken: then its value means nothing."),
    fan.state("beep", &Fan::beep, "1 when the chip beeps at an alarm."),
};

constexpr Entries<FanControl> control{Area::Sensors, "fan_controls", hwmon, driver};
constexpr Field<FanControl> controlFields[] = {
    control.label("chip", &FanControl::chip, chipHelp),
    control.label("sensor", &FanControl::sensor, "Name of the control on its chip."),
    control.info("label", &FanControl::label, "What it measures, as the chip says."),
    control.gauge("output_ratio", &FanControl::output, Unit::Ratio, "How strongly it drives the fan: 1 is full speed."),
    control.state("mode", &FanControl::mode, "0 full speed, 1 set by hand, 2 and more by the chip itself."),
    control.state("direct_current", &FanControl::current, "0 when it drives by pulses, 1 by direct current."),
    control.gauge("frequency_hertz", &FanControl::frequency, Unit::Hertz, "Frequency of its pulses."),
    control.info("temperature_channels", &FanControl::temperatures,
                 "Which temperatures it follows, as a mask of bits."),
};

constexpr Entries<Voltage> voltage{Area::Sensors, "voltages", hwmon, driver};
constexpr Field<Voltage> voltageFields[] = {
    voltage.label("chip", &Voltage::chip, chipHelp),
    voltage.label("sensor", &Voltage::sensor, "Name of the voltage on its chip."),
    voltage.info("label", &Voltage::label, "What it measures, as the chip says."),
    voltage.gauge("input_volts", &Voltage::input, Unit::Volts, "Voltage."),
    voltage.gauge("average_volts", &Voltage::average, Unit::Volts, "Its average, as the chip keeps it."),
    voltage.gauge("lowest_volts", &Voltage::lowest, Unit::Volts, "Lowest value since the chip was reset."),
    voltage.gauge("highest_volts", &Voltage::highest, Unit::Volts, "Highest value since the chip was reset."),
    voltage.gauge("min_volts", &Voltage::min, Unit::Volts, "Below this it is too low."),
    voltage.gauge("max_volts", &Voltage::max, Unit::Volts, "Above this it is too high."),
    voltage.gauge("critical_low_volts", &Voltage::criticalLow, Unit::Volts, "Below this the device may fail."),
    voltage.gauge("critical_volts", &Voltage::critical, Unit::Volts, "Above this the device may fail."),
    voltage.gauge("rated_min_volts", &Voltage::ratedMin, Unit::Volts, "Lowest value that the device is made for."),
    voltage.gauge("rated_max_volts", &Voltage::ratedMax, Unit::Volts, "Highest value that the device is made for."),
    voltage.state("enabled", &Voltage::enabled, "0 when the sensor is switched off."),
    voltage.state("alarm", &Voltage::alarm, "1 when the chip raises its alarm."),
    voltage.state("min_alarm", &Voltage::minAlarm, "1 when it is too low."),
    voltage.state("max_alarm", &Voltage::maxAlarm, "1 when it is too high."),
    voltage.state("critical_low_alarm", &Voltage::criticalLowAlarm, "1 when it is critically low."),
    voltage.state("critical_alarm", &Voltage::criticalAlarm, "1 when it is critically high."),
    voltage.state("fault", &Voltage::fault,
                  "1 when the chip says that the sensor is broken: then its value means nothing."),
    voltage.state("beep", &Voltage::beep, "1 when the chip beeps at an alarm."),
};

constexpr Entries<Current> current{Area::Sensors, "currents", hwmon, driver};
constexpr Field<Current> currentFields[] = {
    current.label("chip", &Current::chip, chipHelp),
    current.label("sensor", &Current::sensor, "Name of the current on its chip."),
    current.info("label", &Current::label, "What it measures, as the chip says."),
    current.gauge("input_amperes", &Current::input, Unit::Amperes, "Current."),
    current.gauge("average_amperes", &Current::average, Unit::Amperes, "Its average, as the chip keeps it."),
    current.gauge("lowest_amperes", &Current::lowest, Unit::Amperes, "Lowest value since the chip was reset."),
    current.gauge("highest_amperes", &Current::highest, Unit::Amperes, "Highest value since the chip was reset."),
    current.gauge("min_amperes", &Current::min, Unit::Amperes, "Below this it is too low."),
    current.gauge("max_amperes", &Current::max, Unit::Amperes, "Above this it is too high."),
    current.gauge("critical_low_amperes", &Current::criticalLow, Unit::Amperes, "Below this the device may fail."),
    current.gauge("critical_amperes", &Current::critical, Unit::Amperes, "Above this the device may fail."),
    current.gauge("rated_min_amperes", &Current::ratedMin, Unit::Amperes, "Lowest value that the device is made for."),
    current.gauge("rated_max_amperes", &Current::ratedMax, Unit::Amperes, "Highest value that the device is made for."),
    current.state("enabled", &Current::enabled, "0 when the sensor is switched off."),
    current.state("alarm", &Current::alarm, "1 when the chip raises its alarm."),
    current.state("min_alarm", &Current::minAlarm, "1 when it is too low."),
    current.state("max_alarm", &Current::maxAlarm, "1 when it is too high."),
    current.state("critical_low_alarm", &Current::criticalLowAlarm, "1 when it is critically low."),
    current.state("critical_alarm", &Current::criticalAlarm, "1 when it is critically high."),
    current.state("beep", &Current::beep, "1 when the chip beeps at an alarm."),
};

constexpr Entries<Power> power{Area::Sensors, "powers", hwmon, driver};
constexpr Field<Power> powerFields[] = {
    power.label("chip", &Power::chip, chipHelp),
    power.label("sensor", &Power::sensor, "Name of the power on its chip."),
    power.info("label", &Power::label, "What it measures, as the chip says."),
    power.gauge("input_watts", &Power::input, Unit::Watts, "Power at this moment."),
    power.gauge("average_watts", &Power::average, Unit::Watts, "Average power over the interval."),
    power.gauge("lowest_watts", &Power::lowest, Unit::Watts, "Lowest power since the chip was reset."),
    power.gauge("highest_watts", &Power::highest, Unit::Watts, "Highest power since the chip was reset."),
    power.gauge("average_lowest_watts", &Power::averageLowest, Unit::Watts, "Lowest average since the chip was reset."),
    power.gauge("average_highest_watts", &Power::averageHighest, Unit::Watts,
                "Highest average since the chip was reset."),
    power.gauge("average_min_watts", &Power::averageMin, Unit::Watts,
                "Below this average it tells the program that waits for it."),
    power.gauge("average_max_watts", &Power::averageMax, Unit::Watts, "Above this average it does so too."),
    power.gauge("min_watts", &Power::min, Unit::Watts, "Below this it is too low."),
    power.gauge("max_watts", &Power::max, Unit::Watts, "Above this it is too high."),
    power.gauge("critical_low_watts", &Power::criticalLow, Unit::Watts, "Below this the device may fail."),
    power.gauge("critical_watts", &Power::critical, Unit::Watts, "Above this the device may fail."),
    power.gauge("rated_min_watts", &Power::ratedMin, Unit::Watts, "Lowest power that the device is made for."),
    power.gauge("rated_max_watts", &Power::ratedMax, Unit::Watts, "Highest power that the device is made for."),
    power.gauge("cap_watts", &Power::cap, Unit::Watts, "The system is slowed down to stay below this."),
    power.gauge("cap_hysteresis_watts", &Power::capHysteresis, Unit::Watts,
                "How far below the cap the system is no longer slowed down."),
    power.gauge("cap_min_watts", &Power::capMin, Unit::Watts, "Lowest cap that can be set."),
    power.gauge("cap_max_watts", &Power::capMax, Unit::Watts, "Highest cap that can be set."),
    power.gauge("average_interval_seconds", &Power::averageInterval, Unit::Seconds, "Interval of the average."),
    power.gauge("average_interval_min_seconds", &Power::averageIntervalMin, Unit::Seconds,
                "Shortest interval that can be set."),
    power.gauge("average_interval_max_seconds", &Power::averageIntervalMax, Unit::Seconds,
                "Longest interval that can be set."),
    power.state("enabled", &Power::enabled, "0 when the sensor is switched off."),
    power.state("alarm", &Power::alarm, "1 when the chip raises its alarm."),
    power.state("min_alarm", &Power::minAlarm, "1 when it is too low."),
    power.state("max_alarm", &Power::maxAlarm, "1 when it is too high."),
    power.state("critical_low_alarm", &Power::criticalLowAlarm, "1 when it is critically low."),
    power.state("critical_alarm", &Power::criticalAlarm, "1 when it is critically high."),
    power.state("cap_alarm", &Power::capAlarm, "1 when it is above the cap."),
};

constexpr Entries<Energy> energy{Area::Sensors, "energies", hwmon, driver};
constexpr Field<Energy> energyFields[] = {
    energy.label("chip", &Energy::chip, chipHelp),
    energy.label("sensor", &Energy::sensor, "Name of the energy on its chip."),
    energy.info("label", &Energy::label, "What it measures, as the chip says."),
    energy.counter("consumed_joules_total", &Energy::consumed, Unit::Joules, "Energy that was consumed."),
    energy.state("enabled", &Energy::enabled, "0 when the sensor is switched off."),
};

constexpr Entries<Humidity> humidity{Area::Sensors, "humidities", hwmon, driver};
constexpr Field<Humidity> humidityFields[] = {
    humidity.label("chip", &Humidity::chip, chipHelp),
    humidity.label("sensor", &Humidity::sensor, "Name of the humidity on its chip."),
    humidity.info("label", &Humidity::label, "What it measures, as the chip says."),
    humidity.gauge("input_ratio", &Humidity::input, Unit::Ratio, "Relative humidity."),
    humidity.gauge("min_ratio", &Humidity::min, Unit::Ratio, "Below this it is too dry."),
    humidity.gauge("min_hysteresis_ratio", &Humidity::minHysteresis, Unit::Ratio,
                   "From this on it is no longer too dry."),
    humidity.gauge("max_ratio", &Humidity::max, Unit::Ratio, "Above this it is too wet."),
    humidity.gauge("max_hysteresis_ratio", &Humidity::maxHysteresis, Unit::Ratio,
                   "From this on down it is no longer too wet."),
    humidity.gauge("rated_min_ratio", &Humidity::ratedMin, Unit::Ratio, "Lowest humidity that the device is made for."),
    humidity.gauge("rated_max_ratio", &Humidity::ratedMax, Unit::Ratio,
                   "Highest humidity that the device is made for."),
    humidity.state("enabled", &Humidity::enabled, "0 when the sensor is switched off."),
    humidity.state("alarm", &Humidity::alarm, "1 when the chip raises its alarm."),
    humidity.state("min_alarm", &Humidity::minAlarm, "1 when it is too dry."),
    humidity.state("max_alarm", &Humidity::maxAlarm, "1 when it is too wet."),
    humidity.state("fault", &Humidity::fault,
                   "1 when the chip says that the sensor is broken: then its value means nothing."),
};

constexpr Entries<Frequency> frequency{Area::Sensors, "frequencies", hwmon, driver};
constexpr Field<Frequency> frequencyFields[] = {
    frequency.label("chip", &Frequency::chip, chipHelp),
    frequency.label("sensor", &Frequency::sensor, "Name of the clock on its chip."),
    frequency.info("label", &Frequency::label, "What it measures, as the chip says."),
    frequency.gauge("input_hertz", &Frequency::input, Unit::Hertz,
                    "Frequency of the clock, such as that of a graphics processor."),
};

constexpr Entries<Intrusion> intrusion{Area::Sensors, "intrusions", hwmon, driver};
constexpr Field<Intrusion> intrusionFields[] = {
    intrusion.label("chip", &Intrusion::chip, chipHelp),
    intrusion.label("sensor", &Intrusion::sensor, "Name of the contact on its chip."),
    intrusion.info("label", &Intrusion::label, "What it measures, as the chip says."),
    intrusion.state("alarm", &Intrusion::alarm, "1 when the case was opened; it stays so until somebody clears it."),
    intrusion.state("beep", &Intrusion::beep, "1 when the chip beeps at an alarm."),
};

constexpr Entries<ProcessorVoltage> requested{Area::Sensors, "processor_voltages", hwmon, driver};
constexpr Field<ProcessorVoltage> requestedFields[] = {
    requested.label("chip", &ProcessorVoltage::chip, chipHelp),
    requested.label("sensor", &ProcessorVoltage::sensor, "Name of the processor on its chip."),
    requested.gauge("requested_volts", &ProcessorVoltage::requested, Unit::Volts,
                    "Voltage that the processor asks its regulator for."),
};

constexpr Entries<SensorSetting> setting{Area::Sensors, "sensor_settings", hwmon, driver};
constexpr Field<SensorSetting> settingFields[] = {
    setting.label("chip", &SensorSetting::chip, chipHelp),
    setting.label("sensor", &SensorSetting::sensor, "Name of the sensor or output on its chip."),
    setting.label("attribute", &SensorSetting::attribute, "What the driver says of it."),
    setting.info("value", &SensorSetting::value, "The number as the kernel writes it; a text is unsupported."),
};

} // namespace

template<> std::span<const Field<SensorChip>> fieldsOf<SensorChip>() {
    return chipFields;
}

template<> std::span<const Field<Temperature>> fieldsOf<Temperature>() {
    return tempFields;
}

template<> std::span<const Field<Fan>> fieldsOf<Fan>() {
    return fanFields;
}

template<> std::span<const Field<FanControl>> fieldsOf<FanControl>() {
    return controlFields;
}

template<> std::span<const Field<Voltage>> fieldsOf<Voltage>() {
    return voltageFields;
}

template<> std::span<const Field<Current>> fieldsOf<Current>() {
    return currentFields;
}

template<> std::span<const Field<Power>> fieldsOf<Power>() {
    return powerFields;
}

template<> std::span<const Field<Energy>> fieldsOf<Energy>() {
    return energyFields;
}

template<> std::span<const Field<Humidity>> fieldsOf<Humidity>() {
    return humidityFields;
}

template<> std::span<const Field<Frequency>> fieldsOf<Frequency>() {
    return frequencyFields;
}

template<> std::span<const Field<Intrusion>> fieldsOf<Intrusion>() {
    return intrusionFields;
}

template<> std::span<const Field<ProcessorVoltage>> fieldsOf<ProcessorVoltage>() {
    return requestedFields;
}

template<> std::span<const Field<SensorSetting>> fieldsOf<SensorSetting>() {
    return settingFields;
}

} // namespace zel

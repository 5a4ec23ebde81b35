// The known names of the chips that measure. Every file of a chip has a family of its own, named after the file.
//
// The names take all but the general alarm of a channel for what the channel measures: an alarm of a temperature is
// 0.001 degrees, one of a power 0.000001 watts. Dashboards ask whether it is above 0.
#include "export/known/Known.h"
#include "export/known/SensorFamilies.h"
#include "host/areas/HwmonNames.h"

#include <cmath>

namespace zel {

namespace {

constexpr MetricType counter = MetricType::Counter, gauge = MetricType::Gauge;
constexpr double thousandth = 1e-3, millionth = 1e-6; // what flags are multiplied by
constexpr double perTenPercent = 0.1;                 // humidities: thousands of a percent count as millionths

template<class Row> constexpr KnownLabel<Row> labels[] = {{"chip", &Row::chip}, {"sensor", &Row::sensor}};

constexpr KnownField<Temperature> temperatures[] = {
    {&Temperature::input, "node_hwmon_temp_celsius", gauge, "Temperature."},
    {&Temperature::average, "node_hwmon_temp_average_celsius", gauge, "Its average, as the chip keeps it."},
    {&Temperature::lowest, "node_hwmon_temp_lowest_celsius", gauge, "Lowest temperature since the chip was reset."},
    {&Temperature::highest, "node_hwmon_temp_highest_celsius", gauge, "Highest temperature since the chip was reset."},
    {&Temperature::min, "node_hwmon_temp_min_celsius", gauge, "Below this it is too cold."},
    {&Temperature::minHysteresis, "node_hwmon_temp_min_hyst_celsius", gauge, "From this on it is no longer too cold."},
    {&Temperature::max, "node_hwmon_temp_max_celsius", gauge, "Above this it is too hot."},
    {&Temperature::maxHysteresis, "node_hwmon_temp_max_hyst_celsius", gauge,
     "From this on down it is no longer too hot."},
    {&Temperature::criticalLow, "node_hwmon_temp_lcrit_celsius", gauge, "Below this the device may fail."},
    {&Temperature::criticalLowHysteresis, "node_hwmon_temp_lcrit_hyst_celsius", gauge, "From this on that is over."},
    {&Temperature::critical, "node_hwmon_temp_crit_celsius", gauge,
     "Above this the device may fail or switches itself off."},
    {&Temperature::criticalHysteresis, "node_hwmon_temp_crit_hyst_celsius", gauge, "From this on down that is over."},
    {&Temperature::emergency, "node_hwmon_temp_emergency_celsius", gauge, "A limit above the critical one."},
    {&Temperature::emergencyHysteresis, "node_hwmon_temp_emergency_hyst_celsius", gauge,
     "From this on down that is over."},
    {&Temperature::ratedMin, "node_hwmon_temp_rated_min_celsius", gauge,
     "Lowest temperature that the device is made for."},
    {&Temperature::ratedMax, "node_hwmon_temp_rated_max_celsius", gauge,
     "Highest temperature that the device is made for."},
    {&Temperature::offset, "node_hwmon_temp_offset_celsius", gauge, "What the chip adds to what it measures."},
    {&Temperature::type, "node_hwmon_temp_type", gauge,
     "Kind of sensor: 1 embedded diode, 2 3904 transistor, 3 thermal diode, 4 thermistor, 5 AMD, 6 Intel PECI."},
    {&Temperature::enabled, "node_hwmon_temp_enable_celsius", gauge, "0 when the sensor is switched off.", thousandth},
    {&Temperature::alarm, "node_hwmon_temp_alarm", gauge, "1 when the chip raises its alarm."},
    {&Temperature::minAlarm, "node_hwmon_temp_min_alarm_celsius", gauge, "1 when it is too cold.", thousandth},
    {&Temperature::maxAlarm, "node_hwmon_temp_max_alarm_celsius", gauge, "1 when it is too hot.", thousandth},
    {&Temperature::criticalLowAlarm, "node_hwmon_temp_lcrit_alarm_celsius", gauge, "1 when it is critically cold.",
     thousandth},
    {&Temperature::criticalAlarm, "node_hwmon_temp_crit_alarm_celsius", gauge, "1 when it is critically hot.",
     thousandth},
    {&Temperature::emergencyAlarm, "node_hwmon_temp_emergency_alarm_celsius", gauge,
     "1 when it is hotter than the limit for emergencies.", thousandth},
    {&Temperature::fault, "node_hwmon_temp_fault", gauge,
     "1 when the chip says that the sensor is broken: then its value means nothing."},
    {&Temperature::beep, "node_hwmon_temp_beep_enabled", gauge, "1 when the chip beeps at an alarm."},
};

constexpr KnownField<Fan> fans[] = {
    {&Fan::input, "node_hwmon_fan_rpm", gauge, "Speed."},
    {&Fan::min, "node_hwmon_fan_min_rpm", gauge, "Below this it is too slow."},
    {&Fan::max, "node_hwmon_fan_max_rpm", gauge, "Above this it is too fast."},
    {&Fan::target, "node_hwmon_fan_target_rpm", gauge, "Speed that the chip tries to keep."},
    {&Fan::divisor, "node_hwmon_fan_div", gauge, "Divisor of its clock."},
    {&Fan::pulses, "node_hwmon_fan_pulses", gauge, "Pulses per revolution."},
    {&Fan::enabled, "node_hwmon_fan_enable", gauge, "0 when the sensor is switched off."},
    {&Fan::alarm, "node_hwmon_fan_alarm", gauge, "1 when the chip raises its alarm."},
    {&Fan::minAlarm, "node_hwmon_fan_min_alarm", gauge, "1 when it is too slow."},
    {&Fan::maxAlarm, "node_hwmon_fan_max_alarm", gauge, "1 when it is too fast."},
    {&Fan::fault, "node_hwmon_fan_fault", gauge,
     "1 when the chip says that the sensor is broken: then its value means nothing."},
    {&Fan::beep, "node_hwmon_fan_beep_enabled", gauge, "1 when the chip beeps at an alarm."},
};

constexpr KnownField<FanControl> controls[] = {
    {&FanControl::mode, "node_hwmon_pwm_enable", gauge, "0 full speed, 1 set by hand, 2 and more by the chip itself."},
    {&FanControl::current, "node_hwmon_pwm_mode", gauge, "0 when it drives by pulses, 1 by direct current."},
    {&FanControl::frequency, "node_hwmon_pwm_freq", gauge, "Frequency of its pulses."},
    {&FanControl::temperatures, "node_hwmon_pwm_auto_channels_temp", gauge,
     "Which temperatures it follows, as a mask of bits."},
};

constexpr KnownField<Voltage> voltages[] = {
    {&Voltage::input, "node_hwmon_in_volts", gauge, "Voltage."},
    {&Voltage::average, "node_hwmon_in_average_volts", gauge, "Its average, as the chip keeps it."},
    {&Voltage::lowest, "node_hwmon_in_lowest_volts", gauge, "Lowest value since the chip was reset."},
    {&Voltage::highest, "node_hwmon_in_highest_volts", gauge, "Highest value since the chip was reset."},
    {&Voltage::min, "node_hwmon_in_min_volts", gauge, "Below this it is too low."},
    {&Voltage::max, "node_hwmon_in_max_volts", gauge, "Above this it is too high."},
    {&Voltage::criticalLow, "node_hwmon_in_lcrit_volts", gauge, "Below this the device may fail."},
    {&Voltage::critical, "node_hwmon_in_crit_volts", gauge, "Above this the device may fail."},
    {&Voltage::ratedMin, "node_hwmon_in_rated_min_volts", gauge, "Lowest value that the device is made for."},
    {&Voltage::ratedMax, "node_hwmon_in_rated_max_volts", gauge, "Highest value that the device is made for."},
    {&Voltage::enabled, "node_hwmon_in_enable_volts", gauge, "0 when the sensor is switched off.", thousandth},
    {&Voltage::alarm, "node_hwmon_in_alarm", gauge, "1 when the chip raises its alarm."},
    {&Voltage::minAlarm, "node_hwmon_in_min_alarm_volts", gauge, "1 when it is too low.", thousandth},
    {&Voltage::maxAlarm, "node_hwmon_in_max_alarm_volts", gauge, "1 when it is too high.", thousandth},
    {&Voltage::criticalLowAlarm, "node_hwmon_in_lcrit_alarm_volts", gauge, "1 when it is critically low.", thousandth},
    {&Voltage::criticalAlarm, "node_hwmon_in_crit_alarm_volts", gauge, "1 when it is critically high.", thousandth},
    {&Voltage::fault, "node_hwmon_in_fault", gauge,
     "1 when the chip says that the sensor is broken: then its value means nothing."},
    {&Voltage::beep, "node_hwmon_in_beep_enabled", gauge, "1 when the chip beeps at an alarm."},
};

constexpr KnownField<Current> currents[] = {
    {&Current::input, "node_hwmon_curr_amps", gauge, "Current."},
    {&Current::average, "node_hwmon_curr_average_amps", gauge, "Its average, as the chip keeps it."},
    {&Current::lowest, "node_hwmon_curr_lowest_amps", gauge, "Lowest value since the chip was reset."},
    {&Current::highest, "node_hwmon_curr_highest_amps", gauge, "Highest value since the chip was reset."},
    {&Current::min, "node_hwmon_curr_min_amps", gauge, "Below this it is too low."},
    {&Current::max, "node_hwmon_curr_max_amps", gauge, "Above this it is too high."},
    {&Current::criticalLow, "node_hwmon_curr_lcrit_amps", gauge, "Below this the device may fail."},
    {&Current::critical, "node_hwmon_curr_crit_amps", gauge, "Above this the device may fail."},
    {&Current::ratedMin, "node_hwmon_curr_rated_min_amps", gauge, "Lowest value that the device is made for."},
    {&Current::ratedMax, "node_hwmon_curr_rated_max_amps", gauge, "Highest value that the device is made for."},
    {&Current::enabled, "node_hwmon_curr_enable_amps", gauge, "0 when the sensor is switched off.", thousandth},
    {&Current::alarm, "node_hwmon_curr_alarm", gauge, "1 when the chip raises its alarm."},
    {&Current::minAlarm, "node_hwmon_curr_min_alarm_amps", gauge, "1 when it is too low.", thousandth},
    {&Current::maxAlarm, "node_hwmon_curr_max_alarm_amps", gauge, "1 when it is too high.", thousandth},
    {&Current::criticalLowAlarm, "node_hwmon_curr_lcrit_alarm_amps", gauge, "1 when it is critically low.", thousandth},
    {&Current::criticalAlarm, "node_hwmon_curr_crit_alarm_amps", gauge, "1 when it is critically high.", thousandth},
    {&Current::beep, "node_hwmon_curr_beep_enabled", gauge, "1 when the chip beeps at an alarm."},
};

constexpr KnownField<Power> powers[] = {
    {&Power::input, "node_hwmon_power_watt", gauge, "Power at this moment."},
    {&Power::average, "node_hwmon_power_average_watt", gauge, "Average power over the interval."},
    {&Power::lowest, "node_hwmon_power_input_lowest_watt", gauge, "Lowest power since the chip was reset."},
    {&Power::highest, "node_hwmon_power_input_highest_watt", gauge, "Highest power since the chip was reset."},
    {&Power::averageLowest, "node_hwmon_power_average_lowest_watt", gauge, "Lowest average since the chip was reset."},
    {&Power::averageHighest, "node_hwmon_power_average_highest_watt", gauge,
     "Highest average since the chip was reset."},
    {&Power::averageMin, "node_hwmon_power_average_min_watt", gauge,
     "Below this average it tells the program that waits for it."},
    {&Power::averageMax, "node_hwmon_power_average_max_watt", gauge, "Above this average it does so too."},
    {&Power::min, "node_hwmon_power_min_watt", gauge, "Below this it is too low."},
    {&Power::max, "node_hwmon_power_max_watt", gauge, "Above this it is too high."},
    {&Power::criticalLow, "node_hwmon_power_lcrit_watt", gauge, "Below this the device may fail."},
    {&Power::critical, "node_hwmon_power_crit_watt", gauge, "Above this the device may fail."},
    {&Power::ratedMin, "node_hwmon_power_rated_min_watt", gauge, "Lowest power that the device is made for."},
    {&Power::ratedMax, "node_hwmon_power_rated_max_watt", gauge, "Highest power that the device is made for."},
    {&Power::cap, "node_hwmon_power_cap_watt", gauge, "The system is slowed down to stay below this."},
    {&Power::capHysteresis, "node_hwmon_power_cap_hyst_watt", gauge,
     "How far below the cap the system is no longer slowed down."},
    {&Power::capMin, "node_hwmon_power_cap_min_watt", gauge, "Lowest cap that can be set."},
    {&Power::capMax, "node_hwmon_power_cap_max_watt", gauge, "Highest cap that can be set."},
    {&Power::averageInterval, "node_hwmon_power_average_interval_seconds", gauge, "Interval of the average."},
    {&Power::averageIntervalMin, "node_hwmon_power_average_interval_min_seconds", gauge,
     "Shortest interval that can be set."},
    {&Power::averageIntervalMax, "node_hwmon_power_average_interval_max_seconds", gauge,
     "Longest interval that can be set."},
    {&Power::enabled, "node_hwmon_power_enable_watt", gauge, "0 when the sensor is switched off.", millionth},
    {&Power::alarm, "node_hwmon_power_alarm", gauge, "1 when the chip raises its alarm."},
    {&Power::minAlarm, "node_hwmon_power_min_alarm_watt", gauge, "1 when it is too low.", millionth},
    {&Power::maxAlarm, "node_hwmon_power_max_alarm_watt", gauge, "1 when it is too high.", millionth},
    {&Power::criticalLowAlarm, "node_hwmon_power_lcrit_alarm_watt", gauge, "1 when it is critically low.", millionth},
    {&Power::criticalAlarm, "node_hwmon_power_crit_alarm_watt", gauge, "1 when it is critically high.", millionth},
    {&Power::capAlarm, "node_hwmon_power_cap_alarm_watt", gauge, "1 when it is above the cap.", millionth},
};

constexpr KnownField<Energy> energies[] = {
    {&Energy::consumed, "node_hwmon_energy_joule_total", counter, "Energy that was consumed."},
    {&Energy::enabled, "node_hwmon_energy_enable_joule_total", counter, "0 when the sensor is switched off.",
     millionth},
};

constexpr KnownField<Humidity> humidities[] = {
    {&Humidity::input, "node_hwmon_humidity", gauge, "Relative humidity.", perTenPercent},
    {&Humidity::min, "node_hwmon_humidity_min", gauge, "Below this it is too dry.", perTenPercent},
    {&Humidity::minHysteresis, "node_hwmon_humidity_min_hyst", gauge, "From this on it is no longer too dry.",
     perTenPercent},
    {&Humidity::max, "node_hwmon_humidity_max", gauge, "Above this it is too wet.", perTenPercent},
    {&Humidity::maxHysteresis, "node_hwmon_humidity_max_hyst", gauge, "From this on down it is no longer too wet.",
     perTenPercent},
    {&Humidity::ratedMin, "node_hwmon_humidity_rated_min", gauge, "Lowest humidity that the device is made for.",
     perTenPercent},
    {&Humidity::ratedMax, "node_hwmon_humidity_rated_max", gauge, "Highest humidity that the device is made for.",
     perTenPercent},
    {&Humidity::enabled, "node_hwmon_humidity_enable", gauge, "0 when the sensor is switched off.", millionth},
    {&Humidity::alarm, "node_hwmon_humidity_alarm", gauge, "1 when the chip raises its alarm."},
    {&Humidity::minAlarm, "node_hwmon_humidity_min_alarm", gauge, "1 when it is too dry.", millionth},
    {&Humidity::maxAlarm, "node_hwmon_humidity_max_alarm", gauge, "1 when it is too wet.", millionth},
    {&Humidity::fault, "node_hwmon_humidity_fault", gauge,
     "1 when the chip says that the sensor is broken: then its value means nothing."},
};

constexpr KnownField<Intrusion> intrusions[] = {
    {&Intrusion::alarm, "node_hwmon_intrusion_alarm", gauge,
     "1 when the case was opened; it stays so until somebody clears it."},
    {&Intrusion::beep, "node_hwmon_intrusion_beep_enabled", gauge, "1 when the chip beeps at an alarm."},
};

template<class Row>
constexpr KnownTable<Row> tableOf(Rows<Row> Sample::*rows, std::span<const KnownField<Row>> fields) {
    return {.rows = rows, .labels = labels<Row>, .fields = fields};
}

constexpr std::tuple tables{
    tableOf<Temperature>(&Sample::temperatures, temperatures),
    tableOf<Fan>(&Sample::fans, fans),
    tableOf<FanControl>(&Sample::fanControls, controls),
    tableOf<Voltage>(&Sample::voltages, voltages),
    tableOf<Current>(&Sample::currents, currents),
    tableOf<Power>(&Sample::powers, powers),
    tableOf<Energy>(&Sample::energies, energies),
    tableOf<Humidity>(&Sample::humidities, humidities),
    tableOf<Intrusion>(&Sample::intrusions, intrusions),
};

template<class Use> void forEachTable(Use &&use) {
    std::apply([&use](const auto &...table) { (use(table), ...); }, tables);
}

// The kernel counts the output of a control in 255 steps.
void writeOutputs(const Sample &sample, MetricSink &sink) {
    constexpr double steps = 255;
    sink.family("node_hwmon_pwm", gauge, "How strongly a control drives its fan: 255 is full speed.");
    for (const FanControl &control : sample.fanControls) {
        addLabels<FanControl>(labels<FanControl>, control, sink);
        sink.value(control.output ? Number(std::round(*control.output * steps)) : control.output);
    }
}

void writeChips(const Sample &sample, MetricSink &sink) {
    sink.family("node_hwmon_chip_names", gauge, "Which name the driver gives a chip.");
    for (const SensorChip &chip : sample.sensorChips) {
        if (chip.name)
            sink.label("chip", chip.chip).label("chip_name", chipNameOf(*chip.name)).one();
    }
    sink.family("node_hwmon_update_interval_seconds", gauge, "How often a chip measures.");
    for (const SensorChip &chip : sample.sensorChips)
        sink.label("chip", chip.chip).label("sensor", "update_interval0").value(chip.updateInterval);
    sink.family("node_hwmon_beep_enabled", gauge, "1 when a chip may beep.");
    for (const SensorChip &chip : sample.sensorChips)
        sink.label("chip", chip.chip).label("sensor", "beep_enable0").value(chip.beepEnabled);
}

template<class Row> void writeSensorLabels(const Rows<Row> &rows, MetricSink &sink) {
    for (const Row &row : rows) {
        if (row.label)
            sink.label("chip", row.chip).label("label", *row.label).label("sensor", row.sensor).one();
    }
}

void write(const Sample &sample, MetricSink &sink) {
    writeChips(sample, sink);
    writeOutputs(sample, sink);
    sink.family("node_hwmon_sensor_label", gauge, "What a sensor measures, as its chip says.");
    forEachTable([&](const auto &table) { writeSensorLabels(sample.*table.rows, sink); });
    forEachTable([&](const auto &table) { writeKnown(table, sample, sink); });
}

void listFields(KnownFields &known) {
    known.add<SensorChip>(
        {&SensorChip::chip, &SensorChip::name, &SensorChip::updateInterval, &SensorChip::beepEnabled});
    known.add<FanControl>({&FanControl::output});
    forEachTable([&known]<class Row>(const KnownTable<Row> &table) {
        known.add(table);
        known.add<Row>({&Row::label});
    });
}

} // namespace

bool isSensorFamily(std::string_view name) {
    bool found = false;
    forEachTable([&]<class Row>(const KnownTable<Row> &table) {
        found = found || std::ranges::find(table.fields, name, &KnownField<Row>::name) != table.fields.end();
    });
    return found;
}

const KnownMetrics knownSensors{Area::Sensors, write, listFields};

} // namespace zel

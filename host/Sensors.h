// What the chips of the machine measure: temperatures, fans, voltages, currents, powers and more, below
// /sys/class/hwmon. Any user.
//
// A chip is asked on a thread of its own, because its driver may have to talk to hardware that does not answer: then
// its values are timed out, and those of all others are there. What is measured is read in each sample; names, limits
// and alarms when the chip comes, and every 30 seconds. A sensor without a value says why: the driver has none
// (unsupported), none yet (not yet), or could not read it (malformed).
//
// Chips are named by where they are in the machine, which stays the same, not by their number, which does not.
#pragma once

#include "host/Schema.h"

namespace zel {

/// One chip: a directory of /sys/class/hwmon.
struct SensorChip {
    std::string chip;               // "platform_coretemp_0"
    Reading<std::string> directory; // "hwmon3"
    Reading<std::string> name;      // "coretemp"
    Reading<std::string> device;    // "/sys/devices/platform/coretemp.0"
    Number updateInterval;          // of the chip's own readings
    Count beepEnabled;
    Count voltageRegulator; // version of the table that its processors' voltages come from, times ten: 90, 110
    Number silentSeconds;   // for how long it has not answered; 0 when it does
};

/// A temperature (temp1_input and what goes with it).
struct Temperature {
    std::string chip, sensor; // "platform_coretemp_0", "temp1"
    Reading<std::string> label;
    Number input, average, lowest, highest, min, minHysteresis, max, maxHysteresis, criticalLow, criticalLowHysteresis,
        critical, criticalHysteresis, emergency, emergencyHysteresis, ratedMin, ratedMax, offset;
    Count type, enabled, alarm, minAlarm, maxAlarm, criticalLowAlarm, criticalAlarm, emergencyAlarm, fault, beep;
};

/// A fan (fan1_input).
struct Fan {
    std::string chip, sensor; // "platform_coretemp_0", "fan1"
    Reading<std::string> label;
    Number input, min, max, target;
    Count divisor, pulses, enabled, alarm, minAlarm, maxAlarm, fault, beep;
};

/// An output that drives a fan (pwm1).
struct FanControl {
    std::string chip, sensor; // "platform_coretemp_0", "pwm1"
    Reading<std::string> label;
    Number output;
    Count mode, current;
    Number frequency;
    Count temperatures;
};

/// A voltage (in0_input).
struct Voltage {
    std::string chip, sensor; // "platform_coretemp_0", "in1"
    Reading<std::string> label;
    Number input, average, lowest, highest, min, max, criticalLow, critical, ratedMin, ratedMax;
    Count enabled, alarm, minAlarm, maxAlarm, criticalLowAlarm, criticalAlarm, fault, beep;
};

/// A current (curr1_input).
struct Current {
    std::string chip, sensor; // "platform_coretemp_0", "curr1"
    Reading<std::string> label;
    Number input, average, lowest, highest, min, max, criticalLow, critical, ratedMin, ratedMax;
    Count enabled, alarm, minAlarm, maxAlarm, criticalLowAlarm, criticalAlarm, beep;
};

/// A power (power1_input, power1_average).
struct Power {
    std::string chip, sensor; // "platform_coretemp_0", "power1"
    Reading<std::string> label;
    Number input, average, lowest, highest, averageLowest, averageHighest, averageMin, averageMax, min, max,
        criticalLow, critical, ratedMin, ratedMax, cap, capHysteresis, capMin, capMax, averageInterval,
        averageIntervalMin, averageIntervalMax;
    Count enabled, alarm, minAlarm, maxAlarm, criticalLowAlarm, criticalAlarm, capAlarm;
};

/// A meter of energy (energy1_input).
struct Energy {
    std::string chip, sensor; // "platform_coretemp_0", "energy1"
    Reading<std::string> label;
    Number consumed;
    Count enabled;
};

/// A relative humidity (humidity1_input).
struct Humidity {
    std::string chip, sensor; // "platform_coretemp_0", "humidity1"
    Reading<std::string> label;
    Number input, min, minHysteresis, max, maxHysteresis, ratedMin, ratedMax;
    Count enabled, alarm, minAlarm, maxAlarm, fault;
};

/// A clock (freq1_input).
struct Frequency {
    std::string chip, sensor; // "platform_coretemp_0", "freq1"
    Reading<std::string> label;
    Number input;
};

/// A contact at the case (intrusion0_alarm).
struct Intrusion {
    std::string chip, sensor; // "platform_coretemp_0", "intrusion1"
    Reading<std::string> label;
    Count alarm, beep;
};

/// The voltage that a processor asks its regulator for (cpu0_vid).
struct ProcessorVoltage {
    std::string chip, sensor; // "platform_nct6775_656", "cpu0"
    Number requested;
};

/// What a driver has beside the names that all share (pwm1_auto_point1_temp): the number as the kernel writes it.
struct SensorSetting {
    std::string chip, sensor, attribute; // "platform_nct6775_656", "pwm1", "auto_point1_temp"
    Number value;
};

template<> std::span<const Field<SensorChip>> fieldsOf<SensorChip>();
template<> std::span<const Field<Temperature>> fieldsOf<Temperature>();
template<> std::span<const Field<Fan>> fieldsOf<Fan>();
template<> std::span<const Field<FanControl>> fieldsOf<FanControl>();
template<> std::span<const Field<Voltage>> fieldsOf<Voltage>();
template<> std::span<const Field<Current>> fieldsOf<Current>();
template<> std::span<const Field<Power>> fieldsOf<Power>();
template<> std::span<const Field<Energy>> fieldsOf<Energy>();
template<> std::span<const Field<Humidity>> fieldsOf<Humidity>();
template<> std::span<const Field<Frequency>> fieldsOf<Frequency>();
template<> std::span<const Field<Intrusion>> fieldsOf<Intrusion>();
template<> std::span<const Field<ProcessorVoltage>> fieldsOf<ProcessorVoltage>();
template<> std::span<const Field<SensorSetting>> fieldsOf<SensorSetting>();

} // namespace zel

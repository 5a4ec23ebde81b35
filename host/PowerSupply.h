// What feeds the machine, below /sys/class/power_supply (any user), and what its processors consume, below
// /sys/class/powercap (root since kernel 5.10).
//
// Each of them is asked on a thread of its own, as the chips of host/Sensors.h are.
#pragma once

#include "host/Schema.h"

namespace zel {

/// A battery, a power adapter, a UPS.
struct PowerSupply {
    std::string supply; // "BAT0"
    Reading<std::string> type, scope, manufacturer, model, serial, technology, usbType, status, health, capacityLevel,
        chargeType;
    Count online, present, authentic, calibrate, cycles;
    Number capacity, capacityAlertMin, capacityAlertMax, chargeStart, chargeEnd;
    Count chargeControlLimit, chargeControlLimitMax;
    Number energy, energyAverage, energyFull, energyFullDesign, energyEmpty, energyEmptyDesign, charge, chargeAverage,
        chargeFull, chargeFullDesign, chargeEmpty, chargeEmptyDesign, chargeCounter, voltage, voltageAverage,
        voltageOpen, voltageBoot, voltageMin, voltageMax, voltageMinDesign, voltageMaxDesign, constantChargeVoltage,
        constantChargeVoltageMax, current, currentAverage, currentBoot, currentMax, inputCurrentLimit,
        constantChargeCurrent, constantChargeCurrentMax, prechargeCurrent, chargeTermCurrent, power, powerAverage,
        temperature, ambient, temperatureMin, temperatureMax, temperatureAlertMin, temperatureAlertMax, timeToEmpty,
        timeToEmptyAverage, timeToFull, timeToFullAverage;
};

/// What a part of the machine consumes, as its processors count it (RAPL).
struct PowerZone {
    std::string zone; // "intel-rapl:0:1"
    std::string name; // "package-0", "core", "uncore", "dram", "psys"
    Number consumed;  // begins again at 0 when it comes to consumedRange
    Number consumedRange;
    Count enabled;
    Reading<std::string> constraint0, constraint1, constraint2; // "long_term", "short_term", "peak_power"
    Number limit0, limit1, limit2;
    Number window0, window1;
};

template<> std::span<const Field<PowerSupply>> fieldsOf<PowerSupply>();
template<> std::span<const Field<PowerZone>> fieldsOf<PowerZone>();

} // namespace zel

// The known names of the chips that measure.
#include "tests/support/KnownText.h"

#include <gtest/gtest.h>

namespace {

using zel::Absence;

template<class Row> Row &add(zel::Rows<Row> &rows, const char *sensor) {
    Row &row = rows.append();
    row.chip = "platform_coretemp_0";
    row.sensor = sensor;
    return row;
}

TEST(KnownSensors, TemperatureAndItsLimits) {
    zel::Sample sample;
    zel::Temperature &core = add(sample.temperatures, "temp2");
    core.input = 54.5;
    core.maxHysteresis = 79.0;
    core.critical = Absence::NotYet;
    const KnownText text(zel::knownSensors, sample);
    EXPECT_EQ(text.series(),
              (Lines{R"(node_hwmon_temp_celsius{chip="platform_coretemp_0",sensor="temp2"} 54.5)",
                     R"(node_hwmon_temp_max_hyst_celsius{chip="platform_coretemp_0",sensor="temp2"} 79)"}));
    EXPECT_EQ(text.type("node_hwmon_temp_celsius"), "gauge");
}

TEST(KnownSensors, AlarmOfALimitIsAThousandthAndThatOfTheChannelIsOne) {
    zel::Sample sample;
    zel::Temperature &core = add(sample.temperatures, "temp1");
    core.alarm = core.criticalAlarm = core.fault = std::uint64_t{1};
    zel::Power &power = add(sample.powers, "power1");
    power.capAlarm = std::uint64_t{1};
    power.maxAlarm = std::uint64_t{0};
    EXPECT_EQ(KnownText(zel::knownSensors, sample).series(),
              (Lines{R"(node_hwmon_temp_alarm{chip="platform_coretemp_0",sensor="temp1"} 1)",
                     R"(node_hwmon_temp_crit_alarm_celsius{chip="platform_coretemp_0",sensor="temp1"} 0.001)",
                     R"(node_hwmon_temp_fault{chip="platform_coretemp_0",sensor="temp1"} 1)",
                     R"(node_hwmon_power_max_alarm_watt{chip="platform_coretemp_0",sensor="power1"} 0)",
                     R"(node_hwmon_power_cap_alarm_watt{chip="platform_coretemp_0",sensor="power1"} 1e-06)"}));
}

TEST(KnownSensors, OutputOfAControlCountsTo255) {
    zel::Sample sample;
    add(sample.fanControls, "pwm1").output = 77 / 255.0;
    add(sample.fanControls, "pwm2").output = Absence::Malformed;
    add(sample.fanControls, "pwm3").output = 1.0;
    EXPECT_EQ(KnownText(zel::knownSensors, sample).series("node_hwmon_pwm"),
              (Lines{R"(node_hwmon_pwm{chip="platform_coretemp_0",sensor="pwm1"} 77)",
                     R"(node_hwmon_pwm{chip="platform_coretemp_0",sensor="pwm3"} 255)"}));
}

TEST(KnownSensors, HumidityIsATenthOfItsShare) {
    zel::Sample sample;
    add(sample.humidities, "humidity1").input = 0.5;
    EXPECT_EQ(KnownText(zel::knownSensors, sample).series(),
              (Lines{R"(node_hwmon_humidity{chip="platform_coretemp_0",sensor="humidity1"} 0.05)"}));
}

TEST(KnownSensors, EnergyIsACounter) {
    zel::Sample sample;
    add(sample.energies, "energy1").consumed = 8372.0;
    const KnownText text(zel::knownSensors, sample);
    EXPECT_EQ(text.series("node_hwmon_energy_joule_total"),
              (Lines{R"(node_hwmon_energy_joule_total{chip="platform_coretemp_0",sensor="energy1"} 8372)"}));
    EXPECT_EQ(text.type("node_hwmon_energy_joule_total"), "counter");
}

TEST(KnownSensors, LabelsOfAllKindsAreOneFamily) {
    zel::Sample sample;
    add(sample.fans, "fan2").label = std::string("case");
    add(sample.temperatures, "temp1").label = std::string("Physical id 0");
    add(sample.temperatures, "temp2");
    EXPECT_EQ(KnownText(zel::knownSensors, sample).series(),
              (Lines{R"(node_hwmon_sensor_label{chip="platform_coretemp_0",label="Physical id 0",sensor="temp1"} 1)",
                     R"(node_hwmon_sensor_label{chip="platform_coretemp_0",label="case",sensor="fan2"} 1)"}));
}

TEST(KnownSensors, NameOfAChipIsMadeClean) {
    zel::Sample sample;
    zel::SensorChip &chip = sample.sensorChips.append();
    chip.chip = "platform_nct6775_656";
    chip.name = std::string("NCT 6779");
    chip.updateInterval = 0.5;
    chip.beepEnabled = std::uint64_t{0};
    EXPECT_EQ(KnownText(zel::knownSensors, sample).series(),
              (Lines{R"(node_hwmon_chip_names{chip="platform_nct6775_656",chip_name="nct_6779"} 1)",
                     R"(node_hwmon_update_interval_seconds{chip="platform_nct6775_656",sensor="update_interval0"} 0.5)",
                     R"(node_hwmon_beep_enabled{chip="platform_nct6775_656",sensor="beep_enable0"} 0)"}));
}

} // namespace

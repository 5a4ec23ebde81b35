// What chips, thermal zones, power supplies and power zones say, laid out as the kernel describes its interface to
// sensors.
#include "Faults.h"
#include "SampledHost.h"
#include "SensorTree.h"
#include "host/Rates.h"
#include "host/areas/SensorPlan.h"

#include <cerrno>
#include <sys/stat.h>

namespace {

using zel::Absence;
using zel::Area;
using zel::Sample;

class SensorReader : public testing::Test {
protected:
    const Sample &take() { return m_host.take(); }
    std::string root() const { return m_host.path(); }

    SampledHost m_host{std::vector{Area::Sensors}};
    SensorTree m_tree{m_host.path()};
};

TEST_F(SensorReader, ValuesOfAChipAreInBaseUnits) {
    m_tree.chip("hwmon4", "platform/nct6775.656",
                {{"name", "nct6798\n"},
                 {"update_interval", "1500\n"},
                 {"temp1_input", "45123\n"},
                 {"temp1_max", "80000\n"},
                 {"temp1_crit", "100000\n"},
                 {"temp1_crit_hyst", "97000\n"},
                 {"temp1_label", "SYSTIN\n"},
                 {"temp1_crit_alarm", "1\n"},
                 {"fan2_input", "1180\n"},
                 {"fan2_min", "300\n"},
                 {"fan2_alarm", "0\n"},
                 {"pwm2", "51\n"},
                 {"pwm2_enable", "5\n"},
                 {"in0_input", "904\n"},
                 {"in0_lcrit", "-12000\n"},
                 {"curr1_input", "-250\n"},
                 {"power1_average", "125500001\n"},
                 {"power1_average_interval", "1000\n"},
                 {"power1_cap", "200000000\n"},
                 {"energy1_input", "1234567\n"},
                 {"humidity1_input", "45500\n"},
                 {"freq1_input", "1500000000\n"},
                 {"intrusion0_alarm", "1\n"}});
    const Sample &sample = take();
    EXPECT_EQ(failureOf(sample, Area::Sensors), NO_FAILURE);
    ASSERT_EQ(sample.sensorChips.size(), 1U);
    EXPECT_EQ(sample.sensorChips[0].chip, "platform_nct6775_656");
    EXPECT_TRUE(holds(sample.sensorChips[0].directory, "hwmon4"));
    EXPECT_TRUE(holds(sample.sensorChips[0].name, "nct6798"));
    EXPECT_TRUE(holds(sample.sensorChips[0].device, "/sys/devices/platform/nct6775.656"));
    EXPECT_TRUE(holds(sample.sensorChips[0].updateInterval, 1.5));
    EXPECT_TRUE(holds(sample.sensorChips[0].silentSeconds, 0));
    ASSERT_EQ(sample.temperatures.size(), 1U);
    const zel::Temperature &temperature = sample.temperatures[0];
    EXPECT_EQ(temperature.chip, "platform_nct6775_656");
    EXPECT_EQ(temperature.sensor, "temp1");
    EXPECT_TRUE(holds(temperature.label, "SYSTIN"));
    EXPECT_TRUE(holds(temperature.input, 45.123));
    EXPECT_TRUE(holds(temperature.max, 80));
    EXPECT_TRUE(holds(temperature.critical, 100));
    EXPECT_TRUE(holds(temperature.criticalHysteresis, 97));
    EXPECT_TRUE(holds(temperature.criticalAlarm, 1));
    EXPECT_TRUE(lacks(temperature.emergency, Absence::Unsupported));
    EXPECT_TRUE(lacks(temperature.fault, Absence::Unsupported));
    EXPECT_EQ(sample.fans[0].sensor, "fan2");
    EXPECT_TRUE(holds(sample.fans[0].input, 1180));
    EXPECT_TRUE(holds(sample.fans[0].min, 300));
    EXPECT_TRUE(holds(sample.fanControls[0].output, 0.2)); // 51 of 255
    EXPECT_TRUE(holds(sample.fanControls[0].mode, 5));
    EXPECT_TRUE(holds(sample.voltages[0].input, 0.904));
    EXPECT_TRUE(holds(sample.voltages[0].criticalLow, -12));
    EXPECT_TRUE(holds(sample.currents[0].input, -0.25));
    EXPECT_TRUE(holds(sample.powers[0].average, 125.500001));
    EXPECT_TRUE(holds(sample.powers[0].averageInterval, 1));
    EXPECT_TRUE(holds(sample.powers[0].cap, 200));
    EXPECT_TRUE(lacks(sample.powers[0].input, Absence::Unsupported));
    EXPECT_TRUE(holds(sample.energies[0].consumed, 1.234567));
    EXPECT_TRUE(holds(sample.humidities[0].input, 0.455));
    EXPECT_TRUE(holds(sample.frequencies[0].input, 1.5e9));
    EXPECT_TRUE(holds(sample.intrusions[0].alarm, 1));
}

TEST_F(SensorReader, ChannelsAndChipsAreInTheOrderOfTheirNumbers) {
    for (const char *chip : {"hwmon10", "hwmon2"})
        m_tree.chip(chip, std::string("platform/") + chip,
                    {{"name", "x\n"}, {"temp10_input", "1000\n"}, {"temp2_input", "-5500\n"}});
    const Sample &sample = take();
    ASSERT_EQ(sample.temperatures.size(), 4U);
    EXPECT_EQ(sample.sensorChips[0].chip, "platform_hwmon2");
    EXPECT_EQ(sample.temperatures[0].sensor, "temp2");
    EXPECT_TRUE(holds(sample.temperatures[0].input, -5.5));
    EXPECT_EQ(sample.temperatures[1].sensor, "temp10");
    EXPECT_EQ(sample.temperatures[2].chip, "platform_hwmon10");
}

TEST_F(SensorReader, TwoChipsOfOneDeviceHaveDifferentNames) {
    m_tree.chip("hwmon0", "pci0000:00/0000:00:18.3", {{"name", "k10temp\n"}, {"temp1_input", "1\n"}});
    m_tree.chip("hwmon1", "pci0000:00/0000:00:18.3", {{"name", "other\n"}, {"temp1_input", "2\n"}});
    const Sample &sample = take();
    ASSERT_EQ(sample.temperatures.size(), 2U);
    EXPECT_EQ(sample.temperatures[0].chip, "pci0000:00_0000:00:18_3");
    EXPECT_EQ(sample.temperatures[1].chip, "pci0000:00_0000:00:18_3_hwmon1");
}

TEST_F(SensorReader, AChipWithoutADeviceIsCalledByItsName) {
    m_tree.device("hwmon/hwmon0", {{"name", "Acpi-Tz \n"}, {"temp1_input", "27800\n"}});
    const Sample &sample = take();
    ASSERT_EQ(sample.temperatures.size(), 1U);
    EXPECT_EQ(sample.temperatures[0].chip, "acpi_tz");
    EXPECT_TRUE(holds(sample.temperatures[0].input, 27.8));
    EXPECT_TRUE(lacks(sample.sensorChips[0].device, Absence::Unsupported));
}

TEST_F(SensorReader, FilesOfAnOldChipAreThoseOfItsDevice) {
    m_tree.device("hwmon/hwmon0", {{"uevent", ""}});
    m_tree.device("hwmon/hwmon0/device",
                  {{"name", "coretemp\n"}, {"temp2_input", "40000\n"}, {"temp2_label", "Core 0\n"}});
    const Sample &sample = take();
    ASSERT_EQ(sample.temperatures.size(), 1U);
    EXPECT_EQ(sample.temperatures[0].chip, "coretemp");
    EXPECT_TRUE(holds(sample.temperatures[0].input, 40));
    EXPECT_TRUE(holds(sample.temperatures[0].label, "Core 0"));
}

TEST_F(SensorReader, WhatIsNoNumberIsMalformedAlone) {
    m_tree.device("hwmon/hwmon0", {{"name", "x\n"},
                                   {"temp1_input", "hot\n"},
                                   {"temp2_input", ""},
                                   {"temp3_input", "99999999999999999999999\n"},
                                   {"temp4_input", "- 5\n"},
                                   {"temp5_input", std::string(10000, '7')},
                                   {"temp6_input", std::string("\0\0", 2)},
                                   {"temp7_input", "20000"}});
    const Sample &sample = take();
    ASSERT_EQ(sample.temperatures.size(), 7U);
    for (std::size_t index = 0; index < 6; ++index)
        EXPECT_TRUE(lacks(sample.temperatures[index].input, Absence::Malformed)) << index;
    EXPECT_TRUE(holds(sample.temperatures[6].input, 20)) << "without a line end";
}

TEST_F(SensorReader, ACounterIsNeverNegative) {
    m_tree.device("hwmon/hwmon0", {{"name", "x\n"}, {"energy1_input", "-1\n"}, {"temp1_input", "-5000\n"}});
    m_tree.device("powercap/intel-rapl:0",
                  {{"name", "package-0\n"}, {"energy_uj", "-7\n"}, {"max_energy_range_uj", "-9\n"}});
    const Sample &sample = take();
    ASSERT_EQ(sample.energies.size(), 1U);
    EXPECT_TRUE(lacks(sample.energies[0].consumed, Absence::Malformed));
    EXPECT_TRUE(holds(sample.temperatures[0].input, -5)) << "others may be";
    ASSERT_EQ(sample.powerZones.size(), 1U);
    EXPECT_TRUE(lacks(sample.powerZones[0].consumed, Absence::Malformed));
    EXPECT_TRUE(lacks(sample.powerZones[0].consumedRange, Absence::Malformed));
}

TEST_F(SensorReader, VoltagesThatProcessorsAskForAndTheTableTheyComeFrom) {
    m_tree.device("hwmon/hwmon0",
                  {{"name", "w83627hf\n"}, {"vrm", "90\n"}, {"cpu0_vid", "1475\n"}, {"cpu1_vid", "none\n"}});
    const Sample &sample = take();
    ASSERT_EQ(sample.sensorChips.size(), 1U);
    EXPECT_TRUE(holds(sample.sensorChips[0].voltageRegulator, 90));
    ASSERT_EQ(sample.processorVoltages.size(), 2U);
    EXPECT_EQ(sample.processorVoltages[0].chip, "w83627hf");
    EXPECT_EQ(sample.processorVoltages[0].sensor, "cpu0");
    EXPECT_TRUE(holds(sample.processorVoltages[0].requested, 1.475));
    EXPECT_TRUE(lacks(sample.processorVoltages[1].requested, Absence::Malformed));
}

TEST_F(SensorReader, WhatADriverHasBesideTheCommonNamesIsASetting) {
    m_tree.device("hwmon/hwmon0", {{"name", "nct6779\n"},
                                   {"pwm1", "127\n"},
                                   {"pwm1_auto_point2_temp", "30000\n"},
                                   {"pwm1_auto_point1_pwm", "153\n"},
                                   {"fan1_tolerance", "-3\n"},
                                   {"power1_oem_info", "a text\n"},
                                   {"temp1_reset_history", "1\n"},
                                   {"cpu0_other", "1\n"},
                                   {"pwm1_" + std::string(zel::SENSOR_FILE_AT_MOST, 'x'), "1\n"}});
    const Sample &sample = take();
    ASSERT_EQ(sample.sensorSettings.size(), 4U);
    EXPECT_EQ(sample.sensorSettings[0].chip, "nct6779");
    EXPECT_EQ(sample.sensorSettings[0].sensor, "fan1");
    EXPECT_EQ(sample.sensorSettings[0].attribute, "tolerance");
    EXPECT_TRUE(holds(sample.sensorSettings[0].value, -3));
    EXPECT_EQ(sample.sensorSettings[1].attribute, "oem_info");
    EXPECT_TRUE(lacks(sample.sensorSettings[1].value, Absence::Unsupported)) << "it need not be a number";
    EXPECT_EQ(sample.sensorSettings[2].attribute, "auto_point1_pwm");
    EXPECT_TRUE(holds(sample.sensorSettings[2].value, 153));
    EXPECT_EQ(sample.sensorSettings[3].attribute, "auto_point2_temp");
    EXPECT_TRUE(holds(sample.sensorSettings[3].value, 30000)) << "as the kernel writes it";
    EXPECT_EQ(failureOf(sample, Area::Sensors), NO_FAILURE);
}

TEST_F(SensorReader, NamesThatAreNoneOfTheInterfaceAreLeftOut) {
    m_tree.device("hwmon/hwmon0", {{"name", "x\n"},
                                   {"temp_input", "1\n"},
                                   {"temp1input", "1\n"},
                                   {"temp99999999999999999999_input", "1\n"},
                                   {"temp10000_input", "1\n"},
                                   {"temp1_nonsense", "1\n"},
                                   {"tempx_input", "1\n"},
                                   {"temp-1_input", "1\n"},
                                   {"in", "1\n"},
                                   {"pwm1_auto_point1_pwm", "1\n"}});
    const Sample &sample = take();
    EXPECT_EQ(sample.sensorChips.size(), 1U);
    EXPECT_TRUE(sample.temperatures.empty());
    EXPECT_TRUE(sample.voltages.empty());
    EXPECT_TRUE(sample.fanControls.empty());
    EXPECT_EQ(sample.sensorSettings.size(), 2U) << "nonsense of temp1, and the point of pwm1";
}

TEST_F(SensorReader, WhatIsNoFileHoldsNothingUp) {
    m_tree.device("hwmon/hwmon0", {{"name", "x\n"}, {"temp3_input", "1000\n"}});
    ASSERT_EQ(mkfifo((root() + "/sys/class/hwmon/hwmon0/temp1_input").c_str(), 0600), 0);
    std::filesystem::create_directory(root() + "/sys/class/hwmon/hwmon0/temp2_input");
    m_host.write("secret", "77000\n");
    std::filesystem::create_symlink(root() + "/secret", root() + "/sys/class/hwmon/hwmon0/temp4_input");
    const Sample &sample = take();
    ASSERT_EQ(sample.temperatures.size(), 4U);
    EXPECT_TRUE(lacks(sample.temperatures[0].input, Absence::Malformed)) << "an empty pipe";
    EXPECT_TRUE(lacks(sample.temperatures[1].input, Absence::Malformed)) << "a directory";
    EXPECT_TRUE(holds(sample.temperatures[2].input, 1));
    EXPECT_TRUE(lacks(sample.temperatures[3].input, Absence::Unsupported)) << "a link";
}

TEST_F(SensorReader, ASensorWithoutAValueSaysWhy) {
    const std::vector<std::pair<int, Absence>> errors{{EAGAIN, Absence::NotYet},       {EBUSY, Absence::NotYet},
                                                      {ENODATA, Absence::Unsupported}, {EIO, Absence::Malformed},
                                                      {EINVAL, Absence::Unsupported},  {ENXIO, Absence::Vanished},
                                                      {EACCES, Absence::Denied},       {ETIMEDOUT, Absence::TimedOut}};
    m_tree.device("thermal/thermal_zone3", {{"type", "acpitz\n"}, {"temp", "46000\n"}});
    EXPECT_TRUE(holds(take().thermalZones[0].temperature, 46));
    for (const auto &[error, absence] : errors) {
        const Fault fault(Call::Pread, 1, error);
        const Sample &sample = take();
        ASSERT_EQ(sample.thermalZones.size(), 1U);
        EXPECT_TRUE(lacks(sample.thermalZones[0].temperature, absence)) << error;
        EXPECT_EQ(sample.thermalZones[0].type, "acpitz");
        const bool isFailure = absence != Absence::NotYet && absence != Absence::Unsupported;
        EXPECT_EQ(failureOf(sample, Area::Sensors),
                  isFailure ? std::pair(error, std::string("sys/class/thermal/thermal_zone3/temp")) : NO_FAILURE);
    }
}

TEST_F(SensorReader, ThermalZonesHaveTheirLowestTripPoints) {
    m_tree.device("thermal/thermal_zone1", {{"type", "x86_pkg_temp\n"},
                                            {"temp", "-2000\n"},
                                            {"mode", "enabled\n"},
                                            {"policy", "step_wise\n"},
                                            {"trip_point_0_type", "critical\n"},
                                            {"trip_point_0_temp", "105000\n"},
                                            {"trip_point_1_type", "passive\n"},
                                            {"trip_point_1_temp", "90000\n"},
                                            {"trip_point_2_type", "passive\n"},
                                            {"trip_point_2_temp", "85500\n"},
                                            {"trip_point_3_type", "active\n"},
                                            {"trip_point_3_temp", "none\n"}});
    m_tree.device("thermal/cooling_device10", {{"type", "Processor\n"}, {"cur_state", "2\n"}, {"max_state", "10\n"}});
    const Sample &sample = take();
    ASSERT_EQ(sample.thermalZones.size(), 1U);
    const zel::ThermalZone &zone = sample.thermalZones[0];
    EXPECT_EQ(zone.zone, 1U);
    EXPECT_EQ(zone.type, "x86_pkg_temp");
    EXPECT_TRUE(holds(zone.temperature, -2));
    EXPECT_TRUE(holds(zone.critical, 105));
    EXPECT_TRUE(holds(zone.passive, 85.5));
    EXPECT_TRUE(lacks(zone.active, Absence::Unsupported));
    EXPECT_TRUE(lacks(zone.hot, Absence::Unsupported));
    EXPECT_TRUE(holds(zone.mode, "enabled"));
    ASSERT_EQ(sample.coolingDevices.size(), 1U);
    EXPECT_EQ(sample.coolingDevices[0].device, 10U);
    EXPECT_EQ(sample.coolingDevices[0].type, "Processor");
    EXPECT_TRUE(holds(sample.coolingDevices[0].state, 2));
    EXPECT_TRUE(holds(sample.coolingDevices[0].maxState, 10));
}

TEST_F(SensorReader, SuppliesAreInBaseUnits) {
    m_tree.device("power_supply/AC", {{"type", "Mains\n"}, {"online", "1\n"}});
    m_tree.device("power_supply/BAT0", {{"type", "Battery\n"},
                                        {"status", "Not charging\n"},
                                        {"present", "1\n"},
                                        {"capacity", "73\n"},
                                        {"energy_now", "36500000\n"},
                                        {"energy_full_design", "57000000\n"},
                                        {"charge_now", "3000000\n"},
                                        {"voltage_now", "11950000\n"},
                                        {"current_now", "-680000\n"},
                                        {"power_now", "8125000\n"},
                                        {"cycle_count", "217\n"},
                                        {"temp", "-35\n"},
                                        {"time_to_empty_now", "5400\n"},
                                        {"model_name", "X 1\n"}});
    const Sample &sample = take();
    ASSERT_EQ(sample.powerSupplies.size(), 2U);
    EXPECT_EQ(sample.powerSupplies[0].supply, "AC");
    EXPECT_TRUE(holds(sample.powerSupplies[0].online, 1));
    EXPECT_TRUE(lacks(sample.powerSupplies[0].capacity, Absence::Unsupported));
    const zel::PowerSupply &battery = sample.powerSupplies[1];
    EXPECT_TRUE(holds(battery.type, "Battery"));
    EXPECT_TRUE(holds(battery.status, "Not charging"));
    EXPECT_TRUE(holds(battery.capacity, 0.73));
    EXPECT_TRUE(holds(battery.energy, 131400)); // 36.5 Wh
    EXPECT_TRUE(holds(battery.energyFullDesign, 205200));
    EXPECT_TRUE(holds(battery.charge, 10800)); // 3 Ah
    EXPECT_TRUE(holds(battery.voltage, 11.95));
    EXPECT_TRUE(holds(battery.current, -0.68));
    EXPECT_TRUE(holds(battery.power, 8.125));
    EXPECT_TRUE(holds(battery.cycles, 217));
    EXPECT_TRUE(holds(battery.temperature, -3.5));
    EXPECT_TRUE(holds(battery.timeToEmpty, 5400));
    EXPECT_TRUE(holds(battery.model, "X 1"));
}

TEST_F(SensorReader, PowerOfAZoneIsRightAcrossItsWrap) {
    m_tree.device("powercap/intel-rapl", {{"enabled", "1\n"}});
    m_tree.device("powercap/intel-rapl:0:1", {{"name", "dram\n"}, {"energy_uj", "5\n"}});
    const SensorTree::Files package{{"name", "package-0\n"},
                                    {"max_energy_range_uj", "262143328850\n"},
                                    {"constraint_0_name", "long_term\n"},
                                    {"constraint_0_power_limit_uw", "95000000\n"},
                                    {"constraint_0_time_window_us", "2500000\n"}};
    m_tree.device("powercap/intel-rapl:0", package);
    m_tree.device("powercap/intel-rapl:0", {{"energy_uj", "262143000000\n"}});
    Sample before = take();
    ASSERT_EQ(before.powerZones.size(), 2U) << "what all zones are below of is none";
    EXPECT_EQ(before.powerZones[0].zone, "intel-rapl:0");
    EXPECT_EQ(before.powerZones[0].name, "package-0");
    EXPECT_TRUE(holds(before.powerZones[0].consumed, 262143));
    EXPECT_TRUE(holds(before.powerZones[0].constraint0, "long_term"));
    EXPECT_TRUE(holds(before.powerZones[0].limit0, 95));
    EXPECT_TRUE(holds(before.powerZones[0].window0, 2.5));
    m_tree.device("powercap/intel-rapl:0", {{"energy_uj", "99671150\n"}});
    Sample after = take();
    after.area(Area::Sensors).monotonicNanoseconds = before.area(Area::Sensors).monotonicNanoseconds + 4000000000;
    const zel::Rates rates = zel::between(before, after);
    // 262143.32885 - 262143 + 99.67115 = 100 joules in 4 seconds.
    EXPECT_NEAR(rates.perSecond("power_zones", "consumed_joules_total", "intel-rapl:0").valueOr(0), 25, 1e-6);
    EXPECT_TRUE(holds(rates.perSecond("power_zones", "consumed_joules_total", "intel-rapl:0:1"), 0));
}

TEST_F(SensorReader, DevicesComeAndGo) {
    m_tree.device("power_supply/BAT0", {{"capacity", "10\n"}});
    EXPECT_EQ(take().powerSupplies.size(), 1U);
    m_tree.device("power_supply/BAT1", {{"capacity", "20\n"}});
    m_host.remove("sys/class/power_supply/BAT0");
    const Sample &sample = take();
    ASSERT_EQ(sample.powerSupplies.size(), 1U);
    EXPECT_EQ(sample.powerSupplies[0].supply, "BAT1");
}

TEST_F(SensorReader, AHostWithoutAnySaysSo) {
    const Sample &sample = take();
    EXPECT_EQ(sample.area(Area::Sensors).absence, Absence::Unsupported);
    EXPECT_EQ(failureOf(sample, Area::Sensors), std::pair(ENOENT, std::string("sys/class/hwmon")));
    EXPECT_TRUE(sample.sensorChips.empty());
}

} // namespace

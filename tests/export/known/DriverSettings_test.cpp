// The known names of what chips have beside the files that all drivers share.
#include "tests/support/KnownText.h"

#include <gtest/gtest.h>

namespace {

class KnownDriverSettings : public testing::Test {
protected:
    void setting(const char *sensor, const char *attribute, const zel::Number &value) {
        zel::SensorSetting &row = m_sample.sensorSettings.append();
        row.chip = "c";
        row.sensor = sensor;
        row.attribute = attribute;
        row.value = value;
    }
    KnownText text() const { return KnownText(zel::knownDriverSettings, m_sample); }

    zel::Sample m_sample;
};

TEST_F(KnownDriverSettings, AnAttributeIsAFamilyInTheUnitOfItsSensor) {
    setting("curr1", "x", 1500.0);
    setting("energy1", "x", 5e6);
    setting("fan1", "tolerance", 3.0);
    setting("humidity1", "x", 45000.0);
    setting("in0", "x", 792.0);
    setting("intrusion0", "x", 1.0);
    setting("power1", "is_battery", 2e6);
    setting("pwm1", "auto_point1_temp", 30000.0);
    setting("temp12", "x", -500.0);
    EXPECT_EQ(text().series(), (Lines{R"(node_hwmon_curr_x_amps{chip="c",sensor="curr1"} 1.5)",
                                      R"(node_hwmon_energy_x_joule_total{chip="c",sensor="energy1"} 5)",
                                      R"(node_hwmon_fan_tolerance{chip="c",sensor="fan1"} 3)",
                                      R"(node_hwmon_humidity_x{chip="c",sensor="humidity1"} 0.045)",
                                      R"(node_hwmon_in_x_volts{chip="c",sensor="in0"} 0.792)",
                                      R"(node_hwmon_intrusion_x{chip="c",sensor="intrusion0"} 1)",
                                      R"(node_hwmon_power_is_battery_watt{chip="c",sensor="power1"} 2)",
                                      R"(node_hwmon_pwm_auto_point1_temp{chip="c",sensor="pwm1"} 30000)",
                                      R"(node_hwmon_temp_x_celsius{chip="c",sensor="temp12"} -0.5)"}));
    EXPECT_EQ(text().type("node_hwmon_energy_x_joule_total"), "counter");
    EXPECT_EQ(text().type("node_hwmon_fan_tolerance"), "gauge");
}

TEST_F(KnownDriverSettings, SensorsOfOneKindShareAFamily) {
    setting("fan1", "tolerance", 1.0);
    setting("pwm1", "floor", 2.0);
    setting("fan2", "tolerance", zel::Absence::Unsupported);
    setting("fan3", "tolerance", 3.0);
    EXPECT_EQ(text().series(), (Lines{R"(node_hwmon_fan_tolerance{chip="c",sensor="fan1"} 1)",
                                      R"(node_hwmon_fan_tolerance{chip="c",sensor="fan3"} 3)",
                                      R"(node_hwmon_pwm_floor{chip="c",sensor="pwm1"} 2)"}));
}

TEST_F(KnownDriverSettings, ANameThatIsNoneOfAFamilyIsLeftOut) {
    setting("fan1", "a\nb", 1.0);
    setting("fan1", "A", 1.0);
    setting("other1", "x", 1.0);
    EXPECT_TRUE(text().lines().empty());
}

// A page that has a family twice is refused as a whole.
TEST_F(KnownDriverSettings, AnAttributeNeverGivesAFamilyOfTheSharedFiles) {
    for (const char *attribute : {"rpm", "min_rpm", "max_rpm", "target_rpm", "beep_enabled"})
        setting("fan1", attribute, 1.0);
    setting("temp1", "max", 1.0);
    setting("fan1", "own", 2.0);
    EXPECT_EQ(text().series(), (Lines{R"(node_hwmon_fan_own{chip="c",sensor="fan1"} 2)"}));
}

TEST_F(KnownDriverSettings, VoltagesOfProcessorsAndTheirTable) {
    zel::SensorChip &chip = m_sample.sensorChips.append();
    chip.chip = "c";
    chip.voltageRegulator = std::uint64_t{90};
    zel::ProcessorVoltage &voltage = m_sample.processorVoltages.append();
    voltage.chip = "c";
    voltage.sensor = "cpu0";
    voltage.requested = 1.475;
    EXPECT_EQ(text().series(), (Lines{R"(node_hwmon_cpu_vid_volts{chip="c",sensor="cpu0"} 1.475)",
                                      R"(node_hwmon_voltage_regulator_version{chip="c",sensor="vrm0"} 90)"}));
}

} // namespace

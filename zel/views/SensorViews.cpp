// The tables of what the machine measures, and of its clocks.
#include "zel/views/Views.h"

#include "zel/Units.h"
#include "zel/views/Cells.h"

#include <algorithm>
#include <string>

namespace zel {

namespace {

constexpr std::size_t neverInOverview = static_cast<std::size_t>(-1);

// A value beside the limits of its own row.
Tone toneBeside(const RowValues &row, const Value &value, std::string_view warning, std::string_view alarm) {
    const bool isHot = row[alarm].has() && value.asReal() >= row.number(alarm) && row.number(alarm) > 0;
    const bool isWarm = row[warning].has() && value.asReal() >= row.number(warning) && row.number(warning) > 0;
    return isHot ? Tone::Alarm : isWarm ? Tone::Warning : Tone::Plain;
}

Cell sensorCell(const RowValues &row, const Style &style, std::string_view field, std::string_view warning,
                std::string_view alarm) {
    const Value value = row[field];
    if (row.number("fault") > 0)
        return {"fault", Tone::Alarm};
    for (const Family *family : row.section().families()) {
        if (family->name == field && value.has())
            return {valueText(*family, value, style.charset), toneBeside(row, value, warning, alarm)};
        if (family->name == field)
            return {valueText(*family, value, style.charset),
                    value.absence() == Absence::TimedOut ? Tone::Alarm : Tone::Quiet};
    }
    return {"-", Tone::Quiet};
}
Cell temperature(const RowValues &row, const Style &style) {
    return sensorCell(row, style, "input_celsius", "max_celsius", "critical_celsius");
}
Cell zoneTemperature(const RowValues &row, const Style &style) {
    return sensorCell(row, style, "temperature_celsius", "passive_celsius", "critical_celsius");
}
Cell fanSpeed(const RowValues &row, const Style &style) {
    return sensorCell(row, style, "input_rpm", "", "");
}

// The alarms that a sensor raises, by what they are of.
Cell alarms(const RowValues &row, const Style &) {
    constexpr std::string_view ending = "alarm";
    std::string text;
    for (const Family *family : row.section().families()) {
        if (!family->name.ends_with(ending) || row.number(family->name) == 0)
            continue;
        text += text.empty() ? "" : " ";
        text += family->name == ending ? ending : family->name.substr(0, family->name.size() - ending.size() - 1);
    }
    return text.empty() ? Cell{"-", Tone::Quiet} : Cell{text, Tone::Alarm};
}
Cell answer(const RowValues &row, const Style &style) {
    const double seconds = row.number("silent_seconds");
    return seconds > 0 ? Cell{"silent " + secondsText(seconds, style.charset), Tone::Alarm} : Cell{"ok", Tone::Quiet};
}
bool answers(const RowValues &row) {
    return row.number("silent_seconds") == 0;
}
bool isIdle(const RowValues &row) {
    return row.number("state", 1) == 0;
}
bool isClosed(const RowValues &row) {
    return row.number("alarm") == 0;
}
bool isNotMeasured(const RowValues &row) {
    const Absence reason = row["temperature_celsius"].absence();
    return reason == Absence::Unsupported || reason == Absence::NotYet;
}

constexpr ViewColumn chips[] = {
    {"chip", "chip", 0, 0, true}, {"name", "name"},     {"answers", "silent_seconds", 0, 0, true, answer, true},
    {"directory", "directory"},   {"device", "device"},
};
constexpr ViewColumn temperatures[] = {
    {"chip", "chip"},
    {"sensor", "sensor", 0, 0, true},
    {"label", "label"},
    {"temperature", "input_celsius", 0, 0, true, temperature},
    {"max", "max_celsius"},
    {"critical", "critical_celsius"},
    {"alarms", "alarm", 0, 0, false, alarms, true},
};
constexpr ViewColumn fans[] = {
    {"chip", "chip"},
    {"sensor", "sensor", 0, 0, true},
    {"label", "label"},
    {"speed", "input_rpm", 0, 0, true, fanSpeed},
    {"min", "min_rpm"},
    {"target", "target_rpm"},
    {"alarms", "alarm", 0, 0, false, alarms, true},
};
constexpr ViewColumn controls[] = {
    {"chip", "chip"}, {"sensor", "sensor"}, {"label", "label"}, {"output", "output_ratio"}, {"mode", "mode"},
};
constexpr ViewColumn voltages[] = {
    {"chip", "chip"},
    {"sensor", "sensor", 0, 0, true},
    {"label", "label"},
    {"voltage", "input_volts", 0, 0, true},
    {"min", "min_volts"},
    {"max", "max_volts"},
    {"alarms", "alarm", 0, 0, false, alarms, true},
};
constexpr ViewColumn currents[] = {
    {"chip", "chip"},
    {"sensor", "sensor", 0, 0, true},
    {"label", "label"},
    {"current", "input_amperes", 0, 0, true},
    {"max", "max_amperes"},
    {"critical", "critical_amperes"},
    {"alarms", "alarm", 0, 0, false, alarms, true},
};
constexpr ViewColumn powers[] = {
    {"chip", "chip"},
    {"sensor", "sensor", 0, 0, true},
    {"label", "label"},
    {"power", "input_watts", 0, 0, true},
    {"average", "average_watts"},
    {"cap", "cap_watts"},
    {"max", "max_watts"},
    {"alarms", "alarm", 0, 0, false, alarms, true},
};
constexpr ViewColumn energies[] = {
    {"chip", "chip"},
    {"sensor", "sensor"},
    {"label", "label"},
    {"power", "consumed_watts"},
    {"consumed", "consumed_joules_total"},
};
constexpr ViewColumn humidities[] = {
    {"chip", "chip"}, {"sensor", "sensor"}, {"label", "label"}, {"humidity", "input_ratio"}, {"max", "max_ratio"},
};
constexpr ViewColumn frequencies[] = {
    {"chip", "chip"},
    {"sensor", "sensor"},
    {"label", "label"},
    {"frequency", "input_hertz"},
};
constexpr ViewColumn intrusions[] = {
    {"chip", "chip"},
    {"sensor", "sensor"},
    {"label", "label"},
    {"opened", "alarm", 0, 1},
};
constexpr ViewColumn requested[] = {
    {"chip", "chip"},
    {"processor", "sensor"},
    {"requested", "requested_volts"},
};
constexpr ViewColumn settings[] = {
    {"chip", "chip"},
    {"sensor", "sensor"},
    {"attribute", "attribute"},
    {"value", "value"},
};
constexpr ViewColumn zones[] = {
    {"zone", "zone"},
    {"type", "type"},
    {"temperature", "temperature_celsius", 0, 0, true, zoneTemperature},
    {"passive", "passive_celsius"},
    {"hot", "hot_celsius"},
    {"critical", "critical_celsius"},
    {"policy", "policy"},
};
constexpr ViewColumn cooling[] = {
    {"device", "device"},
    {"type", "type"},
    {"state", "state"},
    {"most", "max_state"},
};
constexpr ViewColumn supplies[] = {
    {"supply", "supply"},
    {"type", "type"},
    {"status", "status"},
    {"online", "online"},
    {"full", "capacity_ratio"},
    {"power", "power_watts"},
    {"voltage", "voltage_volts"},
    {"current", "current_amperes"},
    {"temperature", "temperature_celsius"},
    {"empty in", "time_to_empty_seconds"},
    {"cycles", "cycles_total"},
    {"health", "health"},
    {"model", "model_name"},
};
constexpr ViewColumn powerZones[] = {
    {"zone", "zone"},
    {"name", "name"},
    {"power", "consumed_watts"},
    {"consumed", "consumed_joules_total"},
    {"limit", "limit_0_watts"},
    {"second limit", "limit_1_watts"},
};
constexpr ViewColumn clocks[] = {
    {"synchronised", "synchronised"},
    {"state", "state"},
    {"offset", "offset_seconds"},
    {"estimated error", "estimated_error_seconds"},
    {"maximum error", "maximum_error_seconds"},
    {"TAI offset", "tai_offset_seconds"},
    {"clock source", "clock_source"},
    {"other sources", "clock_sources"},
    {"zone", "zone"},
};

constexpr View views[] = {
    {.section = "sensor_chips",
     .heading = "CHIPS",
     .columns = chips,
     .overviewHides = answers,
     .overviewHidden = "that answer"},
    {.section = "temperatures",
     .heading = "TEMPERATURES",
     .columns = temperatures,
     .order = "input_celsius",
     .onlyWithRows = true,
     .overviewRows = 6},
    {.section = "fans", .heading = "FANS", .columns = fans, .onlyWithRows = true, .overviewRows = 6},
    {.section = "fan_controls",
     .heading = "FAN CONTROLS",
     .columns = controls,
     .onlyWithRows = true,
     .overviewLeast = neverInOverview},
    {.section = "voltages",
     .heading = "VOLTAGES",
     .columns = voltages,
     .onlyWithRows = true,
     .overviewLeast = neverInOverview},
    {.section = "currents",
     .heading = "CURRENTS",
     .columns = currents,
     .onlyWithRows = true,
     .overviewLeast = neverInOverview},
    {.section = "powers", .heading = "POWERS", .columns = powers, .onlyWithRows = true, .overviewRows = 4},
    {.section = "energies",
     .heading = "ENERGY METERS",
     .columns = energies,
     .onlyWithRows = true,
     .overviewLeast = neverInOverview},
    {.section = "humidities", .heading = "HUMIDITIES", .columns = humidities, .onlyWithRows = true, .overviewRows = 4},
    {.section = "frequencies",
     .heading = "CLOCK RATES",
     .columns = frequencies,
     .onlyWithRows = true,
     .overviewLeast = neverInOverview},
    {.section = "intrusions",
     .heading = "CASE CONTACTS",
     .columns = intrusions,
     .onlyWithRows = true,
     .overviewHides = isClosed,
     .overviewHidden = "closed"},
    {.section = "processor_voltages",
     .heading = "REQUESTED VOLTAGES",
     .columns = requested,
     .onlyWithRows = true,
     .overviewLeast = neverInOverview},
    {.section = "sensor_settings",
     .heading = "SETTINGS OF DRIVERS",
     .columns = settings,
     .onlyWithRows = true,
     .overviewLeast = neverInOverview},
    {.section = "thermal_zones",
     .heading = "THERMAL ZONES",
     .columns = zones,
     .order = "temperature_celsius",
     .onlyWithRows = true,
     .overviewRows = 4,
     .hides = isNotMeasured,
     .hidden = "without a value"},
    {.section = "cooling_devices",
     .heading = "COOLING",
     .columns = cooling,
     .onlyWithRows = true,
     .overviewRows = 4,
     .overviewHides = isIdle,
     .overviewHidden = "idle"},
    {.section = "power_supplies",
     .heading = "POWER SUPPLIES",
     .columns = supplies,
     .onlyWithRows = true,
     .overviewRows = 8},
    {.section = "power_zones",
     .heading = "POWER ZONES",
     .columns = powerZones,
     .onlyWithRows = true,
     .overviewRows = 8},
    {.section = "time", .heading = "TIME", .layout = View::Layout::Pairs, .columns = clocks},
};

} // namespace

std::span<const View> sensorViews() {
    return views;
}

} // namespace zel

// The known names of what chips have beside the files that all drivers share: a family for each attribute, named after
// it. An attribute whose family is that of a shared file ("fan1_rpm" beside "fan1_input") has none.
#include "export/known/BuiltName.h"
#include "export/known/Known.h"
#include "export/known/SensorFamilies.h"

namespace zel {

namespace {

constexpr MetricType counter = MetricType::Counter, gauge = MetricType::Gauge;

// What the names take an attribute of a sensor for.
struct Kind {
    std::string_view sensor, ending;
    double divisor = 1;
    MetricType type = gauge;
};
constexpr Kind kinds[] = {
    {"temp", "_celsius", 1e3}, {"fan", ""},
    {"in", "_volts", 1e3},     {"curr", "_amps", 1e3},
    {"power", "_watt", 1e6},   {"energy", "_joule_total", 1e6, counter},
    {"humidity", "", 1e6},     {"pwm", ""},
    {"intrusion", ""},
};

// "temp" of "temp12"
std::string_view stemOf(std::string_view sensor) {
    return sensor.substr(0, sensor.find_first_of("0123456789"));
}

const Kind *kindOf(const SensorSetting &setting) {
    const std::string_view stem = stemOf(setting.sensor);
    const auto found =
        std::find_if(std::begin(kinds), std::end(kinds), [stem](const Kind &kind) { return kind.sensor == stem; });
    return found == std::end(kinds) ? nullptr : found;
}

bool isNamed(const SensorSetting &setting) {
    const auto fits = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_'; };
    return kindOf(setting) != nullptr && std::all_of(setting.attribute.begin(), setting.attribute.end(), fits);
}

bool haveOneName(const SensorSetting &one, const SensorSetting &other) {
    return one.attribute == other.attribute && stemOf(one.sensor) == stemOf(other.sensor);
}

// "node_hwmon_pwm_auto_point1_temp"
void build(BuiltName &name, const Kind &kind, std::string_view attribute) {
    name.clear();
    name.add("node_hwmon_").add(kind.sensor).add("_").add(attribute).add(kind.ending);
}

void writeFamily(const Rows<SensorSetting> &settings, std::size_t first, const Kind &kind, MetricSink &sink) {
    for (std::size_t index = first; index < settings.size(); ++index) {
        const SensorSetting &setting = settings[index];
        if (!haveOneName(settings[first], setting) || !setting.value)
            continue;
        sink.label("chip", setting.chip).label("sensor", setting.sensor).value(*setting.value / kind.divisor);
    }
}

void write(const Sample &sample, MetricSink &sink) {
    sink.family("node_hwmon_cpu_vid_volts", gauge, "Voltage that a processor asks its regulator for.");
    for (const ProcessorVoltage &voltage : sample.processorVoltages)
        sink.label("chip", voltage.chip).label("sensor", voltage.sensor).value(voltage.requested);
    sink.family("node_hwmon_voltage_regulator_version", gauge,
                "Version of the table that voltages of processors come from, times ten.");
    for (const SensorChip &chip : sample.sensorChips)
        sink.label("chip", chip.chip).label("sensor", "vrm0").value(chip.voltageRegulator);
    const Rows<SensorSetting> &settings = sample.sensorSettings;
    BuiltName name;
    for (std::size_t index = 0; index < settings.size(); ++index) {
        const SensorSetting &setting = settings[index];
        const auto isAnother = [&setting](const SensorSetting &before) { return haveOneName(before, setting); };
        if (!isNamed(setting) || std::any_of(settings.begin(), settings.begin() + index, isAnother))
            continue;
        const Kind &kind = *kindOf(setting);
        build(name, kind, setting.attribute);
        if (!name.fits() || isSensorFamily(name.text()))
            continue;
        sink.family(name.text(), kind.type, "What the driver of a chip says of a sensor or an output.");
        writeFamily(settings, index, kind, sink);
    }
}

void listFields(KnownFields &known) {
    known.add<ProcessorVoltage>({&ProcessorVoltage::requested});
    known.add<SensorChip>({&SensorChip::voltageRegulator});
    known.add<SensorSetting>({&SensorSetting::value});
}

} // namespace

const KnownMetrics knownDriverSettings{Area::Sensors, write, listFields};

} // namespace zel

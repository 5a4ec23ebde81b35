// The known names of what chips have beside the files that all drivers share: a family for each attribute, named after
// it.
#include "export/known/Known.h"

#include <array>

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
class FamilyName {
public:
    std::string_view of(const Kind &kind, std::string_view attribute) {
        m_length = 0;
        for (const std::string_view part :
             {std::string_view("node_hwmon_"), kind.sensor, std::string_view("_"), attribute, kind.ending}) {
            const std::size_t fits = std::min(part.size(), m_text.size() - m_length);
            std::copy_n(part.begin(), fits, m_text.begin() + static_cast<std::ptrdiff_t>(m_length));
            m_length += fits;
        }
        return {m_text.data(), m_length};
    }

private:
    std::array<char, 160> m_text; // an attribute is the name of a file, of which the reader takes 95 characters
    std::size_t m_length = 0;
};

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
    std::array<FamilyName, 2> names; // that of the family before stays until the next one has begun
    std::size_t families = 0;
    for (std::size_t index = 0; index < settings.size(); ++index) {
        const SensorSetting &setting = settings[index];
        const auto isAnother = [&setting](const SensorSetting &before) { return haveOneName(before, setting); };
        if (!isNamed(setting) || std::any_of(settings.begin(), settings.begin() + index, isAnother))
            continue;
        const Kind &kind = *kindOf(setting);
        sink.family(names[families++ % names.size()].of(kind, setting.attribute), kind.type,
                    "What the driver of a chip says of a sensor or an output.");
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

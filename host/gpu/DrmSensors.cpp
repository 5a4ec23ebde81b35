// Reads the sensors of a graphics card.
#include "host/gpu/DrmSensors.h"

#include "host/DirectoryWalk.h"
#include "host/source/AttributeText.h"

#include <fcntl.h>

namespace zel {

namespace {

constexpr double perMilli = 1e-3, perMicro = 1e-6;
constexpr double fullPwm = 255;
constexpr char channels[] = {'1', '2', '3', '4'};

// Such as "device/hwmon/hwmon3/"; empty when the card has none.
std::string sensorDirectory(const HostDirectory &root, std::string_view card) {
    const std::string parent = "sys/class/drm/" + std::string(card) + "/device/hwmon";
    ScopedDescriptor opened = root.open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (!opened.valid())
        return {};
    DirectoryRoom<1024> room;
    DirectoryWalk walk(std::move(opened), room);
    while (const char *name = walk.next()) {
        if (startsWith(name, "hwmon"))
            return std::string("device/hwmon/").append(name).append("/");
    }
    return {};
}

class Sensors {
public:
    Sensors(DeviceAttributes &card, std::string directory) : m_card(card), m_path(std::move(directory)) {
        m_length = m_path.size();
    }

    Number value(std::string_view name, double factor) {
        const Count count = m_card.number(pathOf(name));
        return count ? Number(static_cast<double>(*count) * factor) : Number(count.absence());
    }
    // The first of two that the driver has.
    Number firstOf(std::string_view name, std::string_view other, double factor) {
        const Number first = value(name, factor);
        return first.absence() == Absence::Unsupported ? value(other, factor) : first;
    }
    // What a channel measures; empty when the driver does not say.
    std::string_view label(std::string_view name) {
        return m_card.read(pathOf(name)) == 0 ? trimmed(m_card.text()) : std::string_view();
    }

private:
    std::string_view pathOf(std::string_view name) {
        m_path.resize(m_length);
        return m_path.append(name);
    }

    DeviceAttributes &m_card;
    std::string m_path;
    std::size_t m_length;
};

std::string channelName(std::string_view kind, char channel, std::string_view what) {
    return std::string(kind).append(1, channel).append(what);
}

void readTemperatures(Sensors &sensors, Gpu &gpu) {
    for (const char channel : channels) {
        const Number celsius = sensors.value(channelName("temp", channel, "_input"), perMilli);
        if (celsius.absence() == Absence::Unsupported)
            continue;
        const std::string_view label = sensors.label(channelName("temp", channel, "_label"));
        if (label == "junction") {
            gpu.hotspotCelsius = celsius;
        } else if (label == "mem" || label == "vram") {
            gpu.memoryCelsius = celsius;
        } else if (gpu.temperatureCelsius.absence() == Absence::Unsupported) { // edge, pkg, or the only one
            gpu.temperatureCelsius = celsius;
            gpu.slowdownCelsius = sensors.value(channelName("temp", channel, "_crit"), perMilli);
            gpu.shutdownCelsius = sensors.value(channelName("temp", channel, "_emergency"), perMilli);
        }
    }
}

} // namespace

void readDrmSensors(const HostDirectory &root, DeviceAttributes &card, Gpu &gpu) {
    std::string directory = sensorDirectory(root, gpu.gpu);
    if (directory.empty())
        return;
    Sensors sensors(card, std::move(directory));
    readTemperatures(sensors, gpu);
    gpu.fanRatio = sensors.value("pwm1", 1 / fullPwm);
    gpu.powerWatts = sensors.firstOf("power1_average", "power1_input", perMicro);
    gpu.powerLimitWatts = sensors.firstOf("power1_cap", "power1_max", perMicro);
    gpu.powerLimitDefaultWatts = sensors.firstOf("power1_cap_default", "power1_rated_max", perMicro);
    gpu.energyJoules = sensors.value("energy1_input", perMicro);
    if (sensors.label("freq1_label") == "sclk")
        gpu.graphicsHertz = sensors.value("freq1_input", 1);
    if (sensors.label("freq2_label") == "mclk")
        gpu.memoryHertz = sensors.value("freq2_input", 1);
}

} // namespace zel

// Reads what the machine measures: chips, thermal zones, power supplies and power zones.
#include "host/areas/AreaReader.h"
#include "host/areas/HwmonAttributes.h"
#include "host/areas/HwmonNames.h"
#include "host/areas/PowerAttributes.h"
#include "host/areas/SensorDevices.h"

namespace zel {

namespace {

// What most classes have in common: nothing of a device is said by more than one file.
struct PlainDevice {
    static constexpr std::string_view PART = "";
    static constexpr bool MAY_BE_IN_DEVICE = false;

    template<class Plan> static void introduce(std::string_view, DeviceAttributes &, DeviceAttributes &, Plan &) {}
    template<class Plan> static void describe(DeviceAttributes &, Plan &) {}
};

std::uint64_t numberBehind(std::string_view prefix, const std::string &name) {
    std::uint64_t number = 0;
    std::from_chars(name.data() + prefix.size(), name.data() + name.size(), number);
    return number;
}

struct Chips : PlainDevice {
    using Plan = SensorPlan<SensorChip, Temperature, Fan, FanControl, Voltage, Current, Power, Energy, Humidity,
                            Frequency, Intrusion>;
    static constexpr const char *DIRECTORY = "sys/class/hwmon";
    static constexpr const char *PREFIX = "hwmon";
    static constexpr const char *SUBJECT = "hwmon";
    static constexpr bool MAY_BE_IN_DEVICE = true;

    static void introduce(std::string_view link, DeviceAttributes &chip, DeviceAttributes &files, Plan &plan) {
        plan.device = deviceOfChip(link, chip.link("device"));
        plan.name = chipNameOfDevice(plan.device);
        Reading<std::string> name;
        if (plan.name.empty())
            files.text("name", name);
        if (name)
            plan.name = chipNameOf(*name);
    }
    static void nameRow(SensorChip &row, const DeviceNames &names, std::uint64_t) {
        row.chip = names.label;
        row.directory.set(names.directory);
        if (names.device.empty())
            row.device.clear(Absence::Unsupported);
        else
            row.device.set('/' + names.device);
    }
    template<class Row> static void nameRow(Row &row, const DeviceNames &names, std::uint64_t number) {
        row.chip = names.label;
        row.sensor = SensorFileName(ChannelKind<Row>::PREFIX, number, "").text();
    }
};

// Sample: trip_point_0_type with "critical", trip_point_0_temp with 105000
void readTripPoints(DeviceAttributes &files, ThermalZone &zone) {
    constexpr std::uint64_t tripsAtMost = 64;
    struct Trip {
        std::string_view type;
        Number ThermalZone::*member;
    };
    constexpr Trip trips[] = {{"critical", &ThermalZone::critical},
                              {"hot", &ThermalZone::hot},
                              {"passive", &ThermalZone::passive},
                              {"active", &ThermalZone::active}};
    for (const Trip &trip : trips)
        zone.*trip.member = Absence::Unsupported;
    for (std::uint64_t number = 0; number < tripsAtMost; ++number) {
        if (files.read(SensorFileName("trip_point_", number, "type").text()) != 0)
            return;
        const std::string_view type = trimmed(files.text());
        const auto found =
            std::find_if(std::begin(trips), std::end(trips), [type](const Trip &trip) { return trip.type == type; });
        if (found == std::end(trips) || files.read(SensorFileName("trip_point_", number, "temp").text()) != 0)
            continue;
        const char *cursor = files.text().data();
        const Number value = takeInteger(cursor);
        Number &lowest = zone.*found->member;
        if (value && (!lowest || *value / MILLI.divisor < *lowest))
            lowest = *value / MILLI.divisor;
    }
}

struct ThermalZones : PlainDevice {
    using Plan = SensorPlan<ThermalZone>;
    static constexpr const char *DIRECTORY = "sys/class/thermal";
    static constexpr const char *PREFIX = "thermal_zone";
    static constexpr const char *SUBJECT = "thermal";

    static void describe(DeviceAttributes &files, Plan &plan) {
        readTripPoints(files, std::get<0>(plan.channels).front().row);
    }
    static void nameRow(ThermalZone &row, const DeviceNames &names, std::uint64_t) {
        row.zone = numberBehind(PREFIX, names.directory);
    }
};

struct CoolingDevices : PlainDevice {
    using Plan = SensorPlan<CoolingDevice>;
    static constexpr const char *DIRECTORY = "sys/class/thermal";
    static constexpr const char *PREFIX = "cooling_device";
    static constexpr const char *SUBJECT = "cooling";

    static void nameRow(CoolingDevice &row, const DeviceNames &names, std::uint64_t) {
        row.device = numberBehind(PREFIX, names.directory);
    }
};

struct PowerSupplies : PlainDevice {
    using Plan = SensorPlan<PowerSupply>;
    static constexpr const char *DIRECTORY = "sys/class/power_supply";
    static constexpr const char *PREFIX = "";
    static constexpr const char *SUBJECT = "power supply";

    static void nameRow(PowerSupply &row, const DeviceNames &names, std::uint64_t) { row.supply = names.directory; }
};

// Beside the zones the directory has the one of all of them, without a colon.
struct PowerZones : PlainDevice {
    using Plan = SensorPlan<PowerZone>;
    static constexpr const char *DIRECTORY = "sys/class/powercap";
    static constexpr const char *PREFIX = "intel-rapl";
    static constexpr std::string_view PART = ":";
    static constexpr const char *SUBJECT = "powercap";

    static void nameRow(PowerZone &row, const DeviceNames &names, std::uint64_t) { row.zone = names.directory; }
};

class SensorReader : public AreaReader {
public:
    void read(Take &take) override {
        for (const AnySection<Sample> &section : sections()) {
            if (section.area == Area::Sensors)
                section.lose(take.sample, Absence::None);
        }
        bool none = true;
        forEachClass([&](auto &devices) {
            devices.read(take);
            none = none && devices.empty();
        });
        if (none)
            loseArea(take.sample, Area::Sensors, ENOENT, Chips::DIRECTORY);
    }
    void ask(Take &take) override {
        if (take.root.own())
            forEachClass([&take](auto &devices) { devices.ask(take); });
    }
    void finish(Take &take) override {
        if (take.root.own())
            forEachClass([&take](auto &devices) { devices.finish(take); });
    }

private:
    template<class Use> void forEachClass(Use &&use) {
        std::apply([&use](auto &...devices) { (use(devices), ...); }, m_classes);
    }

    std::tuple<SensorDevices<Chips>, SensorDevices<ThermalZones>, SensorDevices<CoolingDevices>,
               SensorDevices<PowerSupplies>, SensorDevices<PowerZones>>
        m_classes;
};

} // namespace

std::unique_ptr<AreaReader> sensorReader() {
    return std::make_unique<SensorReader>();
}

} // namespace zel

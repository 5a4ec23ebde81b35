// What measures, as the typed model reads it, at two moments: which files a chip has, and what is in those of a chip, a
// thermal zone and a power zone.
#include "FuzzTarget.h"
#include "HostArea.h"
#include "RootOnTmpfs.h"

#include <iterator>

namespace {

constexpr const char *names[] = {"name",
                                 "temp1_input",
                                 "temp1_label",
                                 "temp1_crit_alarm",
                                 "temp9999_input",
                                 "temp10000_input",
                                 "temp_input",
                                 "temp1",
                                 "temp1_",
                                 "temp01_input",
                                 "fan1_input",
                                 "pwm1",
                                 "pwm1_enable",
                                 "in0_input",
                                 "in0_alarm",
                                 "curr1_max",
                                 "power1_cap",
                                 "energy1_input",
                                 "humidity1_input",
                                 "freq1_input",
                                 "intrusion0_alarm",
                                 "update_interval",
                                 "cpu0_vid",
                                 "vrm",
                                 "pwm1_auto_point1_temp",
                                 "power1_oem_info"};

// The files that the bits of a number name, all with the same text; the others are not there.
void chipFiles(unsigned chosen, const std::string &text) {
    for (std::size_t index = 0; index < std::size(names); ++index) {
        const bool isThere = (chosen >> index & 1U) != 0;
        fuzz::root().host(std::string("sys/class/hwmon/hwmon0/") + names[index],
                          isThere ? text : std::string(fuzz::ABSENT));
    }
}

} // namespace

FUZZ_TARGET(host_sensors_fuzz) {
    fuzz::HostArea area(zel::Area::Sensors, zel::sensorReader());
    for (int moment = 0; moment < 2; ++moment) {
        const unsigned chosen = input.number();
        chipFiles(chosen, input.piece());
        fuzz::hostFile("sys/class/powercap/intel-rapl:0/energy_uj", input);
        fuzz::hostFile("sys/class/powercap/intel-rapl:0/max_energy_range_uj", input);
        fuzz::hostFile("sys/class/thermal/thermal_zone0/trip_point_0_type", input);
        area.take();
    }
}

// The hardware configuration file /etc/sysconfig/hwconf: counting and naming its devices.
//
// The file holds one record of "key: value" lines per device; the line with the key "class" starts a record, the line
// with the key "desc" names its device:
//
//   -
//   class: NETWORK
//   bus: PCI
//   device: eth0
//   desc: "Intel Corp.|82545EM Gigabit Ethernet Controller"
//
// The readers keep an array of small model-name objects, which they own. Failures are counts of 0 and null arrays;
// nothing is logged. Not thread-safe.
#pragma once

#include "host/HostOpen.h"

#include <cstddef>
#include <cstdio>
#include <new>

namespace zel {

inline constexpr const char *HARDWARE_CONFIG_FILE = "/etc/sysconfig/hwconf";
inline constexpr std::size_t HARDWARE_LINE_SIZE = 512; // longer lines are taken in pieces

/// Lines of `path` (below the host root) that contain `text`; 0 when the file cannot be read. The file is taken 256
/// bytes at a time: a longer line counts once for every piece that contains the text.
unsigned countLinesWith(const char *path, const char *text);

/// One "key: value" line, cut in place.
struct ConfigField {
    const char *key;
    const char *value;
};

/// Splits `line` at its first ":"; false without one. Leading blanks of the value and the line end are cut. A value
/// that holds a double quote is what follows its first character, up to the next double quote.
bool parseConfigLine(char *line, ConfigField &field);

/// Follows the records of one device class, line by line. Every selected record uses up at least one index, and every
/// further "desc" line of it one more.
class DeviceRecords {
public:
    /// `deviceClass`: the word that the value of a selected record's "class" line begins with. Not copied.
    explicit DeviceRecords(const char *deviceClass) : m_deviceClass(deviceClass) {}

    /// Takes the next line, which it cuts. True when the line names a device: see index() and model().
    bool take(char *line);

    unsigned index() const { return m_index; }
    const char *model() const { return m_model; }

private:
    void beginRecord(const char *deviceClass);

    const char *m_deviceClass;
    bool m_selected = false;
    bool m_named = false; // the selected record has named a device
    unsigned m_index = 0;
    unsigned m_nextIndex = 0;
    const char *m_model = "";
};

/// Replaces the owned array `devices` by one of `count` empty objects. Without memory the array is null and the count
/// 0; a count of 0 gives null.
template<typename Device> void renewDevices(Device *&devices, unsigned &count) {
    delete[] devices;
    devices = count == 0 ? nullptr : new (std::nothrow) Device[count]();
    if (devices == nullptr)
        count = 0;
}

/// Fills the model names of `devices`, an owned array of `count`, from the records of `deviceClass`; names beyond the
/// count are left out. When the file cannot be opened the array is released and the count 0. Returns the array.
template<typename Device> Device *nameDevices(Device *&devices, unsigned &count, const char *deviceClass) {
    if (count == 0)
        return devices;
    const ScopedFile file = openHostStream(HARDWARE_CONFIG_FILE);
    if (file == nullptr) {
        count = 0;
        renewDevices(devices, count);
        return devices;
    }
    DeviceRecords records(deviceClass);
    char line[HARDWARE_LINE_SIZE];
    while (std::fgets(line, sizeof(line), file.get()) != nullptr) {
        if (records.take(line) && records.index() < count)
            devices[records.index()].ModelName(records.model());
    }
    return devices;
}

} // namespace zel

// What a reader knows of each device from one sample to the next, by the name of the device.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace zel {

template<class Device> class DeviceTable {
public:
    void startSample() {
        ++m_sample;
        m_seen = 0;
    }
    /// The device as the sample before left it; a new one is made without arguments. It stays where it is.
    Device &of(std::string_view name) {
        const auto found = m_devices.find(name);
        Entry &entry = found == m_devices.end() ? m_devices[std::string(name)] : found->second;
        m_seen += entry.sample != m_sample;
        entry.sample = m_sample;
        return entry.device;
    }
    /// Null when there is none.
    Device *find(std::string_view name) {
        const auto found = m_devices.find(name);
        return found == m_devices.end() ? nullptr : &found->second.device;
    }
    /// Forgets the devices that this sample did not ask for.
    void endSample() {
        if (m_seen < m_devices.size())
            std::erase_if(m_devices, [this](const auto &entry) { return entry.second.sample != m_sample; });
    }
    std::size_t size() const { return m_devices.size(); }

private:
    struct Entry {
        Device device;
        unsigned long sample = 0; // the last one that asked for it
    };
    struct Hash : std::hash<std::string_view> {
        using is_transparent = void;
    };

    std::unordered_map<std::string, Entry, Hash, std::equal_to<>> m_devices;
    unsigned long m_sample = 0;
    std::size_t m_seen = 0;
};

} // namespace zel

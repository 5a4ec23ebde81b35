// Devices that measure, as the kernel lays them out below a directory: chips, thermal zones, power supplies, power
// zones.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class SensorTree {
public:
    explicit SensorTree(std::filesystem::path root) : m_root(std::move(root)) {}

    using Files = std::vector<std::pair<std::string, std::string>>;

    /// A chip: its directory lies below the device ("platform/coretemp.0"), and the class has a link to it.
    void chip(const std::string &name, const std::string &device, const Files &files) const {
        const std::filesystem::path place = m_root / "sys/devices" / device / "hwmon" / name;
        write(place, files);
        std::filesystem::create_directory_symlink("../../../" + place.parent_path().parent_path().filename().string(),
                                                  place / "device");
        std::filesystem::create_directories(m_root / "sys/class/hwmon");
        std::filesystem::create_directory_symlink("../../devices/" + device + "/hwmon/" + name,
                                                  m_root / "sys/class/hwmon" / name);
    }
    /// Any other device: a plain directory below sys/class.
    void device(const std::string &place, const Files &files) const { write(m_root / "sys/class" / place, files); }

private:
    static void write(const std::filesystem::path &place, const Files &files) {
        std::filesystem::create_directories(place);
        for (const auto &[name, text] : files) {
            std::FILE *file = std::fopen((place / name).c_str(), "w");
            std::fwrite(text.data(), 1, text.size(), file);
            std::fclose(file);
        }
    }

    std::filesystem::path m_root;
};

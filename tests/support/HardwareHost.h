// A host whose hardware a test writes, as /sys and /proc show it, and the inventory of it.
#pragma once

#include "TempDirectory.h"
#include "host/Hardware.h"

#include <filesystem>
#include <initializer_list>
#include <string>
#include <utility>

class HardwareHost {
public:
    using Files = std::initializer_list<std::pair<const char *, const char *>>;

    explicit HardwareHost(Files files = {}) {
        for (const auto &[path, text] : files)
            write(path, text);
    }

    std::string path(const std::string &below = "") const { return (m_root.path() / below).string(); }
    void write(const std::string &path, const std::string &text) const { m_root.write(path, text); }
    /// Files of one directory.
    void write(const std::string &directory, Files files) const {
        for (const auto &[name, text] : files)
            write(directory + '/' + name, text);
    }
    void remove(const std::string &path) const { m_root.remove(path); }

    /// A symbolic link at `path` below the root, as it stands there.
    void link(const std::string &path, const std::string &target) const {
        const std::filesystem::path place = m_root.path() / path;
        std::filesystem::create_directories(place.parent_path());
        std::filesystem::create_symlink(target, place);
    }
    /// A device at `place` below sys/devices, with its files and a link in each class ("block", "class/fc_host").
    void device(const std::string &place, std::initializer_list<const char *> classes, Files files) const {
        std::filesystem::create_directories(m_root.path() / "sys/devices" / place);
        write("sys/devices/" + place, files);
        for (const std::string name : classes) {
            const std::string up = name.find('/') == std::string::npos ? "../devices/" : "../../devices/";
            link("sys/" + name + "/" + place.substr(place.rfind('/') + 1), up + place);
        }
    }

    zel::HardwareOptions options(std::vector<zel::HardwarePart> parts) const {
        return {.root = path(), .parts = std::move(parts)};
    }
    zel::Hardware read(zel::HardwarePart part, bool serials = false) const {
        return zel::readHardware({.root = path(), .parts = {part}, .serials = serials});
    }

private:
    TempDirectory m_root;
};

// A host whose hardware a test writes, and inventories of it.
#pragma once

#include "TempDirectory.h"
#include "host/Hardware.h"

#include <filesystem>
#include <gtest/gtest.h>
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

    void write(const std::string &path, const std::string &text) const { m_root.write(path, text); }
    /// Files of one directory.
    void write(const std::string &directory, Files files) const {
        for (const auto &[name, text] : files)
            write(directory + '/' + name, text);
    }
    void link(const std::string &path, const std::string &target) const {
        std::filesystem::create_directories((m_root.path() / path).parent_path());
        std::filesystem::create_symlink(target, m_root.path() / path);
    }
    void remove(const std::string &path) const { m_root.remove(path); }
    /// A device at `place` below sys/devices, with its files, and a link to it in each class: "block", "class/fc_host".
    void device(const std::string &place, std::initializer_list<const char *> classes, Files files) const {
        std::filesystem::create_directories(m_root.path() / "sys/devices" / place);
        write("sys/devices/" + place, files);
        for (const std::string name : classes) {
            std::string up = "../devices/";
            for (const char letter : name)
                up.insert(0, letter == '/' ? "../" : "");
            link("sys/" + name + "/" + place.substr(place.rfind('/') + 1), up + place);
        }
    }
    std::string path(const std::string &below = "") const { return (m_root.path() / below).string(); }

    zel::HardwareOptions options(std::vector<zel::HardwarePart> parts) const {
        return {.root = m_root.path().string(), .parts = std::move(parts)};
    }
    zel::Hardware read(zel::HardwarePart part, bool serials = false) const {
        zel::HardwareOptions wanted = options({part});
        wanted.serials = serials;
        return zel::readHardware(wanted);
    }

private:
    TempDirectory m_root;
};

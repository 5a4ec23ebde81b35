// Reads the control groups of version 2.
#include "host/areas/AreaReader.h"
#include "host/areas/CgroupIo.h"
#include "host/areas/CgroupTree.h"
#include "host/source/Attribute.h"
#include "host/source/DeviceAttributes.h"
#include "host/source/DeviceTable.h"
#include "host/source/Refresh.h"

#include <algorithm>
#include <optional>

namespace zel {

namespace {

using Time = std::chrono::steady_clock::time_point;

constexpr const char *cgroupDirectory = "sys/fs/cgroup";
constexpr const char *deviceDirectory = "sys/dev/block";
constexpr std::chrono::seconds limitPeriod{30};

struct NamedDevice {
    Time due;
    Reading<std::string> name;
};

class CgroupReader : public AreaReader {
public:
    bool hasOneStep() const override { return true; }
    void read(Take &take) override {
        Sample &sample = take.sample;
        if (const int error = m_tree.begin(take.root); error != 0)
            return loseArea(sample, Area::Cgroups, error, cgroupDirectory);
        m_now = std::chrono::steady_clock::now();
        m_devices.startSample();
        sample.cgroups.clear();
        sample.cgroupDevices.clear();
        m_unread = m_devicesLeftOut = 0;
        while (CgroupNode *node = m_tree.next(take.root)) {
            if (takeNode(take, *node))
                m_tree.descend(take.root, *node);
        }
        m_devices.endSample();
        takeTotals(take);
    }

private:
    // False when it has gone.
    bool takeNode(Take &take, CgroupNode &node) {
        if (const int error = m_tree.open(take.root, node); error != 0) {
            if (error == ENOENT) {
                m_tree.lose(node);
                return false;
            }
            ++m_unread;
            note(take, node, error);
            return false;
        }
        const std::size_t devices = take.sample.cgroupDevices.size();
        Cgroup &cgroup = take.sample.cgroups.append();
        forget(cgroup, Absence::Unsupported);
        cgroup.path = node.path;
        if (m_tree.isLive())
            cgroup.inode = node.inode;
        cgroup.unitType.assign(node.unitType);
        cgroup.container.assign(node.container);
        if (takeFiles(take, node, cgroup))
            return true;
        take.sample.cgroups.dropLast();
        while (take.sample.cgroupDevices.size() > devices)
            take.sample.cgroupDevices.dropLast();
        m_tree.lose(node);
        return false;
    }

    // Every cgroup but the root has its events. False when they have gone.
    bool takeFiles(Take &take, CgroupNode &node, Cgroup &cgroup) {
        if (!takeFile(take, node, CgroupFile::Events, cgroup) && mayGo(node))
            return false;
        for (std::size_t index = 1; index < CGROUP_FILES_OF_EACH_SAMPLE; ++index) {
            const auto file = static_cast<CgroupFile>(index);
            if (file != CgroupFile::Stat)
                takeFile(take, node, file, cgroup);
        }
        takeLimits(take, node, cgroup);
        return !node.files.lostSome() || !mayGo(node) || node.files.read(take.root, CgroupFile::Events, m_text) == 0;
    }

    // What a copy lacks is not there, and the root has no events.
    bool mayGo(const CgroupNode &node) const { return m_tree.isLive() && node.parent != nullptr; }

    void takeLimits(Take &take, CgroupNode &node, Cgroup &cgroup) {
        const bool isDue = !take.root.own() || m_now >= node.limitsDue;
        for (std::size_t index = 0; !isDue && index < node.limitCounts.size(); ++index)
            cgroup.*CGROUP_LIMIT_COUNTS[index] = node.limitCounts[index];
        for (std::size_t index = 0; !isDue && index < node.limitNumbers.size(); ++index)
            cgroup.*CGROUP_LIMIT_NUMBERS[index] = node.limitNumbers[index];
        if (isDue || m_tree.mayHaveChildren(node))
            takeFile(take, node, CgroupFile::Stat, cgroup);
        else if (cgroup.descendants)
            cgroup.descendants = 0;
        if (!isDue)
            return;
        for (std::size_t index = CGROUP_FILES_OF_EACH_SAMPLE; index < CGROUP_FILES; ++index)
            takeFile(take, node, static_cast<CgroupFile>(index), cgroup);
        for (std::size_t index = 0; index < node.limitCounts.size(); ++index)
            node.limitCounts[index] = cgroup.*CGROUP_LIMIT_COUNTS[index];
        for (std::size_t index = 0; index < node.limitNumbers.size(); ++index)
            node.limitNumbers[index] = cgroup.*CGROUP_LIMIT_NUMBERS[index];
        node.limitsDue = m_now + spread(limitPeriod, node.path);
    }

    // False when the file could not be read.
    bool takeFile(Take &take, CgroupNode &node, CgroupFile file, Cgroup &cgroup) {
        const int error = node.files.read(take.root, file, m_text);
        if (error == ENOENT || error == ENODEV || error == EOPNOTSUPP)
            return false;
        if (error != 0) {
            m_parser.lose(file, absenceOf(error), cgroup);
            note(take, node, error, file);
            return false;
        }
        const bool isWhole =
            file == CgroupFile::IoStat ? takeDevices(take, cgroup) : m_parser.take(file, m_text.data(), cgroup);
        if (!isWhole)
            note(take, node, NOT_ITS_FORMAT, file);
        return true;
    }

    // A cgroup without any I/O has no lines.
    bool takeDevices(Take &take, Cgroup &cgroup) {
        Rows<CgroupDevice> &devices = take.sample.cgroupDevices;
        for (const auto sum : IO_SUMS)
            cgroup.*sum = 0;
        const char *cursor = m_text.data();
        bool isWhole = true;
        for (;;) {
            const bool hasRoom = devices.size() < CGROUP_DEVICE_LIMIT;
            CgroupDevice &device = hasRoom ? devices.append() : m_device;
            const bool isThere = takeCgroupDevice(cursor, device);
            if (hasRoom && !isThere)
                devices.dropLast();
            if (!isThere)
                return isWhole;
            m_devicesLeftOut += hasRoom ? 0 : 1;
            addCgroupDevice(device, cgroup);
            isWhole = isWhole && std::none_of(std::begin(IO_COUNTS), std::end(IO_COUNTS), [&device](const auto count) {
                          return (device.*count).absence() == Absence::Malformed;
                      });
            if (!hasRoom)
                continue;
            device.path = cgroup.path;
            device.inode = cgroup.inode;
            takeDeviceName(take.root, device);
        }
    }

    void takeDeviceName(const HostDirectory &root, CgroupDevice &device) {
        NamedDevice &known = m_devices.of(device.device);
        if (!root.own() || m_now >= known.due) {
            DeviceAttributes attributes(root, deviceDirectory, device.device);
            const std::string_view name = lastPart(attributes.link(""));
            known.name.clear(Absence::Unsupported);
            if (!name.empty()) {
                std::string plain(name);
                std::replace(plain.begin(), plain.end(), '!', '/');
                known.name.set(plain);
            }
            known.due = m_now + spread(limitPeriod, device.device);
        }
        device.name.assign(known.name);
    }

    void takeTotals(Take &take) {
        Sample &sample = take.sample;
        CgroupTotals &totals = sample.cgroupTotals;
        totals.mountPoint.set(OwnPath(m_tree.mount().c_str()).text());
        if (!m_controllers || m_controllersOf != m_tree.mount())
            m_controllers.emplace(m_tree.mount() + "/cgroup.controllers");
        m_controllersOf = m_tree.mount();
        m_controllers->text(take.root, totals.controllers);
        totals.cgroups = sample.cgroups.size();
        totals.devicesLeftOut = m_devicesLeftOut;
        totals.cgroupsLeftOut = m_tree.leftOut() + m_unread;
        if (m_tree.leftOut() == 0 || sample.cgroups.empty() || !sample.cgroups[0].descendants ||
            sample.cgroups[0].path != "/")
            return;
        // The kernel knows how many there are below those that were seen.
        const std::uint64_t all = *sample.cgroups[0].descendants + 1;
        totals.cgroupsLeftOut = std::max(*totals.cgroupsLeftOut, all - std::min(all, *totals.cgroups));
    }

    void note(Take &take, const CgroupNode &node, int error, std::optional<CgroupFile> file = std::nullopt) {
        AreaState &state = take.sample.area(Area::Cgroups);
        if (state.error != 0)
            return;
        std::string path = m_tree.pathOf(node);
        if (file)
            (path += path.ends_with('/') ? "" : "/") += cgroupFileName(*file);
        noteFailure(state, error, path);
    }

    CgroupTree m_tree;
    CgroupParser m_parser;
    FileBuffer m_text;
    std::optional<Attribute> m_controllers;
    std::string m_controllersOf; // the mount
    DeviceTable<NamedDevice> m_devices;
    CgroupDevice m_device; // one that has no row
    std::uint64_t m_unread = 0, m_devicesLeftOut = 0;
    Time m_now;
};

} // namespace

std::unique_ptr<AreaReader> cgroupReader() {
    return std::make_unique<CgroupReader>();
}

} // namespace zel

// Reads NVMe controllers and their health: each by calls of their own, so that a controller which does not answer still
// is a row.
#include "host/hardware/NvmeLog.h"
#include "host/hardware/PartReader.h"
#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"

#include <cerrno>
#include <fcntl.h>

namespace zel {

namespace {

constexpr const char *controllerDirectory = "sys/class/nvme";
constexpr std::string_view healthSuffix = "/health"; // of the names of devices: no device has a '/' in its own

// A controller has its namespaces below it, or with several paths to them the paths.
Count countNamespaces(HardwareRead &read, DeviceAttributes &files, const std::string &name) {
    std::vector<std::string> entries;
    const std::string directory = controllerDirectory + ('/' + name);
    if (const int error = listDevices(read.root, directory.c_str(), entries); error != 0)
        return absenceOf(error);
    std::uint64_t namespaces = 0;
    for (const std::string &entry : entries)
        namespaces += entry.starts_with("nvme") && files.has(entry + "/queue") ? 1U : 0U;
    return namespaces;
}

void readController(HardwareRead &read, const std::string &name) {
    DeviceAttributes files(read.root, controllerDirectory, name);
    if (!files.has(""))
        return;
    NvmeController &controller = read.found.nvmeControllers.append();
    controller.name = name;
    files.text("model", controller.model);
    files.text("firmware_rev", controller.firmware);
    files.text("transport", controller.transport);
    files.text("address", controller.address);
    files.text("state", controller.state);
    files.text("cntrltype", controller.type);
    takeAttributeText(lastPart(files.link("device/driver")), controller.driver);
    controller.controllerId = files.number("cntlid");
    controller.node = files.number("numa_node");
    if (controller.node.absence() == Absence::Unsupported)
        controller.node = files.number("device/numa_node");
    controller.queues = files.number("queue_count");
    controller.queueEntries = files.number("sqsize");
    controller.namespaces = countNamespaces(read, files, name);
    if (const Absence reason = read.serials(); reason != Absence::None) {
        controller.serial.clear(reason);
        controller.subsystemName.clear(reason); // vendors put the serial number into it
        return;
    }
    files.text("serial", controller.serial);
    files.text("subsysnqn", controller.subsystemName);
}

int askForHealth(const HostDirectory &root, const std::string &name, NvmeHealthLog &log) {
    const ScopedDescriptor device = root.open(("dev/" + name).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    return device.valid() ? readNvmeHealthLog(device.get(), log) : errno;
}

// Below a root directory there is no controller to ask.
void readHealth(HardwareRead &read, const std::string &name) {
    NvmeHealth &health = read.found.nvmeHealth.append();
    health.name = name;
    NvmeHealthLog log{};
    const int error = read.root.own() ? askForHealth(read.root, name, log) : EOPNOTSUPP;
    if (error == 0)
        return takeNvmeHealth(log, health);
    forget(health, absenceOf(error));
    noteUnlessMissing(read.state, error, "dev/" + name);
}

bool isOfHealth(std::string_view name) {
    return name.ends_with(healthSuffix);
}

std::string controllerOf(const std::string &name) {
    return name.substr(0, name.size() - (isOfHealth(name) ? healthSuffix.size() : 0));
}

void readDevice(HardwareRead &read, const std::string &name) {
    if (isOfHealth(name))
        readHealth(read, controllerOf(name));
    else
        readController(read, name);
}

int listControllers(const HostDirectory &root, std::vector<std::string> &names) {
    const int error = listDevices(root, controllerDirectory, names);
    for (std::size_t index = 0, count = names.size(); index < count; ++index)
        names.push_back(names[index] + std::string(healthSuffix));
    return error;
}

void loseDevice(Hardware &found, const std::string &name, Absence reason) {
    const auto lose = [&](auto &row) {
        row.name = controllerOf(name);
        forget(row, reason);
    };
    if (isOfHealth(name))
        lose(found.nvmeHealth.append());
    else
        lose(found.nvmeControllers.append());
}

} // namespace

const PartReader &nvmePart() {
    static constexpr PartReader reader{
        .directory = controllerDirectory, .list = listControllers, .read = readDevice, .lose = loseDevice};
    return reader;
}

} // namespace zel

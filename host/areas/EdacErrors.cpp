// Reads /sys/devices/system/edac/mc.
#include "host/areas/EdacErrors.h"

#include "host/source/DeviceAttributes.h"
#include "host/source/Listing.h"

#include <algorithm>
#include <charconv>

namespace zel {

namespace {

constexpr const char *directory = "sys/devices/system/edac/mc";
constexpr std::uint64_t bytesPerMegabyte = std::uint64_t{1} << 20;

constexpr CountFile<EdacController> controllerFiles[] = {
    {"ce_count", &EdacController::correctedErrors},
    {"ue_count", &EdacController::uncorrectedErrors},
    {"ce_noinfo_count", &EdacController::correctedPlaceless},
    {"ue_noinfo_count", &EdacController::uncorrectedPlaceless},
    {"seconds_since_reset", &EdacController::sinceResetSeconds},
};
constexpr CountFile<EdacRow> rowFiles[] = {
    {"ce_count", &EdacRow::correctedErrors},
    {"ue_count", &EdacRow::uncorrectedErrors},
};
constexpr CountFile<EdacModule> moduleFiles[] = {
    {"dimm_ce_count", &EdacModule::correctedErrors},
    {"dimm_ue_count", &EdacModule::uncorrectedErrors},
};

// The number of a name such as "csrow0" behind its prefix; malformed when it is another name.
Count numberBehind(std::string_view name, std::string_view prefix) {
    std::uint64_t number = 0;
    if (!name.starts_with(prefix))
        return Absence::Malformed;
    const char *const end = name.data() + name.size();
    const auto [last, error] = std::from_chars(name.data() + prefix.size(), end, number);
    return error == std::errc() && last == end ? Count(number) : Count(Absence::Malformed);
}

bool isRow(std::string_view name) {
    return numberBehind(name, "csrow").has();
}
bool isModule(std::string_view name) {
    return numberBehind(name, "dimm").has() || numberBehind(name, "rank").has();
}

Count sizeOf(DeviceAttributes &files, std::string_view attribute) {
    return scaledCount(files.number(attribute), bytesPerMegabyte);
}

} // namespace

EdacErrors::Controller::Controller(std::uint64_t number)
    : path(directory + ("/mc" + std::to_string(number))), counts(path, controllerFiles) {
    described.controller = number;
}

int EdacErrors::Controller::list(const HostDirectory &root) {
    std::vector<std::string> found;
    const int error = listEntries(root, path.c_str(), found, [](std::string_view name, unsigned char, auto &entry) {
        const bool wanted = isRow(name) || isModule(name);
        if (wanted)
            entry = name;
        return wanted;
    });
    std::sort(found.begin(), found.end(), [](const std::string &one, const std::string &other) {
        return one.size() != other.size() ? one.size() < other.size() : one < other;
    });
    if (found == names)
        return error;
    names = std::move(found);
    rows.clear();
    modules.clear();
    for (const std::string &name : names) {
        if (const Count number = numberBehind(name, "csrow"); number) {
            rows.push_back({*number, {path + '/' + name, rowFiles}});
            continue;
        }
        modules.push_back({{}, {path + '/' + name, moduleFiles}});
        modules.back().described.controller = described.controller;
        modules.back().described.module = name;
    }
    return error;
}

void EdacErrors::Controller::describe(const HostDirectory &root, AreaState &state) {
    DeviceAttributes files(root, directory, lastPart(path));
    files.text("mc_name", described.name);
    described.sizeBytes = sizeOf(files, "size_mb");
    bool whole = described.sizeBytes.absence() != Absence::Malformed;
    for (ModuleFiles &module : modules) {
        DeviceAttributes said(root, path, module.described.module);
        said.text("dimm_label", module.described.label);
        said.text("dimm_location", module.described.location);
        said.text("dimm_mem_type", module.described.type);
        module.described.sizeBytes = sizeOf(said, "size");
        whole &= module.described.sizeBytes.absence() != Absence::Malformed;
    }
    if (!whole)
        noteFailure(state, NOT_ITS_FORMAT, path);
}

bool EdacErrors::Controller::read(Take &take) {
    Sample &sample = take.sample;
    AreaState &state = sample.area(Area::Memory);
    EdacController &controller = sample.edacControllers.append();
    controller = described;
    if (!counts.read(take.root, state, controller)) {
        sample.edacControllers.dropLast();
        return false;
    }
    for (RowFiles &files : rows) {
        EdacRow &row = sample.edacRows.append();
        row.controller = described.controller;
        row.row = files.number;
        files.counts.read(take.root, state, row);
    }
    for (ModuleFiles &files : modules) {
        EdacModule &module = sample.edacModules.append();
        module = files.described;
        files.counts.read(take.root, state, module);
    }
    return true;
}

void EdacErrors::list(Take &take) {
    AreaState &state = take.sample.area(Area::Memory);
    m_numbers.expire();
    noteUnlessMissing(state, m_numbers.read(take.root), m_numbers.path());
    if (m_numbers.numbers() != m_known) {
        m_known = m_numbers.numbers();
        m_controllers.clear();
        for (const std::uint64_t number : m_known)
            m_controllers.emplace_back(number);
    }
    for (Controller &controller : m_controllers) {
        noteUnlessMissing(state, controller.list(take.root), controller.path);
        controller.describe(take.root, state);
    }
}

void EdacErrors::read(Take &take) {
    take.sample.edacControllers.clear();
    take.sample.edacRows.clear();
    take.sample.edacModules.clear();
    const std::int64_t now = coarseSeconds();
    if (!take.root.own() || now - m_listedAt >= NumberedDirectory::SECONDS_BEFORE_NEXT_LOOK) {
        m_listedAt = now;
        list(take);
    }
    for (Controller &controller : m_controllers) {
        if (!controller.read(take))
            m_listedAt = LONG_AGO; // it went: the next sample looks which there are
    }
}

} // namespace zel

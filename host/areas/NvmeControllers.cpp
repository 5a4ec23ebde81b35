// Reads the NVMe controllers: the state in each sample, names every 30 seconds.
#include "host/areas/NvmeControllers.h"

#include "host/source/DeviceAttributes.h"
#include "host/source/Refresh.h"

namespace zel {

namespace {

constexpr std::chrono::seconds period{30};

struct Name {
    std::string_view file;
    Reading<std::string> NvmeState::*member;
};
constexpr Name names[] = {
    {"model", &NvmeState::model},         {"serial", &NvmeState::serial},   {"firmware_rev", &NvmeState::firmware},
    {"transport", &NvmeState::transport}, {"address", &NvmeState::address},
};

} // namespace

bool NvmeControllers::readNames(const Take &take, const std::string &controller, Known &known) {
    const auto now = std::chrono::steady_clock::now();
    if (take.root.own() && now < known.due)
        return true;
    DeviceAttributes files(take.root, DIRECTORY, controller);
    if (files.hold() != 0)
        return false;
    for (const Name &name : names)
        files.text(name.file, known.names.*name.member);
    known.due = now + spread(period, controller);
    return true;
}

// One that had a state and has none is gone, or was replaced: its names are read in the next sample.
void NvmeControllers::readState(Take &take, Known &known, NvmeState &row) {
    known.state->text(take.root, row.state);
    noteUnlessMissing(take.sample.area(Area::Disks), known.state->error(), known.state->path());
    if (known.hadState && !row.state)
        known.due = {};
    known.hadState = row.state.has();
}

void NvmeControllers::read(Take &take) {
    Rows<NvmeState> &rows = take.sample.nvmeStates;
    rows.clear();
    noteUnlessMissing(take.sample.area(Area::Disks), m_list.read(take.root), m_list.path());
    bool isStale = false;
    m_known.startSample();
    for (const std::string &controller : m_list.names()) {
        Known &known = m_known.of(controller);
        if (!readNames(take, controller, known)) {
            isStale = true;
            continue;
        }
        if (!known.state)
            known.state.emplace(std::string(DIRECTORY) + '/' + controller + "/state");
        NvmeState &row = rows.append();
        row.name = controller;
        for (const Name &name : names)
            (row.*name.member).assign(known.names.*name.member);
        readState(take, known, row);
    }
    m_known.endSample();
    if (isStale)
        m_list.expire();
}

} // namespace zel

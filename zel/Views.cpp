// Finds the table of a section.
#include "zel/Views.h"

#include "zel/views/Views.h"

#include <algorithm>

namespace zel {

namespace {

constexpr std::span<const View> (*groups[])() = {
    systemViews,         //
    deviceViews,         //
    storageViews,        //
    processViews,        //
    sensorViews,         //
    volumeViews,         //
    storageNetworkViews, //
    cgroupViews,         //
    networkViews,        //
    gpuViews,            //
};

} // namespace

const View *viewOf(std::string_view section) {
    for (const auto &views : groups) {
        const std::span<const View> group = views();
        const auto found =
            std::find_if(group.begin(), group.end(), [&](const View &view) { return view.section == section; });
        if (found != group.end())
            return &*found;
    }
    return nullptr;
}

std::vector<const View *> allViews() {
    std::vector<const View *> all;
    for (const auto &views : groups) {
        for (const View &view : views())
            all.push_back(&view);
    }
    return all;
}

} // namespace zel

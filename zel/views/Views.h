// The tables of each group of areas.
#pragma once

#include "zel/Views.h"

namespace zel {

/// The least rows of a section that no overview shows.
inline constexpr std::size_t notInOverview = static_cast<std::size_t>(-1);

std::span<const View> systemViews();
std::span<const View> deviceViews();
std::span<const View> storageViews();
std::span<const View> networkViews();
std::span<const View> processViews();
std::span<const View> sensorViews();
std::span<const View> volumeViews();
std::span<const View> storageNetworkViews();
std::span<const View> cgroupViews();
std::span<const View> gpuViews();

} // namespace zel

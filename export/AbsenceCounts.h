// How many readings of each area hold no value, by the reason.
#pragma once

#include "host/Sample.h"

#include <array>
#include <cstdint>

namespace zel {

inline constexpr std::size_t ABSENCE_COUNT = 8; // the reasons, and None

/// By Area and Absence. An area that is lost as a whole counts as one reading more: it may have no rows.
using AbsenceCounts = std::array<std::array<std::uint64_t, ABSENCE_COUNT>, AREA_COUNT>;

/// Of the areas that the sample was asked for.
AbsenceCounts countAbsences(const Sample &sample);

} // namespace zel

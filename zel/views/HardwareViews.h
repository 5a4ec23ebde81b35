// The tables of the inventory.
#pragma once

#include "zel/Views.h"

namespace zel {

/// Null when the section has none.
const View *hardwareViewOf(std::string_view section);

} // namespace zel

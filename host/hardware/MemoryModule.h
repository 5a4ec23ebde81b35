// Memory modules, as the firmware describes them.
#pragma once

#include "host/Schema.h"

namespace zel {

struct MemoryModule {
    std::string slot; // "DIMM_A1", as it is printed on the board
};

template<> std::span<const Field<MemoryModule>> fieldsOf<MemoryModule>();

} // namespace zel

// The fields of memory modules.
#include "host/hardware/MemoryModule.h"

namespace zel {

namespace {

constexpr Entries<MemoryModule> memory{Area::Hardware, "memory_modules", "/sys/firmware/dmi/tables/DMI"};
constexpr Field<MemoryModule> fields[] = {
    memory.label("slot", &MemoryModule::slot, "Name of its slot on the board."),
};

} // namespace

template<> std::span<const Field<MemoryModule>> fieldsOf<MemoryModule>() {
    return fields;
}

} // namespace zel

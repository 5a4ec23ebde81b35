// What single structures of the firmware's tables say, as rows of the inventory: modules and arrays of memory, sockets
// of processors.
#pragma once

#include "host/hardware/MemoryModule.h"
#include "host/hardware/ProcessorSocket.h"
#include "host/hardware/SmbiosTable.h"

namespace zel {

inline constexpr unsigned SMBIOS_PROCESSOR = 4;
inline constexpr unsigned SMBIOS_MEMORY_ARRAY = 16;
inline constexpr unsigned SMBIOS_MEMORY_MODULE = 17;

/// Each takes a structure of its type; every field of the row is set. `serials` is None when what identifies one piece
/// may be told, else why it is not.
void takeMemoryModule(const SmbiosStructure &structure, Absence serials, MemoryModule &module);
void takeMemoryArray(const SmbiosStructure &structure, MemoryArray &array);
void takeProcessorSocket(const SmbiosStructure &structure, Absence serials, ProcessorSocket &socket);

} // namespace zel

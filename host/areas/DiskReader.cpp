// Reads the disks.
#include "host/areas/AreaReader.h"

namespace zel {

std::unique_ptr<AreaReader> diskReader() {
    return nullptr;
}

} // namespace zel

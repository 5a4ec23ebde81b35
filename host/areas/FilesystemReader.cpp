// Reads the filesystems.
#include "host/areas/AreaReader.h"

namespace zel {

std::unique_ptr<AreaReader> filesystemReader() {
    return nullptr;
}

} // namespace zel

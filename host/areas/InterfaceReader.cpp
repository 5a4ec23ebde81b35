// Reads the interfaces.
#include "host/areas/AreaReader.h"

namespace zel {

std::unique_ptr<AreaReader> interfaceReader() {
    return nullptr;
}

} // namespace zel

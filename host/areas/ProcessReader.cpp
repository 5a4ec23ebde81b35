// Reads the processes.
#include "host/areas/AreaReader.h"

namespace zel {

std::unique_ptr<AreaReader> processReader() {
    return nullptr;
}

} // namespace zel

// The fields of the filesystems.
#include "host/Filesystem.h"

namespace zel {

template<> std::span<const Field<Filesystem>> fieldsOf<Filesystem>() {
    return {};
}

} // namespace zel

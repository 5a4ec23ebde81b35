// The fields of the disks.
#include "host/Disk.h"

namespace zel {

template<> std::span<const Field<Disk>> fieldsOf<Disk>() {
    return {};
}

} // namespace zel

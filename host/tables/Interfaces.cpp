// The fields of the interfaces.
#include "host/Interface.h"

namespace zel {

template<> std::span<const Field<Interface>> fieldsOf<Interface>() {
    return {};
}

} // namespace zel

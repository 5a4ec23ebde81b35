// A table whose every field needs root.
#pragma once

#include "host/Schema.h"

#include <array>

namespace zel {

template<class Row, std::size_t Size>
constexpr std::array<Field<Row>, Size> rootFields(const Field<Row> (&fields)[Size]) {
    std::array<Field<Row>, Size> result = std::to_array(fields);
    for (Field<Row> &field : result)
        field.family.rights = Rights::Root;
    return result;
}

} // namespace zel

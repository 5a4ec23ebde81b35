// The fields of the processes.
#include "host/Process.h"

namespace zel {

template<> std::span<const Field<Process>> fieldsOf<Process>() {
    return {};
}

template<> std::span<const Field<ProcessTotals>> fieldsOf<ProcessTotals>() {
    return {};
}

} // namespace zel

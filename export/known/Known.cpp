// The list of the files of this folder.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr const KnownMetrics *all[] = {
    &knownDisks,
};

} // namespace

std::span<const KnownMetrics *const> knownMetrics() {
    return all;
}

} // namespace zel

// What the kernel shows of a graphics card below /sys/class/drm: of amdgpu, i915, xe and others. Its driver answers the
// files, some of them after asking the card, which may take long.
#pragma once

#include "host/Gpu.h"
#include "host/source/HostDirectory.h"

namespace zel {

enum class CardScope : unsigned char {
    All,
    Changing // and what describes another card that has the name by now
};

/// Reads the card `gpu.gpu`, such as "card0". A suspended one is not woken: what changes is "not yet" then, and what
/// describes it stays as it is.
void readDrmCard(const HostDirectory &root, CardScope scope, Gpu &gpu);

} // namespace zel

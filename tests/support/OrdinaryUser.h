// Runs a test body as a user without rights.
#pragma once

#include "ScratchHome.h"

#include <functional>

/// Runs `body` in a forked child as "nobody", to whom the whole home is given first; an ordinary user runs it as
/// himself. Failed expectations are printed there and fail the calling test.
void asOrdinaryUser(const ScratchHome &home, const std::function<void()> &body);

// The walk over an inventory: the sinks are those of a sample (export/Walk.h).
#pragma once

#include "export/Walk.h"
#include "host/Hardware.h"

namespace zel {

/// The sections of the parts that were asked for.
template<class Sink> void walk(const Hardware &hardware, Sink &sink) {
    CounterRates none(nullptr);
    for (const AnyHardwareSection &section : hardwareSections()) {
        if (hardware.part(section.part).asked)
            walkSection(section, hardware, nullptr, none, sink);
    }
}

} // namespace zel

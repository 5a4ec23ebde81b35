// The walk over an inventory: the sinks are those of a sample (export/Walk.h).
#pragma once

#include "export/Walk.h"
#include "host/Hardware.h"

namespace zel {

/// The sections of the parts that were asked for.
template<class Sink> void walk(const Hardware &hardware, Sink &sink) {
    CounterRates none(nullptr);
    forEachHardwareSection([&]<class Row>(const HardwareSection<Row> &section) {
        if (!hardware.part(section.part).asked)
            return;
        sink.beginSection(section.name, section.many != nullptr);
        section.forEachRow(hardware, [&](const Row &row) { walkRow(row, 0, nullptr, none, sink); });
        sink.endSection();
    });
}

} // namespace zel

// Cells that are made of several fields.
#pragma once

#include "zel/Table.h"
#include "zel/Units.h"

namespace zel {

inline Tone toneOf(double value, double warning, double alarm) {
    return value >= alarm ? Tone::Alarm : value >= warning ? Tone::Warning : value == 0 ? Tone::Quiet : Tone::Plain;
}

/// A share in percent; "-" of nothing.
inline Cell shareCell(double part, double whole, double warning, double alarm) {
    if (whole <= 0)
        return {"-", Tone::Quiet};
    const double share = part / whole;
    return {percentText(share), toneOf(share, warning, alarm)};
}

} // namespace zel

// Fields that structures of the firmware's tables have in common: codes with a name, numbers of which some values say
// that nothing is known, texts.
#pragma once

#include "host/hardware/SmbiosTable.h"
#include "host/source/LineScan.h"

#include <initializer_list>
#include <span>

namespace zel {

/// The number, unless it is one of those that stand for "not known".
inline Count known(const Count &number, std::initializer_list<std::uint64_t> unknown) {
    for (const std::uint64_t value : unknown) {
        if (number && *number == value)
            return Absence::Unsupported;
    }
    return number;
}

/// A number with the unit that it is counted in; 0 stands for "not known".
inline Count scaledKnown(const Count &number, std::uint64_t factor) {
    return scaledCount(known(number, {0}), factor);
}

/// The name of a code, which counts from 1. An empty name is a code for "not known", and so is one that a later
/// standard adds.
inline void takeCode(const Count &code, std::span<const std::string_view> names, Reading<std::string> &reading) {
    if (!code || *code == 0 || *code > names.size() || names[*code - 1].empty())
        reading.clear(Absence::Unsupported);
    else
        reading.set(names[*code - 1]);
}

/// A text that tells rows apart: an empty one where the firmware has none.
inline void takeLabel(const SmbiosStructure &structure, std::size_t at, std::string &label) {
    Reading<std::string> text;
    structure.text(at, text);
    label = text.valueOr("");
}

/// A text that identifies one piece: `serials` is None when it may be told.
inline void takeSerial(const SmbiosStructure &structure, std::size_t at, Absence serials,
                       Reading<std::string> &reading) {
    if (serials != Absence::None)
        reading.clear(serials);
    else
        structure.text(at, reading);
}

} // namespace zel

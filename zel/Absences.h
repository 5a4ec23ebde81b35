// What a host lacks: the families of which no row of a sample has a value, why, and what would give them.
#pragma once

#include "host/Sample.h"

#include <span>
#include <string>
#include <vector>

namespace zel {

/// A family without any value. What the sample was only not asked for, or has not had the time to measure, is none.
struct Lack {
    const Family *family;
    Absence reason;           // where rows have several: what an operator can mend before what nobody can
    const AreaState *failure; // with the error that this comes from; null when none is known
    bool isOfNothing = false; // its section has no rows, or its area is lost as a whole
};

/// The lacks of one section that have everything but their names in common.
struct LackGroup {
    std::vector<const Lack *> lacks; // never empty
    bool isWhole = false;            // all that the section has

    const Lack &first() const { return *lacks.front(); }
};

/// The lacks of the areas that the sample was asked for, in the order of the schema. It points into the sample.
std::vector<Lack> lacksOf(const Sample &sample);

/// What would give the family: a kernel option, a module, a right. Empty when that is not known.
std::string_view givenBy(const Lack &lack);

/// Puts together what people read in one line.
std::vector<LackGroup> grouped(std::span<const Lack> lacks);

} // namespace zel

// Counts absent readings, field by field over all rows.
#include "export/AbsenceCounts.h"

namespace zel {

AbsenceCounts countAbsences(const Sample &sample) {
    AbsenceCounts all{};
    for (std::size_t area = 0; area < AREA_COUNT; ++area) {
        const AreaState &state = sample.areas[area];
        if (state.asked && state.absence != Absence::None)
            ++all[area][static_cast<std::size_t>(state.absence)];
    }
    for (const AnySection<Sample> &section : sections()) {
        const std::size_t rows = sample.area(section.area).asked ? section.size(sample) : 0;
        for (std::size_t index = 0; index < rows; ++index) {
            const AnyRow &row = section.row(sample, index);
            for (std::size_t field = 0; field < section.fields.families.size(); ++field) {
                if (const Value value = section.fields.value(row, field); !value.has())
                    ++all[static_cast<std::size_t>(section.area)][static_cast<std::size_t>(value.absence())];
            }
        }
    }
    return all;
}

} // namespace zel

// Counts absent readings, field by field over all rows.
#include "export/AbsenceCounts.h"

#include "export/Walk.h"

namespace zel {

namespace {

using Counts = std::array<std::uint64_t, ABSENCE_COUNT>;

template<class Row, class T> void countField(std::span<const Row> rows, Reading<T> Row::*member, Counts &counts) {
    for (const Row &row : rows)
        ++counts[static_cast<std::size_t>((row.*member).absence())];
}
// What tells rows apart is never absent.
template<class Row> void countField(std::span<const Row>, std::uint64_t Row::*, Counts &) {}
template<class Row> void countField(std::span<const Row>, std::string Row::*, Counts &) {}

} // namespace

AbsenceCounts countAbsences(const Sample &sample) {
    AbsenceCounts all{};
    for (std::size_t area = 0; area < AREA_COUNT; ++area) {
        const AreaState &state = sample.areas[area];
        if (state.asked)
            ++all[area][static_cast<std::size_t>(state.absence)];
    }
    forEachSection([&]<class Row>(const Section<Row> &section) {
        if (!sample.area(section.area).asked)
            return;
        Counts &counts = all[static_cast<std::size_t>(section.area)];
        const std::span<const Row> rows = rowsOf(sample, section);
        for (const Field<Row> &field : fieldsOf<Row>())
            std::visit([&](auto member) { countField(rows, member, counts); }, field.member);
    });
    return all;
}

} // namespace zel

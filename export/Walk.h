// The one walk over a sample or its rates from which every format is made.
//
// A sink has
//
//   beginSection(std::string_view name, bool list)   endSection()
//   beginRow()                                       endRow()
//   field(const Family &family, const Value &value)  labels among them, in the order of the struct
//
// and the walk calls them in this order.
#pragma once

#include "host/Rates.h"

#include <algorithm>
#include <string>

namespace zel {

/// Whether `areas` names the area; an empty list names all.
inline bool isShown(std::span<const Area> areas, Area area) {
    return areas.empty() || std::find(areas.begin(), areas.end(), area) != areas.end();
}

template<class Row, class Whole, class Sink>
void walkSection(const Section<Row, Whole> &section, const Whole &whole, Sink &sink) {
    sink.beginSection(section.name, section.many != nullptr);
    section.forEachRow(whole, [&](const Row &row) {
        sink.beginRow();
        for (const Field<Row> &field : fieldsOf<Row>())
            sink.field(field.family, field.of(row));
        sink.endRow();
    });
    sink.endSection();
}

/// The sections of `areas` that the sample was asked for.
template<class Sink> void walk(const Sample &sample, std::span<const Area> areas, Sink &sink) {
    forEachSection([&](const auto &section) {
        if (sample.area(section.area).asked && isShown(areas, section.area))
            walkSection(section, sample, sink);
    });
}

/// The family of the rate of a counter: "faults_total" gives "faults_per_second", "some_seconds_total" gives
/// "some_ratio".
const Family &rateFamily(const Family &counter);

/// The counters of the sections without a struct of rates. The rows of a section follow one another, and so do the
/// counters of a row.
template<class Sink> void walkCounters(const Rates &rates, std::span<const Area> areas, Sink &sink) {
    std::string_view section;
    const Family *first = nullptr; // of the row: when it comes again, the next row begins
    for (const CounterRate &rate : rates.counters) {
        if (!isShown(areas, rate.family->area))
            continue;
        const bool newSection = rate.family->section != section;
        if (first != nullptr && (newSection || rate.family == first))
            sink.endRow();
        if (newSection) {
            if (!section.empty())
                sink.endSection();
            section = rate.family->section;
            sink.beginSection(section, rate.labels.size() > 0);
        }
        if (newSection || rate.family == first) {
            first = rate.family;
            sink.beginRow();
            for (const Label &label : rate.labels)
                sink.field(*label.family, label.value);
        }
        sink.field(rateFamily(*rate.family), rate.perSecond ? Value(*rate.perSecond) : Value(rate.perSecond.absence()));
    }
    if (first != nullptr) {
        sink.endRow();
        sink.endSection();
    }
}

template<class Sink> void walk(const Rates &rates, std::span<const Area> areas, Sink &sink) {
    std::apply(
        [&](const auto &...section) {
            const auto walkShown = [&](const auto &each) {
                if (rates.asked[static_cast<std::size_t>(each.area)] && isShown(areas, each.area))
                    walkSection(each, rates, sink);
            };
            (walkShown(section), ...);
        },
        RATE_SECTIONS);
    walkCounters(rates, areas, sink);
}

} // namespace zel

// The one walk over a sample, or a sample and its rates, from which every format is made.
//
// A sink has
//
//   beginSection(std::string_view name, bool list)   endSection()
//   beginRow()                                       endRow()
//   field(const Family &family, const Value &value)  labels among them, in the order of the struct
//
// and the walk calls them in this order. With rates, the rate of a counter stands in for the counter; a section that
// has a struct of rates has its fields after those of the sample. A sink that also has
//
//   bool hasAbsences()   absence(const Family &family, Absence reason)
//
// is told the fields of a row that hold no value once more before the row ends, so that it need not remember them.
#pragma once

#include "host/Rates.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace zel {

/// Whether `areas` names the area; an empty list names all.
inline bool isShown(std::span<const Area> areas, Area area) {
    return areas.empty() || std::find(areas.begin(), areas.end(), area) != areas.end();
}

/// The rows of a list of a sample, or a struct of it as the only one; one of both members is null.
template<class Row> std::span<const Row> rowsOf(const Sample &sample, Row Sample::*one, Rows<Row> Sample::*many) {
    if (one != nullptr)
        return {&(sample.*one), 1};
    return {(sample.*many).begin(), (sample.*many).size()};
}

/// Calls use(const Family &) for every column of a section, in the order in which the walk gives them.
template<class Whole, class Use> void forEachFamily(const AnySection<Whole> &section, bool withRates, Use &&use) {
    for (std::size_t field = 0; field < section.fields.families.size(); ++field) {
        const Family &family = *section.fields.families[field];
        if (!withRates || family.kind != Kind::Counter)
            use(family);
        else if (section.rates == nullptr)
            use(section.fields.rateFamily(field));
    }
    if (!withRates || section.rates == nullptr)
        return;
    for (const Family *family : section.rates->fields.families) {
        if (family->kind != Kind::Label)
            use(*family);
    }
}

/// Finds the rates of counters one after the other, as they follow in Rates::counters.
class CounterRates {
public:
    explicit CounterRates(const Rates *rates) : m_rates(rates) {}

    Value of(const Family &counter) {
        for (std::size_t at = m_next; at < m_rates->counters.size(); ++at) {
            const CounterRate &rate = m_rates->counters[at];
            if (rate.family != &counter)
                continue;
            m_next = at + 1;
            return rate.perSecond ? Value(*rate.perSecond) : Value(rate.perSecond.absence());
        }
        return Absence::NotYet;
    }

private:
    const Rates *m_rates;
    std::size_t m_next = 0;
};

/// A number that is none, or has no end, is nothing that a format can write.
inline Value finite(const Value &value) {
    return value.type() == Value::Type::Real && !std::isfinite(value.asReal()) ? Value(Absence::Malformed) : value;
}

/// Calls use(const Family &, const Value &) for every column of the row `index` of a section; `rates` may be null.
template<class Whole, class Use>
void walkFields(const AnySection<Whole> &section, const AnyRow &row, std::size_t index, const Rates *rates,
                CounterRates &counters, Use &&use) {
    const AnyFields &fields = section.fields;
    for (std::size_t field = 0; field < fields.families.size(); ++field) {
        const Family &family = *fields.families[field];
        if (rates == nullptr || family.kind != Kind::Counter)
            use(family, finite(fields.value(row, field)));
        else if (section.rates == nullptr)
            use(fields.rateFamily(field), finite(counters.of(family)));
    }
    if (rates == nullptr || section.rates == nullptr)
        return;
    const bool hasRates = index < section.rates->size(*rates);
    const AnyFields &ofRates = section.rates->fields;
    for (std::size_t field = 0; field < ofRates.families.size(); ++field) {
        if (ofRates.families[field]->kind == Kind::Label)
            continue;
        use(*ofRates.families[field],
            hasRates ? finite(ofRates.value(section.rates->row(*rates, index), field)) : Value(Absence::Unsupported));
    }
}

template<class Whole, class Sink>
void walkRow(const AnySection<Whole> &section, const AnyRow &row, std::size_t index, const Rates *rates,
             CounterRates &counters, Sink &sink) {
    CounterRates again = counters;
    sink.beginRow();
    walkFields(section, row, index, rates, counters,
               [&sink](const Family &family, const Value &value) { sink.field(family, value); });
    if constexpr (requires { sink.hasAbsences(); }) {
        if (sink.hasAbsences()) {
            walkFields(section, row, index, rates, again, [&sink](const Family &family, const Value &value) {
                if (!value.has())
                    sink.absence(family, value.absence());
            });
        }
    }
    sink.endRow();
}

template<class Whole, class Sink>
void walkSection(const AnySection<Whole> &section, const Whole &whole, const Rates *rates, CounterRates &counters,
                 Sink &sink) {
    sink.beginSection(section.name, section.isList);
    for (std::size_t index = 0; index < section.size(whole); ++index)
        walkRow(section, section.row(whole, index), index, rates, counters, sink);
    sink.endSection();
}

/// The sections of `areas` that the sample was asked for; `rates` may be null.
template<class Sink> void walk(const Sample &sample, const Rates *rates, std::span<const Area> areas, Sink &sink) {
    CounterRates counters(rates);
    for (const AnySection<Sample> &section : sections()) {
        if (sample.area(section.area).asked && isShown(areas, section.area))
            walkSection(section, sample, rates, counters, sink);
    }
}

} // namespace zel

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
#include <string>
#include <type_traits>
#include <utility>

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
template<class Row> std::span<const Row> rowsOf(const Sample &sample, const Section<Row> &section) {
    return rowsOf(sample, section.one, section.many);
}

/// The family of the rate of a counter: "faults_total" gives "faults_per_second", "some_seconds_total" gives
/// "some_ratio", "consumed_joules_total" gives "consumed_watts".
const Family &rateFamily(const Family &counter);

/// The row of rates that belongs to row `index` of a section of the sample; null when there is none. Structs whose
/// counters have no struct of rates give a std::nullptr_t.
template<class Row> const Row *rowAt(const Rows<Row> &rows, std::size_t index) {
    return index < rows.size() ? &rows[index] : nullptr;
}
template<class Row> std::nullptr_t rateRow(const Rates &, const Row &, std::size_t) {
    return nullptr;
}
inline const CpuRates *rateRow(const Rates &rates, const Cpu &, std::size_t) {
    return &rates.cpu;
}
inline const ProcessorRates *rateRow(const Rates &rates, const Processor &, std::size_t index) {
    return rowAt(rates.processors, index);
}
inline const DiskRates *rateRow(const Rates &rates, const Disk &, std::size_t index) {
    return rowAt(rates.disks, index);
}
inline const InterfaceRates *rateRow(const Rates &rates, const Interface &, std::size_t index) {
    return rowAt(rates.interfaces, index);
}
inline const ProcessRates *rateRow(const Rates &rates, const Process &, std::size_t index) {
    return rowAt(rates.processes, index);
}

inline const FibreChannelRates *rateRow(const Rates &rates, const FibreChannelPort &, std::size_t index) {
    return rowAt(rates.fibreChannelPorts, index);
}
inline const NfsMountRates *rateRow(const Rates &rates, const NfsMount &, std::size_t index) {
    return rowAt(rates.nfsMounts, index);
}
inline const NfsOperationRates *rateRow(const Rates &rates, const NfsOperation &, std::size_t index) {
    return rowAt(rates.nfsOperations, index);
}
inline const NfsTransportRates *rateRow(const Rates &rates, const NfsTransport &, std::size_t index) {
    return rowAt(rates.nfsTransports, index);
}

/// The struct of rates of a struct of the sample; std::nullptr_t when it has none.
template<class Row>
using RateRow = std::remove_cv_t<
    std::remove_pointer_t<decltype(rateRow(std::declval<Rates>(), std::declval<Row>(), std::size_t{}))>>;
template<class Row> inline constexpr bool HAS_RATE_ROW = !std::is_same_v<RateRow<Row>, std::nullptr_t>;

/// Calls use(const Family &) for every column of a section, in the order in which the walk gives them.
template<class Row, class Use> void forEachFamily(bool withRates, Use &&use) {
    for (const Field<Row> &field : fieldsOf<Row>()) {
        if (!withRates || field.family.kind != Kind::Counter)
            use(field.family);
        else if constexpr (!HAS_RATE_ROW<Row>)
            use(rateFamily(field.family));
    }
    if constexpr (HAS_RATE_ROW<Row>) {
        for (const Field<RateRow<Row>> &field : fieldsOf<RateRow<Row>>()) {
            if (withRates && field.family.kind != Kind::Label)
                use(field.family);
        }
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

/// Calls use(const Family &, const Value &) for every column of one row; `rates` may be null.
template<class Row, class Use>
void walkFields(const Row &row, std::size_t index, const Rates *rates, CounterRates &counters, Use &&use) {
    for (const Field<Row> &field : fieldsOf<Row>()) {
        if (rates == nullptr || field.family.kind != Kind::Counter)
            use(field.family, finite(field.of(row)));
        else if constexpr (!HAS_RATE_ROW<Row>)
            use(rateFamily(field.family), finite(counters.of(field.family)));
    }
    if constexpr (HAS_RATE_ROW<Row>) {
        if (rates == nullptr)
            return;
        static const RateRow<Row> none{};
        const RateRow<Row> *rateOf = rateRow(*rates, row, index);
        for (const Field<RateRow<Row>> &field : fieldsOf<RateRow<Row>>()) {
            if (field.family.kind != Kind::Label)
                use(field.family, finite(field.of(rateOf == nullptr ? none : *rateOf)));
        }
    }
}

template<class Row, class Sink>
void walkRow(const Row &row, std::size_t index, const Rates *rates, CounterRates &counters, Sink &sink) {
    CounterRates again = counters;
    sink.beginRow();
    walkFields(row, index, rates, counters,
               [&sink](const Family &family, const Value &value) { sink.field(family, value); });
    if constexpr (requires { sink.hasAbsences(); }) {
        if (sink.hasAbsences()) {
            walkFields(row, index, rates, again, [&sink](const Family &family, const Value &value) {
                if (!value.has())
                    sink.absence(family, value.absence());
            });
        }
    }
    sink.endRow();
}

template<class Row, class Sink>
void walkSection(const Section<Row> &section, const Sample &sample, const Rates *rates, CounterRates &counters,
                 Sink &sink) {
    std::size_t index = 0;
    sink.beginSection(section.name, section.many != nullptr);
    section.forEachRow(sample, [&](const Row &row) { walkRow(row, index++, rates, counters, sink); });
    sink.endSection();
}

/// The sections of `areas` that the sample was asked for; `rates` may be null.
template<class Sink> void walk(const Sample &sample, const Rates *rates, std::span<const Area> areas, Sink &sink) {
    CounterRates counters(rates);
    forEachSection([&](const auto &section) {
        if (sample.area(section.area).asked && isShown(areas, section.area))
            walkSection(section, sample, rates, counters, sink);
    });
}

} // namespace zel

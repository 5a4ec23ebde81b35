// The growth of the counters whose sections have no struct of rates.
#include "host/rates/Growth.h"
#include "host/rates/Matching.h"

#include <charconv>

namespace zel {

namespace {

constexpr bool hasStructOfRates(std::string_view section) {
    return std::apply([section](const auto &...each) { return ((each.name == section) || ...); }, RATE_SECTIONS);
}

template<class Row> bool sameLabels(const Row &left, const Row &right) {
    for (const Field<Row> &field : fieldsOf<Row>()) {
        if (field.family.kind != Kind::Label)
            continue;
        const Value one = field.of(left), other = field.of(right);
        if (one.asText() != other.asText() || one.asUnsigned() != other.asUnsigned())
            return false;
    }
    return true;
}

template<class Row> std::size_t hashOfLabels(const Row &row) {
    std::size_t hash = 0;
    for (const Field<Row> &field : fieldsOf<Row>()) {
        if (field.family.kind != Kind::Label)
            continue;
        constexpr std::size_t factor = 31;
        const Value label = field.of(row);
        hash = hash * factor + std::hash<std::string_view>{}(label.asText()) + label.asUnsigned();
    }
    return hash;
}

// Whether a row under the same labels is still the same thing.
template<class Row> bool goesOn(const Row &before, const Row &now) {
    if constexpr (std::is_same_v<Row, Cgroup> || std::is_same_v<Row, CgroupDevice>)
        return sameReading(before.inode, now.inode);
    return true;
}

template<class Row> Number counterGrowth(const Field<Row> &field, const Row &before, const Row &now) {
    return std::visit(
        [&](auto place) -> Number {
            if constexpr (std::is_same_v<decltype(place), Count Row::*>)
                return growthOf(before.*place, now.*place, field.family.counterBits);
            else if constexpr (std::is_same_v<decltype(place), Number Row::*>)
                return field.wrapsAt == nullptr ? growthOf(before.*place, now.*place)
                                                : wrappingGrowth(before.*place, now.*place, now.*field.wrapsAt);
            else
                return Absence::Unsupported;
        },
        field.member);
}

template<class Row> void takeRow(const Row *before, const Row &now, double seconds, Rates &rates) {
    static const Row none{};
    const Labels labels = labelsOf(now);
    for (const Field<Row> &field : fieldsOf<Row>()) {
        if (field.family.kind != Kind::Counter)
            continue;
        CounterRate &rate = rates.counters.append();
        rate.family = &field.family;
        rate.labels = labels;
        rate.perSecond = perSecond(counterGrowth(field, before == nullptr ? none : *before, now), seconds);
    }
}

// The lines of /proc/interrupts add up the processors that are online: with others they cannot be compared.
template<class Row> bool isComparable(const Sample &before, const Sample &now) {
    return !std::is_same_v<Row, InterruptLine> ||
           sameReading(before.activity.interruptProcessors, now.activity.interruptProcessors);
}

template<class Row>
void takeSection(const Section<Row> &section, const Sample &before, const Sample &now, Rates &rates) {
    const double seconds = secondsBetween(before, now, section.area);
    const bool comparable = isComparable<Row>(before, now);
    if (section.one != nullptr)
        return takeRow(&(before.*section.one), now.*section.one, seconds, rates);
    Earlier earlier(before.*section.many, sameLabels<Row>, hashOfLabels<Row>);
    for (const Row &row : now.*section.many) {
        const Row *old = comparable ? earlier.of(row) : nullptr;
        takeRow(old != nullptr && goesOn(*old, row) ? old : nullptr, row, seconds, rates);
    }
}

bool isLabel(const Value &value, std::string_view text) {
    if (value.type() == Value::Type::Text)
        return value.asText() == text;
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && value.asUnsigned() == number;
}

} // namespace

void takeCounters(const Sample &before, const Sample &now, Rates &rates) {
    forEachSection([&]<class Row>(const Section<Row> &section) {
        if (now.area(section.area).asked && !hasStructOfRates(section.name))
            takeSection(section, before, now, rates);
    });
}

Number Rates::perSecond(std::string_view section, std::string_view name, std::string_view label) const {
    for (const CounterRate &rate : counters) {
        const bool labelled = label.empty() ? rate.labels.size() == 0
                                            : rate.labels.size() > 0 && isLabel(rate.labels.begin()->value, label);
        if (labelled && rate.family->section == section && rate.family->name == name)
            return rate.perSecond;
    }
    return Absence::Unsupported;
}

} // namespace zel

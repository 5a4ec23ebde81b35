// The sections of samples, rates and inventories without the types of their rows.
#include "host/AnySection.h"
#include "host/Hardware.h"
#include "host/Rates.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace zel {

namespace {

template<class Row> const Row &typed(const AnyRow &row) {
    return reinterpret_cast<const Row &>(row);
}
template<class Row> const AnyRow &untyped(const Row &row) {
    return reinterpret_cast<const AnyRow &>(row);
}

// Null where the family is no counter.
std::shared_ptr<const RateFamily> rateFamilyOf(const Family &family) {
    return family.kind == Kind::Counter ? std::make_shared<const RateFamily>(family) : nullptr;
}

bool isText(const auto &member) {
    return withMember(member, []<class Row, class Type>(Type Row::*) {
        return std::is_same_v<Type, std::string> || std::is_same_v<Type, Reading<std::string>>;
    });
}

template<class Row> AnyFields anyFieldsOf() {
    std::vector<const Family *> families;
    std::vector<bool> texts;
    std::vector<std::shared_ptr<const RateFamily>> rates;
    for (const Field<Row> &field : fieldsOf<Row>()) {
        families.push_back(&field.family);
        texts.push_back(isText(field.member));
        rates.push_back(rateFamilyOf(field.family));
    }
    return {std::move(families), std::move(texts),
            [](const AnyRow &row, std::size_t field) { return fieldsOf<Row>()[field].of(typed<Row>(row)); },
            [](const AnyRow &row, std::size_t field) -> const Number * {
                const Field<Row> &entry = fieldsOf<Row>()[field];
                return entry.wrapsAt == nullptr ? nullptr : &(typed<Row>(row).*entry.wrapsAt);
            },
            std::move(rates)};
}

// The only row of a section.
template<auto Place, class Row, class Whole>
AnySection<Whole> anySection(Area area, std::string_view name, Row Whole::*) {
    return {area,
            name,
            false,
            anyFieldsOf<Row>(),
            [](const Whole &) { return std::size_t{1}; },
            [](const Whole &whole, std::size_t) -> const AnyRow & { return untyped(whole.*Place); },
            [](Whole &whole, Absence reason) { forget(whole.*Place, reason); },
            [](Whole &one, Whole &other) { std::swap(one.*Place, other.*Place); }};
}

template<auto Place, class Row, class Whole>
AnySection<Whole> anySection(Area area, std::string_view name, Rows<Row> Whole::*) {
    return {area,
            name,
            true,
            anyFieldsOf<Row>(),
            [](const Whole &whole) { return (whole.*Place).size(); },
            [](const Whole &whole, std::size_t index) -> const AnyRow & { return untyped((whole.*Place)[index]); },
            [](Whole &whole, Absence) { (whole.*Place).clear(); },
            [](Whole &one, Whole &other) { std::swap(one.*Place, other.*Place); }};
}

// The section at a place of one of the tuples of sections.
template<const auto &All, std::size_t Index> auto anySectionAt() {
    constexpr const auto &section = std::get<Index>(All);
    constexpr auto place = [] {
        if constexpr (section.one != nullptr)
            return section.one;
        else
            return section.many;
    }();
    return anySection<place>(section.area, section.name, place);
}

template<const auto &All> auto anySections() {
    return []<std::size_t... Index>(std::index_sequence<Index...>) {
        return std::vector{anySectionAt<All, Index>()...};
    }
    (std::make_index_sequence<std::tuple_size_v<std::remove_cvref_t<decltype(All)>>>());
}

std::vector<AnySection<Sample>> makeSampleSections() {
    std::vector<AnySection<Sample>> all = anySections<SECTIONS>();
    for (AnySection<Sample> &section : all) {
        const auto rates = std::ranges::find(rateSections(), section.name, &AnySection<Rates>::name);
        section.rates = rates == rateSections().end() ? nullptr : &*rates;
    }
    return all;
}

std::vector<AnyHardwareSection> makeHardwareSections() {
    std::vector<AnyHardwareSection> all;
    for (AnySection<Hardware> &section : anySections<HARDWARE_SECTIONS>())
        all.push_back({std::move(section), HardwarePart::Machine});
    std::size_t index = 0;
    forEachHardwareSection([&](const auto &section) { all[index++].part = section.part; });
    return all;
}

} // namespace

std::span<const AnySection<Sample>> sections() {
    static const std::vector<AnySection<Sample>> all = makeSampleSections();
    return all;
}

std::span<const AnySection<Rates>> rateSections() {
    static const std::vector<AnySection<Rates>> all = anySections<RATE_SECTIONS>();
    return all;
}

std::span<const AnyHardwareSection> hardwareSections() {
    static const std::vector<AnyHardwareSection> all = makeHardwareSections();
    return all;
}

Labels labelsOf(const AnyFields &fields, const AnyRow &row) {
    Labels labels;
    for (std::size_t field = 0; field < fields.families.size(); ++field) {
        if (fields.families[field]->kind == Kind::Label)
            labels.add(*fields.families[field], fields.value(row, field));
    }
    return labels;
}

} // namespace zel

// The growth of the counters whose sections have no struct of rates.
#include "host/rates/Growth.h"
#include "host/rates/Matching.h"

#include <algorithm>
#include <charconv>

namespace zel {

namespace {

// The rows of a section of a sample.
class AnyRows {
public:
    AnyRows(const AnySection<Sample> &section, const Sample &sample) : m_section(section), m_sample(sample) {}

    std::size_t size() const { return m_section.size(m_sample); }
    const AnyRow &operator[](std::size_t index) const { return m_section.row(m_sample, index); }

private:
    const AnySection<Sample> &m_section;
    const Sample &m_sample;
};

bool isSameLabel(const Value &left, const Value &right) {
    return left.asText() == right.asText() && left.asUnsigned() == right.asUnsigned();
}

// Calls use(field) for the labels.
template<class Use> void forEachLabel(const AnyFields &fields, Use &&use) {
    for (std::size_t field = 0; field < fields.families.size(); ++field) {
        if (fields.families[field]->kind == Kind::Label)
            use(field);
    }
}

struct SameLabels {
    const AnyFields &fields;

    bool operator()(const AnyRow &left, const AnyRow &right) const {
        bool same = true;
        forEachLabel(fields, [&](std::size_t field) {
            same = same && isSameLabel(fields.value(left, field), fields.value(right, field));
        });
        return same;
    }
};

struct HashOfLabels {
    const AnyFields &fields;

    std::size_t operator()(const AnyRow &row) const {
        std::size_t hash = 0;
        forEachLabel(fields, [&](std::size_t field) {
            constexpr std::size_t factor = 31;
            const Value label = fields.value(row, field);
            hash = hash * factor + std::hash<std::string_view>{}(label.asText()) + label.asUnsigned();
        });
        return hash;
    }
};

// The field that tells whether a row under the same labels is still the same thing; the number of fields when it
// always is.
std::size_t identityOf(const AnySection<Sample> &section) {
    const auto &families = section.fields.families;
    if (section.area != Area::Cgroups)
        return families.size();
    const auto inode = std::ranges::find(families, "inode", &Family::name);
    return static_cast<std::size_t>(inode - families.begin());
}

bool isSameThing(const AnyFields &fields, std::size_t identity, const AnyRow &before, const AnyRow &now) {
    if (identity == fields.families.size())
        return true;
    const Value earlier = fields.value(before, identity), later = fields.value(now, identity);
    return earlier.absence() == later.absence() && isSameLabel(earlier, later);
}

Count countOf(const Value &value) {
    return value.has() ? Count(value.asUnsigned()) : Count(value.absence());
}
Number numberOf(const Value &value) {
    return value.has() ? Number(value.asReal()) : Number(value.absence());
}

Number counterGrowth(const AnyFields &fields, std::size_t field, const AnyRow *earlier, const AnyRow &later) {
    const Value now = fields.value(later, field);
    const Value before = earlier == nullptr ? Value(Absence::NotYet) : fields.value(*earlier, field);
    if (now.type() == Value::Type::Unsigned)
        return growthOf(countOf(before), countOf(now), fields.families[field]->counterBits);
    const Number *wrapsAt = fields.wrapsAt(later, field);
    return wrapsAt == nullptr ? growthOf(numberOf(before), numberOf(now))
                              : wrappingGrowth(numberOf(before), numberOf(now), *wrapsAt);
}

void takeRow(const AnyFields &fields, const AnyRow *before, const AnyRow &now, double seconds, Rates &rates) {
    const Labels labels = labelsOf(fields, now);
    for (std::size_t field = 0; field < fields.families.size(); ++field) {
        if (fields.families[field]->kind != Kind::Counter)
            continue;
        CounterRate &rate = rates.counters.append();
        rate.family = fields.families[field];
        rate.labels = labels;
        rate.perSecond = perSecond(counterGrowth(fields, field, before, now), seconds);
    }
}

// The lines of /proc/interrupts add up the processors that are online: with others they cannot be compared.
bool isComparable(const AnySection<Sample> &section, const Sample &before, const Sample &now) {
    return section.name != "interrupts" ||
           sameReading(before.activity.interruptProcessors, now.activity.interruptProcessors);
}

void takeSection(const AnySection<Sample> &section, const Sample &before, const Sample &now, Rates &rates) {
    const double seconds = secondsBetween(before, now, section.area);
    const AnyFields &fields = section.fields;
    if (!section.isList)
        return takeRow(fields, &section.row(before, 0), section.row(now, 0), seconds, rates);
    const bool comparable = isComparable(section, before, now);
    const std::size_t identity = identityOf(section);
    const AnyRows earlierRows(section, before);
    Earlier earlier(earlierRows, SameLabels{fields}, HashOfLabels{fields});
    for (std::size_t index = 0; index < section.size(now); ++index) {
        const AnyRow &row = section.row(now, index);
        const AnyRow *old = comparable ? earlier.of(row) : nullptr;
        takeRow(fields, old != nullptr && isSameThing(fields, identity, *old, row) ? old : nullptr, row, seconds,
                rates);
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
    for (const AnySection<Sample> &section : sections()) {
        if (now.area(section.area).asked && section.rates == nullptr)
            takeSection(section, before, now, rates);
    }
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

// Sections without the types of their rows: for code that treats all fields alike (formats, lists, growth of counters),
// which is compiled once and not once for each struct.
//
//   for (const AnySection<Sample> &section : sections())
//       for (std::size_t index = 0; index < section.size(sample); ++index)
//           use(section.fields.value(section.row(sample, index), 0));
#pragma once

#include "host/RateFamily.h"
#include "host/Schema.h"

#include <memory>
#include <vector>

namespace zel {

/// A row of a section whose type the reader does not know.
struct AnyRow;

struct Rates;

/// The table of a struct.
struct AnyFields {
    std::vector<const Family *> families; // in the order of the members
    std::vector<bool> isText;             // of each family
    Value (*value)(const AnyRow &row, std::size_t field);
    /// Where a counter begins again at 0; null when it is not its device that says so.
    const Number *(*wrapsAt)(const AnyRow &row, std::size_t field);
    std::vector<std::shared_ptr<const RateFamily>> rates; // of each family; null where it is no counter's

    /// The family of the rate of a counter.
    const Family &rateFamily(std::size_t field) const { return rates[field]->family(); }
};

/// A section of a sample, of rates or of an inventory.
template<class Whole> struct AnySection {
    Area area;
    std::string_view name;
    bool isList;
    AnyFields fields;
    std::size_t (*size)(const Whole &whole);
    const AnyRow &(*row)(const Whole &whole, std::size_t index);
    /// Takes the values of the only row, or all rows, away.
    void (*lose)(Whole &whole, Absence reason);
    void (*exchange)(Whole &one, Whole &other);
    /// The struct of rates that belongs to a section of a sample; null when there is none.
    const AnySection<Rates> *rates = nullptr;
};

/// The labels of a row, which they belong to.
Labels labelsOf(const AnyFields &fields, const AnyRow &row);

} // namespace zel

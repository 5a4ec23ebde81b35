// Which sections of a sample are written as families of our own (zel_<section>_<field>).
//
// By default those that no known name covers and that people look at: a choice of fields of each. A section that is
// named is written with all its fields. The rest would multiply the series of a host for nobody.
#pragma once

#include "host/Sample.h"

#include <array>
#include <span>
#include <string_view>

namespace zel {

inline constexpr std::size_t SECTION_COUNT = std::tuple_size_v<decltype(SECTIONS)>;

/// A section that is written by default, and the fields of it that are; all when none is named.
struct DefaultSection {
    std::string_view section;
    std::span<const std::string_view> fields;
};
std::span<const DefaultSection> defaultSections();

class MetricSections {
public:
    /// No section.
    MetricSections() = default;
    static MetricSections defaults();
    static MetricSections all();

    /// Adds what a word names: "default", "all", or a section; false when it names nothing.
    bool add(std::string_view word);

    /// Whether a field of a section, both by their names, is written.
    bool has(std::string_view section, std::string_view field) const;

private:
    enum class Extent : unsigned char { None, Default, Whole };

    std::array<Extent, SECTION_COUNT> m_extents{}; // by the order of SECTIONS
};

} // namespace zel

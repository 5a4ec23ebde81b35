// The schema: one entry for every field of every struct of the model. JSON keys, CSV columns, metric names, `zel list`
// and the documents are made from it.
//
// A section is a struct of a sample or a list of them ("disks"); its table has one entry per member, in the order of
// the members. Adding a field is one line in the struct and one in its table.
#pragma once

#include "host/Reading.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace zel {

/// The areas, by which a sampler is told what to read.
enum class Area : unsigned char {
    Cpu,
    Load,
    Pressure,
    Memory,
    Vm,
    Interrupts,
    Disks,
    Filesystems,
    Interfaces,
    Protocols,
    Processes,
    Cgroups,
    Sensors,
    FibreChannel,
    Gpus,
    Nfs,
    Time,
    Limits,
    Identity,
    Hardware // of no sample: the inventory (host/Hardware.h), which is read on demand
};
inline constexpr std::size_t AREA_COUNT = 19; // of samples

/// The name on the command line, such as "disks".
std::string_view areaName(Area area);

/// Base units only: a reader never has to scale. Fans turn so often per minute, as everybody counts them.
enum class Unit : unsigned char {
    None,
    Seconds,
    Bytes,
    Ratio,
    Hertz,
    Celsius,
    Volts,
    Amperes,
    Watts,
    Joules,
    Coulombs,
    RevolutionsPerMinute
};
enum class Kind : unsigned char {
    Counter, // only grows, until it wraps or its owner starts anew
    Gauge,
    Info, // a text or a number that describes and rarely changes
    State,
    Label // tells the rows of a section apart
};
/// What a process needs to read a field that not every user can read.
enum class Rights : unsigned char {
    Any,
    Owner, // the user of the process that is read, or CAP_SYS_PTRACE
    Root
};

std::string_view unitName(Unit unit);
std::string_view kindName(Kind kind);
std::string_view rightsName(Rights rights);

/// What is known of a field beside its value.
struct Family {
    Area area;
    std::string_view section; // "disks"; the area's name where it has one section only
    std::string_view name;    // "read_bytes_total"
    Unit unit;
    Kind kind;
    std::string_view source; // the kernel file or call
    std::string_view help;
    Rights rights = Rights::Any;
    unsigned char counterBits = 64;   // at which width the kernel's counter wraps
    std::string_view providedBy = {}; // what gives it to a host that lacks it: "CONFIG_PSI=y", "module nf_conntrack"
};

/// A value of any type, or why there is none.
class Value {
public:
    enum class Type : unsigned char { Absent, Unsigned, Real, Text };

    Value(Absence reason) : m_absence(reason) {}
    Value(std::uint64_t number) : m_unsigned(number), m_type(Type::Unsigned) {}
    Value(double number) : m_real(number), m_type(Type::Real) {}
    Value(std::string_view text) : m_text(text), m_type(Type::Text) {}

    Type type() const { return m_type; }
    bool has() const { return m_type != Type::Absent; }
    Absence absence() const { return m_absence; }
    std::uint64_t asUnsigned() const { return m_unsigned; }
    /// Any number as one with a fraction.
    double asReal() const { return m_type == Type::Unsigned ? static_cast<double>(m_unsigned) : m_real; }
    /// Belongs to the sample.
    std::string_view asText() const { return m_text; }

private:
    std::string_view m_text;
    std::uint64_t m_unsigned = 0;
    double m_real = 0;
    Type m_type = Type::Absent;
    Absence m_absence = Absence::None;
};

struct Label {
    const Family *family = nullptr;
    Value value = Absence::Unsupported;
};

/// The labels of a row, in the order of its struct.
class Labels {
public:
    static constexpr std::size_t LIMIT = 4;

    const Label *begin() const { return m_labels.data(); }
    const Label *end() const { return m_labels.data() + m_size; }
    std::size_t size() const { return m_size; }
    void add(const Family &family, Value value) { m_labels[m_size++] = {&family, value}; }

private:
    std::array<Label, LIMIT> m_labels;
    std::size_t m_size = 0;
};

using Count = Reading<std::uint64_t>;
using Number = Reading<double>;

template<class Row>
using Member =
    std::variant<Count Row::*, Number Row::*, Reading<std::string> Row::*, std::uint64_t Row::*, std::string Row::*>;

/// Calls use(member pointer). As std::visit, but without a table of functions for each struct and each use.
template<class Row, class Use> constexpr decltype(auto) withMember(const Member<Row> &member, Use &&use) {
    switch (member.index()) {
    case 0:
        return use(*std::get_if<0>(&member));
    case 1:
        return use(*std::get_if<1>(&member));
    case 2:
        return use(*std::get_if<2>(&member));
    case 3:
        return use(*std::get_if<3>(&member));
    default:
        return use(*std::get_if<4>(&member));
    }
}

template<class Row> struct Field {
    Family family;
    Member<Row> member;
    /// Of a counter that begins again at 0 where its own device says, not at a number of bits: the member that says it.
    Number Row::*wrapsAt = nullptr;

    Value of(const Row &row) const {
        return withMember<Row>(member, [&row](auto place) { return valueOf(row.*place); });
    }
    /// Takes the value of a reading away; what tells rows apart stays.
    void clear(Row &row, Absence reason) const {
        withMember<Row>(member, [&row, reason](auto place) { clearReading(row.*place, reason); });
    }

private:
    template<class T> static void clearReading(Reading<T> &reading, Absence reason) { reading.clear(reason); }
    static void clearReading(std::uint64_t &, Absence) {}
    static void clearReading(std::string &, Absence) {}
    static Value valueOf(const Count &reading) { return reading ? Value(*reading) : Value(reading.absence()); }
    static Value valueOf(const Number &reading) { return reading ? Value(*reading) : Value(reading.absence()); }
    static Value valueOf(const Reading<std::string> &reading) {
        return reading ? Value(std::string_view(*reading)) : Value(reading.absence());
    }
    static Value valueOf(std::uint64_t number) { return Value(number); }
    static Value valueOf(const std::string &text) { return Value(std::string_view(text)); }
};

/// The table of a struct, one entry per member in their order. Each struct's header declares its own.
template<class Row> std::span<const Field<Row>> fieldsOf();

/// Takes the values of every reading of a row away.
template<class Row> void forget(Row &row, Absence reason) {
    for (const Field<Row> &field : fieldsOf<Row>())
        field.clear(row, reason);
}

/// Writes the entries of one section's table.
template<class Row> struct Entries {
    Area area;
    std::string_view section;
    std::string_view source;
    std::string_view providedBy = {}; // see Family

    constexpr Field<Row> label(std::string_view name, Member<Row> member, std::string_view help) const {
        return entry(Kind::Label, name, member, Unit::None, help);
    }
    constexpr Field<Row> counter(std::string_view name, Member<Row> member, Unit unit, std::string_view help,
                                 unsigned char bits = 64) const {
        return entry(Kind::Counter, name, member, unit, help, bits);
    }
    constexpr Field<Row> gauge(std::string_view name, Member<Row> member, Unit unit, std::string_view help) const {
        return entry(Kind::Gauge, name, member, unit, help);
    }
    constexpr Field<Row> info(std::string_view name, Member<Row> member, std::string_view help) const {
        return entry(Kind::Info, name, member, Unit::None, help);
    }
    constexpr Field<Row> info(std::string_view name, Member<Row> member, Unit unit, std::string_view help) const {
        return entry(Kind::Info, name, member, unit, help);
    }
    constexpr Field<Row> state(std::string_view name, Member<Row> member, std::string_view help) const {
        return entry(Kind::State, name, member, Unit::None, help);
    }
    constexpr Field<Row> state(std::string_view name, Member<Row> member, Unit unit, std::string_view help) const {
        return entry(Kind::State, name, member, unit, help);
    }
    /// The same entries from another source, or with other rights: `disk.from("/sys/block/...").info(...)`.
    constexpr Entries from(std::string_view other, std::string_view provider = {}) const {
        return {area, section, other, provider};
    }
    static constexpr Field<Row> needing(Rights rights, Field<Row> field) {
        field.family.rights = rights;
        return field;
    }
    static constexpr Field<Row> wrapping(Number Row::*at, Field<Row> field) {
        field.wrapsAt = at;
        return field;
    }

private:
    constexpr Field<Row> entry(Kind kind, std::string_view name, Member<Row> member, Unit unit, std::string_view help,
                               unsigned char bits = 64) const {
        return {{area, section, name, unit, kind, source, help, Rights::Any, bits, providedBy}, member, nullptr};
    }
};

} // namespace zel

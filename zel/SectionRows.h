// The rows of one section as a table needs them: every value by the name of its field.
#pragma once

#include "host/Schema.h"

#include <string_view>
#include <vector>

namespace zel {

class SectionRows {
public:
    SectionRows() = default;
    SectionRows(std::string_view name, bool list) : m_name(name), m_list(list) {}

    std::string_view name() const { return m_name; }
    bool isList() const { return m_list; }
    std::size_t size() const { return m_families.empty() ? 0 : m_values.size() / m_families.size(); }
    const std::vector<const Family *> &families() const { return m_families; }
    /// Fields follow one another in the order of the families, row by row.
    void add(const Family &family, const Value &value) {
        if (m_values.size() == m_families.size() && (m_families.empty() || m_families[0] != &family))
            m_families.push_back(&family);
        m_values.push_back(value);
    }
    const Value &at(std::size_t row, std::size_t field) const { return m_values[row * m_families.size() + field]; }

private:
    std::string_view m_name;
    bool m_list = false;
    std::vector<const Family *> m_families;
    std::vector<Value> m_values; // texts belong to the sample
};

/// One of the rows.
class RowValues {
public:
    RowValues(const SectionRows &rows, std::size_t row) : m_rows(&rows), m_row(row) {}

    const SectionRows &section() const { return *m_rows; }
    std::size_t row() const { return m_row; }
    const Value &at(std::size_t field) const { return m_rows->at(m_row, field); }
    /// The value of a field, unsupported when the section has none of the name.
    Value operator[](std::string_view field) const {
        for (std::size_t index = 0; index < m_rows->families().size(); ++index) {
            if (m_rows->families()[index]->name == field)
                return at(index);
        }
        return Absence::Unsupported;
    }
    /// The number of a field, or another one when it has none.
    double number(std::string_view field, double otherwise = 0) const {
        const Value value = (*this)[field];
        const bool isNumber = value.type() == Value::Type::Unsigned || value.type() == Value::Type::Real;
        return isNumber ? value.asReal() : otherwise;
    }

private:
    const SectionRows *m_rows;
    std::size_t m_row;
};

} // namespace zel

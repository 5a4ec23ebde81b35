// Rows: a list whose elements stay when it is emptied, so that a sample which is filled again allocates nothing for the
// names in them. As with a vector, a const one can be read by any number of threads.
#pragma once

#include <cstddef>
#include <vector>

namespace zel {

template<class Row> class Rows {
public:
    using value_type = Row;

    std::size_t size() const { return m_size; }
    bool empty() const { return m_size == 0; }
    Row &operator[](std::size_t index) { return m_rows[index]; }
    const Row &operator[](std::size_t index) const { return m_rows[index]; }
    Row *begin() { return m_rows.data(); }
    Row *end() { return m_rows.data() + m_size; }
    const Row *begin() const { return m_rows.data(); }
    const Row *end() const { return m_rows.data() + m_size; }

    void clear() { m_size = 0; }
    /// The next row. It still holds what an earlier sample left in its place: every field is set anew.
    Row &append() {
        if (m_size == m_rows.size())
            m_rows.emplace_back();
        return m_rows[m_size++];
    }
    /// Takes the last row back.
    void dropLast() { --m_size; }

private:
    std::vector<Row> m_rows; // the first m_size of them count
    std::size_t m_size = 0;
};

} // namespace zel

// What the rates of every area need: the time between two samples, and the earlier row of each later one.
#pragma once

#include "host/Rates.h"

#include <algorithm>

namespace zel {

/// The seconds between the readings of an area; 0 when the earlier sample lacks it.
double secondsBetween(const Sample &before, const Sample &now, Area area);

/// Over no time at all nothing can be said.
Number perSecond(const Number &growth, double seconds);

template<class T> bool sameReading(const Reading<T> &left, const Reading<T> &right) {
    return left.absence() == right.absence() && (!left || *left == *right);
}

/// Finds the earlier row of each later one. The kernel lists things in an order that lasts: the row after the one found
/// last is tried first, then those that follow it, then those before it.
template<class Row, class Same> class Earlier {
public:
    Earlier(const Rows<Row> &rows, Same same) : m_rows(rows), m_same(same) {}

    const Row *of(const Row &row) {
        const auto isSame = [&](const Row &each) { return m_same(each, row); };
        const Row *const next = m_rows.begin() + m_next;
        const Row *found = std::find_if(next, m_rows.end(), isSame);
        if (found == m_rows.end()) {
            found = std::find_if(m_rows.begin(), next, isSame);
            if (found == next)
                return nullptr;
        }
        m_next = static_cast<std::size_t>(found - m_rows.begin()) + 1;
        return found;
    }

private:
    const Rows<Row> &m_rows;
    Same m_same;
    std::size_t m_next = 0;
};

/// The parts of between(), each of which fills its part of the rates.
void takeProcessors(const Sample &before, const Sample &now, Rates &rates);
void takeDisks(const Sample &before, const Sample &now, Rates &rates);
void takeInterfaces(const Sample &before, const Sample &now, Rates &rates);
void takeFibreChannel(const Sample &before, const Sample &now, Rates &rates);
void takeNfs(const Sample &before, const Sample &now, Rates &rates);
void takeCounters(const Sample &before, const Sample &now, Rates &rates);

} // namespace zel

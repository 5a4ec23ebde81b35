// What the rates of every area need: the time between two samples, and the earlier row of each later one.
#pragma once

#include "host/Rates.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <vector>

namespace zel {

/// The seconds between the readings of an area; 0 when the earlier sample lacks it.
double secondsBetween(const Sample &before, const Sample &now, Area area);

/// Over no time at all nothing can be said.
Number perSecond(const Number &growth, double seconds);

template<class T> bool sameReading(const Reading<T> &left, const Reading<T> &right) {
    return left.absence() == right.absence() && (!left || *left == *right);
}

/// For rows that are few: all of them are looked at.
struct SameHash {
    template<class Row> std::size_t operator()(const Row &) const { return 0; }
};

/// Finds the earlier row of each later one. The kernel lists things in an order that lasts: the row after the one found
/// last is tried first. The first one that is elsewhere, or nowhere, has all rows put in the order of their hashes: so
/// a list of which everything came anew takes no longer than one that was sorted.
template<class List, class Same, class Hash = SameHash> class Earlier {
public:
    /// Rows that are the same have the same hash.
    Earlier(const List &rows, Same same, Hash hash = {}) : m_rows(rows), m_same(same), m_hash(hash) {}

    template<class Row> const Row *of(const Row &row) {
        if (m_next == m_rows.size() || !m_same(m_rows[m_next], row))
            m_next = find(row);
        return m_next == m_rows.size() ? nullptr : &m_rows[m_next++];
    }

private:
    struct Place {
        std::size_t hash, index;
        bool operator<(const Place &other) const {
            return hash != other.hash ? hash < other.hash : index < other.index;
        }
    };

    // The number of rows when there is none.
    template<class Row> std::size_t find(const Row &row) {
        if (m_places.empty())
            sortPlaces();
        const std::size_t hash = m_hash(row);
        auto place = std::lower_bound(m_places.begin(), m_places.end(), Place{hash, 0});
        for (; place != m_places.end() && place->hash == hash; ++place) {
            if (m_same(m_rows[place->index], row))
                return place->index;
        }
        return m_rows.size();
    }

    void sortPlaces() {
        m_places.reserve(m_rows.size());
        for (std::size_t index = 0; index < m_rows.size(); ++index)
            m_places.push_back({m_hash(m_rows[index]), index});
        std::sort(m_places.begin(), m_places.end());
    }

    const List &m_rows;
    Same m_same;
    Hash m_hash;
    std::size_t m_next = 0;
    std::vector<Place> m_places;
};

/// The parts of between(), each of which fills its part of the rates.
void takeProcessors(const Sample &before, const Sample &now, Rates &rates);
void takeDisks(const Sample &before, const Sample &now, Rates &rates);
void takeInterfaces(const Sample &before, const Sample &now, Rates &rates);
void takeFibreChannel(const Sample &before, const Sample &now, Rates &rates);
void takeNfs(const Sample &before, const Sample &now, Rates &rates);
void takeCounters(const Sample &before, const Sample &now, Rates &rates);

} // namespace zel

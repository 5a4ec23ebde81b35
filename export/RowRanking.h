// The rows of a list that use most of something: those that a page of metrics can name without growing with the host.
//
//   ranking.clear();
//   ranking.addMost(rows.size(), 10, [&](std::size_t index) { return amountOf(rows[index]); });
//   ranking.addMost(...);                  // of something else: rows that are among both are named once
//   for (const std::uint32_t index : ranking.chosen())
//
// A row that uses nothing is not among those that use most. Of rows that use the same the first ones are taken: the
// choice stays as it is while nothing changes. Its memory is used again.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

namespace zel {

class RowRanking {
public:
    void clear() { m_chosen.clear(); }

    template<class AmountOf> void addMost(std::size_t rows, std::size_t most, AmountOf &&amountOf) {
        m_uses.clear();
        for (std::size_t index = 0; index < rows; ++index) {
            const double amount = amountOf(index);
            if (amount > 0)
                m_uses.push_back({amount, static_cast<std::uint32_t>(index)});
        }
        const std::size_t count = std::min(most, m_uses.size());
        std::partial_sort(m_uses.begin(), m_uses.begin() + static_cast<std::ptrdiff_t>(count), m_uses.end(),
                          [](const Use &left, const Use &right) {
                              return left.amount != right.amount ? left.amount > right.amount
                                                                 : left.index < right.index;
                          });
        for (std::size_t place = 0; place < count; ++place)
            m_chosen.push_back(m_uses[place].index);
    }

    /// The indices of the rows, ascending; valid until the next call.
    std::span<const std::uint32_t> chosen() {
        std::sort(m_chosen.begin(), m_chosen.end());
        m_chosen.erase(std::unique(m_chosen.begin(), m_chosen.end()), m_chosen.end());
        return m_chosen;
    }

private:
    struct Use {
        double amount;
        std::uint32_t index;
    };

    std::vector<Use> m_uses;
    std::vector<std::uint32_t> m_chosen;
};

} // namespace zel

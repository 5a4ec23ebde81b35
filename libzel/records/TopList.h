// The first few of many records, in order, while the records come one by one.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

namespace zel {

/// Holds up to `room` records that others own. Records that compare equal stay in the order in which they came: the
/// list is the beginning of a stable sort of all that were offered.
template<class Record, std::size_t room> class TopList {
public:
    void clear() { m_count = 0; }

    /// Takes `record` into its place; `before` says whether its first argument precedes the second. Returns the record
    /// that is left over: `record` itself or the one that it displaced; null while there was room for all.
    template<class Before> Record *offer(Record *record, Before before) {
        const auto end = m_records.begin() + m_count;
        const bool full = static_cast<std::size_t>(m_count) == room;
        if (full && !before(record, end[-1]))
            return record;
        const auto place = std::upper_bound(m_records.begin(), end, record, before);
        Record *displaced = full ? end[-1] : nullptr;
        m_count += full ? 0 : 1;
        std::move_backward(place, m_records.begin() + m_count - 1, m_records.begin() + m_count);
        *place = record;
        return displaced;
    }

    Record *const *begin() const { return m_records.data(); }
    Record *const *end() const { return m_records.data() + m_count; }

private:
    std::array<Record *, room> m_records;
    std::ptrdiff_t m_count = 0;
};

} // namespace zel

// The processes of a push scan that can be reported: those that are among the first PROC_TOP_ENTRIES by CPU, by memory
// or by I/O. They are few however many processes there are, so that their records and the nodes of the report are kept
// for the scans to come.
#pragma once

#include "MM_PROC_Info.h"
#include "records/TopList.h"
#include "text/OwnedText.h"

#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <vector>

namespace zel {

class PushList {
public:
    using Reported = std::map<int, ST_PROCALL_LIST *>;

    /// `capacity` is that of the public array that `list` gives, which is null without memory.
    explicit PushList(int capacity);
    ~PushList();

    PushList(const PushList &) = delete;
    PushList &operator=(const PushList &) = delete;

    int capacity() const { return m_capacity; }
    ST_PROCALL_LIST **list() const { return m_list.get(); }

    /// Empties the list.
    void start();
    /// Takes a copy of `process` when it is among the first of an order. False without memory for it.
    bool offer(const _ST_PROC &process, float machinePercent);
    /// Adds the first of each order whose figure is above 0 to the report, by pid.
    void report(Reported &reported);
    /// Empties the report.
    void takeBack(Reported &reported);

private:
    struct Entry;

    static constexpr std::size_t orderCount = 3;
    static constexpr std::size_t longestList = orderCount * PROC_TOP_ENTRIES + 1; // with the one that is being offered

    static bool precedes(std::size_t order, const Entry *left, const Entry *right);
    Entry *spareEntry();
    bool rank(Entry *entry);
    template<class Figure> void reportFirst(std::size_t order, Figure figure, Reported &reported);

    int m_capacity;
    int m_length = 0;
    std::unique_ptr<ST_PROCALL_LIST *, FreeDeleter> m_list;
    std::array<Entry *, longestList> m_spare;
    std::size_t m_spareCount = 0;
    TopList<Entry, PROC_TOP_ENTRIES> m_first[orderCount];
    std::vector<Reported::node_type> m_spareNodes;
};

} // namespace zel

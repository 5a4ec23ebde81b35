// The extra interfaces of CMM_NWT_Info during a pass: which of them the pass finds, and the rows of the others.
#pragma once

#include "NetworkExtList.h"

#include <vector>

class CMM_NWT_Info;

namespace zel {

class LinkQuery;

/// The extra interfaces that no pass has reported yet. Most were reported earlier and keep their mark: a pass looks for
/// the others only.
class UnseenInterfaces {
public:
    /// Uses `nodes`, whose memory is kept from pass to pass.
    explicit UnseenInterfaces(std::vector<_ST_NETWORKEXT_LIST *> &nodes) : m_nodes(nodes) {}

    void collect(const CNetworkExtList &list);
    /// Marks an interface as reported, as fMatchNicName does.
    void markSeen(const char *name);

private:
    std::vector<_ST_NETWORKEXT_LIST *> &m_nodes;
};

/// Appends the row of every extra interface that is not reported. Without memory the text keeps the rows that it has.
void appendPlaceholderRows(CMM_NWT_Info &collector, LinkQuery &links);

} // namespace zel

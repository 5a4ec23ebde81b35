// The passes of CMM_NWT_Info: read the interfaces, compute, ask for the link state, write the rows.
#pragma once

class CMM_NWT_Info;
class CSSList;
struct _ST_NETWORK;
struct _ST_STATIC_NETWORK;

namespace zel {

struct NetworkState;

/// One pass, as fMGetNetworkStat. Throws std::bad_alloc.
CSSList *takeInterfacePass(CMM_NWT_Info &collector, NetworkState &state, double elapsed, int push);

/// Computes the values of `reading` in m_pstNetworkInfo, which it returns, and logs the counters: text mode.
_ST_NETWORK *computeTextResult(CMM_NWT_Info &collector, const _ST_STATIC_NETWORK &reading,
                               const _ST_STATIC_NETWORK &previous, double elapsed);

/// The same in list mode. Without a previous reading (null) all values are 0.
_ST_NETWORK *computeListResult(CMM_NWT_Info &collector, const _ST_STATIC_NETWORK &reading,
                               const _ST_STATIC_NETWORK *previous, double elapsed);

/// Keeps `reading` for the next pass of list mode: its counters in `previous`, or the whole of it when that is null.
void keepListReading(CMM_NWT_Info &collector, const _ST_STATIC_NETWORK &reading, _ST_STATIC_NETWORK *previous);

} // namespace zel

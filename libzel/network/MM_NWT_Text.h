// The performance text of CMM_NWT_Info: header, rows of measured interfaces, rows of interfaces without values. Each is
// formatted in m_pStrInterfaceZEL and then appended to the text of the pass, g_stringNetwork.
#pragma once

class CMM_NWT_Info;
struct _ST_NETWORK;

namespace zel {

/// False when there is no memory for the header.
bool appendInterfaceHeader(CMM_NWT_Info &collector, int push);

/// Appends a row and counts it. False when memory was too short for the row: it is left out whole.
bool appendInterfaceRow(CMM_NWT_Info &collector, const _ST_NETWORK &result, int linkAlive);

/// The same for an interface that no value is known of.
bool appendPlaceholderRow(CMM_NWT_Info &collector, const char *name, int linkAlive);

} // namespace zel

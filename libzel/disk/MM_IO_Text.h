// The poll and push texts of a disk collector. A pass starts one of them, appends to it and publishes both.
#pragma once

class CMM_IO_Info;

namespace zel {

class DiskPushRows;

/// Both texts become empty, and the one that is asked for gets its header. False without memory.
bool startPollText(CMM_IO_Info &disks);
bool startPushText(CMM_IO_Info &disks);

/// Appends the result in m_pstIO as the next row of the poll text. False without memory.
bool appendPollRow(CMM_IO_Info &disks);

/// Appends the table of a push pass: the sums of all rows, then the busiest disks. False without memory.
bool appendPushTable(CMM_IO_Info &disks, DiskPushRows &rows);

/// Points the public members at the texts.
void publishTexts(CMM_IO_Info &disks);

} // namespace zel

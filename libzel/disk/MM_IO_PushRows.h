// The rows of a push pass, one for every disk, from which the busiest are chosen at its end.
#pragma once

#include "MM_IO_Info.h"
#include "text/OwnedText.h"

#include <memory>
#include <vector>

namespace zel {

/// The memory is kept between passes, so that a further one over as many disks allocates nothing.
class DiskPushRows {
public:
    /// Forgets the rows and makes room for `capacity` new ones. Returns the array of the rows; null without memory.
    ST_DISKALL_LIST **start(int capacity);
    /// Copies the result of a disk into a row and adds it to the sums. Without room or memory it is left out.
    void add(const _ST_DISKIO &disk);
    /// Forgets the rows.
    void clear() { m_count = 0; }
    /// After the last row: brings the sums into what a row shows, and gives back what more disks have needed.
    void finish();

    int count() const { return m_count; }
    const ST_DISKALL_LIST &sums() const { return m_sums; }
    ST_DISKALL_LIST *const *begin() const { return m_rows.get(); }
    ST_DISKALL_LIST *const *end() const { return m_rows.get() + m_count; }

private:
    std::unique_ptr<ST_DISKALL_LIST *, FreeDeleter> m_rows;
    int m_capacity = 0;
    int m_count = 0;
    ST_DISKALL_LIST m_sums{};
    std::vector<std::unique_ptr<ST_DISKALL_LIST[]>> m_blocks; // what the rows point into
};

} // namespace zel

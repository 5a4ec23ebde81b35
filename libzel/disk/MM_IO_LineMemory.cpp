// Telling the lines that changed from those that did not.
#include "disk/MM_IO_LineMemory.h"

#include "NGFunctions.h"

namespace zel {

// The buffer of the pass before grows with this one's, so that the second pass allocates nothing that the first did
// not.
bool DiskLineMemory::read(const DiskLineRules &rules) {
    m_known.resize(&rules == m_rules ? m_taken : 0);
    m_taken = m_previousAt = 0;
    m_rules = &rules;
    m_before.swapText(m_file);
    if (!m_file.read(rules.file))
        return false;
    m_before.growLike(m_file);
    return true;
}

const DiskReading *DiskLineMemory::next(LineWalk &lines) {
    const std::string_view text = lines.rest();
    if (text.empty())
        return nullptr;
    if (m_taken == m_known.size())
        m_known.emplace_back();
    Known &known = m_known[m_taken++];
    if (isAsBefore(known, text)) {
        lines.skip(known.length);
    } else {
        parse(lines.next(), known);
        known.length = text.size() - lines.rest().size();
    }
    known.reading.name = text.substr(known.nameOffset, known.reading.name.size());
    return &known.reading;
}

// Only a line with its line feed is sure to end where it ended before.
bool DiskLineMemory::isAsBefore(Known &known, std::string_view text) {
    const std::string_view before = m_before.text().substr(m_previousAt, known.length);
    m_previousAt += known.length;
    return before.ends_with('\n') && text.starts_with(before);
}

void DiskLineMemory::parse(const char *line, Known &known) const {
    _ST_DISKSTATS_ disk;
    DiskLine fields(*m_rules, line);
    known.reading = {};
    if (fields.isPartition())
        return;
    known.reading.kind = DiskLineKind::Short;
    if (fields.take(disk) != DISK_LINE_FIELDS)
        return;
    known.reading.kind = m_rules->dropsName(disk.name) ? DiskLineKind::Ignored : DiskLineKind::Disk;
    known.reading.name = disk.name;
    known.nameOffset = std::string_view(line).find(known.reading.name); // any place where the same bytes are will do
    known.reading.key = ELFHash(disk.name);
    known.reading.readRequests = disk.rd_ios;
    known.reading.writeRequests = disk.wr_ios;
    known.reading.readSectors = disk.rd_sectors;
    known.reading.writeSectors = disk.wr_sectors;
    known.reading.busyMilliseconds = disk.ticks;
}

} // namespace zel

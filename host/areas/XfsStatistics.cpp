// Reads /sys/fs/xfs, and /proc/fs/xfs/stat where the kernel has nothing else.
#include "host/areas/XfsStatistics.h"

#include "host/areas/XfsLines.h"
#include "host/source/LineScan.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace zel {

namespace {

constexpr std::string_view totals = "stats"; // beside the devices: of all of them, since kernel 4.4
constexpr std::string_view together = "all";

// Sample: blk_map 0 24 1 2 1 27 0
bool takeNumbers(const char *cursor, const XfsLine &line, Xfs &row) {
    bool whole = true;
    for (Count Xfs::*const member : line.members) {
        if (member == nullptr)
            break;
        row.*member = takeCount(cursor);
        whole &= (row.*member).has();
    }
    return whole;
}

} // namespace

bool parseXfs(const char *text, Xfs &row) {
    bool whole = *text != '\0';
    forget(row, whole ? Absence::Unsupported : Absence::Malformed);
    for (const char *line = text; *line != '\0'; line = nextLine(line)) {
        const char *cursor = line;
        const std::string_view name = takeWord(cursor);
        const auto *const found = std::find_if(std::begin(XFS_LINES), std::end(XFS_LINES),
                                               [name](const XfsLine &each) { return each.name == name; });
        if (found != std::end(XFS_LINES))
            whole &= takeNumbers(cursor, *found, row);
    }
    return whole;
}

void XfsStatistics::read(Take &take, std::size_t mounts) {
    take.sample.xfs.clear();
    if (mounts != m_mounts)
        m_names.expire();
    m_mounts = mounts;
    noteUnlessMissing(take.sample.area(Area::Filesystems), m_names.read(take.root), m_names.path());
    m_known.startSample();
    bool one = false;
    for (const std::string &name : m_names.names()) {
        one |= name == totals;
        if (name == totals)
            continue;
        Known &known = m_known.of(name);
        if (!known.file)
            known.file.emplace(m_names.path() + ('/' + name) + "/stats/stats");
        const bool was = std::exchange(known.isThere, readFilesystem(take, *known.file, name));
        if (was && !known.isThere)
            m_names.expire();
    }
    m_known.endSample();
    if (mounts > 0 && !one && take.sample.xfs.empty())
        readFilesystem(take, m_together, together);
}

bool XfsStatistics::readFilesystem(Take &take, SourceFile &file, std::string_view device) {
    int error = file.read(take.root);
    if (error == ENOENT)
        return false;
    Xfs &row = take.sample.xfs.append();
    row.device = device;
    if (error != 0)
        forget(row, absenceOf(error));
    else if (!parseXfs(file.text().data(), row))
        error = NOT_ITS_FORMAT;
    noteUnlessMissing(take.sample.area(Area::Filesystems), error, file.path());
    return true;
}

} // namespace zel

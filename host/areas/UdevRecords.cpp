// Reads udev's records of block devices: every 30 seconds on this host, for they change when a device does.
#include "host/areas/UdevRecords.h"

#include "host/HostOpen.h"
#include "host/areas/UdevRecord.h"
#include "host/source/Refresh.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <limits>

namespace zel {

namespace {

constexpr std::chrono::seconds period{30};

// "run/udev/data/b8:0"
class RecordPath {
public:
    RecordPath(std::uint64_t major, std::uint64_t minor) {
        constexpr std::string_view directory = UdevRecords::DIRECTORY;
        constexpr std::size_t digits = std::numeric_limits<std::uint64_t>::digits10 + 1;
        static_assert(SIZE > directory.size() + 2 + 2 * digits + 1);
        char *end = std::copy(directory.begin(), directory.end(), m_text);
        *end++ = '/';
        *end++ = 'b';
        end = std::to_chars(end, end + digits, major).ptr;
        *end++ = ':';
        *std::to_chars(end, end + digits, minor).ptr = '\0';
    }
    const char *text() const { return m_text; }

private:
    static constexpr std::size_t SIZE = 64; // two numbers of 20 digits, and a directory that is a literal
    char m_text[SIZE];
};

} // namespace

void UdevRecords::startSample(const HostDirectory &root) {
    const std::int64_t now = coarseSeconds();
    if (root.own() && now - m_lookedAt < KernelSource::SECONDS_BEFORE_NEXT_TRY)
        return;
    m_lookedAt = now;
    m_isThere = root.open(DIRECTORY, O_PATH | O_DIRECTORY | O_CLOEXEC).valid();
}

int UdevRecords::refresh(const HostDirectory &root, std::uint64_t major, std::uint64_t minor, std::string_view name,
                         Time now, KnownUdevRecord &known) {
    if (!m_isThere)
        known.isThere = false;
    if (!m_isThere || (root.own() && now < known.due))
        return 0;
    known.due = now + spread(period, name);
    const ScopedDescriptor file = root.open(RecordPath(major, minor).text(), HOST_FILE_FLAGS);
    const int error = file.valid() ? m_file.readOpen(file.get()) : errno;
    known.isThere = error == 0;
    if (error == 0) {
        known.disk.name = name;
        parseUdevRecord(m_file.text().data(), known.disk);
    }
    return error == ENOENT ? 0 : error;
}

} // namespace zel

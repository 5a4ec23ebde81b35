// Decides when the mount table is read and parsed.
#include "filesystem/MM_FS_Known.h"

#include "HostRoot.h"
#include "Settings.h"
#include "filesystem/MM_FS_Nfs.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

// The table that follows the view of the process; other links lead to the table of another one, or of a thread.
constexpr const char *ownTable = "/proc/self/mounts";

bool leadsToOwnTable(const char *path) {
    struct stat file {};
    struct stat own {};
    return stat(fgHostPath(path), &file) == 0 && stat(fgHostPath(ownTable), &own) == 0 &&
           zel::identityOf(file) == zel::identityOf(own);
}

bool nothingReported(int table) {
    pollfd question{table, POLLPRI, 0};
    return poll(&question, 1, 0) == 0;
}

} // namespace

namespace zel {

std::optional<MountView> currentMountView() {
    constexpr unsigned wanted = STATX_INO | STATX_MNT_ID;
    MountView view;
    const ssize_t length = readlink("/proc/self/ns/mnt", view.mountNamespace.data(), MountView::NAMESPACE_TEXT);
    struct statx root {};
    if (length <= 0 || static_cast<std::size_t>(length) >= MountView::NAMESPACE_TEXT ||
        statx(AT_FDCWD, "/proc/self/root", AT_NO_AUTOMOUNT, wanted, &root) != 0 || (root.stx_mask & wanted) != wanted)
        return std::nullopt;
    view.major = root.stx_dev_major;
    view.minor = root.stx_dev_minor;
    view.inode = root.stx_ino;
    view.mount = root.stx_mnt_id;
    return view;
}

KnownMounts::Look KnownMounts::look() {
    if (m_trusted < FS_TRUSTED_PASSES && isQuiet()) {
        ++m_trusted;
        return Look::Same;
    }
    return read();
}

KnownMounts::Look KnownMounts::read() {
    m_trusted = 0;
    m_file.close();
    if (!readFile()) {
        m_error = errno;
        return Look::Failed;
    }
    if (!m_known.empty() && m_file.text() == m_known)
        return Look::Same;
    parse();
    return Look::Changed;
}

bool KnownMounts::isQuiet() {
    if (!m_view || m_known.empty())
        return false;
    const int table = m_file.keptDescriptor(MOUNT_TABLE_PATH);
    return table >= 0 && nothingReported(table) && currentMountView() == m_view;
}

bool KnownMounts::readFile() {
    m_view.reset();
    const bool mayStayOpen = g_strHostRoot[0] == '\0' && g_nKeptFileLimit != 0;
    const std::optional<MountView> before = mayStayOpen ? currentMountView() : std::nullopt;
    if (!readMountTable(m_file, before ? KeptScope::Namespace : KeptScope::Never))
        return false;
    if (!before)
        return true;
    const bool stayed = m_file.keptDescriptor(MOUNT_TABLE_PATH) >= 0;
    if (stayed && leadsToOwnTable(MOUNT_TABLE_PATH) && currentMountView() == before)
        m_view = before;
    else
        m_file.close();
    return true;
}

void KnownMounts::parse() {
    m_known.clear(); // an unfinished one is taken again
    m_entries.clear();
    m_parsed.assign(m_file.text());
    MountTable table(m_parsed);
    for (MountEntry entry{}; table.next(entry);)
        m_entries.push_back({.entry = entry, .nfs = isNfs(entry.type), .namesReported = namesReported(entry)});
    m_known.assign(m_file.text());
}

bool KnownMounts::contradicts(KnownMount &mount, int error, const struct statfs64 &status) const {
    std::array<int, 2> filesystem{};
    if (error == 0)
        std::memcpy(filesystem.data(), &status.f_fsid, sizeof(filesystem));
    const bool asBefore = mount.error == error && mount.type == status.f_type && mount.filesystem == filesystem;
    const bool believed = std::exchange(mount.asked, true) && m_trusted > 0;
    mount.error = error;
    mount.type = status.f_type;
    mount.filesystem = filesystem;
    return believed && !asBefore;
}

} // namespace zel

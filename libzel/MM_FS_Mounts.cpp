#include "MM_FS_Mounts.h"

#include "HostRoot.h"
#include "MM_FS_Info.h"
#include "Settings.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <unistd.h>

namespace {

// A page of source and a page of mount point, every byte escaped by four, fit with room for the options behind them.
constexpr std::size_t lineSize = 64UL * 1024;
constexpr std::size_t readSize = 64UL * 1024;

using FilesystemList = char[FILESYSTEM_LIST_ENTRIES][FILESYSTEM_LIST_TEXT];

bool contains(const char *text, const char *part) {
    return std::strstr(text, part) != nullptr;
}

// Entry `index` of a list: a text that fills its slot goes on in the next one, but never past the list.
std::string_view entryText(const FilesystemList &list, int index) {
    const std::size_t start = static_cast<std::size_t>(index) * FILESYSTEM_LIST_TEXT;
    const char *text = reinterpret_cast<const char *>(&list) + start;
    return {text, strnlen(text, sizeof(list) - start)};
}

bool isListed(std::string_view text, const FilesystemList &list, int count) {
    for (int i = 0; i < std::min(count, FILESYSTEM_LIST_ENTRIES); ++i) {
        if (text == entryText(list, i))
            return true;
    }
    return false;
}

// A host's /etc/mtab is mostly a link to /proc/self/mounts. Below a host root such a link would lead to the table of
// the sampling process, so the table of the host's first process is read in its place.
std::FILE *openMountTable() {
    char target[1];
    if (g_strHostRoot[0] != '\0' && readlink(fgHostPath("/etc/mtab"), target, sizeof(target)) >= 0) {
        if (std::FILE *file = setmntent(fgHostPath("/proc/1/mounts"), "r"))
            return file;
    }
    return setmntent(fgHostPath("/etc/mtab"), "r");
}

void cutCopy(char (&destination)[FS_NAME_SIZE], const char *source) {
    const std::size_t length = strnlen(source, FS_NAME_SIZE - 1);
    std::memcpy(destination, source, length);
    destination[length] = '\0';
}

} // namespace

namespace zel {

MountTable::MountTable() : m_memory(new char[readSize + lineSize]), m_file(openMountTable()) {
    if (m_file == nullptr)
        m_openError = errno;
    else
        std::setvbuf(m_file.get(), m_memory.get(), _IOFBF, readSize);
}

// Sample: /dev/sda1 /mnt/with\040blank ext4 rw,relatime 0 0
bool MountTable::next(MountEntry &entry) {
    mntent fields{};
    if (getmntent_r(m_file.get(), &fields, m_memory.get() + readSize, static_cast<int>(lineSize)) == nullptr)
        return false;
    entry = {fields.mnt_dir, fields.mnt_fsname, fields.mnt_type};
    return true;
}

bool typeReported(const char *type) {
    if (g_nExcludeFilesystemCnt == 0)
        return !contains(type, "proc") && !contains(type, "usbdevfs") && !contains(type, "devpts");
    return g_nExcludeFilesystemCnt > 0 && !isListed(type, g_strExcludeFilesystem, g_nExcludeFilesystemCnt);
}

bool mountPointReported(const char *mountPoint) {
    if (g_nIncludeFilesystemCnt > 0 && !isListed(mountPoint, g_strIncludeFilesystem, g_nIncludeFilesystemCnt))
        return false;
    return g_nFSTokenCount <= 0 || slashCount(mountPoint) <= g_nFSTokenCount;
}

bool namesReported(const MountEntry &entry) {
    return !contains(entry.mountPoint, "cdrom") && !contains(entry.mountPoint, "cdrecorder") &&
           !contains(entry.device, "cdrom") && !contains(entry.device, "cdrecorder") &&
           !contains(entry.device, "sunrpc");
}

bool typeOutsideTotals(const char *type) {
    return isListed(type, g_strTotExcludeFilesystem, g_nTotExcludeFilesystemCnt);
}

int slashCount(const char *path) {
    const std::string_view text = path == nullptr ? "" : path;
    return static_cast<int>(std::count(text.begin(), text.end(), '/'));
}

void copyNames(const MountEntry &entry, _ST_FS &filesystem) {
    cutCopy(filesystem.l_strFSname, entry.mountPoint);
    cutCopy(filesystem.l_strDEVname, entry.device);
    cutCopy(filesystem.l_strFSType, entry.type);
}

} // namespace zel

// Reads the mount table, and the rules by which its entries are reported.
#include "filesystem/MM_FS_Mounts.h"

#include "HostRoot.h"
#include "MM_FS_Info.h"
#include "Settings.h"
#include "host/HostOpen.h"
#include "text/FixedText.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>
#include <unistd.h>

namespace {

constexpr const char *fieldBlanks = " \t";

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
    const char first = text.empty() ? '\0' : text.front();
    for (int i = 0; i < std::min(count, FILESYSTEM_LIST_ENTRIES); ++i) {
        if (list[i][0] == first && text == entryText(list, i))
            return true;
    }
    return false;
}

// A backslash with the characters that follow it, and the character that it means. Any other backslash means itself.
struct Escape {
    std::string_view text;
    char meaning;
};

constexpr Escape escapes[] = {{"\\040", ' '}, {"\\011", '\t'}, {"\\012", '\n'}, {"\\\\", '\\'}, {"\\134", '\\'}};

// Resolves the escapes of a name in place.
void resolveEscapes(char *name) {
    char *out = name;
    for (const char *in = name; *in != '\0';) {
        const auto *escape = std::find_if(std::begin(escapes), std::end(escapes), [in](const Escape &known) {
            return std::strncmp(in, known.text.data(), known.text.size()) == 0;
        });
        if (escape == std::end(escapes)) {
            *out++ = *in++;
            continue;
        }
        *out++ = escape->meaning;
        in += escape->text.size();
    }
    *out = '\0';
}

// Terminates the name at `cursor`, resolves its escapes and moves the cursor to the next field; empty when the line has
// no more.
char *takeName(char *&cursor) {
    char *name = cursor;
    bool escaped = false;
    for (; *cursor != ' ' && *cursor != '\t' && *cursor != '\0'; ++cursor)
        escaped = escaped || *cursor == '\\';
    while (*cursor == ' ' || *cursor == '\t')
        *cursor++ = '\0';
    if (escaped)
        resolveEscapes(name);
    return name;
}

// An autofs entry that its daemon wants to be left out of lists: "ignore" among its options, alone or with a value.
bool isIgnored(std::string_view options) {
    constexpr std::string_view wanted = "ignore";
    while (!options.empty()) {
        const std::string_view option = options.substr(0, options.find(','));
        if (option.starts_with(wanted) && (option.size() == wanted.size() || option[wanted.size()] == '='))
            return true;
        options.remove_prefix(std::min(option.size() + 1, options.size()));
    }
    return false;
}

} // namespace

namespace zel {

// A host's /etc/mtab is mostly a link to /proc/self/mounts. Below a host root such a link would lead to the table of
// the sampling process, so the table of the host's first process is read in its place.
bool readMountTable(WholeFile &file, KeptScope scope) {
    char target[1];
    if (g_strHostRoot[0] != '\0' && readlink(fgHostPath(MOUNT_TABLE_PATH), target, sizeof(target)) >= 0 &&
        file.read("/proc/1/mounts", KeptScope::Never))
        return true;
    return file.read(MOUNT_TABLE_PATH, scope);
}

MountTable::MountTable(std::string &text) : m_lines(text.data(), text.size(), HOST_FILE_LIMIT) {}

// Sample: /dev/sda1 /mnt/with\040blank ext4 rw,relatime 0 0
bool MountTable::next(MountEntry &entry) {
    while (char *line = m_lines.next()) {
        if (char *lineFeed = std::strchr(line, '\n'))
            *lineFeed = '\0';
        char *cursor = line + std::strspn(line, fieldBlanks);
        if (*cursor == '\0' || *cursor == '#')
            continue;
        entry.device = takeName(cursor);
        entry.mountPoint = takeName(cursor);
        entry.type = takeName(cursor);
        if (std::strcmp(entry.type, "autofs") != 0 || !isIgnored(takeName(cursor)))
            return true;
    }
    return false;
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
    const auto ofCdDrive = [](const char *name) {
        return contains(name, "cdr") && (contains(name, "cdrom") || contains(name, "cdrecorder"));
    };
    return !ofCdDrive(entry.mountPoint) && !ofCdDrive(entry.device) && !contains(entry.device, "sunrpc");
}

bool typeOutsideTotals(const char *type) {
    return isListed(type, g_strTotExcludeFilesystem, g_nTotExcludeFilesystemCnt);
}

int slashCount(const char *path) {
    const std::string_view text = path == nullptr ? "" : path;
    return static_cast<int>(std::count(text.begin(), text.end(), '/'));
}

void copyNames(const MountEntry &entry, _ST_FS &filesystem) {
    copyText(filesystem.l_strFSname, FS_NAME_SIZE, entry.mountPoint);
    copyText(filesystem.l_strDEVname, FS_NAME_SIZE, entry.device);
    copyText(filesystem.l_strFSType, FS_NAME_SIZE, entry.type);
}

void copyFilesystem(const _ST_FS &from, _ST_FS &to) {
    copyText(to.l_strFSname, FS_NAME_SIZE, from.l_strFSname);
    copyText(to.l_strDEVname, FS_NAME_SIZE, from.l_strDEVname);
    copyText(to.l_strFSType, FS_NAME_SIZE, from.l_strFSType);
    to.l_ulTotDskSize = from.l_ulTotDskSize;
    to.l_ulUsdDskSize = from.l_ulUsdDskSize;
    to.l_ulFreDskSize = from.l_ulFreDskSize;
    to.l_ulAvaDskSize = from.l_ulAvaDskSize;
    to.l_ulTotIndSize = from.l_ulTotIndSize;
    to.l_ulUsdIndSize = from.l_ulUsdIndSize;
    to.l_ulFreIndSize = from.l_ulFreIndSize;
    to.l_ulAvaIndSize = from.l_ulAvaIndSize;
    to.l_dDskUsage = from.l_dDskUsage;
    to.l_dIndUsage = from.l_dIndUsage;
    to.l_nIsUpNow = from.l_nIsUpNow;
}

} // namespace zel

// The mount table of the sampled host and the rules by which its entries are reported. Internal to the filesystem
// collector.
#pragma once

#include "kernel/WholeFile.h"

#include <string>

struct _ST_FS;

namespace zel {

/// The record pass and the text pass; some rules and messages hold for one of them.
enum class FilesystemPass { Records, Text };

/// Where the table is.
inline constexpr const char *MOUNT_TABLE_PATH = "/etc/mtab";

/// Reads the table of the sampled host, whole. False leaves errno.
bool readMountTable(WholeFile &file, KeptScope scope);

/// One line of the table, escapes resolved. The texts are those of the table.
struct MountEntry {
    const char *mountPoint;
    const char *device;
    const char *type;
};

/// The table, with the results of getmntent: blanks separate the fields, of which a missing one is empty; blanks, tabs,
/// line feeds and backslashes in a name come escaped; lines that are empty or begin with "#" are passed over, and so
/// are entries of autofs with the option "ignore". Names come whole, however long the kernel made them.
class MountTable {
public:
    /// Over the text of a table. The walk cuts it into the names, which stay as they are until the text goes.
    explicit MountTable(std::string &text);

    /// Takes the next entry; false at the end.
    bool next(MountEntry &entry);

private:
    LineWalk m_lines;
};

/// By g_strExcludeFilesystem; when its count is 0 by a rule of its own: no "proc", "usbdevfs" or "devpts" in the type.
/// A negative count reports nothing.
bool typeReported(const char *type);
/// By g_strIncludeFilesystem and g_nFSTokenCount (text pass only).
bool mountPointReported(const char *mountPoint);
/// No CD drives, no RPC pseudo filesystems.
bool namesReported(const MountEntry &entry);
/// By g_strTotExcludeFilesystem.
bool typeOutsideTotals(const char *type);

/// Number of "/" in `path`.
int slashCount(const char *path);

/// Copies the names of `entry`, cut to their fields.
void copyNames(const MountEntry &entry, _ST_FS &filesystem);
/// Copies a record, of its names only what is used.
void copyFilesystem(const _ST_FS &from, _ST_FS &to);

} // namespace zel

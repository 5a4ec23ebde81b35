// The mount table of the sampled host and the rules by which its entries are reported. Internal to the filesystem
// collector.
#pragma once

#include <cstdio>
#include <memory>
#include <mntent.h>

struct _ST_FS;

namespace zel {

/// The record pass and the text pass; some rules and messages hold for one of them.
enum class FilesystemPass { Records, Text };

/// One line of the table, escapes resolved. The texts are the table's, valid until its next line is read.
struct MountEntry {
    const char *mountPoint;
    const char *device;
    const char *type;
};

/// The table, read line by line. Names come whole, however long the kernel made them.
class MountTable {
public:
    MountTable();

    bool isOpen() const { return m_file != nullptr; }
    /// The error number of an open that failed.
    int openError() const { return m_openError; }
    /// Reads the next entry; false at the end.
    bool next(MountEntry &entry);

private:
    struct Closer {
        void operator()(std::FILE *file) const { endmntent(file); }
    };

    std::unique_ptr<char[]> m_memory; // the read buffer and the line; outlives the file that reads into it
    std::unique_ptr<std::FILE, Closer> m_file;
    int m_openError = 0;
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

} // namespace zel

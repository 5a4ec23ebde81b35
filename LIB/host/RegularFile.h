// The files that collectors, scripts and the inventory program exchange, opened without trust in what has
// their names: anything but a regular file (a pipe, a device, a directory) is refused at once instead of being waited
// for. A link counts as what it leads to.
#pragma once

#include "host/ScopedHandle.h"

#include <sys/stat.h>

namespace zel {

/// Opens a regular file for writing: made when it does not exist, emptied when it does. A character device is taken
/// too: whoever does not want a file links it to /dev/null. Null with errno set when it cannot be opened; EISDIR or
/// EINVAL when it is neither.
ScopedFile openFileToWrite(const char *path);
/// The descriptor of such a file; invalid where the other gives null.
ScopedDescriptor openToWrite(const char *path);

/// A descriptor as a stream, which owns it; null for an invalid one. `mode` as for fopen.
ScopedFile asStream(ScopedDescriptor &&descriptor, const char *mode);

/// The descriptor of a regular file, under the same rule for anything else. `flags` and `mode` as for open.
ScopedDescriptor openRegular(const char *path, int flags, mode_t mode = 0);

/// Opens a file for appending; it is made with `mode` when it does not exist. A pipe is taken when somebody reads it:
/// neither the open nor a write waits for a reader.
ScopedDescriptor openToAppend(const char *path, mode_t mode);

/// Makes a file that does not exist yet. EEXIST when something has that name.
ScopedDescriptor openNew(const char *path, mode_t mode);

/// Opens a directory to read its names. Null leaves errno.
ScopedDirectory openDirectory(const char *path);

/// fopen itself, for programs that ask for it by way of the library.
std::FILE *openAnyFile(const char *path, const char *mode);

/// True when `path` leads to the file that has this status.
bool leadsTo(const char *path, const struct stat &status);

/// Makes way for a script's redirection into `path`: a pipe or a device of that name, on which the shell would
/// wait, is removed, and so is a file that others own or may write, whose content would not be trusted. False when it
/// could not be, and when there is no directory to hold the result, which a shell would complain about on standard
/// error; then the script must not be run. A directory in the result's own place stays: the shell refuses it by itself.
bool clearForResult(const char *path);

} // namespace zel

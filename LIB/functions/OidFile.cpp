#include "LogGate.h"
#include "NGFunctions.h"
#include "host/RegularFile.h"

#include <cerrno>
#include <climits>
#include <cstring>

namespace {

constexpr const char *sourceName = "NGFunctions";

using LogMessage = char[PATH_MAX + 128];

void logFailure(const char *path, const char *what) {
    LogMessage message;
    ZEL_LOG(zel::loggerInstalled(), zel::LOG_LEVEL_ERROR, sourceName, message, "[%s] oid file %s failed : %s", path,
            what, std::strerror(errno));
}

// A path that does not fit names no file.
bool valuePath(char (&path)[PATH_MAX], const char *name) {
    const int length = std::snprintf(path, sizeof(path), "../aproc/inv/%s.inv", name);
    if (length >= 0 && static_cast<std::size_t>(length) < sizeof(path))
        return true;
    errno = ENAMETOOLONG;
    return false;
}

} // namespace

int fStrOidWrite(const char *name, const char *value) {
    char path[PATH_MAX];
    const zel::ScopedFile file = valuePath(path, name) ? zel::openFileToWrite(path) : nullptr;
    if (file == nullptr) {
        logFailure(path, "open");
        return 1;
    }
    // The stream tells of a full file system only when it is flushed.
    if (std::fputs(value, file.get()) == EOF || std::fflush(file.get()) == EOF) {
        logFailure(path, "fput");
        return 1;
    }
    LogMessage message;
    ZEL_LOG(zel::loggerInstalled(), zel::LOG_LEVEL_ERROR, sourceName, message, "[%s]oid write success", name);
    return 1;
}

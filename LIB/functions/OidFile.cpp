// The inventory value file of NGFunctions.h.
#include "LogGate.h"
#include "NGFunctions.h"
#include "host/RegularFile.h"
#include "host/SafeWrite.h"
#include "text/OwnedText.h"

#include <cerrno>
#include <cstring>

namespace {

constexpr const char *sourceName = "NGFunctions";

// The whole message on the heap: a path may be long, and the stack of the caller short.
void logMessage(std::initializer_list<const char *> pieces, int line = __builtin_LINE()) {
    if (!zel::loggerInstalled())
        return;
    if (const zel::Text message = zel::joinText(pieces); message != nullptr)
        zel::writeLog(zel::LOG_LEVEL_ERROR, line, sourceName, message.get());
}

} // namespace

int fStrOidWrite(const char *name, const char *value) {
    const zel::WriteSignalsHeld held; // until the stream is closed
    const zel::Text path = zel::joinText({"../aproc/inv/", name, ".inv"});
    if (path == nullptr)
        return 1;
    const zel::ScopedFile file = zel::openFileToWrite(path.get());
    if (file == nullptr)
        logMessage({"[", path.get(), "] oid file open failed : ", std::strerror(errno)});
    // The stream reports a full file system only when it is flushed.
    else if (std::fputs(value, file.get()) == EOF || std::fflush(file.get()) == EOF)
        logMessage({"[", path.get(), "] oid file fput failed : ", std::strerror(errno)});
    else
        logMessage({"[", name, "]oid write success"});
    return 1;
}

// Runs the datastore script and reads its result.
#include "filesystem/MM_FS_VMware.h"

#include "MM_FS_Info.h"
#include "scripts/HomeScripts.h"
#include "text/NumberScan.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int lineSize = 512;

enum Column { COLUMN_DEVICE = 1, COLUMN_TOTAL, COLUMN_USED, COLUMN_AVAILABLE, COLUMN_USAGE, COLUMN_NAME };

void copyToken(char (&destination)[FS_NAME_SIZE], const char *token) {
    std::snprintf(destination, sizeof(destination), "%.*s", static_cast<int>(std::strcspn(token, "\n")), token);
}

unsigned long long kilobytes(const char *token) {
    return std::strtoull(token, nullptr, 10);
}

double usagePercent(const char *token) {
    double usage = 0.0;
    zel::scanDouble(token, usage);
    return std::isfinite(usage) ? usage : 0.0;
}

void startRecord(_ST_FS &datastore) {
    datastore = {};
    std::strcpy(datastore.l_strFSType, "ext3");
}

// Takes one token and returns the column of the next. A first token that names no datastore is dropped as if it had
// been two: consumers know the resulting record by its total of 0.
int takeToken(int column, const char *token, _ST_FS &datastore) {
    switch (column) {
    case COLUMN_DEVICE:
        startRecord(datastore);
        if (std::strstr(token, "vmfs") == nullptr)
            return COLUMN_USED;
        copyToken(datastore.l_strDEVname, token);
        return COLUMN_TOTAL;
    case COLUMN_TOTAL:
        datastore.l_ulTotDskSize = kilobytes(token);
        return COLUMN_USED;
    case COLUMN_USED:
        datastore.l_ulUsdDskSize = kilobytes(token);
        datastore.l_ulFreDskSize = datastore.l_ulUsdDskSize > datastore.l_ulTotDskSize
                                       ? 0
                                       : datastore.l_ulTotDskSize - datastore.l_ulUsdDskSize;
        return COLUMN_AVAILABLE;
    case COLUMN_AVAILABLE:
        datastore.l_ulAvaDskSize = kilobytes(token);
        return COLUMN_USAGE;
    case COLUMN_USAGE:
        datastore.l_dDskUsage = usagePercent(token);
        return COLUMN_NAME;
    default:
        copyToken(datastore.l_strFSname, token);
        return COLUMN_DEVICE;
    }
}

} // namespace

namespace zel {

void runDatastoreScript() {
    runScript(Script::Datastores);
}

// Sample: /vmfs/volumes/datastore1 10485760 4194304 6291456 40 datastore1
void parseDatastores(char *line, const std::function<void(const _ST_FS &)> &take) {
    _ST_FS datastore{};
    int column = COLUMN_DEVICE;
    char *rest = nullptr;
    for (const char *token = strtok_r(line, " ", &rest); token != nullptr; token = strtok_r(nullptr, " ", &rest)) {
        const bool last = column == COLUMN_NAME;
        column = takeToken(column, token, datastore);
        if (last)
            take(datastore);
    }
}

bool readDatastores(const std::function<void(const _ST_FS &)> &take) {
    ScopedFile file = openResult(Script::Datastores);
    if (file == nullptr)
        file = openHomeFile(OLDER_DATASTORES);
    if (file == nullptr)
        return false;
    char line[lineSize];
    while (std::fgets(line, sizeof(line), file.get()) != nullptr)
        parseDatastores(line, take);
    return true;
}

} // namespace zel

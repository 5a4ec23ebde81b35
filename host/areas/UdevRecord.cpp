// Reads the properties of a block device as udev keeps them.
#include "host/areas/UdevRecord.h"

#include "host/source/LineScan.h"
#include "host/source/SourceFile.h"

#include <algorithm>
#include <variant>

namespace zel {

namespace {

struct Property {
    std::string_view key;
    std::variant<Count UdevDisk::*, Reading<std::string> UdevDisk::*> member;
};

// In the order of the keys.
constexpr Property properties[] = {
    {"DM_LV_LAYER", &UdevDisk::mapperLayer},
    {"DM_LV_NAME", &UdevDisk::logicalVolume},
    {"DM_NAME", &UdevDisk::mapperName},
    {"DM_UUID", &UdevDisk::mapperUuid},
    {"DM_VG_NAME", &UdevDisk::volumeGroup},
    {"ID_ATA_ROTATION_RATE_RPM", &UdevDisk::ataRotationRate},
    {"ID_ATA_WRITE_CACHE", &UdevDisk::ataWriteCache},
    {"ID_ATA_WRITE_CACHE_ENABLED", &UdevDisk::ataWriteCacheEnabled},
    {"ID_FS_TYPE", &UdevDisk::filesystemType},
    {"ID_FS_USAGE", &UdevDisk::filesystemUsage},
    {"ID_FS_UUID", &UdevDisk::filesystemUuid},
    {"ID_FS_VERSION", &UdevDisk::filesystemVersion},
    {"ID_MODEL", &UdevDisk::model},
    {"ID_PATH", &UdevDisk::path},
    {"ID_REVISION", &UdevDisk::revision},
    {"ID_SERIAL_SHORT", &UdevDisk::serial},
    {"ID_WWN", &UdevDisk::worldWideName},
};
static_assert(std::is_sorted(std::begin(properties), std::end(properties),
                             [](const Property &one, const Property &other) { return one.key < other.key; }));

void take(const char *cursor, Count &reading) {
    reading = takeCount(cursor);
}

// The kernel and udev write blanks as they are; nothing is cut off.
void take(const char *cursor, Reading<std::string> &reading) {
    const char *end = cursor;
    while (!endsLine(*end))
        ++end;
    const auto length = static_cast<std::size_t>(end - cursor);
    if (length > UDEV_VALUE_AT_MOST)
        reading.clear(Absence::Malformed);
    else if (length > 0)
        reading.set(std::string_view(cursor, length));
}

} // namespace

// Sample: E:ID_MODEL=ST3000DM001-1CH166
void parseUdevRecord(const char *text, UdevDisk &disk) {
    forget(disk, Absence::Unsupported);
    for (const char *line = text; *line != '\0'; line = nextLine(line)) {
        if (line[0] != 'E' || line[1] != ':')
            continue;
        const char *key = line + 2, *end = key;
        while (*end != '=' && !endsLine(*end))
            ++end;
        if (*end != '=')
            continue;
        const std::string_view name(key, static_cast<std::size_t>(end - key));
        const auto found =
            std::lower_bound(std::begin(properties), std::end(properties), name,
                             [](const Property &property, std::string_view wanted) { return property.key < wanted; });
        if (found != std::end(properties) && found->key == name)
            std::visit([&](auto member) { take(end + 1, disk.*member); }, found->member);
    }
}

} // namespace zel

// What a disk says of itself below /sys/class/block and hardly ever changes: some of it a driver answers, which may
// take long.
#pragma once

#include "host/Disk.h"
#include "host/source/HostDirectory.h"

#include <array>

namespace zel {

enum class DetailScope {
    All,
    Changing // the scheduler, and the names and states of device mapper and md
};

/// Reads the details of a disk into `disk`, and nothing else of it.
void readDiskDetails(const HostDirectory &root, std::string_view name, DetailScope scope, Disk &disk);

inline constexpr std::array<Count Disk::*, 2> CHANGING_DISK_COUNTS{&Disk::raidDisks, &Disk::raidDegraded};
inline constexpr std::array<Reading<std::string> Disk::*, 6> CHANGING_DISK_TEXTS{
    &Disk::scheduler, &Disk::deviceMapperName, &Disk::deviceMapperUuid,
    &Disk::raidLevel, &Disk::raidState,        &Disk::raidSyncAction};
inline constexpr std::array<Count Disk::*, 4> FIXED_DISK_COUNTS{&Disk::rotational, &Disk::removable,
                                                                &Disk::logicalBlockBytes, &Disk::physicalBlockBytes};
inline constexpr std::array<Reading<std::string> Disk::*, 6> FIXED_DISK_TEXTS{
    &Disk::parent, &Disk::vendor, &Disk::model, &Disk::serial, &Disk::worldWideId, &Disk::firmware};

/// Calls use(member) for every member that belongs to the scope.
template<class Use> void forEachDiskDetail(DetailScope scope, Use &&use) {
    for (const auto member : CHANGING_DISK_COUNTS)
        use(member);
    for (const auto member : CHANGING_DISK_TEXTS)
        use(member);
    use(&Disk::raidSyncRatio);
    if (scope == DetailScope::Changing)
        return;
    for (const auto member : FIXED_DISK_COUNTS)
        use(member);
    for (const auto member : FIXED_DISK_TEXTS)
        use(member);
}

} // namespace zel

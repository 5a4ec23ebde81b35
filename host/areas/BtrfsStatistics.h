// Reads the filesystems of type btrfs: from /sys/fs/btrfs at once, their devices by calls that are held to the
// deadline.
#pragma once

#include "host/areas/BtrfsDevices.h"
#include "host/areas/CountFiles.h"
#include "host/areas/MountTable.h"
#include "host/source/BoundedReads.h"
#include "host/source/DeviceTable.h"
#include "host/source/NamedDirectory.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace zel {

class BtrfsStatistics {
public:
    /// Reads the filesystems, and notes which of `mounts` can be asked: none when `live` is false.
    void read(Take &take, const std::vector<Mount> &mounts, bool live);
    void ask(Take &take);
    void finish(Take &take);

private:
    struct ProfileFiles {
        std::string_view name;
        CountFiles<BtrfsProfile> counts;
    };
    struct SpaceFiles {
        std::string_view type;
        CountFiles<BtrfsSpace> counts;
        std::vector<ProfileFiles> profiles;
    };
    struct Files {
        std::string path;
        Attribute label, metadataUuid, operation;
        CountFiles<Btrfs> counts;
        std::vector<SpaceFiles> spaces;
        NamedDirectory devices;

        explicit Files(const std::string &uuid);
    };

    static bool readFilesystem(Take &take, const std::string &uuid, Files &files);
    static void readSpace(Take &take, const std::string &uuid, std::size_t devices, SpaceFiles &space);
    void noteMounts(const std::vector<Mount> &mounts, bool live);
    void addDevices(Take &take, const std::string &uuid, Absence reason);
    static void addListed(Take &take, const std::string &uuid, const Files &files, Absence reason);

    NamedDirectory m_uuids{"sys/fs/btrfs", "", "-"}; // beside them: features
    DeviceTable<std::unique_ptr<Files>> m_known;
    std::size_t m_mountsBefore = 0;
    std::vector<const Mount *> m_asked; // in this sample: one mount of each filesystem, as far as their devices tell
    BoundedReads<BtrfsAnswer> m_calls{"btrfs"};
    std::vector<const BtrfsAnswer *> m_answers; // of this sample
    std::string m_subject;
};

} // namespace zel

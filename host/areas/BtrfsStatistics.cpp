// Reads /sys/fs/btrfs, and asks mounts for their devices.
#include "host/areas/BtrfsStatistics.h"

#include <algorithm>
#include <cerrno>

namespace zel {

namespace {

constexpr std::uint64_t sectorBytes = 512; // in which the kernel counts the size of a block device

constexpr CountFile<Btrfs> files[] = {
    {"allocation/global_rsv_size", &Btrfs::reserveBytes},
    {"allocation/global_rsv_reserved", &Btrfs::reserveUnusedBytes},
    {"nodesize", &Btrfs::nodeBytes},
    {"sectorsize", &Btrfs::sectorBytes},
};
constexpr CountFile<BtrfsSpace> spaceFiles[] = {
    {"total_bytes", &BtrfsSpace::totalBytes},       {"bytes_used", &BtrfsSpace::usedBytes},
    {"bytes_reserved", &BtrfsSpace::reservedBytes}, {"bytes_may_use", &BtrfsSpace::mayUseBytes},
    {"bytes_pinned", &BtrfsSpace::pinnedBytes},     {"bytes_readonly", &BtrfsSpace::readOnlyBytes},
    {"disk_total", &BtrfsSpace::diskTotalBytes},    {"disk_used", &BtrfsSpace::diskUsedBytes},
};
constexpr CountFile<BtrfsProfile> profileFiles[] = {
    {"total_bytes", &BtrfsProfile::totalBytes},
    {"used_bytes", &BtrfsProfile::usedBytes},
};

constexpr std::string_view types[] = {"data", "metadata", "system", "mixed"};

// `copies` bytes for each one; with parity, all devices for all but `parity` of them.
struct ProfileKind {
    std::string_view name;
    unsigned copies;
    unsigned parity = 0;
};
constexpr ProfileKind profiles[] = {
    {"single", 1},  {"dup", 2},    {"raid0", 1},    {"raid1", 2},    {"raid1c3", 3},
    {"raid1c4", 4}, {"raid10", 2}, {"raid5", 1, 1}, {"raid6", 1, 2},
};

Number ratioOf(const ProfileKind &profile, std::size_t devices) {
    if (profile.parity == 0)
        return static_cast<double>(profile.copies);
    if (devices <= profile.parity)
        return Absence::Unsupported;
    return static_cast<double>(devices) / static_cast<double>(devices - profile.parity);
}

} // namespace

BtrfsStatistics::Files::Files(const std::string &uuid)
    : path("sys/fs/btrfs/" + uuid), label(path + "/label"), metadataUuid(path + "/metadata_uuid"),
      operation(path + "/exclusive_operation"), counts(path, files), devices(path + "/devices", "") {
    for (const std::string_view type : types) {
        const std::string space = path + "/allocation/" + std::string(type);
        spaces.push_back({type, {space, spaceFiles}, {}});
        for (const ProfileKind &profile : profiles)
            spaces.back().profiles.push_back({profile.name, {space + '/' + std::string(profile.name), profileFiles}});
    }
}

void BtrfsStatistics::read(Take &take, const std::vector<Mount> &mounts, bool live) {
    Sample &sample = take.sample;
    AreaState &state = sample.area(Area::Filesystems);
    sample.btrfs.clear();
    sample.btrfsSpaces.clear();
    sample.btrfsProfiles.clear();
    sample.btrfsDevices.clear();
    noteMounts(mounts, live);
    noteUnlessMissing(state, m_uuids.read(take.root), m_uuids.path());
    m_known.startSample();
    for (const std::string &uuid : m_uuids.names()) {
        std::unique_ptr<Files> &known = m_known.of(uuid);
        if (known == nullptr)
            known = std::make_unique<Files>(uuid);
        if (!readFilesystem(take, uuid, *known))
            m_uuids.expire(); // it went
    }
    m_known.endSample();
}

// The mounts of one filesystem name the same device.
void BtrfsStatistics::noteMounts(const std::vector<Mount> &mounts, bool live) {
    std::size_t count = 0;
    m_asked.clear();
    for (const Mount &mount : mounts) {
        if (mount.type != "btrfs")
            continue;
        ++count;
        const bool canBeAsked = live && mount.hidden && *mount.hidden == 0;
        const auto same = [&mount](const Mount *other) { return other->device == mount.device; };
        if (canBeAsked && std::none_of(m_asked.begin(), m_asked.end(), same))
            m_asked.push_back(&mount);
    }
    if (count != m_mountsBefore)
        m_uuids.expire();
    m_mountsBefore = count;
}

bool BtrfsStatistics::readFilesystem(Take &take, const std::string &uuid, Files &files) {
    AreaState &state = take.sample.area(Area::Filesystems);
    Btrfs &row = take.sample.btrfs.append();
    row.uuid = uuid;
    if (!files.counts.read(take.root, state, row)) {
        take.sample.btrfs.dropLast();
        return false;
    }
    files.label.text(take.root, row.label);
    files.metadataUuid.text(take.root, row.metadataUuid);
    files.operation.text(take.root, row.operation);
    for (const Attribute *attribute : {&files.label, &files.metadataUuid, &files.operation})
        noteUnlessMissing(state, attribute->error(), attribute->path());
    noteUnlessMissing(state, files.devices.read(take.root), files.devices.path());
    for (SpaceFiles &space : files.spaces)
        readSpace(take, uuid, files.devices.names().size(), space);
    return true;
}

void BtrfsStatistics::readSpace(Take &take, const std::string &uuid, std::size_t devices, SpaceFiles &space) {
    Sample &sample = take.sample;
    AreaState &state = sample.area(Area::Filesystems);
    BtrfsSpace &row = sample.btrfsSpaces.append();
    row.uuid = uuid;
    row.type = space.type;
    if (!space.counts.read(take.root, state, row))
        return sample.btrfsSpaces.dropLast();
    for (std::size_t index = 0; index < space.profiles.size(); ++index) {
        BtrfsProfile &profile = sample.btrfsProfiles.append();
        profile.uuid = uuid;
        profile.type = space.type;
        profile.profile = space.profiles[index].name;
        profile.ratio = ratioOf(profiles[index], devices);
        if (!space.profiles[index].counts.read(take.root, state, profile))
            sample.btrfsProfiles.dropLast();
    }
}

void BtrfsStatistics::ask(Take &take) {
    m_calls.begin(take.deadline, m_asked.size());
    for (const Mount *mount : m_asked) {
        m_subject.assign(take.options.root).append(" ").append(std::to_string(mount->id.valueOr(0))).append(" ");
        m_calls.ask(m_subject.append(mount->mountPoint),
                    [root = HostDirectory(take.root), path = mount->mountPoint](BtrfsAnswer &answer) {
                        return askBtrfs(root, path, answer);
                    });
    }
}

void BtrfsStatistics::finish(Take &take) {
    AreaState &state = take.sample.area(Area::Filesystems);
    Absence reason = Absence::Unsupported; // of what only a mount can say
    m_answers.clear();
    for (std::size_t place = 0; place < m_calls.size(); ++place) {
        const BoundedRead<BtrfsAnswer> read = m_calls.wait(place);
        if (read.answer != nullptr) {
            m_answers.push_back(read.answer);
            continue;
        }
        reason = absenceOf(read.error);
        noteUnlessMissing(state, read.error, m_asked[place]->mountPoint);
        if (read.error == ETIMEDOUT)
            noteSilence(state, read.silentSeconds, m_asked[place]->mountPoint);
    }
    for (const Btrfs &filesystem : take.sample.btrfs)
        addDevices(take, filesystem.uuid, reason);
}

void BtrfsStatistics::addDevices(Take &take, const std::string &uuid, Absence reason) {
    const auto answer = std::find_if(m_answers.begin(), m_answers.end(),
                                     [&uuid](const BtrfsAnswer *each) { return each->uuid == uuid; });
    if (answer == m_answers.end())
        return addListed(take, uuid, **m_known.find(uuid), reason);
    for (const BtrfsDevice &device : (*answer)->devices) {
        BtrfsDevice &row = take.sample.btrfsDevices.append();
        row = device;
        row.uuid = uuid;
    }
}

void BtrfsStatistics::addListed(Take &take, const std::string &uuid, const Files &files, Absence reason) {
    for (const std::string &name : files.devices.names()) {
        Attribute size(files.path + "/devices/" + name + "/size", KeptScope::Never);
        BtrfsDevice &row = take.sample.btrfsDevices.append();
        forget(row, reason);
        row.uuid = uuid;
        row.device = name;
        row.deviceUuid.clear();
        row.sizeBytes = scaledCount(size.number(take.root), sectorBytes);
        noteUnlessMissing(take.sample.area(Area::Filesystems), size.error(), size.path());
    }
}

} // namespace zel

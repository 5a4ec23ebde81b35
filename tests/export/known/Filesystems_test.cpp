// The known names of filesystems.
#include "tests/support/KnownText.h"

#include <gtest/gtest.h>

namespace {

using zel::Absence;

zel::Filesystem &add(zel::Sample &sample, const char *mountPoint, const char *type = "ext4") {
    zel::Filesystem &filesystem = sample.filesystems.append();
    filesystem.mountPoint = mountPoint;
    filesystem.device = "/dev/sda1";
    filesystem.type = type;
    filesystem.sizeBytes = std::uint64_t{4096};
    filesystem.readOnly = filesystem.hidden = filesystem.errorNumber = filesystem.stuck = std::uint64_t{0};
    return filesystem;
}

std::string series(const char *family, const std::string &mountPoint, const char *value) {
    return std::string(family) + R"({device="/dev/sda1",fstype="ext4",mountpoint=")" + mountPoint + "\"} " + value;
}

Lines sizesOf(std::initializer_list<const char *> mountPoints) {
    zel::Sample sample;
    for (const char *mountPoint : mountPoints)
        add(sample, mountPoint);
    return KnownText(zel::knownFilesystems, sample).series("node_filesystem_size_bytes");
}

Lines sizesAt(std::initializer_list<const char *> mountPoints) {
    Lines lines;
    for (const char *mountPoint : mountPoints)
        lines.push_back(series("node_filesystem_size_bytes", mountPoint, "4096"));
    return lines;
}

TEST(KnownFilesystems, DeviceTypeAndMountPointAreLabels) {
    zel::Sample sample;
    zel::Filesystem &root = add(sample, "/");
    root.freeBytes = std::uint64_t{3072};
    root.availableBytes = std::uint64_t{2048};
    root.files = std::uint64_t{100};
    root.filesFree = std::uint64_t{90};
    const KnownText text(zel::knownFilesystems, sample);
    EXPECT_EQ(
        text.series(),
        (Lines{series("node_filesystem_size_bytes", "/", "4096"), series("node_filesystem_free_bytes", "/", "3072"),
               series("node_filesystem_avail_bytes", "/", "2048"), series("node_filesystem_files", "/", "100"),
               series("node_filesystem_files_free", "/", "90"), series("node_filesystem_readonly", "/", "0"),
               series("node_filesystem_device_error", "/", "0")}));
    EXPECT_EQ(text.type("node_filesystem_device_error"), "gauge");
}

TEST(KnownFilesystems, MountsBelowSomeDirectoriesAreLeftOut) {
    EXPECT_EQ(sizesOf({"/dev", "/dev/shm", "/run/user/0", "/mnt/backup", "/var/lib/docker/overlay2/x", "/devices",
                       "/srv/dev", "/var/lib/docker", "/var/lib/docker/", "/mnt2"}),
              sizesAt({"/devices", "/srv/dev", "/var/lib/docker", "/var/lib/docker/", "/mnt2"}));
}

TEST(KnownFilesystems, TypesWithoutDataOfTheirOwnAreLeftOut) {
    zel::Sample sample;
    for (const char *type : {"overlay", "tmpfs", "cgroup2", "iso9660", "procfs"})
        add(sample, "/a", type);
    const Lines sizes = KnownText(zel::knownFilesystems, sample).series("node_filesystem_size_bytes");
    EXPECT_EQ(sizes, (Lines{R"(node_filesystem_size_bytes{device="/dev/sda1",fstype="tmpfs",mountpoint="/a"} 4096)"}));
}

TEST(KnownFilesystems, FailureLeavesTheErrorAlone) {
    zel::Sample sample;
    zel::Filesystem &broken = add(sample, "/srv");
    broken.sizeBytes = Absence::Denied;
    broken.errorNumber = std::uint64_t{13};
    EXPECT_EQ(KnownText(zel::knownFilesystems, sample).series(),
              (Lines{series("node_filesystem_device_error", "/srv", "1")}));
}

TEST(KnownFilesystems, MountThatDoesNotAnswerIsAnError) {
    zel::Sample sample;
    zel::Filesystem &silent = add(sample, "/srv");
    silent.sizeBytes = Absence::TimedOut;
    silent.stuck = std::uint64_t{1};
    EXPECT_EQ(KnownText(zel::knownFilesystems, sample).series(),
              (Lines{series("node_filesystem_device_error", "/srv", "1")}));
}

TEST(KnownFilesystems, MountThatWasNotAskedHasNoSeries) {
    zel::Sample sample;
    zel::Filesystem &recorded = add(sample, "/srv");
    recorded.sizeBytes = recorded.errorNumber = recorded.stuck = Absence::Unsupported;
    EXPECT_EQ(KnownText(zel::knownFilesystems, sample).series(), Lines{});
}

TEST(KnownFilesystems, MountThatHidesAnotherIsShown) {
    zel::Sample sample;
    zel::Filesystem &below = add(sample, "/srv");
    below.sizeBytes = Absence::Unsupported;
    below.hidden = std::uint64_t{1};
    add(sample, "/srv");
    EXPECT_EQ(KnownText(zel::knownFilesystems, sample).series("node_filesystem_size_bytes"), sizesAt({"/srv"}));
}

TEST(KnownFilesystems, MountPointMayHoldAnything) {
    zel::Sample sample;
    add(sample, "/a \"b\\c\nd\xff");
    EXPECT_EQ(KnownText(zel::knownFilesystems, sample).series("node_filesystem_size_bytes"),
              (Lines{series("node_filesystem_size_bytes",
                            R"(/a \"b\\c\nd)"
                            "\xef\xbf\xbd",
                            "4096")}));
}

} // namespace

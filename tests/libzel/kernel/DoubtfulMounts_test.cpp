// Which mounts may not answer: by their type, by what they are mounted below, by how fast they answered.
#include "kernel/DoubtfulMounts.h"

#include <gtest/gtest.h>

namespace {

using zel::DoubtfulMounts;

struct Entry {
    const char *mountPoint;
    const char *type;
};

TEST(DoubtfulMounts, TypesOfDisksMemoryAndTheKernelAreLocal) {
    for (const char *type : {"ext2", "ext3", "ext4", "xfs", "btrfs", "vfat", "tmpfs", "ramfs", "proc", "sysfs",
                             "cgroup2", "squashfs", "iso9660", "devtmpfs", "zfs", "fusectl"})
        EXPECT_TRUE(zel::knownLocal(type)) << type;
}

TEST(DoubtfulMounts, WhatAnotherProgramMachineOrFilesystemAnswersForIsNot) {
    for (const char *type : {"fuse",  "fuseblk", "fuse.sshfs", "fuse.glusterfs", "nfs",    "nfs4",   "cifs",
                             "smb3",  "9p",      "virtiofs",   "ceph",           "afs",    "lustre", "gfs2",
                             "ocfs2", "overlay", "aufs",       "ecryptfs",       "autofs", "vboxsf", "",
                             "ext",   "ext44",   "EXT4"})
        EXPECT_FALSE(zel::knownLocal(type)) << type;
}

TEST(DoubtfulMounts, WhatIsMountedBelowADoubtfulOneIsDoubtfulToo) {
    DoubtfulMounts mounts;
    for (const Entry &entry : {Entry{"/", "ext4"}, Entry{"/net", "autofs"}, Entry{"/net/a", "ext4"}})
        mounts.note(entry);
    EXPECT_TRUE(mounts.mayHang("/net"));
    EXPECT_TRUE(mounts.mayHang("/net/a"));
    EXPECT_FALSE(mounts.mayHang("/"));
    EXPECT_FALSE(mounts.mayHang("/network"));
}

TEST(DoubtfulMounts, ASlowMountIsDoubtfulUntilItAnswersQuickly) {
    DoubtfulMounts mounts;
    mounts.answered("/sick", true);
    mounts.note(Entry{"/sick", "ext4"});
    mounts.endPass();
    EXPECT_TRUE(mounts.mayHang("/sick"));
    mounts.answered("/sick", false);
    mounts.endPass();
    EXPECT_FALSE(mounts.mayHang("/sick"));
}

} // namespace

// The reader of the mount table beside getmntent, whose results it promises.
#include "HostFixture.h"
#include "Mutation.h"
#include "filesystem/MM_FS_Mounts.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <mntent.h>
#include <ostream>
#include <string>
#include <vector>

namespace {

struct Entry {
    std::string device;
    std::string mountPoint;
    std::string type;

    bool operator==(const Entry &) const = default;
};

void PrintTo(const Entry &entry, std::ostream *out) {
    *out << entry.device << " on " << entry.mountPoint << " type " << entry.type;
}

std::vector<Entry> ours() {
    std::vector<Entry> entries;
    zel::WholeFile file;
    if (!zel::readMountTable(file, zel::KeptScope::Never))
        return entries;
    std::string text(file.text());
    zel::MountTable table(text);
    for (zel::MountEntry entry{}; table.next(entry);)
        entries.push_back({entry.device, entry.mountPoint, entry.type});
    return entries;
}

std::vector<Entry> theLibrarys(const std::filesystem::path &path) {
    std::vector<Entry> entries;
    std::FILE *file = setmntent(path.c_str(), "r");
    while (const mntent *entry = getmntent(file))
        entries.push_back({entry->mnt_fsname, entry->mnt_dir, entry->mnt_type});
    endmntent(file);
    return entries;
}

constexpr const char *sampleTable = "/dev/sda1 / ext4 rw,relatime 0 0\n"
                                    "# a comment\n"
                                    "\n"
                                    "  \t/dev/sdb1\t/mnt/with\\040blank\text4  rw 1 2\n"
                                    "\\134\\\\server\\011tab /mnt/line\\012feed cifs rw 0 0\n"
                                    "systemd-1 /proc/sys autofs rw,relatime,fd=29,ignore,pgrp=1 0 0\n"
                                    "systemd-2 /boot autofs rw,ignored,fd=30 0 0\n"
                                    "systemd-3 /efi autofs ignore=yes 0 0\n"
                                    "host:/export /mnt/nfs nfs4 rw 0 0\n"
                                    "alone\n"
                                    "two words\n"
                                    "odd\\0escape\\04 /x\\1340 t\\ opts\n"
                                    "last /without linefeed rw 0 0";

} // namespace

TEST(MountTable, GivesTheEntriesOfTheSystemsTable) {
    HostFixture host;
    host.write("etc/mtab", sampleTable);
    const std::vector<Entry> entries = ours();
    ASSERT_EQ(entries.size(), 9U);
    EXPECT_EQ(entries[1], (Entry{"/dev/sdb1", "/mnt/with blank", "ext4"}));
    EXPECT_EQ(entries[2], (Entry{"\\\\server\ttab", "/mnt/line\nfeed", "cifs"}));
    EXPECT_EQ(entries[3], (Entry{"systemd-2", "/boot", "autofs"}));
    EXPECT_EQ(entries[5], (Entry{"alone", "", ""}));
    EXPECT_EQ(entries, theLibrarys(host.path() / "etc/mtab"));
}

TEST(MountTable, MutationsAreReadAsTheLibraryReadsThem) {
    HostFixture host;
    Mutation mutation(20);
    for (int round = 0; round < 400; ++round) {
        std::string text = mutation.of(sampleTable);
        std::replace(text.begin(), text.end(), '\0', '.'); // the kernel writes none
        host.write("etc/mtab", text);
        ASSERT_EQ(ours(), theLibrarys(host.path() / "etc/mtab")) << text;
    }
}

TEST(MountTable, MissingTableSaysWhy) {
    HostFixture host;
    zel::WholeFile file;
    EXPECT_FALSE(zel::readMountTable(file, zel::KeptScope::Never));
    EXPECT_EQ(errno, ENOENT);
}

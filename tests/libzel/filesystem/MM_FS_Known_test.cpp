// A collector that believes the kernel's reports about the mount table, beside one that reads the table anew, over
// every way in which the table of a process changes. Real mounts, in a mount namespace of each test's own.
#include "filesystem/MM_FS_Known.h"

#include "Faults.h"
#include "HostFixture.h"
#include "MM_FS_Info.h"
#include "PerfTextReader.h"
#include "PrivateMounts.h"
#include "ScratchHome.h"
#include "SettingGuard.h"
#include "Settings.h"
#include "kernel/KeptFile.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using Names = std::vector<std::string>;

Names namesIn(CMM_FS_Info &collector) {
    Names names;
    collector.fMGetFileSys();
    while (const _ST_FS *record = collector.fMGetFileSysNext())
        names.push_back(std::string(record->l_strFSname) + " " + record->l_strDEVname + " " + record->l_strFSType +
                        " " + std::to_string(record->l_ulTotDskSize));
    return names;
}

Names freshNames() {
    const SettingGuard none(g_nKeptFileLimit, 0);
    CMM_FS_Info collector;
    return namesIn(collector);
}

/// A directory with room for mounts, and a collector that knows the table.
class Scene {
public:
    Scene() {
        mountAt("d");
        for (const char *directory : {"d/above", "d/above/point", "d/other"})
            std::filesystem::create_directory(at(directory));
        compare("at first");
    }

    std::string at(const std::string &name) const { return m_place.path() / name; }
    void mountAt(const std::string &name) const {
        std::filesystem::create_directories(at(name));
        ASSERT_EQ(mount(name.c_str(), at(name).c_str(), "tmpfs", 0, "size=2g"), 0) << name;
    }
    /// Both collectors give the same.
    void compare(const char *when) {
        names = namesIn(collector);
        EXPECT_EQ(names, freshNames()) << when;
    }
    /// A pass reads nothing: the table is known.
    void expectKnown() {
        namesIn(collector);
        const Fault count(Call::Read, 0);
        namesIn(collector);
        EXPECT_EQ(Fault::calls(), 0);
    }

    ScratchHome home;

    CMM_FS_Info collector;
    Names names;

private:
    TempDirectory m_place;
};

class KnownMounts : public testing::Test {
protected:
    static void inNamespaceOrSkip(const std::function<void()> &body) {
        const std::string reason = withPrivateMounts(body);
        if (!reason.empty())
            GTEST_SKIP() << reason;
        if (!zel::currentMountView())
            GTEST_SKIP() << "this kernel does not number its mounts";
    }
};

TEST_F(KnownMounts, TableThatNobodyChangedIsNotReadUntilItsTurn) {
    inNamespaceOrSkip([] {
        Scene scene;
        scene.expectKnown();
        int reads = 0;
        for (int pass = 0; pass <= zel::FS_TRUSTED_PASSES; ++pass) {
            const Fault count(Call::Read, 0);
            namesIn(scene.collector);
            reads += Fault::calls() > 0 ? 1 : 0;
        }
        EXPECT_EQ(reads, 1);
    });
}

TEST_F(KnownMounts, EveryKindOfChangeIsSeenAtOnce) {
    inNamespaceOrSkip([] {
        Scene scene;
        const std::string point = scene.at("d/above/point");
        const std::string other = scene.at("d/other");
        scene.mountAt("d/above/point");
        scene.compare("mounted");
        EXPECT_THAT(scene.names, Contains(HasSubstr(point)));
        EXPECT_EQ(mount(nullptr, point.c_str(), nullptr, MS_REMOUNT, "size=3g"), 0);
        scene.compare("larger");
        EXPECT_EQ(mount(nullptr, point.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr), 0);
        scene.compare("read-only");
        EXPECT_EQ(mount(point.c_str(), other.c_str(), nullptr, MS_BIND, nullptr), 0);
        scene.compare("bound");
        EXPECT_THAT(scene.names, Contains(HasSubstr(other)));
        scene.mountAt("d/other");
        scene.compare("covered");
        EXPECT_EQ(umount(other.c_str()), 0);
        scene.compare("uncovered");
        EXPECT_EQ(umount(other.c_str()), 0);
        scene.compare("unbound");
        EXPECT_EQ(mount(point.c_str(), other.c_str(), nullptr, MS_MOVE, nullptr), 0);
        scene.compare("moved");
        EXPECT_EQ(umount2(scene.at("d").c_str(), MNT_DETACH), 0);
        scene.compare("detached with all below");
        EXPECT_THAT(scene.names, Not(Contains(HasSubstr(other))));
        scene.expectKnown();
    });
}

// The kernel does not report it.
TEST_F(KnownMounts, DirectoryAboveAMountThatIsRenamedIsSeenByTheMountThatIsGone) {
    inNamespaceOrSkip([] {
        Scene scene;
        scene.mountAt("d/above/point");
        scene.mountAt("last");
        scene.compare("mounted");
        scene.expectKnown();
        ASSERT_EQ(std::rename(scene.at("d/above").c_str(), scene.at("d/later").c_str()), 0);
        scene.compare("renamed");
        EXPECT_THAT(scene.names, Contains(HasSubstr(scene.at("d/later/point"))));
    });
}

// The pass finds out in its middle, and begins anew.
TEST_F(KnownMounts, TextOfAPassThatBeganAnewHoldsEveryRowOnce) {
    inNamespaceOrSkip([] {
        g_nVAGENT_type = 1;
        Scene scene;
        scene.mountAt("first");
        scene.mountAt("d/above/point");
        scene.mountAt("last");
        scene.compare("mounted");
        scene.expectKnown();
        ASSERT_EQ(std::rename(scene.at("d/above").c_str(), scene.at("d/later").c_str()), 0);
        const int rows = scene.collector.fGetFileSystem();
        const SettingGuard none(g_nKeptFileLimit, 0);
        CMM_FS_Info fresh;
        EXPECT_EQ(rows, fresh.fGetFileSystem());
        EXPECT_EQ(scene.collector.m_uFSTotalSizeTotal, fresh.m_uFSTotalSizeTotal);
        PerfTable table, expected;
        PerfTextError error;
        ASSERT_TRUE(fgReadPerfTable(scene.collector.fGetFSInfo(), table, error));
        ASSERT_TRUE(fgReadPerfTable(fresh.fGetFSInfo(), expected, error));
        ASSERT_EQ(table.rows.size(), expected.rows.size());
        for (std::size_t row = 0; row < table.rows.size(); ++row) {
            for (const char *column : {"INDEX", "FSNAME", "DISKNAME", "FSTYPE", "TOTSIZE"})
                EXPECT_EQ(table.value(row, column), expected.value(row, column)) << row;
        }
    });
}

TEST_F(KnownMounts, OtherFilesystemUnderTheNameOfAMountIsSeen) {
    inNamespaceOrSkip([] {
        Scene scene;
        scene.mountAt("d/above/point");
        scene.compare("mounted");
        scene.expectKnown();
        ASSERT_EQ(std::rename(scene.at("d/above").c_str(), scene.at("d/later").c_str()), 0);
        std::filesystem::create_directories(scene.at("d/above/point"));
        scene.compare("another directory has the name of the mount point");
    });
}

TEST_F(KnownMounts, NamespaceThatTheProcessEntersIsRead) {
    inNamespaceOrSkip([] {
        Scene scene;
        const int before = open("/proc/self/ns/mnt", O_RDONLY | O_CLOEXEC);
        ASSERT_EQ(unshare(CLONE_NEWNS), 0);
        scene.mountAt("d/other");
        scene.compare("in a new namespace");
        EXPECT_THAT(scene.names, Contains(HasSubstr(scene.at("d/other"))));
        ASSERT_EQ(setns(before, CLONE_NEWNS), 0);
        scene.compare("back in the old one");
        EXPECT_THAT(scene.names, Not(Contains(HasSubstr(scene.at("d/other")))));
        close(before);
    });
}

// /proc/self/mounts is the table of the first thread, whichever thread reads it.
TEST_F(KnownMounts, ThreadsInNamespacesOfTheirOwnReadWhatAFreshReadGives) {
    inNamespaceOrSkip([] {
        Scene scene;
        std::thread thread([&scene] {
            ASSERT_EQ(unshare(CLONE_NEWNS), 0);
            scene.compare("in a thread with a namespace");
            scene.mountAt("d/other");
            scene.compare("in a thread with a mount");
            scene.mountAt("d/above/point");
        });
        thread.join();
        scene.compare("in the first thread");
    });
}

TEST_F(KnownMounts, ThreadWhoseLeaderEntersANamespaceReadsThatOne) {
    inNamespaceOrSkip([] {
        Scene scene;
        std::thread([&scene] { scene.compare("in a thread"); }).join();
        ASSERT_EQ(unshare(CLONE_NEWNS), 0);
        scene.mountAt("d/other");
        std::thread([&scene] { scene.compare("in a later thread"); }).join();
    });
}

TEST_F(KnownMounts, ChildOfForkInItsOwnNamespaceReadsItsTable) {
    inNamespaceOrSkip([] {
        Scene scene;
        const pid_t child = fork();
        if (child == 0) {
            scene.compare("in a child");
            if (unshare(CLONE_NEWNS) != 0)
                _exit(2);
            scene.mountAt("d/other");
            scene.compare("in a child with a namespace");
            _exit(testing::Test::HasFailure() ? 1 : 0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
        scene.compare("in the parent");
        scene.expectKnown();
    });
}

// A child that no handler of fork sees has its parent's numbers, but is another process.
TEST_F(KnownMounts, ChildThatNoHandlerSawReadsItsTable) {
    inNamespaceOrSkip([] {
        Scene scene;
        const auto child = static_cast<pid_t>(syscall(SYS_clone, SIGCHLD | CLONE_NEWNS, nullptr, nullptr, nullptr, 0));
        if (child == 0) {
            scene.mountAt("d/other");
            scene.compare("in a raw child");
            _exit(testing::Test::HasFailure() ? 1 : 0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    });
}

TEST_F(KnownMounts, OtherRootDirectoryIsRead) {
    inNamespaceOrSkip([] {
        Scene scene;
        scene.mountAt("d/above/point");
        scene.compare("before");
        const std::string root = scene.at("root");
        std::filesystem::create_directory(root);
        ASSERT_EQ(mount("/", root.c_str(), nullptr, MS_BIND | MS_REC, nullptr), 0);
        scene.compare("bound");
        ASSERT_EQ(chroot(root.c_str()), 0);
        scene.compare("below the same files at another place");
    });
}

TEST_F(KnownMounts, HostRootAndPlainTablesAreReadByEveryPass) {
    inNamespaceOrSkip([] {
        Scene scene;
        {
            HostFixture host;
            scene.compare("below an empty host root");
            EXPECT_THAT(scene.names, IsEmpty());
        }
        scene.compare("without a host root again");

        std::filesystem::create_directory(scene.at("etc"));
        std::ofstream(scene.at("etc") + "/mtab") << "plain " << scene.at("d") << " tmpfs rw 0 0\n";
        ASSERT_EQ(mount(scene.at("etc").c_str(), "/etc", nullptr, MS_BIND, nullptr), 0);
        scene.compare("a plain table");
        EXPECT_THAT(scene.names, testing::ElementsAre(HasSubstr("plain tmpfs")));
        std::ofstream("/etc/mtab") << "other " << scene.at("d") << " tmpfs rw 0 0\n";
        scene.compare("another text in the plain table");
        EXPECT_THAT(scene.names, testing::ElementsAre(HasSubstr("other tmpfs")));
        ASSERT_EQ(umount("/etc"), 0);
        scene.compare("the kernel's own table again");
        scene.expectKnown();
    });
}

TEST_F(KnownMounts, LinksToTheTablesOfOthersAreReadByEveryPass) {
    inNamespaceOrSkip([] {
        Scene scene;
        std::filesystem::create_directory(scene.at("etc"));
        for (const char *target : {"/proc/thread-self/mounts", "/proc/1/mounts", "/proc/self/task/../mounts"}) {
            const std::string link = scene.at("etc") + "/mtab";
            unlink(link.c_str());
            ASSERT_EQ(symlink(target, link.c_str()), 0);
            ASSERT_EQ(mount(scene.at("etc").c_str(), "/etc", nullptr, MS_BIND, nullptr), 0);
            scene.compare(target);
            std::thread([&scene, target] {
                ASSERT_EQ(unshare(CLONE_NEWNS), 0);
                scene.compare(target);
                ASSERT_EQ(unshare(CLONE_NEWNS), 0); // which the file of the thread does not show
                scene.mountAt("d/other");
                scene.compare(target);
            }).join();
            scene.compare(target);
            ASSERT_EQ(umount("/etc"), 0);
        }
    });
}

TEST_F(KnownMounts, DescriptorThatTheProgramClosedAndUsesItselfIsLeftAlone) {
    inNamespaceOrSkip([] {
        Scene scene;
        closefrom(3);
        std::vector<int> own;
        for (int i = 0; i < 20; ++i)
            own.push_back(open("/etc/passwd", O_RDONLY | O_CLOEXEC));
        scene.mountAt("d/other");
        scene.compare("descriptors are the program's");
        for (const int file : own)
            EXPECT_GE(fcntl(file, F_GETFD), 0) << file;
    });
}

TEST_F(KnownMounts, WithoutKeptFilesNothingStaysOpen) {
    inNamespaceOrSkip([] {
        Scene scene;
        EXPECT_EQ(zel::keptPlacesTaken(), 1);
        const SettingGuard none(g_nKeptFileLimit, 0);
        scene.compare("without kept files");
        EXPECT_EQ(zel::keptPlacesTaken(), 0);
        const Fault count(Call::Read, 0);
        namesIn(scene.collector);
        EXPECT_GT(Fault::calls(), 0);
    });
}

} // namespace

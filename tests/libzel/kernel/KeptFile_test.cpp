// Kernel files that stay open: which do, for how long, and that they give what a fresh open gives.
#include "kernel/KeptFile.h"

#include "HostFixture.h"
#include "SettingGuard.h"
#include "Settings.h"
#include "host/HostOpen.h"
#include "kernel/KernelFile.h"
#include "kernel/WholeFile.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using zel::KeptFile;
using zel::KeptScope;

constexpr const char *version = "/proc/version"; // the same text in every read

void keep(KeptFile &kept, const char *path, KeptScope scope = KeptScope::Machine) {
    kept.keep(zel::openHostFile(path), path, scope);
}

// Runs `check` in a child and gives its exit status.
template<class Check> int inChild(Check check) {
    const pid_t child = fork();
    if (child == 0)
        _exit(check());
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// The place in /proc/self/fd whose link is `path`.
int descriptorsOf(const std::string &path) {
    int count = 0;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        count += std::filesystem::read_symlink(entry.path(), gone) == path ? 1 : 0;
    }
    return count;
}

TEST(KeptFile, KernelFileStaysOpenAndReadsTheSame) {
    zel::KernelFile file(version, 4096);
    const std::string first(file.read().text);
    EXPECT_EQ(descriptorsOf(version), 1);
    EXPECT_EQ(file.read().text, first);
    EXPECT_FALSE(first.empty());
    EXPECT_EQ(descriptorsOf(version), 1);
}

TEST(KeptFile, WholeFileStaysOpenAndReadsTheSame) {
    zel::WholeFile file;
    ASSERT_TRUE(file.read("/proc/filesystems"));
    const std::string first(file.text());
    EXPECT_EQ(descriptorsOf("/proc/filesystems"), 1);
    ASSERT_TRUE(file.read("/proc/filesystems"));
    EXPECT_EQ(file.text(), first);
    EXPECT_FALSE(first.empty());
}

TEST(KeptFile, OneOfSeveralPathsIsKeptAtATime) {
    zel::WholeFile file;
    ASSERT_TRUE(file.read("/proc/filesystems"));
    ASSERT_TRUE(file.read(version));
    EXPECT_NE(file.text().find("Linux"), std::string_view::npos);
    EXPECT_EQ(descriptorsOf("/proc/filesystems"), 0);
    EXPECT_EQ(descriptorsOf(version), 1);
}

TEST(KeptFile, ClosesOnExec) {
    KeptFile kept;
    keep(kept, version);
    ASSERT_GE(kept.descriptor(version), 0);
    EXPECT_EQ(fcntl(kept.descriptor(version), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST(KeptFile, PlaceIsReturnedWithTheFile) {
    const int before = zel::keptPlacesTaken();
    {
        KeptFile kept;
        keep(kept, version);
        EXPECT_EQ(zel::keptPlacesTaken(), before + 1);
    }
    EXPECT_EQ(zel::keptPlacesTaken(), before);
}

TEST(KeptFile, LimitOfNoneKeepsNothingAndLetsGoOfWhatIsKept) {
    KeptFile early;
    keep(early, version);
    ASSERT_GE(early.descriptor(version), 0);
    const SettingGuard limit(g_nKeptFileLimit, 0);
    EXPECT_EQ(early.descriptor(version), -1);
    KeptFile late;
    keep(late, version);
    EXPECT_EQ(late.descriptor(version), -1);
    EXPECT_EQ(descriptorsOf(version), 0);
}

TEST(KeptFile, LimitIsThatOfTheWholeProcess) {
    const SettingGuard limit(g_nKeptFileLimit, zel::keptPlacesTaken() + 1);
    KeptFile first, second;
    keep(first, version);
    keep(second, version);
    EXPECT_GE(first.descriptor(version), 0);
    EXPECT_EQ(second.descriptor(version), -1);
}

TEST(KeptFile, AutomaticLimitIsAQuarterOfTheSoftLimit) {
    EXPECT_EQ(inChild([] {
                  const rlimit few{40, 40};
                  setrlimit(RLIMIT_NOFILE, &few);
                  const int before = zel::keptPlacesTaken();
                  int places = 0;
                  while (places < 40 && zel::takeKeptPlace())
                      ++places;
                  return places + before;
              }),
              10);
}

TEST(KeptFile, NothingBelowAHostRootIsKept) {
    HostFixture host;
    host.write("proc/version", "a plain file");
    KeptFile kept;
    keep(kept, version);
    EXPECT_EQ(kept.descriptor(version), -1);
}

TEST(KeptFile, HostRootThatIsSetLaterIsReadFromThenOn) {
    zel::KernelFile file(version, 4096);
    ASSERT_NE(file.read().text, "another host");
    HostFixture host;
    host.write("proc/version", "another host");
    EXPECT_EQ(file.read().text, "another host");
}

TEST(KeptFile, FileOfAnotherFilesystemIsNotKept) {
    KeptFile kept;
    keep(kept, "/etc/passwd");
    EXPECT_EQ(kept.descriptor("/etc/passwd"), -1);
}

TEST(KeptFile, ChildOfAForkOpensItsOwn) {
    KeptFile kept;
    keep(kept, version);
    EXPECT_EQ(inChild([&kept] { return kept.descriptor(version) == -1 ? 0 : 1; }), 0);
    EXPECT_GE(kept.descriptor(version), 0) << "the parent's stays";
}

TEST(KeptFile, ReadThatFailsOpensTheFileAnewBeforeItCounts) {
    const pid_t sleeper = fork();
    if (sleeper == 0) {
        pause();
        _exit(0);
    }
    const std::string path = "/proc/" + std::to_string(sleeper) + "/stat";
    zel::KernelFile file(path.c_str(), 4096);
    EXPECT_TRUE(file.read());
    EXPECT_TRUE(file.read());
    kill(sleeper, SIGKILL);
    waitpid(sleeper, nullptr, 0);
    EXPECT_EQ(file.read().failure, zel::FileText::Failure::NotOpened) << "what a fresh open gives";
}

TEST(KeptFile, FileOfANamespaceIsOpenedAnewInAnother) {
    EXPECT_EQ(inChild([] {
                  KeptFile machine, ofNamespace;
                  keep(machine, version);
                  keep(ofNamespace, "/proc/net/dev", KeptScope::Namespace);
                  if (ofNamespace.descriptor("/proc/net/dev") < 0)
                      return 1;
                  if (unshare(CLONE_NEWNET) != 0)
                      return 77;
                  return ofNamespace.descriptor("/proc/net/dev") == -1 && machine.descriptor(version) >= 0 ? 0 : 2;
              }),
              geteuid() == 0 ? 0 : 77);
}

} // namespace

// Files of a host: kept open on the host itself, opened anew below a directory, never trusted blindly.
#include "host/source/SourceFile.h"

#include "SystemHooks.h"
#include "TempDirectory.h"
#include "host/source/Attribute.h"
#include "host/source/NumberedDirectory.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace {

using zel::Absence;
using zel::HostDirectory;
using zel::SourceFile;

TEST(SourceFile, BelowADirectoryEveryReadSeesTheFileOfNow) {
    const TempDirectory scratch;
    scratch.write("proc/stat", "one");
    const HostDirectory root(scratch.path(), 100);
    SourceFile file("proc/stat");
    ASSERT_EQ(file.read(root), 0);
    EXPECT_EQ(file.text(), "one");
    scratch.remove("proc/stat");
    EXPECT_EQ(file.read(root), ENOENT);
    EXPECT_EQ(file.text(), "") << "nothing of the read before";
    scratch.write("proc/stat", "another");
    ASSERT_EQ(file.read(root), 0);
    EXPECT_EQ(file.text(), "another");
    EXPECT_EQ(root.kept().taken(), 0);
}

TEST(SourceFile, KernelFileOfThisHostStaysOpen) {
    const HostDirectory root("", 100);
    SourceFile file("proc/uptime");
    ASSERT_EQ(file.read(root), 0);
    EXPECT_EQ(root.kept().taken(), 1);
    ASSERT_EQ(file.read(root), 0);
    EXPECT_NE(file.text(), "");
    EXPECT_EQ(root.kept().taken(), 1);
}

TEST(SourceFile, PlainFileAndFileThatMustNotStayOpenAreClosed) {
    const HostDirectory root("", 100);
    SourceFile plain("etc/passwd");
    SourceFile never("proc/uptime", zel::Records::One, zel::KeptScope::Never);
    EXPECT_EQ(plain.read(root), 0);
    EXPECT_EQ(never.read(root), 0);
    EXPECT_EQ(root.kept().taken(), 0);
}

TEST(SourceFile, WithoutAPlaceItIsReadAnew) {
    const HostDirectory root("", 1);
    SourceFile one("proc/uptime"), two("proc/loadavg");
    ASSERT_EQ(one.read(root), 0);
    for (int sample = 0; sample < 3; ++sample)
        ASSERT_EQ(two.read(root), 0);
    EXPECT_EQ(root.kept().taken(), 1);
}

TEST(SourceFile, DescriptorThatMeansAnotherFileIsNeitherReadNorClosed) {
    const TempDirectory scratch;
    const int other = ::open(scratch.write("other", "not the uptime").c_str(), O_RDONLY);
    int stolen = -1;
    {
        const HostDirectory root("", 100);
        SourceFile file("proc/uptime");
        ASSERT_EQ(file.read(root), 0);
        for (stolen = other + 1;; ++stolen) { // the descriptor that the file has
            struct stat kept {
            }, own{};
            ASSERT_EQ(::stat("/proc/uptime", &own), 0);
            if (fstat(stolen, &kept) == 0 && kept.st_ino == own.st_ino && kept.st_dev == own.st_dev)
                break;
            ASSERT_LT(stolen, 1000);
        }
        ASSERT_EQ(dup2(other, stolen), stolen);
        ASSERT_EQ(file.read(root), 0);
        EXPECT_EQ(file.text().find("not the uptime"), std::string_view::npos);
        EXPECT_EQ(root.kept().taken(), 1) << "the place of the lost one was given back";
    }
    EXPECT_NE(fcntl(stolen, F_GETFD), -1) << "it is somebody else's";
    close(stolen);
    close(other);
}

TEST(SourceFile, MissingFileOfThisHostIsNotLookedForInEverySample) {
    const TempDirectory scratch;
    const std::string path = (scratch.path() / "later").string().substr(1);
    const HostDirectory root("");
    SourceFile file(path);
    EXPECT_EQ(file.read(root), ENOENT);
    scratch.write("later", "here");
    EXPECT_EQ(file.read(root), ENOENT) << "not before its time";
}

TEST(SourceFile, DirectoryPipeAndEndlessFileAreErrors) {
    const TempDirectory scratch;
    scratch.write("directory/file", "");
    ASSERT_EQ(mkfifo((scratch.path() / "pipe").c_str(), 0600), 0);
    const HostDirectory root(scratch.path());
    EXPECT_EQ(SourceFile("directory").read(root), EISDIR);
    EXPECT_EQ(SourceFile("pipe").read(root), ESPIPE) << "a pipe holds nobody up";
    EXPECT_EQ(SourceFile("dev/zero").read(HostDirectory("")), EFBIG);
}

TEST(SourceFile, WithoutMemoryReadingFails) {
    const TempDirectory scratch;
    scratch.write("file", std::string(20000, 'x'));
    const HostDirectory root(scratch.path());
    SourceFile file("file");
    systemHooks().failAllocationAfter = 0;
    EXPECT_EQ(file.read(root), ENOMEM);
    systemHooks().failAllocationAfter = -1;
    EXPECT_EQ(file.read(root), 0);
    EXPECT_EQ(file.text().size(), 20000U);
}

TEST(HostDirectory, NoLinkLeadsOutOfIt) {
    const TempDirectory outside, scratch;
    outside.write("secret", "secret");
    scratch.write("etc/inner", "inner");
    std::filesystem::create_symlink(outside.path() / "secret", scratch.path() / "absolute");
    std::filesystem::create_symlink("../../../../../../../etc/passwd", scratch.path() / "relative");
    std::filesystem::create_symlink("/etc/inner", scratch.path() / "within");
    std::filesystem::create_symlink("/etc", scratch.path() / "directory");
    const HostDirectory root(scratch.path());
    EXPECT_EQ(SourceFile("absolute").read(root), ENOENT);
    EXPECT_EQ(SourceFile("relative").read(root), ENOENT);
    SourceFile within("within"), below("directory/inner");
    EXPECT_EQ(within.read(root), 0);
    EXPECT_EQ(within.text(), "inner");
    EXPECT_EQ(below.read(root), 0);
}

TEST(HostDirectory, WithoutConfinedOpensNoLinkIsFollowed) {
    const TempDirectory scratch;
    scratch.write("etc/inner", "inner");
    std::filesystem::create_symlink("/etc", scratch.path() / "directory");
    std::filesystem::create_symlink("etc/inner", scratch.path() / "file");
    const HostDirectory root(scratch.path());
    for (const int error : {ENOSYS, EPERM}) {
        systemHooks().openat2Error = error;
        EXPECT_EQ(SourceFile("etc/inner").read(root), 0);
        EXPECT_EQ(SourceFile("etc/missing").read(root), ENOENT);
        EXPECT_EQ(SourceFile("file").read(root), ELOOP);
        EXPECT_NE(SourceFile("directory/inner").read(root), 0);
        EXPECT_EQ(SourceFile("..").read(root), ELOOP);
        EXPECT_EQ(SourceFile("etc/../../etc/passwd").read(root), ELOOP);
    }
}

TEST(HostDirectory, RootThatCannotBeOpenedHasItsError) {
    const TempDirectory scratch;
    EXPECT_EQ(HostDirectory(scratch.write("file", "")).error(), ENOTDIR);
    EXPECT_EQ(HostDirectory(scratch.path() / "missing").error(), ENOENT);
    EXPECT_EQ(HostDirectory(scratch.path()).error(), 0);
    EXPECT_EQ(HostDirectory("").error(), 0);
}

TEST(HostDirectory, PathThatIsTooLongIsNotCut) {
    const HostDirectory root("");
    EXPECT_EQ(SourceFile(std::string(3000, '.') + "/" + std::string(3000, 'x')).read(root), ENOENT);
}

TEST(HostDirectory, RootThatWasClosedBehindItsBackIsNotMistaken) {
    const TempDirectory scratch, other;
    scratch.write("file", "right");
    other.write("file", "wrong");
    const HostDirectory root(scratch.path());
    const int number = root.descriptor();
    const int directory = ::open(other.path().c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(dup2(directory, number), number);
    EXPECT_EQ(SourceFile("file").read(root), EBADF);
    close(directory);
    close(number);
}

TEST(Attribute, NumbersTextsAndTheirReasons) {
    const TempDirectory scratch;
    scratch.write("number", "  42\n");
    scratch.write("negative", "-1\n");
    scratch.write("word", "mq-deadline none \n");
    scratch.write("empty", "\n");
    scratch.write("huge", "99999999999999999999\n");
    scratch.write("page", std::string(4096, 'x'));
    scratch.write("more", std::string(4097, 'x'));
    const HostDirectory root(scratch.path());
    EXPECT_EQ(*zel::Attribute("number").number(root), 42U);
    EXPECT_EQ(*zel::Attribute("number").scaled(root, 1000), 42000);
    EXPECT_EQ(zel::Attribute("negative").number(root).absence(), Absence::Unsupported);
    EXPECT_EQ(zel::Attribute("word").number(root).absence(), Absence::Malformed);
    EXPECT_EQ(zel::Attribute("empty").number(root).absence(), Absence::Malformed);
    EXPECT_EQ(zel::Attribute("huge").number(root).absence(), Absence::Malformed);
    EXPECT_EQ(zel::Attribute("missing").scaled(root, 2).absence(), Absence::Unsupported);
    zel::Reading<std::string> text;
    zel::Attribute("word").text(root, text);
    EXPECT_EQ(*text, "mq-deadline none");
    zel::Attribute("empty").text(root, text);
    EXPECT_EQ(text.absence(), Absence::Unsupported);
    zel::Attribute("page").text(root, text);
    EXPECT_EQ((*text).size(), 4096U);
    zel::Attribute("more").text(root, text);
    EXPECT_EQ(text.absence(), Absence::Malformed) << "no attribute is longer than a page";
}

TEST(Attribute, MissingOneIsLookedForAtOnceWhenItsDeviceIsBack) {
    const TempDirectory scratch;
    const HostDirectory root("");
    zel::Attribute attribute((scratch.path() / "later").string().substr(1));
    EXPECT_FALSE(attribute.number(root));
    scratch.write("later", "5\n");
    EXPECT_FALSE(attribute.number(root));
    EXPECT_EQ(attribute.error(), ENOENT);
    attribute.forgetMissing();
    EXPECT_EQ(*attribute.number(root), 5U);
}

TEST(NumberedDirectory, GivesTheNumbersInOrder) {
    const TempDirectory scratch;
    for (const char *name : {"node10", "node2", "node", "nodex", "node 3", "has_cpu", "node99", "node2x"})
        scratch.write(std::string("nodes/") + name + "/file", "");
    zel::NumberedDirectory nodes("nodes", "node", 99);
    EXPECT_EQ(nodes.read(HostDirectory(scratch.path())), 0);
    EXPECT_EQ(nodes.numbers(), (std::vector<std::uint64_t>{2, 2, 10}));
    EXPECT_EQ(zel::NumberedDirectory("missing", "node", 99).read(HostDirectory(scratch.path())), ENOENT);
}

} // namespace

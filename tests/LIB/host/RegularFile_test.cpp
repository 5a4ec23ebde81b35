// Opening the files that other programs write: regular ones, without waiting for anything else.
#include "SystemHooks.h"
#include "TempDirectory.h"
#include "host/RegularFile.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

class RegularFile : public testing::Test {
protected:
    std::string at(const std::string &name) const { return (m_directory.path() / name).string(); }

    // Every kind of file that this user may make and that is no regular one.
    std::vector<std::string> others() const {
        EXPECT_EQ(mkfifo(at("pipe").c_str(), 0600), 0);
        fs::create_directory(at("directory"));
        fs::create_symlink("pipe", at("link"));
        return {at("pipe"), at("directory"), at("link"), "/dev/zero"};
    }

    TempDirectory m_directory;
};

TEST_F(RegularFile, IsReadAndWritten) {
    {
        const zel::ScopedFile file = zel::openFileToWrite(at("new").c_str());
        ASSERT_NE(file, nullptr);
        std::fputs("long text\n", file.get());
    }
    {
        const zel::ScopedFile file = zel::openFileToWrite(at("new").c_str());
        ASSERT_NE(file, nullptr);
        std::fputs("text\n", file.get());
    }
    EXPECT_EQ(m_directory.read("new"), "text\n");
    const zel::ScopedDescriptor file = zel::openRegular(at("new").c_str(), O_RDONLY);
    ASSERT_TRUE(file.valid());
    char first = '\0';
    EXPECT_EQ(read(file.get(), &first, 1), 1);
    EXPECT_EQ(first, 't');
    EXPECT_NE(fcntl(file.get(), F_GETFD) & FD_CLOEXEC, 0) << "no script inherits it";
}

TEST_F(RegularFile, LinkToOneIsFollowed) {
    m_directory.write("file", "x");
    fs::create_symlink("file", at("link"));
    EXPECT_TRUE(zel::openRegular(at("link").c_str(), O_RDONLY).valid());
}

TEST_F(RegularFile, AnythingElseIsRefusedWithoutWaiting) {
    for (const std::string &path : others()) {
        EXPECT_FALSE(zel::openRegular(path.c_str(), O_RDONLY).valid()) << path;
        EXPECT_EQ(errno, path == at("directory") ? EISDIR : EINVAL) << path;
        EXPECT_EQ(zel::openFileToWrite(path.c_str()) != nullptr, path == "/dev/zero") << path;
    }
}

TEST_F(RegularFile, PipeWithAReaderIsRefusedToo) {
    ASSERT_EQ(mkfifo(at("pipe").c_str(), 0600), 0);
    const zel::ScopedDescriptor reader(open(at("pipe").c_str(), O_RDONLY | O_NONBLOCK));
    EXPECT_EQ(zel::openFileToWrite(at("pipe").c_str()), nullptr);
    EXPECT_FALSE(zel::openRegular(at("pipe").c_str(), O_RDONLY).valid());
}

TEST_F(RegularFile, MissingOneIsTheSystemsError) {
    EXPECT_FALSE(zel::openRegular(at("none").c_str(), O_RDONLY).valid());
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(zel::openFileToWrite(at("none/none").c_str()), nullptr);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(RegularFile, WayOfAResultIsClearedOfWhatAShellWouldWaitFor) {
    others();
    m_directory.write("file", "x");
    for (const char *name : {"pipe", "link", "file", "directory", "none"})
        EXPECT_TRUE(zel::clearForResult(at(name).c_str())) << name;
    EXPECT_FALSE(m_directory.exists("pipe"));
    EXPECT_TRUE(m_directory.exists("file"));
    EXPECT_TRUE(m_directory.exists("directory"));
}

TEST_F(RegularFile, ResultWithoutADirectoryHasNoWay) {
    for (const std::string &path : {at("none/result"), std::string("/proc/self/fd/0/none"), std::string("none/result")})
        EXPECT_FALSE(zel::clearForResult(path.c_str())) << path;
    EXPECT_TRUE(zel::clearForResult("none")) << "the working directory";
}

TEST_F(RegularFile, WayThatCannotBeClearedIsNone) {
    ASSERT_EQ(mkfifo(at("pipe").c_str(), 0600), 0);
    systemHooks().unlink = [](const char *) {
        errno = EACCES;
        return -1;
    };
    EXPECT_FALSE(zel::clearForResult(at("pipe").c_str()));
}

} // namespace

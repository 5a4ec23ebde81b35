// Opening files of the host: pipes, devices, directories and errors.
#include "host/HostOpen.h"

#include "Faults.h"
#include "HostFixture.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

// A root directory with what a hostile container may put in the place of kernel files.
class HostOpen : public testing::Test {
protected:
    std::string at(const char *path) const { return m_host.path() / path; }

    HostFixture m_host;
};

int openDescriptors() {
    const zel::ScopedDescriptor next(dup(STDOUT_FILENO));
    return next.get();
}

TEST_F(HostOpen, StreamIsTheFileBelowTheHostRoot) {
    m_host.write("text", "first\nsecond");
    const zel::ScopedFile file = zel::openHostStream("/text");
    ASSERT_NE(file, nullptr);
    char line[16];
    EXPECT_STREQ(std::fgets(line, sizeof(line), file.get()), "first\n");
    EXPECT_STREQ(std::fgets(line, sizeof(line), file.get()), "second");
    EXPECT_EQ(std::fgets(line, sizeof(line), file.get()), nullptr);
}

TEST_F(HostOpen, MissingFileLeavesItsErrorNumber) {
    EXPECT_EQ(zel::openHostStream("/missing"), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(zel::openHostFile("/missing").valid());
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(HostOpen, PipeWithoutAWriterIsAnEmptyFile) {
    ASSERT_EQ(mkfifo(at("pipe").c_str(), 0600), 0);
    const zel::ScopedFile file = zel::openHostStream("/pipe");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(std::fgetc(file.get()), EOF);
    EXPECT_EQ(std::ferror(file.get()), 0);
}

TEST_F(HostOpen, PipeWithASilentWriterIsNotWaitedFor) {
    ASSERT_EQ(mkfifo(at("pipe").c_str(), 0600), 0);
    const zel::ScopedDescriptor writer(open(at("pipe").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_TRUE(writer.valid());
    const zel::ScopedFile file = zel::openHostStream("/pipe");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(std::fgetc(file.get()), EOF);
    EXPECT_NE(std::ferror(file.get()), 0);
}

TEST_F(HostOpen, DirectoryCannotBeRead) {
    ASSERT_EQ(mkdir(at("directory").c_str(), 0700), 0);
    const zel::ScopedFile file = zel::openHostStream("/directory");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(std::fgetc(file.get()), EOF);
}

TEST_F(HostOpen, StreamOfADeviceWithoutAnEndEnds) {
    ASSERT_EQ(symlink("/dev/zero", at("device").c_str()), 0);
    const zel::ScopedFile file = zel::openHostStream("/device");
    ASSERT_NE(file, nullptr);
    std::vector<char> piece(1024UL * 1024);
    std::size_t length = 0;
    for (std::size_t count = 1; count > 0 && length <= zel::HOST_FILE_LIMIT; length += count)
        count = std::fread(piece.data(), 1, piece.size(), file.get());
    EXPECT_EQ(length, zel::HOST_FILE_LIMIT);
}

TEST_F(HostOpen, NothingIsReadBehindAReadThatFailed) {
    m_host.write("text", "title\nrow\n");
    const zel::ScopedFile file = zel::openHostStream("/text");
    ASSERT_NE(file, nullptr);
    const Fault fault(Call::Read, 1);
    EXPECT_EQ(std::fgetc(file.get()), EOF);
    EXPECT_TRUE(Fault::happened());
    EXPECT_EQ(std::fgetc(file.get()), EOF);
}

TEST_F(HostOpen, DescriptorIsClosedWithTheStreamAndWhenThereIsNone) {
    m_host.write("text", "text");
    const int descriptors = openDescriptors();
    EXPECT_NE(zel::openHostStream("/text"), nullptr);
    EXPECT_EQ(openDescriptors(), descriptors);
    {
        const Fault fault(Call::Fopen, 1);
        EXPECT_EQ(zel::openHostStream("/text"), nullptr);
        EXPECT_TRUE(Fault::happened());
    }
    EXPECT_EQ(openDescriptors(), descriptors);
}

} // namespace

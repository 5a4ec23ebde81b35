// Kernel files read into buffers of a fixed size: which failures differ, what is cut.
#include "kernel/KernelFile.h"

#include "HostFixture.h"
#include "host/ScopedHandle.h"

#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>

namespace {

using Failure = zel::FileText::Failure;

TEST(KernelFile, AbsentFileIsNotOpenedAndLeavesTheBuffer) {
    HostFixture host;
    char buffer[8] = "kept";
    const zel::FileText file = zel::readKernelFile("/proc/absent", buffer, sizeof(buffer));
    EXPECT_EQ(file.failure, Failure::NotOpened);
    EXPECT_FALSE(file);
    EXPECT_STREQ(buffer, "kept");
}

TEST(KernelFile, FailedReadDiffersFromAnEmptyFile) {
    HostFixture host;
    host.write("proc/empty", "");
    host.write("proc/directory/entry", "");
    char buffer[8] = "old";
    const zel::FileText directory = zel::readKernelFile("/proc/directory", buffer, sizeof(buffer));
    EXPECT_EQ(directory.failure, Failure::NotRead);
    EXPECT_FALSE(directory);
    EXPECT_STREQ(buffer, "");

    const zel::FileText empty = zel::readKernelFile("/proc/empty", buffer, sizeof(buffer));
    EXPECT_EQ(empty.failure, Failure::None);
    EXPECT_FALSE(empty);
    EXPECT_STREQ(buffer, "");
}

TEST(KernelFile, TextIsCutToTheBufferAndTerminated) {
    HostFixture host;
    host.write("proc/text", "0123456789");
    char buffer[8];
    std::memset(buffer, 'x', sizeof(buffer));
    const zel::FileText file = zel::readKernelFile("/proc/text", buffer, sizeof(buffer));
    EXPECT_TRUE(file);
    EXPECT_EQ(file.text, "0123456");
    EXPECT_EQ(file.text.data()[7], '\0');
}

TEST(KernelFile, OpenFileIsReadAlike) {
    HostFixture host;
    host.write("proc/77/stat", "77 (a) R");
    char buffer[64] = "kept";
    EXPECT_EQ(zel::readKernelFile(zel::ScopedDescriptor(-1), buffer, sizeof(buffer)).failure, Failure::NotOpened);
    EXPECT_STREQ(buffer, "kept");
    const zel::ScopedDescriptor stat(open((host.path() / "proc/77/stat").c_str(), O_RDONLY));
    EXPECT_EQ(zel::readKernelFile(stat, buffer, sizeof(buffer)).text, "77 (a) R");
}

TEST(KernelFile, SampledFileFollowsWhatTheFileHolds) {
    HostFixture host;
    zel::KernelFile file("/proc/stat", zel::STAT_FILE_SIZE);
    EXPECT_EQ(file.read().failure, Failure::NotOpened);
    for (const std::size_t bytes : {1, 1200, 4094, 4095, 4096, 8191, 100, 30000, 65534, 65535, 3}) {
        host.write("proc/stat", std::string(bytes, 's'));
        const zel::FileText text = file.read();
        EXPECT_EQ(text.text, std::string(bytes, 's'));
        EXPECT_EQ(std::strlen(text.text.data()), bytes);
        EXPECT_EQ(file.fills(text.text), bytes == 65535) << bytes;
    }
}

TEST(KernelFile, LongerSampledFileIsCutAndFills) {
    HostFixture host;
    zel::KernelFile file("/proc/stat", zel::STAT_FILE_SIZE);
    for (const std::size_t bytes : {65536, 70000, 300000}) {
        host.write("proc/stat", std::string(bytes, 's'));
        EXPECT_EQ(file.read().text.size(), 65535U) << bytes;
        EXPECT_TRUE(file.fills(file.read().text));
    }
}

} // namespace

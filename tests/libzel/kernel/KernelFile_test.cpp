#include "HostFixture.h"
#include "kernel/KernelFile.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

TEST(KernelFile, AbsentFileIsNotOpenedAndLeavesTheBuffer) {
    HostFixture host;
    char buffer[8] = "kept";
    EXPECT_EQ(zel::readKernelFile("/proc/absent", buffer, sizeof(buffer)), zel::FILE_NOT_OPENED);
    EXPECT_STREQ(buffer, "kept");
}

TEST(KernelFile, FailedReadIsToldFromAnEmptyFile) {
    HostFixture host;
    host.write("proc/empty", "");
    host.write("proc/directory/entry", "");
    char buffer[8] = "old";
    EXPECT_EQ(zel::readKernelFile("/proc/directory", buffer, sizeof(buffer)), zel::FILE_NOT_READ);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(zel::readKernelFile("/proc/empty", buffer, sizeof(buffer)), 0);
    EXPECT_STREQ(buffer, "");
}

TEST(KernelFile, TextIsCutToTheBufferAndTerminated) {
    HostFixture host;
    host.write("proc/text", "0123456789");
    char buffer[8];
    std::memset(buffer, 'x', sizeof(buffer));
    EXPECT_EQ(zel::readKernelFile("/proc/text", buffer, sizeof(buffer)), 7);
    EXPECT_STREQ(buffer, "0123456");
}

TEST(KernelFile, BufferIsZeroBehindTheText) {
    HostFixture host;
    host.write("proc/text", "01");
    char buffer[8];
    std::memset(buffer, 'x', sizeof(buffer));
    EXPECT_EQ(zel::readKernelFile("/proc/text", buffer, sizeof(buffer)), 2);
    EXPECT_EQ(std::memcmp(buffer, "01\0\0\0\0\0\0", sizeof(buffer)), 0);
}

} // namespace

// Files of a few lines, and what stands in their places.
#include "zel/SmallFile.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class SmallFileTest : public testing::Test {
protected:
    SmallFileTest() : m_directory("/tmp/zel-small-" + std::to_string(getpid())) {
        std::filesystem::create_directory(m_directory);
    }
    ~SmallFileTest() override { std::filesystem::remove_all(m_directory); }

    std::string written(const std::string &text) const {
        std::ofstream(m_directory + "/file") << text;
        return m_directory + "/file";
    }

    std::string m_directory;
};

TEST_F(SmallFileTest, IsReadWhole) {
    EXPECT_EQ(zel::readSmallFile(written("a\n"), 2).text, "a\n");
    EXPECT_EQ(zel::readSmallFile(written(""), 2).error, 0);
    EXPECT_EQ(zel::readSmallFile(written(std::string("a\0b", 3)), 9).text, std::string("a\0b", 3));
}

TEST_F(SmallFileTest, IsNotCutWhenItIsLonger) {
    const zel::SmallFile file = zel::readSmallFile(written("abc"), 2);
    EXPECT_EQ(file.error, EFBIG);
    EXPECT_EQ(file.text, "");
}

TEST_F(SmallFileTest, SaysWhyThereIsNone) {
    EXPECT_EQ(zel::readSmallFile(m_directory + "/none", 9).error, ENOENT);
    EXPECT_EQ(zel::readSmallFile(m_directory, 9).error, EISDIR);
    EXPECT_EQ(zel::readSmallFile("", 9).error, ENOENT);
}

TEST_F(SmallFileTest, NeitherAPipeNorADeviceIsWaitedFor) {
    ASSERT_EQ(mkfifo((m_directory + "/pipe").c_str(), 0600), 0);
    EXPECT_EQ(zel::readSmallFile(m_directory + "/pipe", 9).error, EINVAL);
    EXPECT_EQ(zel::readSmallFile("/dev/zero", 9).error, EINVAL);
    EXPECT_EQ(zel::readSmallFile("/dev/null", 9).error, 0);
}

} // namespace

// Paths below the host root.
#include "HostRoot.h"

#include <climits>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace {

class HostRoot : public testing::Test {
protected:
    static void setRoot(const std::string &root) {
        ASSERT_LT(root.size(), sizeof(g_strHostRoot));
        std::strcpy(g_strHostRoot, root.c_str());
    }
    void TearDown() override { g_strHostRoot[0] = '\0'; }
};

TEST_F(HostRoot, EmptyRootGivesThePathItself) {
    const char *path = "/proc/stat";
    EXPECT_EQ(fgHostPath(path), path);
}

TEST_F(HostRoot, RootStandsBeforeAnAbsolutePath) {
    setRoot("/host");
    EXPECT_STREQ(fgHostPath("/proc/stat"), "/host/proc/stat");
    EXPECT_STREQ(fgHostPath("/"), "/host/");
}

TEST_F(HostRoot, RelativePathIsNeverPrefixed) {
    setRoot("/host");
    const char *path = "../aproc/shell/CpuINVStrInfo.dat";
    EXPECT_EQ(fgHostPath(path), path);
    EXPECT_STREQ(fgHostPath(""), "");
}

TEST_F(HostRoot, LongestRootAndLongPathAreWhole) {
    const std::string root = "/" + std::string(HOST_ROOT_SIZE - 2, 'r');
    const std::string path = "/" + std::string(PATH_MAX - 2, 'p');
    setRoot(root);
    EXPECT_EQ(fgHostPath(path.c_str()), root + path);
}

TEST_F(HostRoot, PathLongerThanTheSystemTakesGivesTheEmptyText) {
    setRoot("/host");
    EXPECT_STREQ(fgHostPath(("/" + std::string(PATH_MAX, 'p')).c_str()), "");
}

} // namespace

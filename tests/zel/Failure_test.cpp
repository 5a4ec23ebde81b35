// The words for what could not be read: what, where and why.
#include "zel/Failure.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace {

zel::AreaState failed(const std::string &file, int error) {
    zel::AreaState state;
    state.asked = true;
    state.file = file;
    state.error = error;
    return state;
}

TEST(Failure, NamesAFileOfTheRoot) {
    EXPECT_EQ(zel::failureText("disks", "", failed("proc/diskstats", EACCES)),
              "disks: /proc/diskstats: Permission denied (EACCES)");
    EXPECT_EQ(zel::failureText("disks", "/host", failed("proc/diskstats", EACCES)),
              "disks: /host/proc/diskstats: Permission denied (EACCES)");
    EXPECT_EQ(zel::failureText("gpus", "", failed("proc", EACCES)), "gpus: /proc: Permission denied (EACCES)");
}

TEST(Failure, ALibraryIsNotAFileOfTheRoot) {
    EXPECT_EQ(zel::failureText("gpus", "", failed("libnvidia-ml.so.1", ENOENT)),
              "gpus: libnvidia-ml.so.1: No such file or directory (ENOENT)");
    EXPECT_EQ(zel::failureText("gpus", "", failed("/opt/libnvidia-ml.so.1", ENOENT)),
              "gpus: /opt/libnvidia-ml.so.1: No such file or directory (ENOENT)");
}

TEST(Failure, OfNothingHasNoWords) {
    EXPECT_EQ(zel::failureText("disks", "", failed("proc/diskstats", 0)), "");
    zel::AreaState unasked = failed("proc/diskstats", EACCES);
    unasked.asked = false;
    EXPECT_EQ(zel::failureText("disks", "", unasked), "");
}

} // namespace

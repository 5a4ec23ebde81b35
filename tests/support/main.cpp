// Entry point of the test programs: every test starts with the real system functions, local time UTC and no host root.
#include "SystemHooks.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

class FreshSurroundings : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo &) override { withdrawSystemHooks(); }
    void OnTestEnd(const testing::TestInfo &) override { withdrawSystemHooks(); }
};

} // namespace

int main(int argc, char **argv) {
    setenv("TZ", "UTC", 1);
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new FreshSurroundings);
    return RUN_ALL_TESTS();
}

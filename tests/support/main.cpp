// Entry point of the test programs: every test starts with the real system functions, the settings of a fresh
// program, local time UTC and a umask that lets nobody else write.
#include "SavedSettings.h"
#include "SystemHooks.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <sys/stat.h>

namespace {

class FreshSurroundings : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo &) override {
        withdrawSystemHooks();
        m_settings.emplace();
    }
    void OnTestEnd(const testing::TestInfo &) override {
        withdrawSystemHooks();
        m_settings.reset();
    }

    std::optional<SavedSettings> m_settings;
};

} // namespace

int main(int argc, char **argv) {
    setenv("TZ", "UTC", 1);
    umask(022); // what others may write in a home is not trusted
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new FreshSurroundings);
    return RUN_ALL_TESTS();
}

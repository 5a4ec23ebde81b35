// The driver, started by somebody with rights in a directory where others have put a home of their own.
#include "DriverRun.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

constexpr const char *refusal = "home not trusted, its scripts are not run and their results not read: ";

class PlantedHome : public testing::Test {
protected:
    PlantedHome() {
        home().script("utils/ETC/ShCmd", "touch \"${0%/*}/CANARY\"\n");
        home().write("victim", "precious\n");
        fs::create_symlink("../../../victim", home().path() / "agent/aproc/shell/NFSList.dat");
        m_run.hosts({"linux-6.1.0/t0"});
    }

    const ScratchHome &home() const { return m_run.home(); }

    // Every option but those that never end.
    void expectNothingRuns() const {
        for (const char *option : {"2", "4", "6", "9"}) {
            const DriverResult result = m_run.run({option, "0", "1"});
            EXPECT_EQ(result.status, 0) << option;
            EXPECT_FALSE(home().exists("utils/ETC/CANARY")) << option;
            EXPECT_EQ(home().read("victim"), "precious\n") << option;
            const std::size_t first = result.err.find(refusal);
            EXPECT_NE(first, std::string::npos) << result.err;
            EXPECT_EQ(result.err.find(refusal, first + 1), std::string::npos) << "one line: " << result.err;
        }
        EXPECT_THAT(m_run.run({"2", "0", "1"}).err, HasSubstr(" 1Min: "));
    }

    DriverRun m_run;
};

TEST_F(PlantedHome, WouldBeUsedIfItWereTrusted) {
    m_run.run({"2", "0", "1"});
    EXPECT_TRUE(home().exists("utils/ETC/CANARY")) << "else the other tests see nothing";
    m_run.run({"4", "0", "1"});
    EXPECT_THAT(home().read("victim"), Not(HasSubstr("precious")));
}

TEST_F(PlantedHome, OfSomebodyElseIsLeftAlone) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root gives files away";
    ASSERT_EQ(lchown(home().path().c_str(), 65534, 65534), 0);
    for (const auto &entry : fs::recursive_directory_iterator(home().path()))
        ASSERT_EQ(lchown(entry.path().c_str(), 65534, 65534), 0);
    expectNothingRuns();
}

TEST_F(PlantedHome, ThatOthersMayWriteIsLeftAlone) {
    ASSERT_EQ(chmod(home().path().c_str(), 0777), 0);
    expectNothingRuns();
}

} // namespace

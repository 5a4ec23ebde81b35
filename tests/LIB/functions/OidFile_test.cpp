// The inventory value files.
#include "LogRecorder.h"
#include "NGFunctions.h"
#include "OwnProcess.h"
#include "ScratchHome.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;

// A staged home with the directory of the values.
struct ValueHome : ScratchHome {
    ValueHome() { std::filesystem::create_directories(path() / "agent/aproc/inv"); }
};

TEST(OidFile, HoldsTheValueWithoutALineEnd) {
    const ValueHome home;
    const LogRecorder log;

    EXPECT_EQ(fStrOidWrite("1.3.6.1", "Xeon"), 1);

    EXPECT_EQ(home.read("agent/aproc/inv/1.3.6.1.inv"), "Xeon");
    EXPECT_THAT(log.calls(), ElementsAre(LogCall{3, "NGFunctions", "[1.3.6.1]oid write success"}));
}

TEST(OidFile, OverwritesALongerValue) {
    const ValueHome home;
    home.write("agent/aproc/inv/name.inv", "old and longer");

    EXPECT_EQ(fStrOidWrite("name", "new"), 1);

    EXPECT_EQ(home.read("agent/aproc/inv/name.inv"), "new");
}

TEST(OidFile, EmptyValueGivesAnEmptyFile) {
    const ValueHome home;
    const LogRecorder log;

    EXPECT_EQ(fStrOidWrite("name", ""), 1);

    EXPECT_EQ(home.read("agent/aproc/inv/name.inv"), "");
    EXPECT_THAT(log.calls(), ElementsAre(LogCall{3, "NGFunctions", "[name]oid write success"}));
}

TEST(OidFile, FailureToOpenIsLogged) {
    const ScratchHome home;
    home.remove("agent/aproc");
    const LogRecorder log;

    EXPECT_EQ(fStrOidWrite("name", "value"), 1);

    EXPECT_THAT(log.calls(),
                ElementsAre(LogCall{3, "NGFunctions",
                                    "[../aproc/inv/name.inv] oid file open failed : No such file or directory"}));
}

TEST(OidFile, FailureToWriteIsLogged) {
    const ValueHome home;
    std::filesystem::create_symlink("/dev/full", "../aproc/inv/name.inv");
    const LogRecorder log;

    EXPECT_EQ(fStrOidWrite("name", "value"), 1);
    EXPECT_EQ(fStrOidWrite("name", std::string(100000, 'v').c_str()), 1);

    const LogCall failure{3, "NGFunctions", "[../aproc/inv/name.inv] oid file fput failed : No space left on device"};
    EXPECT_THAT(log.calls(), ElementsAre(failure, failure));
}

// The signal of a full file ends the program unless it is kept away.
TEST(OidFile, LimitOfFileSizesEndsNoProgram) {
    const ValueHome home;
    const auto body = [] {
        const LogRecorder log;
        limitFileSize(3);
        EXPECT_EQ(fStrOidWrite("name", "value"), 1);
        EXPECT_THAT(log.calls(), ElementsAre(LogCall{3, "NGFunctions",
                                                     "[../aproc/inv/name.inv] oid file fput failed : File too large"}));
    };
    EXPECT_SURVIVED(body);
}

TEST(OidFile, NameThatIsTooLongForAPathWritesNothing) {
    const ValueHome home;
    const LogRecorder log;

    EXPECT_EQ(fStrOidWrite(std::string(100000, 'n').c_str(), "value"), 1);

    EXPECT_TRUE(std::filesystem::is_empty("../aproc/inv"));
    ASSERT_EQ(log.calls().size(), 1U);
    EXPECT_THAT(log.calls()[0].message, testing::EndsWith("] oid file open failed : File name too long"));
}

TEST(OidFile, WritesWithoutALogger) {
    const ValueHome home;

    EXPECT_EQ(fStrOidWrite("name", "value"), 1);

    EXPECT_EQ(home.read("agent/aproc/inv/name.inv"), "value");
}

} // namespace

// The trust rule: what others own or may write on the way to a file of the home is not used.
#include "OrdinaryUser.h"
#include "ScratchHome.h"
#include "host/TrustedWay.h"

#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

constexpr const char *runner = "../../utils/ETC/ShCmd";
constexpr uid_t somebody = 4321;

class TrustedWay : public testing::Test {
protected:
    TrustedWay() { m_home.script("utils/ETC/ShCmd", "exit 0\n"); }

    std::string at(const std::string &path) const { return (m_home.path() / path).string(); }
    void mode(const std::string &path, mode_t mode) const { ASSERT_EQ(chmod(at(path).c_str(), mode), 0) << path; }
    static bool trusted(const char *path = runner) { return zel::inspectWay(path).trusted; }
    static std::string why(const char *path = runner) { return zel::inspectWay(path).reason; }
    static std::string readOf(const char *path) {
        zel::WayFinding finding;
        const zel::ScopedDescriptor file = zel::openOnTrustedWay(path, finding);
        char text[64] = {};
        const ssize_t length = file.valid() ? read(file.get(), text, sizeof(text)) : -1;
        return length < 0 ? "refused" : std::string(text, static_cast<std::size_t>(length));
    }

    ScratchHome m_home;
};

TEST_F(TrustedWay, OwnHomeBelowAStickyDirectoryIsTrusted) {
    const zel::WayFinding finding = zel::inspectWay(runner);
    EXPECT_TRUE(finding.exists);
    EXPECT_TRUE(finding.trusted);
    EXPECT_STREQ(finding.reason, "");
    EXPECT_TRUE(trusted(at("utils/ETC/ShCmd").c_str())) << "by its whole path, too";
}

TEST_F(TrustedWay, WhatOthersMayWriteOnTheWayIsNot) {
    for (const char *part : {"utils/ETC/ShCmd", "utils/ETC", "utils", ".", "agent", "agent/bin"}) {
        const mode_t before = part == std::string("utils/ETC/ShCmd") ? 0700 : 0755;
        for (const mode_t extra : {S_IWGRP, S_IWOTH, S_IWOTH | S_ISVTX}) {
            mode(part, before | extra);
            EXPECT_FALSE(trusted()) << part;
            EXPECT_THAT(why(), HasSubstr("can be written by others (mode ")) << part;
        }
        mode(part, before);
        EXPECT_TRUE(trusted()) << part;
    }
}

TEST_F(TrustedWay, WhatOthersOwnOnTheWayIsNot) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root gives files away";
    for (const char *part : {"utils/ETC/ShCmd", "utils/ETC", "utils", ".", "agent", "agent/bin"}) {
        ASSERT_EQ(chown(at(part).c_str(), somebody, somebody), 0);
        EXPECT_FALSE(trusted()) << part;
        EXPECT_THAT(why(), HasSubstr("belongs to user 4321")) << part;
        ASSERT_EQ(chown(at(part).c_str(), 0, 0), 0);
    }
    EXPECT_TRUE(trusted());
}

TEST_F(TrustedWay, DirectoriesAboveTheHomeCountToo) {
    fs::create_directories(at("above/home/agent/bin"));
    fs::create_directories(at("above/home/utils/ETC"));
    m_home.script("above/home/utils/ETC/ShCmd", "exit 0\n");
    fs::current_path(at("above/home/agent/bin"));
    EXPECT_TRUE(trusted());
    mode("above", 0777);
    EXPECT_FALSE(trusted()) << "anybody may put another home there";
    EXPECT_THAT(why(), HasSubstr("/above can be written by others (mode 0777)"));
    mode("above", 01777);
    EXPECT_TRUE(trusted()) << "the home stays ours there";
    if (geteuid() != 0)
        return;
    ASSERT_EQ(chown(at("above").c_str(), somebody, somebody), 0);
    EXPECT_FALSE(trusted()) << "its owner may rename the home";
}

TEST_F(TrustedWay, LinksAreFollowedByTheSameRule) {
    const char *path = "../aproc/shell/result.dat";
    m_home.write("state/aproc/shell/result.dat", "text");
    m_home.remove("agent/aproc");
    fs::create_directory_symlink(at("state/aproc"), at("agent/aproc"));
    EXPECT_EQ(readOf(path), "text");
    mode("state/aproc", 0777);
    EXPECT_EQ(readOf(path), "refused");
    mode("state/aproc", 0755);
    fs::create_symlink("../../utils/../state/aproc/shell/result.dat", at("state/aproc/near"));
    EXPECT_EQ(readOf("../aproc/near"), "text");
    EXPECT_EQ(readOf(at("state/aproc/near").c_str()), "text");
    mode("state/aproc/shell/result.dat", 0666);
    EXPECT_EQ(readOf("../aproc/near"), "refused");
    fs::create_symlink("circle", at("agent/bin/circle"));
    EXPECT_EQ(readOf("./circle"), "refused");
}

TEST_F(TrustedWay, LinkOfSomebodyElseIsNotFollowed) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root gives files away";
    m_home.write("agent/bin/file", "text");
    fs::create_symlink("file", at("agent/bin/link"));
    EXPECT_EQ(readOf("./link"), "text");
    ASSERT_EQ(lchown(at("agent/bin/link").c_str(), somebody, somebody), 0);
    EXPECT_EQ(readOf("./link"), "refused");
}

TEST_F(TrustedWay, MissingFileIsMissingAndNothingToSpeakOf) {
    const zel::WayFinding finding = zel::inspectWay("../../utils/none/ShCmd");
    EXPECT_FALSE(finding.exists);
    EXPECT_TRUE(finding.trusted) << "nobody else can put it there";
    EXPECT_FALSE(zel::isWorthSaying(finding));
    mode("utils", 0777);
    EXPECT_FALSE(trusted("../../utils/none/ShCmd")) << "somebody else can";
    EXPECT_FALSE(zel::isWorthSaying(zel::inspectWay("../../utils/none/ShCmd")));
}

TEST_F(TrustedWay, OnlyARegularFileIsOpened) {
    m_home.write("agent/bin/file", "text");
    ASSERT_EQ(mkfifo(at("agent/bin/pipe").c_str(), 0666), 0);
    zel::WayFinding finding;
    EXPECT_EQ(readOf("./file"), "text");
    EXPECT_FALSE(zel::openOnTrustedWay("./pipe", finding).valid());
    EXPECT_EQ(errno, EINVAL);
    EXPECT_FALSE(zel::openOnTrustedWay("./shell", finding).valid());
    EXPECT_EQ(errno, EISDIR);
    for (const char *path : {"./none", "", "./file/below"}) {
        EXPECT_FALSE(zel::openOnTrustedWay(path, finding).valid()) << path;
        EXPECT_EQ(errno, ENOENT) << path;
        EXPECT_TRUE(finding.trusted) << path;
    }
}

TEST_F(TrustedWay, WhatIsRefusedIsMissing) {
    m_home.write("agent/bin/file", "text");
    mode("agent/bin/file", 0646);
    zel::WayFinding finding;
    EXPECT_FALSE(zel::openOnTrustedWay("./file", finding).valid());
    EXPECT_EQ(errno, ENOENT);
    EXPECT_THAT(finding.reason, HasSubstr("agent/bin/file can be written by others (mode 0646)"));
    EXPECT_TRUE(zel::isWorthSaying(finding));
    EXPECT_FALSE(zel::isWorthSaying(finding)) << "once";
}

TEST_F(TrustedWay, ReasonSendsNoControlByte) {
    m_home.write("agent/bin/\n\x1b[31mred", "text");
    mode("agent/bin/\n\x1b[31mred", 0666);
    EXPECT_THAT(why("./\n\x1b[31mred"), HasSubstr("/agent/bin/  [31mred can be written"));
}

TEST_F(TrustedWay, PathThatIsTooLongIsRefused) {
    const std::string longName(300, 'a');
    EXPECT_FALSE(trusted(longName.c_str()));
    std::string longPath;
    while (longPath.size() < 2000)
        longPath += "./";
    EXPECT_FALSE(trusted(longPath.c_str()));
}

// A user who is not root trusts what is his and what is root's, and nobody else's.
TEST_F(TrustedWay, OrdinaryUserTrustsHimselfAndRoot) {
    asOrdinaryUser(m_home, [this] {
        EXPECT_TRUE(trusted());
        mode("utils/ETC", 0775);
        EXPECT_FALSE(trusted());
    });
    if (geteuid() != 0)
        return;
    EXPECT_FALSE(trusted()) << "root does not trust that user's home";
    ASSERT_EQ(chmod(at("utils/ETC").c_str(), 0755), 0);
    EXPECT_FALSE(trusted());
}

} // namespace

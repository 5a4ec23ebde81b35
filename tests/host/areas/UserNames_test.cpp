// The names of users from files of the test's making.
#include "host/areas/UserNames.h"

#include "TempDirectory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using zel::Absence;

class UserNames : public testing::Test {
protected:
    void write(const std::string &text) const { m_directory.write("etc/passwd", text); }

    std::string nameOf(std::uint64_t id) {
        zel::Reading<std::string> name;
        m_users.refresh(zel::HostDirectory(m_directory.path(), 0));
        m_users.take(id, name);
        return name ? *name : "(" + std::string(zel::absenceName(name.absence())) + ")";
    }

    TempDirectory m_directory;
    zel::UserNames m_users;
};

TEST_F(UserNames, AreThoseOfTheFile) {
    write("root:x:0:0:root:/root:/bin/bash\nwww-data:x:33:33::/var/www:\nbig:x:4294967294:1::/:");
    EXPECT_EQ(nameOf(0), "root");
    EXPECT_EQ(nameOf(33), "www-data");
    EXPECT_EQ(nameOf(4294967294), "big");
    EXPECT_EQ(nameOf(34), "(unsupported)");
}

TEST_F(UserNames, FirstLineOfANumberCounts) {
    write("toor:x:0:0:::\nroot:x:0:0:::\nbin:x:2:2:::\nadmin:x:0:0:::\n");
    EXPECT_EQ(nameOf(0), "toor");
}

TEST_F(UserNames, LinesOfAnotherShapeArePassedOver) {
    write("\n:x:1:\n+::::::\nshort\nshort:x\nshort:x:5\nword:x:5x:5:\nminus:x:-5:5:\nblank:x: 5:5:\nempty:x::5:\n"
          "huge:x:99999999999999999999:5:\n" +
          std::string(300, 'n') + ":x:5:5:::\nright:x:6:6:::\n");
    EXPECT_EQ(nameOf(1), "(unsupported)");
    EXPECT_EQ(nameOf(5), "(unsupported)");
    EXPECT_EQ(nameOf(0), "(unsupported)");
    EXPECT_EQ(nameOf(6), "right");
}

TEST_F(UserNames, FileIsReadAgainWhenItChanged) {
    write("old:x:7:7:::\n");
    EXPECT_EQ(nameOf(7), "old");
    m_directory.remove("etc/passwd");
    write("new:x:7:7:::\n"); // as long as before
    EXPECT_EQ(nameOf(7), "new");
}

TEST_F(UserNames, MissingFileAndOneThatIsNoneGiveAReason) {
    EXPECT_EQ(nameOf(0), "(unsupported)");
    write("root:x:0:0:::\n");
    EXPECT_EQ(nameOf(0), "root");
    m_directory.remove("etc/passwd");
    ASSERT_EQ(mkfifo((m_directory.path() / "etc/passwd").c_str(), 0600), 0);
    EXPECT_EQ(nameOf(0), "(unsupported)"); // and nobody waits for the other end
}

TEST_F(UserNames, HugeFileIsNotRead) {
    write("root:x:0:0:::\n" + std::string(zel::UserNames::FILE_LIMIT, 'x'));
    EXPECT_EQ(nameOf(0), "(malformed)");
}

TEST_F(UserNames, BytesOfANameStayAsTheyAre) {
    write("a\x1b[31m\xff b:x:8:8:::\n");
    EXPECT_EQ(nameOf(8), "a\x1b[31m\xff b");
}

TEST_F(UserNames, LinkDoesNotLeadOutOfTheRoot) {
    std::filesystem::create_directories(m_directory.path() / "etc");
    std::filesystem::create_symlink("/etc/passwd", m_directory.path() / "etc/passwd");
    EXPECT_EQ(nameOf(0), "(unsupported)"); // it leads to itself
}

} // namespace

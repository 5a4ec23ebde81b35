// Token and key files, and who may read them.
#include "zel/serve/SecretFile.h"

#include "TempDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <sys/stat.h>

using zel::readCertificate;
using zel::readKey;
using zel::readToken;

namespace {

class SecretFile : public testing::Test {
protected:
    std::string file(const std::string &text, mode_t mode = 0600) {
        std::string path = m_directory.write("secret", text);
        EXPECT_EQ(chmod(path.c_str(), mode), 0);
        return path;
    }
    std::string token(const std::string &text, mode_t mode = 0600) {
        m_problem.clear();
        return readToken(file(text, mode), m_problem);
    }

    TempDirectory m_directory;
    std::string m_problem;
};

const std::string goodToken = "0123456789abcdef";

TEST_F(SecretFile, TokenIsOneLine) {
    EXPECT_EQ(token(goodToken + "\n"), goodToken);
    EXPECT_EQ(token(goodToken), goodToken);
    EXPECT_EQ(token(goodToken + "\r\n"), goodToken);
    EXPECT_EQ(token(std::string(1024, 'x') + "\n").size(), 1024U);
    EXPECT_EQ(m_problem, "");
}

TEST_F(SecretFile, RelativePathIsJudgedAsTheWholeOne) {
    const std::filesystem::path before = std::filesystem::current_path();
    file(goodToken);
    std::filesystem::current_path(m_directory.path());
    EXPECT_EQ(readToken("secret", m_problem), goodToken) << m_problem;
    std::filesystem::current_path(before);
}

TEST_F(SecretFile, TokenThatIsNoneIsRefused) {
    for (const std::string &text :
         {std::string(), std::string("\n"), std::string("0123456789abcde"), goodToken + " " + goodToken,
          goodToken + "\n" + goodToken + "\n", std::string(1025, 'x'), goodToken + '\0', std::string(100000, 'x')}) {
        EXPECT_EQ(token(text), "") << text.size();
        EXPECT_NE(m_problem, "") << text.size();
    }
}

TEST_F(SecretFile, SecretThatEverybodyMayReadIsRefused) {
    EXPECT_EQ(token(goodToken, 0644), "");
    EXPECT_NE(m_problem.find("everybody may read it"), std::string::npos) << m_problem;
    EXPECT_EQ(token(goodToken, 0640), goodToken);
    EXPECT_EQ(m_problem, "");
    EXPECT_EQ(readKey(file("key", 0604), m_problem), "");
    EXPECT_NE(m_problem, "");
}

TEST_F(SecretFile, SecretThatOthersMayWriteIsRefused) {
    EXPECT_EQ(token(goodToken, 0660), "");
    EXPECT_NE(m_problem, "");
    EXPECT_EQ(token(goodToken, 0602), "");
}

TEST_F(SecretFile, CertificateIsForEverybody) {
    EXPECT_EQ(readCertificate(file("certificate", 0644), m_problem), "certificate");
    EXPECT_EQ(m_problem, "");
}

TEST_F(SecretFile, WhatIsNoFileIsRefusedAtOnce) {
    const std::string fifo = (m_directory.path() / "fifo").string();
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    for (const std::string &path : {fifo, m_directory.path().string(), std::string("/nowhere/token")}) {
        m_problem.clear();
        EXPECT_EQ(readToken(path, m_problem), "");
        EXPECT_NE(m_problem, "") << path;
    }
}

} // namespace

// Which names and paths may go into a command line.
#include "host/ShellSafe.h"

#include <gtest/gtest.h>

namespace {

TEST(ShellSafe, AcceptsTheNamesOfInterfacesDisksAndHosts) {
    for (const char *name : {"eth0", "bond0.100", "veth_a1", "eth0:1", "if4@if3", "br-0f", "A", "0", "..."})
        EXPECT_TRUE(zel::shellSafe(name)) << name;
}

TEST(ShellSafe, RefusesTheEmptyName) {
    EXPECT_FALSE(zel::shellSafe(""));
    EXPECT_FALSE(zel::shellSafe({}));
}

TEST(ShellSafe, DecidesEveryByteByTheList) {
    const std::string allowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-:@";
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        const bool expected = allowed.find(c) != std::string::npos;
        EXPECT_EQ(zel::shellSafe(std::string(1, c)), expected) << "byte " << byte;
        EXPECT_EQ(zel::shellSafe(std::string("eth") + c + "0"), expected) << "byte " << byte;
    }
}

TEST(ShellSafe, PathIsMadeOfSafeNames) {
    for (const char *path : {"/", "./", "../aproc/shell/x_1.dat", "/home/agent/", "a//b", "name"})
        EXPECT_TRUE(zel::shellSafePath(path)) << path;
    for (const char *path : {"", "/home/my agent/", "a;b", "/x/$HOME", "a\nb", "/tmp/`id`", "a\\b"})
        EXPECT_FALSE(zel::shellSafePath(path)) << path;
}

} // namespace

// Listen addresses, and the names that clients give the server.
#include "zel/serve/HostCheck.h"

#include <gtest/gtest.h>

using zel::addressText;
using zel::clientKey;
using zel::isHostAllowed;
using zel::isLoopback;
using zel::readListen;
using zel::SocketAddress;

namespace {

SocketAddress addressOf(const std::string &text) {
    std::string problem;
    const std::vector<SocketAddress> addresses = readListen(text, problem);
    EXPECT_EQ(addresses.size(), 1U) << problem;
    return addresses.empty() ? SocketAddress() : addresses[0];
}

bool isAllowed(std::string_view host, const std::vector<std::string> &names = {}) {
    return isHostAllowed(host, true, names);
}

TEST(HostCheck, AddressesToListenOn) {
    EXPECT_EQ(addressText(addressOf("127.0.0.1:9100")), "127.0.0.1:9100");
    EXPECT_EQ(addressText(addressOf("[::1]:9100")), "[::1]:9100");
    EXPECT_EQ(addressText(addressOf("[0:0::2]:0")), "[::2]:0");
    EXPECT_EQ(addressText(addressOf(":9100")), "[::]:9100");
    std::string problem;
    EXPECT_EQ(readListen("localhost:9100", problem).size(), 2U);
    EXPECT_EQ(problem, "");
}

TEST(HostCheck, OtherTextIsNoAddress) {
    for (const char *text : {"", "9100", "127.0.0.1", "127.0.0.1:", "127.0.0.1:65536", "127.0.0.1:-1", "127.0.0.1:x",
                             "::1:9100", "[::1]", "[::1]9100", "[::1:9100", "[127.0.0.1]:9100", "example.org:9100",
                             "127.1:9100", " 127.0.0.1:9100", "127.0.0.1:9100 ", "[]:9100"}) {
        std::string problem;
        EXPECT_TRUE(readListen(text, problem).empty()) << text;
        EXPECT_NE(problem, "") << text;
    }
}

TEST(HostCheck, LoopbackAddresses) {
    for (const char *text : {"127.0.0.1:1", "127.255.0.9:1", "[::1]:1", "[::ffff:127.0.0.1]:1"})
        EXPECT_TRUE(isLoopback(addressOf(text))) << text;
    for (const char *text : {"128.0.0.1:1", "0.0.0.0:1", "[::]:1", "[::2]:1", "[::ffff:10.0.0.1]:1", "[fe80::1]:1"})
        EXPECT_FALSE(isLoopback(addressOf(text))) << text;
}

TEST(HostCheck, ClientIsAnAddressOrANetworkOfIpv6) {
    EXPECT_EQ(clientKey(addressOf("10.0.0.1:1")), clientKey(addressOf("10.0.0.1:2")));
    EXPECT_EQ(clientKey(addressOf("10.0.0.1:1")), clientKey(addressOf("[::ffff:10.0.0.1]:1")));
    EXPECT_NE(clientKey(addressOf("10.0.0.1:1")), clientKey(addressOf("10.0.0.2:1")));
    EXPECT_EQ(clientKey(addressOf("[2001:db8::1]:1")), clientKey(addressOf("[2001:db8::2:3:4:5]:1")));
    EXPECT_NE(clientKey(addressOf("[2001:db8:0:1::1]:1")), clientKey(addressOf("[2001:db8:0:2::1]:1")));
}

TEST(HostCheck, LoopbackIsCalledByItsOwnNames) {
    for (const char *host : {"localhost", "localhost:9100", "LOCALHOST:1", "localhost.", "127.0.0.1", "127.0.0.1:9100",
                             "127.9.9.9:9100", "[::1]", "[::1]:9100", ""})
        EXPECT_TRUE(isAllowed(host)) << host;
    for (const char *host : {"evil.example", "localhost.evil.example", "localhost:x", "localhost:9100:9100",
                             "127.0.0.1.evil.example", "10.0.0.1", "[::2]", "::1", "[::1]x", "[::1", ":9100",
                             "localhost@evil.example", "127.0.0.1:99999", " localhost"})
        EXPECT_FALSE(isAllowed(host)) << host;
}

TEST(HostCheck, NamesOfTheConfigurationAreTaken) {
    EXPECT_TRUE(isAllowed("db1.example:9100", {"db1.example"}));
    EXPECT_TRUE(isAllowed("localhost", {"db1.example"}));
    EXPECT_FALSE(isAllowed("db2.example", {"db1.example"}));
    const std::vector<std::string> names{"db1.example"};
    EXPECT_TRUE(isHostAllowed("anything", false, {}));
    EXPECT_FALSE(isHostAllowed("anything", false, names));
    EXPECT_FALSE(isHostAllowed("localhost", false, names));
    EXPECT_TRUE(isHostAllowed("db1.example", false, names));
}

} // namespace

// What systemd is told, read at the other end of its socket.
#include "zel/service/ServiceManager.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using testing::MatchesRegex;
using testing::StartsWith;

// The socket of a manager: "@..." is a name without a file.
class Manager {
public:
    explicit Manager(const std::string &address)
        : m_address(address), m_socket(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        std::memcpy(name.sun_path, address.data(), address.size());
        if (address[0] == '@')
            name.sun_path[0] = '\0';
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + address.size());
        EXPECT_EQ(bind(m_socket, reinterpret_cast<const sockaddr *>(&name), length), 0) << strerror(errno);
    }
    ~Manager() {
        close(m_socket);
        if (m_address[0] == '/')
            unlink(m_address.c_str());
    }
    Manager(const Manager &) = delete;
    Manager &operator=(const Manager &) = delete;

    /// One message; empty when there is none.
    std::string message() const {
        std::array<char, 4096> text{};
        const ssize_t length = recv(m_socket, text.data(), text.size(), MSG_DONTWAIT);
        return length < 0 ? "" : std::string(text.data(), static_cast<std::size_t>(length));
    }

private:
    std::string m_address;
    int m_socket;
};

class ServiceManagerTest : public testing::Test {
protected:
    void TearDown() override {
        for (const char *name : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID"})
            unsetenv(name);
    }
    static std::string address(const std::string &beginning) {
        return beginning + "zel-notify-" + std::to_string(getpid());
    }
    static void set(const char *name, const std::string &value) { setenv(name, value.c_str(), 1); }
    static std::optional<std::chrono::microseconds> watchdogWith(const std::string &time, const std::string &process) {
        const Manager manager(address("@"));
        set("NOTIFY_SOCKET", address("@"));
        set("WATCHDOG_USEC", time);
        set("WATCHDOG_PID", process);
        return zel::ServiceManager().watchdogTime();
    }
};

TEST_F(ServiceManagerTest, TellsASocketWithAPathAndOneWithout) {
    for (const char *beginning : {"/tmp/", "@"}) {
        const Manager manager(address(beginning));
        set("NOTIFY_SOCKET", address(beginning));
        zel::ServiceManager service;
        EXPECT_TRUE(service.isThere());
        EXPECT_TRUE(service.sayReady("listens on 127.0.0.1:9100"));
        EXPECT_EQ(manager.message(), "READY=1\nSTATUS=listens on 127.0.0.1:9100\n");
        service.sayReloading();
        EXPECT_THAT(manager.message(), MatchesRegex("RELOADING=1\nMONOTONIC_USEC=[0-9]+\n"));
        service.sayStatus("3 scrapes");
        EXPECT_EQ(manager.message(), "STATUS=3 scrapes\n");
        service.sayWell();
        EXPECT_EQ(manager.message(), "WATCHDOG=1\n");
        service.sayStopping();
        EXPECT_THAT(manager.message(), StartsWith("STOPPING=1\n"));
        EXPECT_EQ(manager.message(), "");
    }
}

TEST_F(ServiceManagerTest, AStatusIsOneLine) {
    const Manager manager(address("@"));
    set("NOTIFY_SOCKET", address("@"));
    zel::ServiceManager().sayStatus("a\nREADY=1\x1b[2J");
    EXPECT_EQ(manager.message(), "STATUS=a READY=1 [2J\n");
}

TEST_F(ServiceManagerTest, WithoutASocketNothingIsThere) {
    zel::ServiceManager service;
    EXPECT_FALSE(service.isThere());
    EXPECT_TRUE(service.sayReady("x"));
    const std::vector<std::string> wrongOnes{"", "/", "@", "relative", "vsock:2:3", std::string(200, '/')};
    for (const std::string &wrong : wrongOnes) {
        set("NOTIFY_SOCKET", wrong);
        EXPECT_FALSE(zel::ServiceManager().isThere()) << wrong;
    }
}

TEST_F(ServiceManagerTest, AManagerThatWentAwayIsNoTrouble) {
    set("NOTIFY_SOCKET", address("/tmp/"));
    zel::ServiceManager service;
    EXPECT_TRUE(service.isThere());
    EXPECT_FALSE(service.sayReady("x"));
    service.sayWell();
}

TEST_F(ServiceManagerTest, TheWatchdogIsThatOfThisProcess) {
    const std::string own = std::to_string(getpid());
    EXPECT_EQ(watchdogWith("30000000", own), 30s);
    EXPECT_EQ(watchdogWith("30000000", ""), 30s);
    EXPECT_EQ(watchdogWith("30000000", "1"), std::nullopt);
    EXPECT_EQ(watchdogWith("0", own), std::nullopt);
    EXPECT_EQ(watchdogWith("", own), std::nullopt);
    EXPECT_EQ(watchdogWith("30s", own), std::nullopt);
    EXPECT_EQ(watchdogWith("-5", own), std::nullopt);
    EXPECT_EQ(watchdogWith("18446744073709551615", own), std::nullopt);
    EXPECT_EQ(watchdogWith("99999999999999999999", own), std::nullopt);
}

TEST_F(ServiceManagerTest, TakesTheVariablesOutOfTheEnvironment) {
    watchdogWith("30000000", "");
    for (const char *name : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID"})
        EXPECT_EQ(getenv(name), nullptr) << name;
}

} // namespace

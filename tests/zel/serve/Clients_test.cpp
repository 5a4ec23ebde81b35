// The limits on clients, and the events that wait for one.
#include "zel/serve/Clients.h"

#include "zel/serve/HttpDaemon.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using zel::Client;
using zel::Clients;
using zel::EventQueue;
using zel::SharedText;
using zel::SocketAddress;

namespace {

SharedText event(const std::string &text) {
    return std::make_shared<std::string>(text);
}

std::string taken(EventQueue &queue, std::size_t most) {
    std::string text(most, ' ');
    text.resize(queue.take(text.data(), most));
    return text;
}

SocketAddress peer(const std::string &address) {
    std::string problem;
    return zel::readListen(address + ":1", problem).at(0);
}

struct NoEvents : zel::HttpEvents {
    Client *opened(MHD_Connection *, int) noexcept override { return nullptr; }
    void closed(Client &) noexcept override {}
    void begun(Client &, const char *) noexcept override {}
    MHD_Result asked(Client &, const char *) noexcept override { return MHD_NO; }
    void completed(Client &) noexcept override {}
};

class ClientLimit : public testing::Test {
protected:
    // The number stands for a socket; nothing is done with it.
    Client *add(int socket, const std::string &address) { return m_clients.add(socket, peer(address), true, m_daemon); }

    NoEvents m_events;
    std::string m_problem;
    zel::HttpDaemon m_daemon{{}, 8192, m_events, m_problem};
    Clients m_clients;
};

TEST(EventQueue, EventIsTakenPieceByPiece) {
    EventQueue queue;
    EXPECT_TRUE(queue.isEmpty());
    EXPECT_EQ(taken(queue, 4), "");
    queue.add(event("abcdef"));
    EXPECT_EQ(taken(queue, 4), "abcd");
    EXPECT_FALSE(queue.isEmpty());
    EXPECT_EQ(taken(queue, 4), "ef");
    EXPECT_TRUE(queue.isEmpty());
}

TEST(EventQueue, SlowClientGetsTheEventThatItBeganAndThenTheNewest) {
    EventQueue queue;
    queue.add(event("first"));
    EXPECT_EQ(taken(queue, 2), "fi");
    for (int number = 0; number < 1000; ++number)
        queue.add(event("event" + std::to_string(number)));
    EXPECT_EQ(taken(queue, 100), "rst");
    EXPECT_EQ(taken(queue, 100), "event999");
    EXPECT_EQ(taken(queue, 100), "");
}

TEST_F(ClientLimit, ClientsOfOneAddressAreCounted) {
    m_clients.setLimits({10, 2, {}, {}, {}});
    EXPECT_FALSE(add(1001, "10.0.0.1")->isExcess);
    EXPECT_FALSE(add(1002, "10.0.0.1")->isExcess);
    EXPECT_TRUE(add(1003, "10.0.0.1")->isExcess);
    EXPECT_FALSE(add(1004, "10.0.0.2")->isExcess);
    m_clients.remove(1003); // it was not counted
    EXPECT_TRUE(add(1005, "10.0.0.1")->isExcess);
    m_clients.remove(1001);
    EXPECT_FALSE(add(1006, "10.0.0.1")->isExcess);
}

TEST_F(ClientLimit, SomeBeyondTheLimitAreToldSoAndNoMore) {
    m_clients.setLimits({1, 1, {}, {}, {}});
    EXPECT_FALSE(add(1000, "10.0.0.1")->isExcess);
    for (std::size_t number = 1; number <= zel::EXCESS_CLIENTS_AT_MOST; ++number)
        EXPECT_TRUE(add(1000 + static_cast<int>(number), "10.0.0.2")->isExcess);
    EXPECT_EQ(add(2000, "10.0.0.3"), nullptr);
    m_clients.remove(1001);
    EXPECT_NE(add(2000, "10.0.0.3"), nullptr);
}

TEST_F(ClientLimit, NextRequestHasAnotherNumber) {
    m_clients.setLimits({10, 10, {}, {}, {}});
    Client *client = add(1001, "10.0.0.1");
    const zel::ClientNumber first = client->number;
    m_clients.renumber(*client);
    EXPECT_EQ(m_clients.byNumber(first), nullptr);
    EXPECT_EQ(m_clients.byNumber(client->number), client);
    EXPECT_NE(add(1002, "10.0.0.2")->number, client->number);
    m_clients.remove(1001);
    EXPECT_EQ(m_clients.byNumber(first + 1), nullptr);
    m_clients.remove(1002);
}

TEST_F(ClientLimit, NumbersAreNeverUsedAgain) {
    m_clients.setLimits({10, 10, {}, {}, {}});
    const zel::ClientNumber first = add(1001, "10.0.0.1")->number;
    m_clients.remove(1001);
    Client *second = add(1001, "10.0.0.1");
    EXPECT_NE(second->number, first);
    EXPECT_EQ(m_clients.byNumber(first), nullptr);
    EXPECT_EQ(m_clients.byNumber(second->number), second);
    EXPECT_EQ(m_clients.bySocket(1001), second);
    EXPECT_TRUE(m_clients.hasAny(m_daemon));
    m_clients.remove(1001);
    m_clients.remove(1001);
    EXPECT_FALSE(m_clients.hasAny(m_daemon));
    EXPECT_EQ(m_clients.size(), 0U);
}

} // namespace

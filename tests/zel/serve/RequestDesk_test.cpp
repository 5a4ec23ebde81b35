// Requests of a client whose sample comes late, driven step by step.
#include "zel/serve/RequestDesk.h"

#include "RawHttp.h"
#include "zel/serve/Listeners.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

using namespace std::chrono_literals;
using zel::Client;

namespace {

constexpr auto patience = 20s;
constexpr std::size_t requestBytes = 8192;

// A desk with one connection; nothing happens in it between two calls.
class LateSample : public testing::Test {
protected:
    LateSample() {
        zel::DeskRules rules;
        rules.areas.set();
        rules.requestBytes = requestBytes;
        rules.deadline = 1s;
        m_desk.setRules(rules);
        m_clients.setLimits({1, 1, 1min, 1min, 1min});
        zel::SocketAddress peer, own;
        zel::ScopedDescriptor socket = zel::acceptOn(m_listeners.at(0), peer, own);
        m_client = m_clients.add(socket.get(), peer, true, m_daemon);
        m_daemon.add(socket.release(), peer);
        waitFor([this] { return m_wakes > 0; }); // the first sample
    }
    ~LateSample() override {
        m_desk.release(m_daemon);
        m_daemon.run();
    }

    int port() {
        std::string problem;
        const std::string listen = "127.0.0.1:0";
        m_listeners = zel::listenOn({&listen, 1}, problem);
        const std::string address = zel::addressText(m_listeners.at(0).address);
        return std::stoi(address.substr(address.rfind(':') + 1));
    }
    template<class Condition> void waitFor(Condition &&condition) {
        const auto until = std::chrono::steady_clock::now() + patience;
        while (!condition() && std::chrono::steady_clock::now() < until) {
            m_daemon.run();
            std::this_thread::sleep_for(1ms);
        }
        ASSERT_TRUE(condition());
    }
    void ask(const std::string &target) {
        m_http.send("GET " + target + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
        waitFor([this] { return m_client->isSuspended; });
    }
    bool isAnswered() {
        pollfd waited{m_http.socketNumber(), POLLIN, 0};
        return poll(&waited, 1, 0) == 1;
    }

    static zel::Options options() {
        zel::Options options;
        options.areas = {zel::Area::Load};
        return options;
    }
    static zel::AnswerSettings settings() {
        zel::AnswerSettings settings;
        settings.sampleAge = 1min;
        settings.deadline = 1s;
        return settings;
    }

    std::vector<zel::Listener> m_listeners;
    RawHttp m_http{port()};
    std::atomic<int> m_wakes = 0;
    zel::Clients m_clients;
    zel::SamplingThread m_sampling{options(), settings(), [this] { ++m_wakes; }};
    zel::RequestDesk m_desk{m_clients, m_sampling};
    std::string m_problem;
    zel::HttpDaemon m_daemon{{}, requestBytes, m_desk, m_problem};
    Client *m_client = nullptr;
};

TEST_F(LateSample, IsNotTheAnswerOfTheNextRequest) {
    ask("/metrics");
    waitFor([this] { return m_wakes > 1; }); // its text is there, and nobody has taken it
    m_desk.look(Client::Clock::now() + 1h);
    waitFor([this] { return isAnswered(); });
    EXPECT_EQ(m_http.readAnswer().status, 503);

    ask("/api/v1/sample?areas=load");
    waitFor([this] {
        m_desk.takeTexts();
        return isAnswered();
    });
    HttpAnswer answer = m_http.readAnswer();
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.headers["content-type"], "application/json");
    EXPECT_TRUE(answer.body.starts_with("{\"time_seconds\":")) << answer.body;
}

TEST_F(LateSample, IsGivenToWhoStillWaits) {
    ask("/metrics");
    m_desk.look(Client::Clock::now());
    waitFor([this] {
        m_desk.takeTexts();
        return isAnswered();
    });
    EXPECT_EQ(m_http.readUntil("\r\n").substr(0, 12), "HTTP/1.1 200");
}

} // namespace

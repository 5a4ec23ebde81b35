// The server by real sockets: its answers, its limits, its stop and its reload.
#include "zel/serve/Server.h"

#include "RawHttp.h"
#include "TempDirectory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

using namespace std::chrono_literals;
using namespace std::string_literals;
using zel::ServeSettings;

namespace {

ServeSettings quickSettings() {
    ServeSettings settings;
    settings.areas = {zel::Area::Load};
    settings.streamLeast = 100ms;
    settings.textfileDirectory.clear();
    return settings;
}

bool has(const std::string &text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

std::string readEvent(RawHttp &client) {
    return client.readUntil("\n\n");
}

TEST(Server, MetricsAreThoseOfTheHost) {
    ServedHost host(quickSettings());
    RawHttp client(host.port());
    const HttpAnswer answer = client.get("/metrics");
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.headers.at("content-type"), "text/plain; version=0.0.4; charset=utf-8");
    EXPECT_TRUE(has(answer.body, "\n# TYPE node_load1 gauge\nnode_load1 ")) << answer.body;
    EXPECT_TRUE(has(answer.body, "\nnode_textfile_scrape_error 0\n"));
    EXPECT_FALSE(has(answer.body, "# EOF"));
}

TEST(Server, OpenMetricsEndsWithItsMark) {
    ServedHost host(quickSettings());
    RawHttp client(host.port());
    const HttpAnswer answer = client.get("/metrics", "Accept: application/openmetrics-text;version=1.0.0\r\n");
    EXPECT_EQ(answer.headers.at("content-type"), "application/openmetrics-text; version=1.0.0; charset=utf-8");
    EXPECT_TRUE(answer.body.ends_with("node_textfile_scrape_error 0\n# EOF\n"));
    EXPECT_EQ(answer.body.find("# EOF"), answer.body.size() - 6);
}

TEST(Server, EveryAnswerHasTheStrictHeaders) {
    ServedHost host(quickSettings());
    RawHttp client(host.port());
    for (const char *target : {"/", "/metrics", "/api/v1/sample", "/healthz", "/nothing", "/api/v1/sample?x"}) {
        HttpAnswer answer = client.get(target, "Origin: http://evil.example\r\n");
        EXPECT_EQ(answer.headers["cache-control"], "no-store") << target;
        EXPECT_EQ(answer.headers["x-content-type-options"], "nosniff") << target;
        EXPECT_EQ(answer.headers["referrer-policy"], "no-referrer") << target;
        EXPECT_EQ(answer.headers["x-frame-options"], "DENY") << target;
        EXPECT_TRUE(answer.headers["content-security-policy"].starts_with("default-src 'none'")) << target;
        for (const auto &[name, value] : answer.headers)
            EXPECT_FALSE(name.starts_with("access-control")) << target;
    }
}

TEST(Server, HeadIsTheHeadOfTheSameAnswer) {
    ServedHost host(quickSettings());
    RawHttp client(host.port());
    const HttpAnswer answer = client.get("/api/v1/sample?areas=load");
    HttpAnswer head = client.get("/api/v1/sample?areas=load", "", "HEAD");
    EXPECT_EQ(head.status, 200);
    EXPECT_EQ(head.headers["content-length"], std::to_string(answer.body.size()));
    EXPECT_EQ(client.get("/healthz").body, "ok\n"); // no body came in between
    head = client.get("/api/v1/stream", "", "HEAD");
    EXPECT_EQ(head.headers["content-type"], "text/event-stream");
    EXPECT_EQ(client.get("/healthz").body, "ok\n");
}

TEST(Server, SampleIsJson) {
    ServedHost host(quickSettings());
    RawHttp client(host.port());
    const HttpAnswer answer = client.get("/api/v1/sample?rates=true");
    EXPECT_EQ(answer.headers.at("content-type"), "application/json");
    EXPECT_TRUE(answer.body.starts_with("{\"time_seconds\":"));
    EXPECT_TRUE(has(answer.body, "\"load1\":"));
    EXPECT_TRUE(answer.body.ends_with("}\n"));
}

TEST(Server, ErrorsSayWhatIsWrongInTheFormOfTheirPath) {
    ServedHost host(quickSettings());
    RawHttp client(host.port());
    HttpAnswer answer = client.get("/api/v1/sample?areas=\"disks");
    EXPECT_EQ(answer.status, 400);
    EXPECT_EQ(answer.headers["content-type"], "application/json");
    EXPECT_EQ(answer.body, "{\"status\":400,\"error\":\"areas: there is no area '\\\"disks' here; there are load\"}\n");
    answer = client.get("/nothing");
    EXPECT_EQ(answer.status, 404);
    EXPECT_EQ(answer.headers["content-type"], "text/plain; charset=utf-8");
    answer = client.get("/metrics", "", "POST");
    EXPECT_EQ(answer.status, 405);
    EXPECT_EQ(answer.headers["allow"], "GET, HEAD");
    EXPECT_EQ(client.get("/metrics", "Accept: image/png\r\n").status, 406);
    EXPECT_EQ(client.get("/metrics", "If-None-Match: *\r\nIf-Modified-Since: Sun, 22 Nov 2037 10:00:00 GMT\r\n").status,
              200);
}

TEST(Server, PipelinedRequestsAreAnsweredInTheirOrder) {
    ServedHost host(quickSettings());
    RawHttp client(host.port());
    client.send("GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\nGET /metrics HTTP/1.1\r\nHost: localhost\r\n\r\n"
                "GET /nothing HTTP/1.1\r\nHost: localhost\r\n\r\nHEAD / HTTP/1.1\r\nHost: localhost\r\n\r\n"
                "GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_EQ(client.readAnswer().body, "ok\n");
    EXPECT_TRUE(has(client.readAnswer().body, "node_load1 "));
    EXPECT_EQ(client.readAnswer().status, 404);
    EXPECT_EQ(client.readAnswer(true).status, 200);
    EXPECT_EQ(client.readAnswer().body, "ok\n");
}

TEST(Server, BodyIsRefusedAndNothingAfterItIsARequest) {
    ServedHost host(quickSettings());
    for (const char *headers : {"Content-Length: 31\r\n", "Transfer-Encoding: chunked\r\n",
                                "Content-Length: 31\r\nExpect: 100-continue\r\n"}) {
        RawHttp client(host.port());
        client.send("GET /metrics HTTP/1.1\r\nHost: localhost\r\n" + std::string(headers) +
                    "\r\nGET /secret HTTP/1.1\r\nHost: x\r\n\r\n");
        HttpAnswer answer = client.readAnswer();
        EXPECT_EQ(answer.status, 413) << headers;
        EXPECT_EQ(answer.headers["connection"], "close") << headers;
        EXPECT_TRUE(client.isClosedWithin(10s)) << headers;
    }
    RawHttp client(host.port());
    EXPECT_EQ(client.get("/healthz", "Content-Length: 0\r\n").status, 200);
}

TEST(Server, LongHeadIsRefused) {
    ServedHost host(quickSettings());
    RawHttp client(host.port());
    EXPECT_EQ(client.get("/metrics", "X: " + std::string(9000, 'x') + "\r\n").status, 431);
    RawHttp other(host.port());
    other.send("GET /metrics HTTP/1.1\r\nHost: localhost\r\n");
    std::string line = "X: " + std::string(1000, 'x') + "\r\n";
    for (int count = 0; count < 200 && other.trySend(line); ++count) {
    }
    EXPECT_TRUE(other.isClosedWithin(10s));
    RawHttp third(host.port());
    EXPECT_EQ(third.get("/healthz").status, 200);
}

TEST(Server, WithoutOneHostARequestIsRefused) {
    ServedHost host(quickSettings());
    for (const char *text :
         {"GET / HTTP/1.1\r\n\r\n", "GET / HTTP/1.1\r\nHost: localhost\r\nHost: localhost\r\n\r\n"}) {
        RawHttp client(host.port());
        client.send(text);
        EXPECT_EQ(client.readAnswer().status, 400) << text;
    }
}

TEST(Server, OldAndBrokenRequestsHarmNobody) {
    ServeSettings settings = quickSettings();
    settings.requestTime = 4s;
    ServedHost host(settings);
    RawHttp old(host.port());
    old.send("GET /healthz HTTP/1.0\r\n\r\n");
    EXPECT_EQ(old.readAnswer().body, "ok\n");
    EXPECT_TRUE(old.isClosedWithin(10s));
    std::vector<std::unique_ptr<RawHttp>> all;
    for (const std::string &text :
         {std::string("\x16\x03\x01\x02", 4), std::string("GET\r\n\r\n"), std::string("GET /metrics\r\n\r\n"),
          std::string("GET /metrics HTTP/1.1\r\n\r\n"), std::string("GET / HTTP/1.1\r\nHost: a\r\nHost: b\r\n\r\n"),
          "GET /\0 HTTP/1.1\r\nHost: localhost\r\n\r\n"s, std::string(1000, '\n'),
          std::string("GET / HTTP/1.1\r\n: x\r\nHost: localhost\r\nContent-Length: -1\r\n\r\n")}) {
        RawHttp &broken = *all.emplace_back(std::make_unique<RawHttp>(host.port()));
        broken.send(text);
        shutdown(broken.socketNumber(), SHUT_WR);
    }
    for (std::size_t number = 0; number < all.size(); ++number)
        EXPECT_TRUE(all[number]->isClosedWithin(20s)) << number;
    RawHttp client(host.port());
    EXPECT_EQ(client.get("/healthz").body, "ok\n");
}

TEST(Server, RequestThatComesByteByByteIsCutInItsTime) {
    ServeSettings settings = quickSettings();
    settings.requestTime = 3s;
    ServedHost host(settings);
    RawHttp slow(host.port());
    const std::string request = "GET /metrics HTTP/1.1\r\nHost: localhost\r\nX: " + std::string(1000, 'x');
    bool isCut = false;
    const auto begun = std::chrono::steady_clock::now();
    for (std::size_t at = 0; at < request.size() && !isCut; ++at) {
        isCut = !slow.trySend(request.substr(at, 1)) || slow.isClosedWithin(20ms);
        if (at == 10) {
            RawHttp other(host.port());
            EXPECT_EQ(other.get("/metrics").status, 200);
        }
    }
    EXPECT_TRUE(isCut);
    EXPECT_LT(std::chrono::steady_clock::now() - begun, 30s);
}

TEST(Server, SecondRequestHasItsTimeToo) {
    ServeSettings settings = quickSettings();
    settings.requestTime = 3s;
    ServedHost host(settings);
    RawHttp client(host.port());
    EXPECT_EQ(client.get("/healthz").status, 200);
    std::this_thread::sleep_for(3500ms); // it is idle, not late
    EXPECT_EQ(client.get("/healthz").status, 200);
    client.send("GET /heal");
    EXPECT_TRUE(client.isClosedWithin(10s));
}

TEST(Server, IdleConnectionIsClosed) {
    ServeSettings settings = quickSettings();
    settings.idleTime = 1s;
    ServedHost host(settings);
    RawHttp client(host.port());
    EXPECT_EQ(client.get("/healthz").status, 200);
    EXPECT_TRUE(client.isClosedWithin(10s));
}

TEST(Server, ClientThatNeverReadsIsCutAndHoldsNobodyUp) {
    ServeSettings settings = quickSettings();
    settings.areas = {};
    settings.answerTime = 1s;
    ServedHost host(settings);
    RawHttp silent(host.port(), 1024);
    for (int count = 0; count < 300; ++count) // more than sockets hold
        silent.trySend("GET /api/v1/sample HTTP/1.1\r\nHost: localhost\r\n\r\n");
    const auto begun = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - begun < 1s) {
        RawHttp other(host.port());
        EXPECT_EQ(other.get("/healthz").status, 200);
        std::this_thread::sleep_for(20ms);
    }
    EXPECT_TRUE(silent.isGivenUpWithin(30s));
}

TEST(Server, ConnectionsOfOneAddressHaveALimitThatIsToldThem) {
    ServeSettings settings = quickSettings();
    settings.connectionsPerAddress = 2;
    ServedHost host(settings);
    auto first = std::make_unique<RawHttp>(host.port());
    RawHttp second(host.port());
    EXPECT_EQ(first->get("/healthz").status, 200);
    EXPECT_EQ(second.get("/healthz").status, 200);
    RawHttp third(host.port());
    HttpAnswer answer = third.get("/metrics");
    EXPECT_EQ(answer.status, 503);
    EXPECT_EQ(answer.headers["retry-after"], "1");
    EXPECT_TRUE(third.isClosedWithin(10s));
    first.reset();
    for (int tries = 0; tries < 1000; ++tries) { // the server notices the end of the first soon
        RawHttp fourth(host.port());
        answer = fourth.get("/healthz");
        if (answer.status == 200)
            break;
        std::this_thread::sleep_for(20ms);
    }
    EXPECT_EQ(answer.status, 200);
}

TEST(Server, ConnectionsBeyondEveryLimitAreClosed) {
    ServeSettings settings = quickSettings();
    settings.connections = 1;
    settings.requestTime = 10min;
    ServedHost host(settings);
    std::vector<std::unique_ptr<RawHttp>> clients;
    for (int count = 0; count < 40; ++count)
        clients.push_back(std::make_unique<RawHttp>(host.port()));
    EXPECT_TRUE(clients.back()->isClosedWithin(10s));
    EXPECT_EQ(clients.front()->get("/healthz").status, 200);
    EXPECT_TRUE(clients[1]->isClosedWithin(10s)); // it asks nothing
}

TEST(Server, StreamGivesSamples) {
    ServedHost host(quickSettings());
    RawHttp client(host.port());
    client.send("GET /api/v1/stream?every=100ms&areas=load HTTP/1.0\r\nHost: localhost\r\n\r\n");
    const HttpAnswer head = client.readAnswer();
    EXPECT_EQ(head.headers.at("content-type"), "text/event-stream");
    EXPECT_EQ(readEvent(client), "retry: 2000\n\n");
    std::string before;
    for (int count = 0; count < 3; ++count) {
        const std::string event = readEvent(client);
        EXPECT_TRUE(event.starts_with("id: ")) << event;
        EXPECT_TRUE(has(event, "\ndata: {\"time_seconds\":")) << event;
        EXPECT_NE(event, before);
        before = event;
    }
}

TEST(Server, QuietStreamHasAHeartbeat) {
    ServeSettings settings = quickSettings();
    settings.streamHeartbeat = 1s;
    ServedHost host(settings);
    RawHttp client(host.port());
    client.send("GET /api/v1/stream?every=1h HTTP/1.0\r\nHost: localhost\r\n\r\n");
    client.readAnswer();
    EXPECT_EQ(readEvent(client), "retry: 2000\n\n");
    std::string event = ": nothing new\n\n"; // also when the first sample takes long
    while (event == ": nothing new\n\n")
        event = readEvent(client);
    EXPECT_TRUE(event.starts_with("id: ")) << event;
    EXPECT_EQ(readEvent(client), ": nothing new\n\n");
    EXPECT_EQ(readEvent(client), ": nothing new\n\n");
}

TEST(Server, StreamThatIsNotReadIsDropped) {
    ServeSettings settings = quickSettings();
    settings.areas = {};
    settings.answerTime = 1s;
    ServedHost host(settings);
    RawHttp silent(host.port(), 1024);
    silent.send("GET /api/v1/stream?every=100ms HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_TRUE(silent.isGivenUpWithin(60s));
}

TEST(Server, StreamsHaveALimit) {
    ServeSettings settings = quickSettings();
    settings.streams = 1;
    ServedHost host(settings);
    auto first = std::make_unique<RawHttp>(host.port());
    first->send("GET /api/v1/stream HTTP/1.0\r\nHost: localhost\r\n\r\n");
    EXPECT_EQ(first->readAnswer().status, 200);
    RawHttp second(host.port());
    EXPECT_EQ(second.get("/api/v1/stream").status, 503);
    EXPECT_EQ(second.get("/healthz").status, 200);
}

TEST(Server, StopEndsStreamsAndIdleConnections) {
    ServedHost host(quickSettings());
    RawHttp stream(host.port()), idle(host.port());
    stream.send("GET /api/v1/stream?every=100ms HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_EQ(stream.readAnswer().status, 200);
    EXPECT_TRUE(has(stream.readUntil("data: "), "retry"));
    EXPECT_EQ(idle.get("/healthz").status, 200);
    const auto begun = std::chrono::steady_clock::now();
    host.server().stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begun, zel::STOP_TIME + 5s);
    EXPECT_TRUE(has(stream.readUntil("\r\n0\r\n\r\n"), "\r\n0\r\n\r\n")); // whole, as a stream ends
    EXPECT_TRUE(idle.isClosedWithin(5s));
}

TEST(Server, StopIsNotHeldUpByWhoDoesNotRead) {
    ServeSettings settings = quickSettings();
    settings.areas = {};
    ServedHost host(settings);
    RawHttp silent(host.port(), 1024), half(host.port());
    for (int count = 0; count < 100; ++count)
        silent.trySend("GET /api/v1/sample HTTP/1.1\r\nHost: localhost\r\n\r\n");
    half.send("GET /metr");
    std::this_thread::sleep_for(300ms);
    const auto begun = std::chrono::steady_clock::now();
    host.server().stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begun, zel::STOP_TIME + 5s);
}

TEST(Server, HeaderThatIsNoneEndsTheConnection) {
    ServedHost host(quickSettings());
    for (const std::string &header : {std::string("Transfer-Encoding : chunked"), std::string("X-Odd: \x01")}) {
        RawHttp client(host.port());
        client.send("GET /healthz HTTP/1.1\r\nHost: localhost\r\n" + header +
                    "\r\n\r\n0\r\n\r\nGET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n");
        const HttpAnswer answer = client.readAnswer();
        EXPECT_EQ(answer.status, 400) << header;
        EXPECT_EQ(client.readUntil("HTTP/1.1"), "") << header; // and nothing after it
    }
}

TEST(Server, ReloadTakesSettingsAndKeepsConnections) {
    TempDirectory directory;
    const std::string file = directory.write("token", "0123456789abcdef\n");
    ASSERT_EQ(chmod(file.c_str(), 0600), 0);
    ServedHost host(quickSettings());
    RawHttp client(host.port());
    EXPECT_EQ(client.get("/metrics").status, 200);
    ServeSettings settings = host.settings();
    settings.tokenFile = file;
    settings.requestBytes = 2000;
    std::string problem;
    EXPECT_TRUE(host.server().reload(settings, problem)) << problem;
    EXPECT_EQ(client.get("/metrics").status, 401); // the same connection
    EXPECT_EQ(client.get("/metrics", "Authorization: Bearer 0123456789abcdef\r\n").status, 200);
    settings.tokenFile = "/nowhere";
    EXPECT_FALSE(host.server().reload(settings, problem));
    EXPECT_NE(problem, "");
    EXPECT_EQ(client.get("/metrics").status, 401);
    EXPECT_EQ(client.get("/healthz").status, 200);
}

TEST(Server, StreamOfAnEarlierTokenEndsAtTheReload) {
    TempDirectory directory;
    const std::string file = directory.write("token", "0123456789abcdef\n");
    ASSERT_EQ(chmod(file.c_str(), 0600), 0);
    ServeSettings settings = quickSettings();
    settings.tokenFile = file;
    ServedHost host(settings);
    RawHttp stream(host.port());
    stream.send("GET /api/v1/stream?every=1s HTTP/1.1\r\nHost: localhost\r\n"
                "Authorization: Bearer 0123456789abcdef\r\n\r\n");
    EXPECT_TRUE(has(stream.readUntil("retry: 2000"), "HTTP/1.1 200"));
    std::string problem;
    EXPECT_TRUE(host.server().reload(host.settings(), problem)) << problem; // the same token
    EXPECT_TRUE(has(stream.readUntil("\nid: "), "\nid: "));
    directory.write("token", "fedcba9876543210\n");
    ASSERT_EQ(chmod(file.c_str(), 0600), 0);
    EXPECT_TRUE(host.server().reload(host.settings(), problem)) << problem;
    EXPECT_TRUE(has(stream.readUntil("\r\n0\r\n\r\n"), "\r\n0\r\n\r\n"));
}

TEST(Server, OutsideLoopbackItNeedsAProtection) {
    zel::Server server;
    ServeSettings settings = quickSettings();
    for (const char *address : {"0.0.0.0:0", ":0", "[::]:0"}) {
        settings.listen = {"127.0.0.1:0", address};
        std::string problem;
        EXPECT_FALSE(server.start(settings, problem)) << address;
        EXPECT_TRUE(has(problem, "it would show this host to everybody")) << problem;
    }
    settings.listenUnprotected = true;
    std::string problem;
    EXPECT_TRUE(server.start(settings, problem)) << problem;
}

TEST(Server, WhatCannotBeIsSaidAtStart) {
    ServedHost host(quickSettings());
    const auto problemWith = [](const ServeSettings &settings) {
        zel::Server server;
        std::string problem;
        EXPECT_FALSE(server.start(settings, problem));
        return problem;
    };
    ServeSettings settings = quickSettings();
    settings.listen = {"127.0.0.1:" + std::to_string(host.port())};
    EXPECT_TRUE(has(problemWith(settings), "Address already in use"));
    settings.listen = {"127.0.0.1:0"};
    settings.certificateFile = "/nowhere";
    EXPECT_EQ(problemWith(settings), "TLS needs both a certificate and its key");
    settings.keyFile = "/nowhere";
    EXPECT_TRUE(has(problemWith(settings), "/nowhere: No such file"));
    settings.certificateFile = settings.keyFile = "";
    settings.root = "/nowhere";
    EXPECT_TRUE(problemWith(settings).starts_with("root /nowhere: No such file"));
    settings.root = "";
    settings.metricsSections = {"nonsense"};
    EXPECT_TRUE(has(problemWith(settings), "'nonsense'"));
}

TEST(Server, IsAliveWhileItServes) {
    ServedHost host(quickSettings());
    EXPECT_TRUE(host.server().isAlive(10s));
    host.server().stop();
    EXPECT_FALSE(host.server().isAlive(10s));
}

TEST(Server, ManyClientsAtOnceGetAnswers) {
    ServeSettings settings = quickSettings();
    settings.sampleAge = 50ms;
    ServedHost host(settings);
    std::vector<std::thread> threads;
    std::atomic<int> answers = 0;
    for (int number = 0; number < 8; ++number) {
        threads.emplace_back([&host, &answers, number] {
            RawHttp client(host.port());
            for (int count = 0; count < 25; ++count) {
                const char *target = (number + count) % 3 == 0 ? "/metrics" : "/api/v1/sample?rates=true";
                const HttpAnswer answer = client.get(target, "Accept-Encoding: gzip\r\n");
                answers += answer.status == 200 && answer.body.starts_with("\x1f\x8b") ? 1 : 0;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(answers, 200);
}

} // namespace

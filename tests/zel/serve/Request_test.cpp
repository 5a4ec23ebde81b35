// What a client asks for, and what is wrong with it.
#include "zel/serve/Request.h"

#include <gtest/gtest.h>

using zel::Area;
using zel::Coding;
using zel::Endpoint;
using zel::MetricFormat;
using zel::ParsedRequest;
using zel::RequestHead;
using zel::RequestRules;

namespace {

const std::string token = "0123456789abcdef";

RequestRules openRules() {
    RequestRules rules;
    rules.requestBytes = 1000;
    rules.areas.set();
    rules.streamLeast = std::chrono::milliseconds(500);
    return rules;
}

RequestHead headOf(const std::string &target, const std::string &method = "GET") {
    RequestHead head;
    head.method = method;
    head.target = target;
    head.host = "localhost:9100";
    head.hosts = 1;
    head.byLoopback = true;
    return head;
}

ParsedRequest parsed(const std::string &target, const std::string &method = "GET") {
    return zel::parseRequest(headOf(target, method), openRules());
}

zel::AreaSet setOf(std::initializer_list<Area> areas) {
    return zel::areaSetOf(std::vector<Area>(areas));
}

TEST(ServeRequest, EachPathHasItsEndpoint) {
    EXPECT_EQ(parsed("/").order.endpoint, Endpoint::Index);
    EXPECT_EQ(parsed("/metrics").order.endpoint, Endpoint::Metrics);
    EXPECT_EQ(parsed("/api/v1/sample").order.endpoint, Endpoint::Sample);
    EXPECT_EQ(parsed("/api/v1/stream").order.endpoint, Endpoint::Stream);
    EXPECT_EQ(parsed("/healthz").order.endpoint, Endpoint::Health);
    EXPECT_EQ(parsed("/%6Detrics?").order.endpoint, Endpoint::Metrics);
    for (const char *target : {"/", "/metrics", "/api/v1/sample", "/api/v1/stream", "/healthz"})
        EXPECT_EQ(parsed(target).status, 0U) << target;
}

TEST(ServeRequest, OtherPathIsNotFound) {
    for (const char *target : {"/metrics/", "//metrics", "/METRICS", "/api/v1", "/api/v2/sample", "/../metrics",
                               "/metrics%2F", "/favicon.ico"})
        EXPECT_EQ(parsed(target).status, 404U) << target;
    EXPECT_TRUE(parsed("/api/v1/nothing").isProgram);
    EXPECT_FALSE(parsed("/nothing").isProgram);
}

TEST(ServeRequest, TargetThatIsNoneIsRefused) {
    for (const char *target : {"", "metrics", "*", "/metrics%", "/metrics%4", "/metrics%zz", "/metrics%00",
                               "/metrics\x01", "/metrics#part", "/api/v1/sample?areas=%", "ftp://localhost/metrics"})
        EXPECT_EQ(parsed(target).status, 400U) << target;
    EXPECT_EQ(parsed("/metrics\xff").problem, "the path '/metrics?' is not encoded as a URL has it");
}

TEST(ServeRequest, AbsoluteTargetNamesItsHost) {
    EXPECT_EQ(parsed("http://127.0.0.1:9100/metrics").order.endpoint, Endpoint::Metrics);
    EXPECT_EQ(parsed("http://localhost").order.endpoint, Endpoint::Index);
    EXPECT_EQ(parsed("http://evil.example/metrics").status, 421U);
}

TEST(ServeRequest, MethodIsGetOrHead) {
    EXPECT_TRUE(parsed("/metrics", "HEAD").order.headOnly);
    EXPECT_FALSE(parsed("/metrics").order.headOnly);
    for (const char *method : {"POST", "PUT", "DELETE", "OPTIONS", "TRACE", "CONNECT", "get", "PROPFIND"})
        EXPECT_EQ(parsed("/metrics", method).status, 405U) << method;
}

TEST(ServeRequest, BodyIsTooLarge) {
    RequestHead head = headOf("/metrics");
    head.hasBody = true;
    EXPECT_EQ(zel::parseRequest(head, openRules()).status, 413U);
}

TEST(ServeRequest, MalformedHeaderIsRefused) {
    RequestHead head = headOf("/metrics");
    head.isMalformed = true;
    EXPECT_EQ(zel::parseRequest(head, openRules()).status, 400U);
}

TEST(ServeRequest, HeaderHasATokenAsNameAndNoControlBytes) {
    EXPECT_TRUE(zel::isHeaderFormed("X-Any_1!", "a \tb\xc3\xa9"));
    EXPECT_TRUE(zel::isHeaderFormed("Host", ""));
    for (const std::string_view name : {"", "Transfer-Encoding ", "a b", "a:", "a\"", "a\x01", "\xc3\xa9"})
        EXPECT_FALSE(zel::isHeaderFormed(name, "x")) << name;
    for (const std::string_view value : {"a\rb", "a\nb", "\x7f", "\x01"})
        EXPECT_FALSE(zel::isHeaderFormed("x", value));
    EXPECT_FALSE(zel::isHeaderFormed("x", std::string_view("a\0b", 3)));
}

TEST(ServeRequest, TargetWithoutItsHostIsRefused) {
    EXPECT_EQ(zel::parseRequest(headOf("http:///metrics"), openRules()).status, 400U);
}

TEST(ServeRequest, TokenIsAskedForBeforeTheMethodIsJudged) {
    RequestRules rules = openRules();
    rules.token = token;
    RequestHead head = headOf("/metrics");
    head.method = "POST";
    EXPECT_EQ(zel::parseRequest(head, rules).status, 401U);
}

TEST(ServeRequest, LongHeadIsRefused) {
    RequestHead head = headOf("/metrics");
    head.bytes = 1000;
    EXPECT_EQ(zel::parseRequest(head, openRules()).status, 0U);
    head.bytes = 1001;
    EXPECT_EQ(zel::parseRequest(head, openRules()).status, 431U);
}

TEST(ServeRequest, PageOfAnotherSiteIsRefusedByItsHost) {
    RequestHead head = headOf("/metrics");
    head.host = "evil.example:9100";
    EXPECT_EQ(zel::parseRequest(head, openRules()).status, 421U);
    head.byLoopback = false;
    EXPECT_EQ(zel::parseRequest(head, openRules()).status, 0U);
    const std::vector<std::string> names{"db1.example"};
    RequestRules rules = openRules();
    rules.names = names;
    EXPECT_EQ(zel::parseRequest(head, rules).status, 421U);
    head.host = "DB1.example:9100";
    EXPECT_EQ(zel::parseRequest(head, rules).status, 0U);
    head.hosts = 2;
    EXPECT_EQ(zel::parseRequest(head, rules).status, 400U);
}

TEST(ServeRequest, TokenIsAskedForEverythingButHealth) {
    RequestRules rules = openRules();
    rules.token = token;
    for (const char *target : {"/", "/metrics", "/api/v1/sample", "/api/v1/stream", "/nothing"})
        EXPECT_EQ(zel::parseRequest(headOf(target), rules).status, 401U) << target;
    EXPECT_EQ(zel::parseRequest(headOf("/healthz"), rules).status, 0U);
    RequestHead head = headOf("/metrics");
    head.authorizations = 1;
    for (const std::string &right : {"Bearer " + token, "bearer " + token, "BEARER " + token}) {
        head.authorization = right;
        EXPECT_EQ(zel::parseRequest(head, rules).status, 0U) << right;
    }
    head.target = "/nothing";
    EXPECT_EQ(zel::parseRequest(head, rules).status, 404U);
}

TEST(ServeRequest, WrongTokenIsRefused) {
    RequestRules rules = openRules();
    rules.token = token;
    RequestHead head = headOf("/metrics");
    head.authorizations = 1;
    for (const std::string &wrong :
         {std::string(), token, "Basic " + token, std::string("Bearer "), "Bearer " + token + "0",
          "Bearer " + token.substr(1), "Bearer " + token + token, "Bearer  " + token}) {
        head.authorization = wrong;
        EXPECT_EQ(zel::parseRequest(head, rules).status, 401U) << wrong;
    }
    head.authorization = "Bearer " + token;
    head.authorizations = 2;
    EXPECT_EQ(zel::parseRequest(head, rules).status, 401U);
}

TEST(ServeRequest, SecretsAreTheSameByteByByte) {
    EXPECT_TRUE(zel::isSameSecret("secret", "secret"));
    for (const char *other : {"", "secre", "secrets", "Secret", "secretsecret"})
        EXPECT_FALSE(zel::isSameSecret(other, "secret")) << other;
    EXPECT_FALSE(zel::isSameSecret("x", ""));
}

TEST(ServeRequest, AreasAreThoseThatAreNamed) {
    EXPECT_TRUE(parsed("/api/v1/sample").order.areas.all());
    EXPECT_EQ(parsed("/api/v1/sample?areas=cpu,disks").order.areas, setOf({Area::Cpu, Area::Disks}));
    EXPECT_EQ(parsed("/api/v1/sample?areas=cpu&areas=cpu%2Cload").order.areas, setOf({Area::Cpu, Area::Load}));
    for (const char *list : {"", "cpu,", "cpu,,load", "CPU", "everything", "hardware"})
        EXPECT_EQ(parsed(std::string("/api/v1/sample?areas=") + list).status, 400U) << list;
}

TEST(ServeRequest, AreaThatIsNotSampledIsRefused) {
    RequestRules rules = openRules();
    rules.areas = setOf({Area::Cpu, Area::Load});
    EXPECT_EQ(zel::parseRequest(headOf("/api/v1/sample"), rules).order.areas, rules.areas);
    const ParsedRequest refused = zel::parseRequest(headOf("/api/v1/sample?areas=disks"), rules);
    EXPECT_EQ(refused.status, 400U);
    EXPECT_EQ(refused.problem, "areas: there is no area 'disks' here; there are cpu, load");
}

TEST(ServeRequest, RatesAndTimeOfAStream) {
    EXPECT_FALSE(parsed("/api/v1/sample").order.rates);
    EXPECT_TRUE(parsed("/api/v1/sample?rates=true").order.rates);
    EXPECT_FALSE(parsed("/api/v1/sample?rates=0").order.rates);
    EXPECT_EQ(parsed("/api/v1/sample?rates=yes").status, 400U);
    EXPECT_EQ(parsed("/api/v1/stream").order.every, std::chrono::seconds(2));
    EXPECT_EQ(parsed("/api/v1/stream?every=500ms").order.every, std::chrono::milliseconds(500));
    for (const char *every : {"499ms", "0s", "-1s", "2h", "1", "1d", "", "99999999999999999999s"})
        EXPECT_EQ(parsed(std::string("/api/v1/stream?every=") + every).status, 400U) << every;
}

TEST(ServeRequest, UnknownParameterIsRefusedByTheInterfaceAndIgnoredByMetrics) {
    EXPECT_EQ(parsed("/api/v1/sample?every=1s").status, 400U);
    EXPECT_EQ(parsed("/api/v1/stream?x").status, 400U);
    EXPECT_EQ(parsed("/healthz?x=1").status, 400U);
    EXPECT_EQ(parsed("/metrics?collect[]=cpu&x=%20").status, 0U);
    EXPECT_EQ(parsed("/metrics?collect%5B%5D=cpu").status, 0U);
}

TEST(ServeRequest, ParametersHaveALimit) {
    std::string target = "/metrics?";
    for (int count = 0; count < 32; ++count)
        target += "a&";
    EXPECT_EQ(parsed(target).status, 0U);
    EXPECT_EQ(parsed(target + "a").status, 400U);
}

TEST(ServeRequest, WhatIsNotAcceptedIsRefused) {
    RequestHead head = headOf("/metrics");
    head.accept = "application/json";
    EXPECT_EQ(zel::parseRequest(head, openRules()).status, 406U);
    head.target = "/api/v1/sample";
    EXPECT_EQ(zel::parseRequest(head, openRules()).status, 0U);
    head.target = "/api/v1/stream";
    EXPECT_EQ(zel::parseRequest(head, openRules()).status, 406U);
    head.accept = "text/event-stream";
    EXPECT_EQ(zel::parseRequest(head, openRules()).status, 0U);
    head.target = "/api/v1/sample";
    head.accept = "*/*";
    head.acceptEncoding = "identity;q=0, *;q=0";
    EXPECT_EQ(zel::parseRequest(head, openRules()).status, 406U);
    head.acceptEncoding = "gzip";
    EXPECT_EQ(zel::parseRequest(head, openRules()).order.coding, Coding::Gzip);
}

TEST(ServeRequest, MessageShowsNoBytesThatSteerATerminal) {
    const ParsedRequest refused = parsed("/api/v1/sample?areas=" + std::string(200, 'x'));
    EXPECT_LT(refused.problem.size(), 400U);
    EXPECT_EQ(parsed("/\x1b[31m").problem, "the path '/?[31m' is not encoded as a URL has it");
}

} // namespace

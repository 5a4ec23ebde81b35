// The settings of the server out of texts.
#include "zel/config/ServeOptions.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

zel::ServeSettings read(const std::map<std::string, std::string> &options, std::string &problem) {
    zel::Arguments arguments;
    arguments.options = options;
    return zel::readServeSettings(arguments, problem);
}

zel::ServeSettings readWell(const std::string &option, const std::string &value) {
    std::string problem;
    const zel::ServeSettings settings = read({{option, value}}, problem);
    EXPECT_EQ(problem, "") << option << ' ' << value;
    return settings;
}

std::string problemOf(const std::string &option, const std::string &value) {
    std::string problem;
    read({{option, value}}, problem);
    return problem;
}

TEST(ServeOptions, WithoutAnyEverythingHasItsDefault) {
    std::string problem;
    const zel::ServeSettings settings = read({}, problem);
    EXPECT_EQ(problem, "");
    EXPECT_THAT(settings.listen, ElementsAre("127.0.0.1:9100"));
    EXPECT_EQ(settings.sampleAge, 1s);
    EXPECT_EQ(settings.topProcesses, 10U);
    EXPECT_FALSE(settings.commandLines);
    EXPECT_FALSE(settings.withoutSystemd);
    EXPECT_THAT(settings.areas, IsEmpty());
}

TEST(ServeOptions, EachSetsItsSetting) {
    EXPECT_THAT(readWell("--listen", ":9100,[::1]:80").listen, ElementsAre(":9100", "[::1]:80"));
    EXPECT_TRUE(readWell("--listen-unprotected", "").listenUnprotected);
    EXPECT_THAT(readWell("--server-names", "a,b").serverNames, ElementsAre("a", "b"));
    EXPECT_EQ(readWell("--token-file", "/a,b").tokenFile, "/a,b");
    EXPECT_EQ(readWell("--certificate", "/c").certificateFile, "/c");
    EXPECT_EQ(readWell("--key", "/k").keyFile, "/k");
    EXPECT_THAT(readWell("--areas", "cpu,disks").areas, ElementsAre(zel::Area::Cpu, zel::Area::Disks));
    EXPECT_TRUE(readWell("--command-lines", "").commandLines);
    EXPECT_EQ(readWell("--sample-age", "0s").sampleAge, 0s);
    EXPECT_EQ(readWell("--deadline", "10ms").deadline, 10ms);
    EXPECT_EQ(readWell("--root", "/host").root, "/host");
    EXPECT_EQ(readWell("--connections", "8192").connections, 8192U);
    EXPECT_EQ(readWell("--connections-per-address", "1").connectionsPerAddress, 1U);
    EXPECT_EQ(readWell("--streams", "0").streams, 0U);
    EXPECT_EQ(readWell("--request-bytes", "1024").requestBytes, 1024U);
    EXPECT_EQ(readWell("--request-time", "10m").requestTime, 10min);
    EXPECT_EQ(readWell("--answer-time", "1h").answerTime, 1h);
    EXPECT_EQ(readWell("--idle-time", "1s").idleTime, 1s);
    EXPECT_EQ(readWell("--stream-least", "100ms").streamLeast, 100ms);
    EXPECT_EQ(readWell("--stream-heartbeat", "1s").streamHeartbeat, 1s);
    EXPECT_EQ(readWell("--metrics-processes", "0").topProcesses, 0U);
    EXPECT_TRUE(readWell("--metrics-without-systemd", "").withoutSystemd);
    EXPECT_EQ(readWell("--metrics-textfile-directory", "/t").textfileDirectory, "/t");
    EXPECT_EQ(readWell("--metrics-textfile-bytes", "16777216").textfileBytes, 16777216U);
    EXPECT_EQ(readWell("--metrics-textfiles", "4096").textfiles, 4096U);
}

TEST(ServeOptions, NamesThatNoClientCanGiveAreRefused) {
    EXPECT_THAT(readWell("--server-names", "db-1.example.org,10.0.0.5,2001:db8::5,my_host").serverNames, SizeIs(4));
    for (const char *name : {"a b", "[::1]", "x:9100", "http://x", "x/", "a,,b", "\xff"})
        EXPECT_NE(problemOf("--server-names", name), "") << name;
    EXPECT_NE(problemOf("--server-names", std::string(300, 'a')), "");
    EXPECT_EQ(problemOf("--server-names", "a,x:9100"),
              "--server-names a,x:9100: no client can ask for 'x:9100': names have no port, no brackets and no blanks");
}

TEST(ServeOptions, SectionsAreDefaultOrAllOrNames) {
    EXPECT_THAT(readWell("--metrics-sections", "default").metricsSections, IsEmpty());
    EXPECT_THAT(readWell("--metrics-sections", "all").metricsSections, ElementsAre("all"));
    EXPECT_THAT(readWell("--metrics-sections", "vm,disks").metricsSections, ElementsAre("vm", "disks"));
    EXPECT_THAT(problemOf("--metrics-sections", "all,vm"), HasSubstr("stand alone"));
    EXPECT_THAT(problemOf("--metrics-sections", "vm,default"), HasSubstr("stand alone"));
    EXPECT_THAT(problemOf("--metrics-sections", "disk"), HasSubstr("there is no section 'disk'; did you mean disks?"));
}

TEST(ServeOptions, ValuesOutOfRangeAreRefusedWithTheRange) {
    EXPECT_EQ(problemOf("--sample-age", "2001ms"), "--sample-age 2001ms: the most is 2s");
    EXPECT_EQ(problemOf("--deadline", "9ms"), "--deadline 9ms: the least is 10ms");
    EXPECT_EQ(problemOf("--connections", "0"), "--connections 0: a whole number from 1 to 8192");
    for (const char *wrong : {"", "-1", "x", "1x", " 1", "8193", "99999999999999999999999"})
        EXPECT_THAT(problemOf("--connections", wrong), HasSubstr("a whole number from 1 to 8192")) << wrong;
    EXPECT_THAT(problemOf("--areas", "cpus"), HasSubstr("there is no area 'cpus'; did you mean cpu?"));
    EXPECT_THAT(problemOf("--listen", "a,,b"), HasSubstr("nothing between two commas"));
    for (const char *wrong : {"", "9100", "127.0.0.1", "127.0.0.1:70000", "host.example.org:9100"})
        EXPECT_THAT(problemOf("--listen", wrong), HasSubstr("--listen " + std::string(wrong) + ": ")) << wrong;
}

TEST(ServeOptions, AnEmptyTextIsNone) {
    EXPECT_THAT(readWell("--areas", "").areas, IsEmpty());
    EXPECT_EQ(readWell("--token-file", "").tokenFile, "");
}

TEST(ServeOptions, EveryOneHasAHelpText) {
    for (const zel::OptionEntry &option : zel::serveOptions()) {
        EXPECT_TRUE(option.name.starts_with("--")) << option.name;
        EXPECT_FALSE(option.help.empty()) << option.name;
    }
}

} // namespace

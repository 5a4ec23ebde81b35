// The parsers of /proc/net/dev: names, and counters beside sscanf.
#include "network/InterfaceLine.h"
#include "network/InterfaceReader.h"

#include <cstring>
#include <gtest/gtest.h>
#include <random>

namespace {

struct Name {
    std::string name;
    std::string rest;
};

Name take(const std::string &line) {
    char name[INTERFACE_NAME_SIZE];
    const char *rest = zel::takeInterfaceName(line.c_str(), name);
    return {name, rest};
}

void expectName(const std::string &line, const std::string &name, const std::string &rest) {
    const Name taken = take(line);
    EXPECT_EQ(taken.name, name) << line;
    EXPECT_EQ(taken.rest, rest) << line;
}

TEST(InterfaceName, EndsAtTheColonOrAtABlank) {
    expectName("  eth0: 100 2", "eth0", " 100 2");
    expectName("eth0:100 2", "eth0", "100 2");
    expectName("eth0 100 2", "eth0", " 100 2");
    expectName("\t eth0\n", "eth0", "\n");
    expectName("eth0", "eth0", "");
    expectName("eth0:", "eth0", "");
    expectName("", "", "");
    expectName(" : 5", "", " 5");
}

TEST(InterfaceName, AliasKeepsItsColon) {
    expectName("eth0:1: 100 2", "eth0:1", " 100 2");
    expectName("eth0:12:100 2", "eth0:12", "100 2");
    expectName("eth0:: 5", "eth0:", " 5");
    expectName("eth0:1:2: 5", "eth0:1", "2: 5");
}

TEST(InterfaceName, ColonWithCountersBehindItIsNoAlias) {
    expectName("eth0:100 200 300", "eth0", "100 200 300");
    expectName("eth0:1x:5", "eth0", "1x:5");
    expectName("eth0:1", "eth0", "1");
}

TEST(InterfaceName, IsCutAtItsField) {
    expectName("abcdefghijklmno: 5", "abcdefghijklmno", " 5");
    expectName("abcdefghijklmnop: 5", "abcdefghijklmno", " 5");
    expectName(std::string(1000, 'x') + ":7: 5", std::string(15, 'x'), " 5");
}

TEST(InterfaceName, OddBytesAreKeptAsTheyAre) {
    expectName("a;b$(x)\": 5", "a;b$(x)\"", " 5");
    expectName("q\x03\x1f|z: 5", "q\x03\x1f|z", " 5");
    expectName("\xc3\xa9t\xe9: 5", "\xc3\xa9t\xe9", " 5");
}

TEST(InterfaceLayoutOf, SecondHeaderLineTells) {
    EXPECT_EQ(zel::interfaceLayout(" face |bytes packets compressed multicast|"), 3);
    EXPECT_EQ(zel::interfaceLayout("compressed"), 3);
    EXPECT_EQ(zel::interfaceLayout(" face |bytes packets errs|"), 2);
    EXPECT_EQ(zel::interfaceLayout(" face |packets errs|"), 1);
    EXPECT_EQ(zel::interfaceLayout(""), 1);
}

// --- Counters beside sscanf ----------------------------------------------------------------------------------------

using Stats = user_net_device_stats;

Stats scanned(int layout, const char *text) {
    Stats s{};
    if (layout == 3) {
        std::sscanf(text, "%llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu",
                    &s.rx_bytes, &s.rx_packets, &s.rx_errors, &s.rx_dropped, &s.rx_fifo_errors, &s.rx_frame_errors,
                    &s.rx_compressed, &s.rx_multicast, &s.tx_bytes, &s.tx_packets, &s.tx_errors, &s.tx_dropped,
                    &s.tx_fifo_errors, &s.collisions, &s.tx_carrier_errors, &s.tx_compressed);
    } else if (layout == 2) {
        std::sscanf(text, "%llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu %llu", &s.rx_bytes,
                    &s.rx_packets, &s.rx_errors, &s.rx_dropped, &s.rx_fifo_errors, &s.rx_frame_errors, &s.tx_bytes,
                    &s.tx_packets, &s.tx_errors, &s.tx_dropped, &s.tx_fifo_errors, &s.collisions, &s.tx_carrier_errors);
    } else {
        long v[11] = {};
        std::sscanf(text, "%ld %ld %ld %ld %ld %ld %ld %ld %ld %ld %ld", &v[0], &v[1], &v[2], &v[3], &v[4], &v[5],
                    &v[6], &v[7], &v[8], &v[9], &v[10]);
        unsigned long long *fields[] = {&s.rx_packets,      &s.rx_errors,  &s.rx_dropped,       &s.rx_fifo_errors,
                                        &s.rx_frame_errors, &s.tx_packets, &s.tx_errors,        &s.tx_dropped,
                                        &s.tx_fifo_errors,  &s.collisions, &s.tx_carrier_errors};
        for (int i = 0; i < 11; ++i)
            *fields[i] = static_cast<unsigned long long>(v[i]);
    }
    return s;
}

void expectAsScanf(const std::string &text) {
    for (int layout = 1; layout <= 3; ++layout) {
        Stats stats{};
        zel::parseInterfaceCounters(layout, text.c_str(), stats);
        const Stats expected = scanned(layout, text.c_str());
        ASSERT_EQ(std::memcmp(&stats, &expected, sizeof(stats)), 0) << "layout " << layout << ": " << text;
    }
}

constexpr const char *SAMPLES[] = {
    " 18687536     491    0    0    0     0          0         0    25259     301    0    0    0     0       0         "
    " 0",
    "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17",
    "18446744073709551615 18446744073709551616 9223372036854775807 9223372036854775808 -1 -9223372036854775808 "
    "-9223372036854775809 +7 00012 99999999999999999999999 -99999999999999999999999 0",
    "1\t2\v3\f4\r5\n6 7-8+9",
    "",
    " ",
    "-",
    "+",
    "1 - 2",
    "1 0x10 3",
    "1 2 x 4",
    "1 2 3"};

TEST(InterfaceCounters, SamplesGiveWhatScanfGives) {
    for (const char *sample : SAMPLES)
        expectAsScanf(sample);
}

TEST(InterfaceCounters, MutatedSamplesGiveWhatScanfGives) {
    constexpr int rounds = 30000;
    std::mt19937 random(20240607); // a fixed seed repeats a failure
    const std::string alphabet = "0123456789+- \t\n:xX.,'%\x03\xff";
    for (int round = 0; round < rounds; ++round) {
        std::string text = SAMPLES[random() % 4];
        const auto changes = random() % 6;
        for (unsigned change = 0; change < changes; ++change) {
            const std::size_t at = random() % (text.size() + 1);
            const char character = alphabet[random() % alphabet.size()];
            switch (random() % 3) {
            case 0:
                text.insert(at, 1, character);
                break;
            case 1:
                text.erase(at, random() % 4);
                break;
            default:
                if (at < text.size())
                    text[at] = character;
            }
        }
        expectAsScanf(text);
        if (HasFatalFailure())
            return;
    }
}

// The rule of the name, character by character and without a bound.
Name nameByTheRule(const std::string &line) {
    const auto blank = [](char c) { return std::strchr(" \t\n\v\f\r", c) != nullptr && c != '\0'; };
    std::size_t at = 0;
    std::string name;
    while (at < line.size() && blank(line[at]))
        ++at;
    while (at < line.size() && !blank(line[at])) {
        if (line[at] != ':') {
            name += line[at++];
            continue;
        }
        const std::string beforeColon = name;
        const std::size_t colon = at;
        name += line[at++];
        while (at < line.size() && line[at] >= '0' && line[at] <= '9')
            name += line[at++];
        if (at >= line.size() || line[at] != ':') {
            name = beforeColon;
            at = colon;
        }
        ++at;
        break;
    }
    return {name.substr(0, INTERFACE_NAME_SIZE - 1), line.substr(at)};
}

TEST(InterfaceName, MutatedNamesFollowTheRule) {
    constexpr int rounds = 30000;
    std::mt19937 random(7); // a fixed seed repeats a failure
    const std::string alphabet = "et01:: \t\nx.";
    for (int round = 0; round < rounds; ++round) {
        std::string line;
        const auto length = random() % 24;
        for (unsigned i = 0; i < length; ++i)
            line += alphabet[random() % alphabet.size()];
        const Name expected = nameByTheRule(line);
        expectName(line, expected.name, expected.rest);
        if (HasFailure())
            return;
    }
}

} // namespace

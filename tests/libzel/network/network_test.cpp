// The walk over /proc/net/dev through both units, and the three single-interface questions.
#include "HostFixture.h"
#include "SystemHooks.h"
#include "network.h"
#include "push_network.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if_arp.h>

namespace {

constexpr const char *COMPRESSED_HEADER =
    "Inter-|   Receive                                                |  Transmit\n"
    " face |bytes    packets errs drop fifo frame compressed multicast|bytes    packets errs drop fifo colls carrier "
    "compressed\n";
constexpr const char *BYTES_HEADER = "Inter-|   Receive                           |  Transmit\n"
                                     " face |bytes    packets errs drop fifo frame|bytes    packets errs drop fifo "
                                     "colls carrier\n";
constexpr const char *PACKETS_HEADER = "Inter-|   Receive                  |  Transmit\n"
                                       " face |packets errs drop fifo frame|packets errs drop fifo colls carrier\n";

struct Unit {
    const char *name;
    int (*init)();
    int (*next)(char *, char *, unsigned long long *, unsigned long long *, unsigned long long *, unsigned long long *,
                unsigned long long *, unsigned long long *, unsigned long long *, unsigned long long *);
    int (*fin)();
    std::FILE *&stream;
    interface *&record;
    int &layout;
    int &socket;
};

void PrintTo(const Unit &unit, std::ostream *stream) {
    *stream << unit.name;
}

struct Delivered {
    int result;
    std::string name;
    std::string link;
    std::vector<unsigned long long> counters; // rx/tx packets, rx/tx bytes, rx/tx errors, collisions
    unsigned long long spare;
};

constexpr unsigned long long UNTOUCHED = 77;

Delivered next(const Unit &unit) {
    char name[256] = {};
    char link[16] = {};
    unsigned long long values[8];
    std::fill(std::begin(values), std::end(values), UNTOUCHED);
    const int result = unit.next(name, link, &values[0], &values[1], &values[2], &values[3], &values[4], &values[5],
                                 &values[6], &values[7]);
    return {result, name, link, {values, values + 7}, values[7]};
}

std::size_t openDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

class InterfaceWalk : public testing::TestWithParam<Unit> {
protected:
    ~InterfaceWalk() override { GetParam().fin(); }

    void table(const std::string &header, const std::string &lines) const {
        host.write("proc/net/dev", header + lines);
    }

    HostFixture host;
};

INSTANTIATE_TEST_SUITE_P(Network, InterfaceWalk,
                         testing::Values(Unit{"ordinary", init_netinfo, get_next_netinfo, fin_netinfo, fh, ife,
                                              procnetdev_vsn, skfd},
                                         Unit{"push", init_push_netinfo, get_push_next_netinfo, fin_push_netinfo,
                                              push_fh, push_ife, push_procnetdev_vsn, l_nPushskfd}),
                         [](const auto &unit) { return unit.param.name; });

TEST_P(InterfaceWalk, SixteenColumnsGiveTheSevenCounters) {
    // bytes packets errs drop fifo frame compressed multicast | bytes packets errs drop fifo colls carrier compressed
    table(COMPRESSED_HEADER,
          "    lo:       1       2    3    4    5     6          7         8       9      10   11   "
          "12   13    14      15         16\n"
          "  eth0: 18687536     491    0    0    0     0          0         0    25259     301    0  "
          "  0    0     0       0          0\n");

    ASSERT_EQ(GetParam().init(), 0);
    EXPECT_EQ(GetParam().layout, 3);
    const Delivered loopback = next(GetParam());
    EXPECT_EQ(loopback.result, 0);
    EXPECT_EQ(loopback.name, "lo");
    EXPECT_EQ(loopback.counters, (std::vector<unsigned long long>{2, 10, 1, 9, 3, 11, 14}));
    const user_net_device_stats &stats = GetParam().record->stats;
    EXPECT_EQ(stats.rx_dropped, 4U);
    EXPECT_EQ(stats.rx_fifo_errors, 5U);
    EXPECT_EQ(stats.rx_frame_errors, 6U);
    EXPECT_EQ(stats.rx_compressed, 7U);
    EXPECT_EQ(stats.rx_multicast, 8U);
    EXPECT_EQ(stats.tx_dropped, 12U);
    EXPECT_EQ(stats.tx_fifo_errors, 13U);
    EXPECT_EQ(stats.tx_carrier_errors, 15U);
    EXPECT_EQ(stats.tx_compressed, 16U);

    const Delivered ethernet = next(GetParam());
    EXPECT_EQ(ethernet.name, "eth0");
    EXPECT_EQ(ethernet.counters, (std::vector<unsigned long long>{491, 301, 18687536, 25259, 0, 0, 0}));
    EXPECT_EQ(next(GetParam()).result, -1);
    EXPECT_EQ(GetParam().fin(), 0);
}

TEST_P(InterfaceWalk, ThirteenColumnsHaveNoMulticast) {
    // bytes packets errs drop fifo frame | bytes packets errs drop fifo colls carrier
    table(BYTES_HEADER, "  eth0: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n");

    ASSERT_EQ(GetParam().init(), 0);
    EXPECT_EQ(GetParam().layout, 2);
    EXPECT_EQ(next(GetParam()).counters, (std::vector<unsigned long long>{2, 8, 1, 7, 3, 9, 12}));
    EXPECT_EQ(GetParam().record->stats.tx_carrier_errors, 13U);
    EXPECT_EQ(GetParam().record->stats.rx_multicast, 0U);
}

TEST_P(InterfaceWalk, ElevenColumnsHaveNoBytes) {
    // packets errs drop fifo frame | packets errs drop fifo colls carrier
    table(PACKETS_HEADER, "  eth0: 1 2 3 4 5 6 7 8 9 10 11 12 13\n");

    ASSERT_EQ(GetParam().init(), 0);
    EXPECT_EQ(GetParam().layout, 1);
    EXPECT_EQ(next(GetParam()).counters, (std::vector<unsigned long long>{1, 6, 0, 0, 2, 7, 10}));
    EXPECT_EQ(GetParam().record->stats.tx_carrier_errors, 11U);
}

TEST_P(InterfaceWalk, LayoutIsFoundAnewByEveryInit) {
    table(COMPRESSED_HEADER, "");
    ASSERT_EQ(GetParam().init(), 0);
    GetParam().fin();
    table(PACKETS_HEADER, "");
    ASSERT_EQ(GetParam().init(), 0);
    EXPECT_EQ(GetParam().layout, 1);
}

TEST_P(InterfaceWalk, TableWithoutASecondHeaderLineHasTheOldestLayout) {
    for (const char *text : {"", "bytes compressed", "bytes compressed\n"}) {
        host.write("proc/net/dev", text);
        ASSERT_EQ(GetParam().init(), 0);
        EXPECT_EQ(GetParam().layout, 1) << text;
        EXPECT_EQ(next(GetParam()).result, -1);
        GetParam().fin();
    }
}

TEST_P(InterfaceWalk, UnknownLayoutParsesNothing) {
    table(COMPRESSED_HEADER, "  eth0: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n");
    ASSERT_EQ(GetParam().init(), 0);
    GetParam().layout = 4;

    const Delivered delivered = next(GetParam());

    EXPECT_EQ(delivered.name, "eth0");
    EXPECT_EQ(delivered.counters, std::vector<unsigned long long>(7, 0));
}

TEST_P(InterfaceWalk, LinkIsAlwaysUpWithoutATerminatorAndTheTenthArgumentIsNeverWritten) {
    table(COMPRESSED_HEADER, "down0: 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0\n");
    ASSERT_EQ(GetParam().init(), 0);

    char name[16];
    char link[16];
    std::memset(link, '#', sizeof(link));
    unsigned long long values[7];
    ASSERT_EQ(GetParam().next(name, link, &values[0], &values[1], &values[2], &values[3], &values[4], &values[5],
                              &values[6], nullptr),
              0);

    EXPECT_EQ(std::string(link, sizeof(link)), "LINKUP##########");
}

TEST_P(InterfaceWalk, EndTouchesNoOutput) {
    table(COMPRESSED_HEADER, "");
    ASSERT_EQ(GetParam().init(), 0);

    const Delivered delivered = next(GetParam());

    EXPECT_EQ(delivered.result, -1);
    EXPECT_EQ(delivered.name, "");
    EXPECT_EQ(delivered.link, "");
    EXPECT_EQ(delivered.counters, std::vector<unsigned long long>(7, UNTOUCHED));
    EXPECT_EQ(delivered.spare, UNTOUCHED);
}

TEST_P(InterfaceWalk, MissingTableFails) {
    ASSERT_EQ(GetParam().init(), -1);
    EXPECT_EQ(GetParam().stream, nullptr);
    EXPECT_EQ(next(GetParam()).result, -1);
    EXPECT_EQ(GetParam().fin(), 0);
}

TEST_P(InterfaceWalk, NoMemoryForTheRecordFails) {
    table(COMPRESSED_HEADER, "");
    const std::size_t before = openDescriptors();
    systemHooks().failAllocationAfter = 0;
    EXPECT_EQ(GetParam().init(), -1);
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(next(GetParam()).result, -1);
}

TEST_P(InterfaceWalk, WithoutASocketTheTableStaysOpenUntilTheNextInit) {
    table(COMPRESSED_HEADER, "eth0: 0 5 0 0 0 0 0 0 0 6 0 0 0 0 0 0\neth1: 0 7 0 0 0 0 0 0 0 8 0 0 0 0 0 0\n");
    const std::size_t before = openDescriptors();
    systemHooks().socket = [](int, int, int) {
        errno = EMFILE;
        return -1;
    };

    EXPECT_EQ(GetParam().init(), -1);
    EXPECT_EQ(GetParam().socket, -1);
    EXPECT_EQ(next(GetParam()).name, "eth0");
    for (int attempt = 0; attempt < 5; ++attempt)
        EXPECT_EQ(GetParam().init(), -1);
    EXPECT_EQ(openDescriptors(), before + 1);

    systemHooks().socket = nullptr;
    ASSERT_EQ(GetParam().init(), 0);
    EXPECT_EQ(next(GetParam()).name, "eth0");
    EXPECT_EQ(GetParam().fin(), 0);
    EXPECT_EQ(openDescriptors(), before);
}

TEST_P(InterfaceWalk, SocketIsADatagramSocketAndClosedByFinish) {
    table(COMPRESSED_HEADER, "");
    std::vector<int> arguments;
    systemHooks().socket = [&arguments](int domain, int type, int protocol) {
        arguments = {domain, type, protocol};
        return dup(STDERR_FILENO);
    };
    const std::size_t before = openDescriptors();

    ASSERT_EQ(GetParam().init(), 0);

    EXPECT_EQ(arguments, (std::vector<int>{AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0}));
    EXPECT_GE(GetParam().socket, 0);
    EXPECT_EQ(GetParam().fin(), 0);
    EXPECT_EQ(GetParam().socket, -1);
    EXPECT_EQ(openDescriptors(), before);
}

TEST_P(InterfaceWalk, NothingIsDeliveredAfterFinishAndASecondFinishIsHarmless) {
    table(COMPRESSED_HEADER, "eth0: 0 5 0 0 0 0 0 0 0 6 0 0 0 0 0 0\n");
    ASSERT_EQ(GetParam().init(), 0);
    EXPECT_EQ(GetParam().fin(), 0);
    EXPECT_EQ(next(GetParam()).result, -1);
    EXPECT_EQ(GetParam().fin(), 0);
}

TEST_P(InterfaceWalk, InitDuringAWalkStartsAnewAndLeaksNothing) {
    table(COMPRESSED_HEADER, "eth0: 0 5 0 0 0 0 0 0 0 6 0 0 0 0 0 0\n");
    const std::size_t before = openDescriptors();
    ASSERT_EQ(GetParam().init(), 0);
    ASSERT_EQ(GetParam().init(), 0);
    EXPECT_EQ(next(GetParam()).name, "eth0");
    GetParam().fin();
    EXPECT_EQ(openDescriptors(), before);
}

TEST_P(InterfaceWalk, RecordIsClearedForEveryInterface) {
    table(COMPRESSED_HEADER, "eth0: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\neth1: 20 30 x\n");
    ASSERT_EQ(GetParam().init(), 0);
    next(GetParam());

    EXPECT_EQ(next(GetParam()).counters, (std::vector<unsigned long long>{30, 0, 20, 0, 0, 0, 0}));
    EXPECT_EQ(GetParam().record->next, nullptr);
    EXPECT_EQ(GetParam().record->mtu, 0);
}

TEST_P(InterfaceWalk, LineThatDoesNotFitGivesOneInterface) {
    // 1100 blanks push the counters beyond the line; what follows must not count as an interface of its own.
    table(COMPRESSED_HEADER, "eth0:" + std::string(1100, ' ') + "9 9 9\n" + "eth1: 1 2\n");
    ASSERT_EQ(GetParam().init(), 0);

    EXPECT_EQ(next(GetParam()).name, "eth0");
    EXPECT_EQ(next(GetParam()).name, "eth1");
    EXPECT_EQ(next(GetParam()).result, -1);
}

TEST_P(InterfaceWalk, LastLineNeedsNoLineFeed) {
    table(COMPRESSED_HEADER, "eth0: 1 2");
    ASSERT_EQ(GetParam().init(), 0);
    EXPECT_EQ(next(GetParam()).counters[0], 2U);
}

TEST(NetworkUnits, TwoWalksDoNotDisturbEachOther) {
    HostFixture host;
    host.write("proc/net/dev", std::string(COMPRESSED_HEADER) + "eth0: 1 2\neth1: 3 4\n");
    const Unit ordinary{"", init_netinfo, get_next_netinfo, fin_netinfo, fh, ife, procnetdev_vsn, skfd};
    const Unit push{"",      init_push_netinfo, get_push_next_netinfo, fin_push_netinfo,
                    push_fh, push_ife,          push_procnetdev_vsn,   l_nPushskfd};

    ASSERT_EQ(ordinary.init(), 0);
    EXPECT_EQ(next(ordinary).name, "eth0");
    host.write("proc/net/dev", std::string(PACKETS_HEADER) + "ppp0: 5 6\n");
    ASSERT_EQ(push.init(), 0);
    EXPECT_EQ(next(push).name, "ppp0");
    EXPECT_EQ(next(ordinary).counters[0], 4U);
    EXPECT_EQ(next(push).result, -1);
    push.fin();
    EXPECT_EQ(next(ordinary).result, -1);
    EXPECT_EQ(procnetdev_vsn, 3);
    EXPECT_EQ(push_procnetdev_vsn, 1);
    ordinary.fin();
}

TEST(NetworkUnits, TraceSinksTakeAMessage) {
    EXPECT_EQ(fWrite_Msg("4.6(NWT) ZEL network init_netinfo start\n"), 1);
    EXPECT_EQ(fPushWrite_Msg("4.6(NWT) ZEL network init_netinfo start\n"), 1);
}

// --- Questions about one interface ---------------------------------------------------------------------------------

class OneInterface : public testing::Test {
protected:
    OneInterface() {
        systemHooks().socket = [this](int domain, int type, int protocol) {
            EXPECT_EQ(domain, AF_INET);
            EXPECT_EQ(type, SOCK_DGRAM | SOCK_CLOEXEC);
            EXPECT_EQ(protocol, 0);
            return socketFails ? -1 : dup(STDERR_FILENO);
        };
    }

    void answerHardware(unsigned short family, const char *bytes = "") {
        const std::string address(bytes);
        systemHooks().ioctl = [this, family, address](int, unsigned long request, void *argument) {
            EXPECT_EQ(request, static_cast<unsigned long>(SIOCGIFHWADDR));
            auto *answer = static_cast<ifreq *>(argument);
            asked = std::string(answer->ifr_name, strnlen(answer->ifr_name, IFNAMSIZ));
            answer->ifr_hwaddr.sa_family = family;
            std::memcpy(answer->ifr_hwaddr.sa_data, address.data(), address.size());
            return 0;
        };
    }

    void answerSpeed(unsigned short megabits) {
        systemHooks().ioctl = [this, megabits](int, unsigned long request, void *argument) {
            EXPECT_EQ(request, static_cast<unsigned long>(SIOCETHTOOL));
            const auto *question = static_cast<ifreq *>(argument);
            asked = question->ifr_name;
            auto *command = reinterpret_cast<ethtool_cmd *>(question->ifr_data);
            EXPECT_EQ(command->cmd, 1U);
            command->speed = megabits;
            return 0;
        };
    }

    void answerNothing() {
        systemHooks().ioctl = [](int, unsigned long, void *) {
            errno = ENODEV;
            return -1;
        };
    }

    static unsigned long long speedOf(const char *name) {
        unsigned long long speed = UNTOUCHED;
        EXPECT_EQ(fGetSpeed(name, &speed), 1);
        return speed;
    }

    std::string asked;
    bool socketFails = false;
};

TEST_F(OneInterface, HardwareTypesHaveTheirNames) {
    const std::vector<std::pair<unsigned short, std::string>> names = {
        {1, "Ethernet"}, {3, "AX.25 Level 2"}, {6, "IEEE 802.2 Ethernet/TR/TB"},          {8, "APPLEtalk"},
        {19, "ATM"},     {772, "Loopback"},    {774, "Fiber Distributed Data Interface"}, {0, "UNKNOWN"},
        {2, "UNKNOWN"},  {65535, "UNKNOWN"}};
    const std::size_t before = openDescriptors();
    for (const auto &[family, text] : names) {
        answerHardware(family);
        char type[33];
        EXPECT_EQ(get_net_type("eth0", type), 1);
        EXPECT_EQ(type, text) << family;
    }
    EXPECT_EQ(asked, "eth0");
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(OneInterface, HardwareAddressIsGivenAsFourteenRawBytes) {
    answerHardware(ARPHRD_ETHER, "\x02\x16\x3e\x01\x02\xff"
                                 "ABCDEFGH");
    char bytes[16];
    std::memset(bytes, '#', sizeof(bytes));

    EXPECT_EQ(get_net_mac("eth0", bytes), 1);

    EXPECT_EQ(std::string(bytes, sizeof(bytes)), "\x02\x16\x3e\x01\x02\xff"
                                                 "ABCDEFGH##");
}

TEST_F(OneInterface, AtMostSixteenCharactersOfTheNameAreAsked) {
    answerHardware(ARPHRD_ETHER);
    char type[33];
    EXPECT_EQ(get_net_type("abcdefghijklmnopqrstuvwxyz", type), 1);
    EXPECT_EQ(asked, "abcdefghijklmnop");
}

TEST_F(OneInterface, TypeAndAddressFailWithUntouchedOutput) {
    char type[33] = "untouched";
    char bytes[16] = "untouched";
    const std::size_t before = openDescriptors();
    answerNothing();
    EXPECT_EQ(get_net_type("eth0", type), -1);
    EXPECT_EQ(get_net_mac("eth0", bytes), -1);
    socketFails = true;
    answerHardware(ARPHRD_ETHER);
    EXPECT_EQ(get_net_type("eth0", type), -1);
    EXPECT_EQ(get_net_mac("eth0", bytes), -1);

    EXPECT_STREQ(type, "untouched");
    EXPECT_STREQ(bytes, "untouched");
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(OneInterface, SpeedIsComputedIn32Bits) {
    answerSpeed(100);
    EXPECT_EQ(speedOf("eth0"), 100000000U);
    EXPECT_EQ(asked, "eth0");
    answerSpeed(2147);
    EXPECT_EQ(speedOf("eth0"), 2147000000U);
    // 10000 * 1000000 = 10000000000 = 2 * 2^32 + 1410065408
    answerSpeed(10000);
    EXPECT_EQ(speedOf("eth0"), 1410065408U);
    // 2500 * 1000000 = 2500000000 = 2^32 - 1794967296, widened with its sign
    answerSpeed(2500);
    EXPECT_EQ(speedOf("eth0"), 0ULL - 1794967296ULL);
}

TEST_F(OneInterface, SpeedOfAnInterfaceThatCannotBeAskedIs9999) {
    const std::size_t before = openDescriptors();
    answerNothing();
    EXPECT_EQ(speedOf("eth0"), 9999U);
    systemHooks().ioctl = nullptr;
    socketFails = true;
    EXPECT_EQ(speedOf("eth0"), 9999U);
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(OneInterface, SpeedOfANameBeyondAKernelNameIs9999) {
    answerSpeed(100);
    EXPECT_EQ(speedOf("abcdefghijklmno"), 100000000U);
    EXPECT_EQ(speedOf("abcdefghijklmnop"), 9999U);
    EXPECT_EQ(speedOf(std::string(5000, 'a').c_str()), 9999U);
}

} // namespace

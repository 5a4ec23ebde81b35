// The calls of ethtool, answered as drivers answer them.
#include "host/hardware/EthtoolCalls.h"

#include "SampledHost.h"
#include "SystemHooks.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>

namespace {

using zel::Absence;
using zel::EthtoolCalls;

// What a driver with three link modes says.
struct Driver {
    std::string version = "6.1.0", firmware = "14.32 0x8000", bus = "0000:03:00.0";
    int refuses = -1; // this call fails with EOPNOTSUPP
    std::vector<std::string> modes{"10baseT/Half", "1000baseT/Full", "Autoneg", "25000baseCR/Full",
                                   "100000baseSR4/Full"};
    std::uint32_t supported = 0b01111; // by mode
    int words = 1;                     // of the masks of this kernel
    unsigned char port = PORT_FIBRE;
    std::vector<unsigned char> address{0xaa, 0xbb, 0xcc, 0, 1, 0x0f};

    int answer(void *request) const {
        std::uint32_t command = 0;
        std::memcpy(&command, request, sizeof(command));
        if (static_cast<int>(command) == refuses)
            return fail(EOPNOTSUPP);
        switch (command) {
        case ETHTOOL_GDRVINFO:
            return describe(*static_cast<ethtool_drvinfo *>(request));
        case ETHTOOL_GPERMADDR:
            return giveAddress(*static_cast<ethtool_perm_addr *>(request));
        case ETHTOOL_GLINKSETTINGS:
            return giveLink(*static_cast<ethtool_link_settings *>(request));
        case ETHTOOL_GSSET_INFO:
            return giveCount(*static_cast<ethtool_sset_info *>(request));
        case ETHTOOL_GSTRINGS:
            return giveNames(*static_cast<ethtool_gstrings *>(request));
        default:
            return fail(EOPNOTSUPP);
        }
    }

private:
    static int fail(int error) {
        errno = error;
        return -1;
    }
    template<std::size_t Size> static void fill(char (&field)[Size], const std::string &text) {
        std::memcpy(field, text.data(), std::min(Size, text.size())); // a full field has no end
    }
    int describe(ethtool_drvinfo &info) const {
        fill(info.version, version);
        fill(info.fw_version, firmware);
        fill(info.bus_info, bus);
        return 0;
    }
    int giveAddress(ethtool_perm_addr &answer) const {
        std::memcpy(reinterpret_cast<char *>(&answer) + sizeof(answer), address.data(),
                    std::min<std::size_t>(answer.size, address.size()));
        answer.size = static_cast<__u32>(address.size());
        return 0;
    }
    int giveLink(ethtool_link_settings &link) const {
        if (link.link_mode_masks_nwords != words) {
            link.link_mode_masks_nwords = static_cast<__s8>(-words);
            return 0;
        }
        link.port = port;
        link.autoneg = AUTONEG_ENABLE;
        std::memcpy(reinterpret_cast<char *>(&link) + sizeof(link), &supported, sizeof(supported));
        return 0;
    }
    int giveCount(ethtool_sset_info &info) const {
        const auto count = static_cast<__u32>(modes.size());
        std::memcpy(reinterpret_cast<char *>(&info) + sizeof(info), &count, sizeof(count));
        return 0;
    }
    int giveNames(ethtool_gstrings &strings) const {
        for (std::size_t mode = 0; mode < modes.size(); ++mode)
            std::memcpy(reinterpret_cast<char *>(&strings) + sizeof(strings) + mode * ETH_GSTRING_LEN,
                        modes[mode].c_str(), modes[mode].size() + 1);
        return 0;
    }
};

// What the card says, with this driver.
struct Answers {
    zel::Reading<std::string> version, firmware, bus, address, port, autonegotiation;
    zel::Number highest;

    explicit Answers(const Driver &driver, const std::string &name = "eth0") {
        systemHooks().ioctl = [&driver](int, unsigned long request, void *argument) {
            EXPECT_EQ(request, static_cast<unsigned long>(SIOCETHTOOL));
            EXPECT_STREQ(static_cast<ifreq *>(argument)->ifr_name, "eth0");
            return driver.answer(static_cast<ifreq *>(argument)->ifr_data);
        };
        EthtoolCalls calls(name);
        calls.readDriver(version, firmware, bus);
        calls.readPermanentAddress(address);
        calls.readLink(port, autonegotiation, highest);
        withdrawSystemHooks();
    }
};

TEST(EthtoolCalls, ADriverDescribesItsCard) {
    const Answers answers{Driver()};
    EXPECT_TRUE(holds(answers.version, "6.1.0"));
    EXPECT_TRUE(holds(answers.firmware, "14.32 0x8000"));
    EXPECT_TRUE(holds(answers.bus, "0000:03:00.0"));
    EXPECT_TRUE(holds(answers.address, "aa:bb:cc:00:01:0f"));
    EXPECT_TRUE(holds(answers.port, "fibre"));
    EXPECT_TRUE(holds(answers.autonegotiation, "on"));
}

// 25 Gbit/s; the mode of 100 Gbit/s is not supported.
TEST(EthtoolCalls, TheHighestSpeedIsThatOfASupportedMode) {
    EXPECT_TRUE(holds(Answers(Driver()).highest, 25000 * 125000.0));
    EXPECT_TRUE(holds(Answers(Driver{.supported = 0b11111}).highest, 100000 * 125000.0));
    EXPECT_TRUE(holds(Answers(Driver{.words = 4}).highest, 25000 * 125000.0)) << "longer masks";
    EXPECT_TRUE(lacks(Answers(Driver{.supported = 0b00100}).highest, Absence::Unsupported)) << "no speed is in a name";
    EXPECT_TRUE(lacks(Answers(Driver{.supported = 0}).highest, Absence::Unsupported));
}

TEST(EthtoolCalls, WhatADriverDoesNotSayIsUnsupported) {
    const Answers silent(Driver{.version = "", .firmware = "N/A", .address = {0, 0, 0, 0, 0, 0}});
    for (const auto &reading : {silent.version, silent.firmware, silent.address})
        EXPECT_TRUE(lacks(reading, Absence::Unsupported));
    EXPECT_TRUE(lacks(Answers(Driver{.port = 0x42}).port, Absence::Unsupported));
    EXPECT_TRUE(lacks(Answers(Driver{.refuses = ETHTOOL_GDRVINFO}).firmware, Absence::Unsupported));
    EXPECT_TRUE(lacks(Answers(Driver{.refuses = ETHTOOL_GPERMADDR}).address, Absence::Unsupported));
    const Answers noLink(Driver{.refuses = ETHTOOL_GLINKSETTINGS});
    EXPECT_TRUE(lacks(noLink.port, Absence::Unsupported));
    EXPECT_TRUE(lacks(noLink.highest, Absence::Unsupported));
    const Answers oldKernel(Driver{.refuses = ETHTOOL_GSSET_INFO});
    EXPECT_TRUE(holds(oldKernel.port, "fibre"));
    EXPECT_TRUE(lacks(oldKernel.highest, Absence::Unsupported));
}

TEST(EthtoolCalls, AnswersThatCannotBeDoNoHarm) {
    const std::string endless(200, 'x');
    const Answers full(Driver{.version = endless, .firmware = endless, .bus = endless});
    EXPECT_TRUE(holds(full.version, endless.substr(0, ETHTOOL_FWVERS_LEN)));
    EXPECT_TRUE(holds(full.firmware, endless.substr(0, ETHTOOL_FWVERS_LEN)));
    EXPECT_TRUE(lacks(Answers(Driver{.words = 0}).port, Absence::Unsupported)) << "masks of no length";
    EXPECT_TRUE(lacks(Answers(Driver{.modes = {}}).highest, Absence::Unsupported));
    EXPECT_TRUE(lacks(Answers(Driver{.modes = std::vector<std::string>(5000)}).highest, Absence::Unsupported));
    Driver longAddress;
    longAddress.address.assign(200, 0xff);
    EXPECT_TRUE(holds(Answers(longAddress).address, [] {
        std::string text = "ff";
        for (int byte = 1; byte < 32; ++byte)
            text += ":ff";
        return text;
    }()));
}

TEST(EthtoolCalls, ANameThatIsTooLongForTheKernelHasVanished) {
    EthtoolCalls calls("a-name-of-sixteen-letters-and-more");
    zel::Reading<std::string> address;
    calls.readPermanentAddress(address);
    EXPECT_TRUE(lacks(address, Absence::Vanished));
}

} // namespace

// Asks network drivers by the calls of ethtool.
#include "host/hardware/EthtoolCalls.h"

#include "host/source/AttributeText.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <vector>

namespace zel {

namespace {

constexpr std::size_t bitsPerWord = 32;
constexpr std::size_t wordsMost = 127;       // of a mask: what the signed count of the call can say
constexpr std::size_t modesMost = 4096;      // that a kernel may name
constexpr std::size_t addressMost = 32;      // MAX_ADDR_LEN of the kernel
constexpr double bytesPerMegabit = 125000.0; // each second

template<std::size_t Size> void takeFixed(const char (&text)[Size], Reading<std::string> &reading) {
    const std::string_view value(text, strnlen(text, Size));
    takeAttributeText(value == "N/A" ? std::string_view() : value, reading);
}

std::string_view portName(unsigned port) {
    switch (port) {
    case PORT_TP:
        return "twisted pair";
    case PORT_AUI:
        return "AUI";
    case PORT_MII:
        return "MII";
    case PORT_FIBRE:
        return "fibre";
    case PORT_BNC:
        return "BNC";
    case PORT_DA:
        return "direct attach";
    case PORT_NONE:
        return "none";
    case PORT_OTHER:
        return "other";
    default:
        return {};
    }
}

// A request with room behind it for what it answers; the kernel's structs end in an array of no size.
template<class Head> class Request {
public:
    explicit Request(std::size_t room) : m_words((sizeof(Head) + room + 3) / 4) {}
    Head *operator->() { return head(); }
    Head *head() { return reinterpret_cast<Head *>(m_words.data()); }
    std::uint32_t *words() { return m_words.data() + sizeof(Head) / 4; }
    const char *bytes() const { return reinterpret_cast<const char *>(m_words.data()) + sizeof(Head); }

private:
    std::vector<std::uint32_t> m_words;
};

} // namespace

EthtoolCalls::EthtoolCalls(const std::string &name)
    : m_socket(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)), m_name(name) {}

int EthtoolCalls::ask(void *request) {
    ifreq call{};
    if (m_name.size() >= sizeof(call.ifr_name))
        return ENODEV;
    std::memcpy(call.ifr_name, m_name.c_str(), m_name.size() + 1);
    call.ifr_data = static_cast<char *>(request);
    return ioctl(m_socket.get(), SIOCETHTOOL, &call) == 0 ? 0 : errno;
}

void EthtoolCalls::readDriver(Reading<std::string> &version, Reading<std::string> &firmware,
                              Reading<std::string> &bus) {
    ethtool_drvinfo info{};
    info.cmd = ETHTOOL_GDRVINFO;
    const int error = ask(&info);
    for (Reading<std::string> *reading : {&version, &firmware, &bus})
        reading->clear(absenceOf(error));
    if (error != 0)
        return;
    takeFixed(info.version, version);
    takeFixed(info.fw_version, firmware);
    takeFixed(info.bus_info, bus);
}

void EthtoolCalls::readPermanentAddress(Reading<std::string> &address) {
    Request<ethtool_perm_addr> request(addressMost);
    request->cmd = ETHTOOL_GPERMADDR;
    request->size = addressMost;
    if (const int error = ask(request.head()); error != 0)
        return address.clear(absenceOf(error));
    std::string text;
    bool isZero = true;
    for (std::size_t at = 0; at < std::min<std::size_t>(request->size, addressMost); ++at) {
        char byte[4];
        std::snprintf(byte, sizeof(byte), "%s%02x", at > 0 ? ":" : "", static_cast<unsigned char>(request.bytes()[at]));
        text += byte;
        isZero = isZero && request.bytes()[at] == 0;
    }
    takeAttributeText(isZero ? "" : text, address);
}

void EthtoolCalls::readLink(Reading<std::string> &port, Reading<std::string> &autonegotiation, Number &highest) {
    constexpr std::size_t masks = 3; // supported, advertised, advertised by the other end
    Request<ethtool_link_settings> settings(masks * wordsMost * 4);
    settings->cmd = ETHTOOL_GLINKSETTINGS;
    int error = ask(settings.head());
    if (error == 0 && settings->link_mode_masks_nwords < 0) { // the kernel says how long its masks are
        settings->link_mode_masks_nwords = static_cast<__s8>(-settings->link_mode_masks_nwords);
        settings->cmd = ETHTOOL_GLINKSETTINGS;
        error = ask(settings.head());
    }
    if (error == 0 && settings->link_mode_masks_nwords <= 0)
        error = EOPNOTSUPP;
    port.clear(absenceOf(error));
    autonegotiation.clear(absenceOf(error));
    highest = absenceOf(error);
    if (error != 0)
        return;
    takeAttributeText(portName(settings->port), port);
    autonegotiation.set(settings->autoneg == AUTONEG_ENABLE ? "on" : "off");
    highest = highestSpeed(settings.words(), static_cast<std::size_t>(settings->link_mode_masks_nwords));
}

Number EthtoolCalls::highestSpeed(const std::uint32_t *modes, std::size_t words) {
    Request<ethtool_sset_info> set(4);
    set->cmd = ETHTOOL_GSSET_INFO;
    set->sset_mask = std::uint64_t{1} << static_cast<unsigned>(ETH_SS_LINK_MODES);
    if (const int error = ask(set.head()); error != 0)
        return absenceOf(error);
    const std::size_t count = set->sset_mask == 0 ? 0 : set.words()[0];
    if (count == 0 || count > modesMost)
        return Absence::Unsupported;
    Request<ethtool_gstrings> names(count * ETH_GSTRING_LEN);
    names->cmd = ETHTOOL_GSTRINGS;
    names->string_set = ETH_SS_LINK_MODES;
    names->len = static_cast<__u32>(count);
    if (const int error = ask(names.head()); error != 0)
        return absenceOf(error);
    std::uint64_t highest = 0;
    for (std::size_t mode = 0; mode < std::min({count, words * bitsPerWord, std::size_t{names->len}}); ++mode) {
        const bool isSupported = (modes[mode / bitsPerWord] >> (mode % bitsPerWord) & 1U) != 0;
        const char *name = names.bytes() + mode * ETH_GSTRING_LEN;
        std::uint64_t speed = 0;
        for (; digitValue<10>(*name) <= 9 && speed < UINT32_MAX; ++name)
            speed = speed * 10 + digitValue<10>(*name);
        if (isSupported && std::strncmp(name, "base", 4) == 0)
            highest = std::max(highest, speed);
    }
    return highest > 0 ? Number(static_cast<double>(highest) * bytesPerMegabit) : Number(Absence::Unsupported);
}

} // namespace zel

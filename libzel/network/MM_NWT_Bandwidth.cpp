// Bandwidth and duplex of CMM_NWT_Info, from the files that outside scripts write.
#include "MM_NWT_Info.h"

#include "NStringLib.h"
#include "host/HostOpen.h"
#include "host/ShellSafe.h"
#include "network/MM_NWT_State.h"
#include "scripts/HomeScripts.h"
#include "text/LineReader.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr std::size_t lineSize = 256;
constexpr std::size_t measuredNameSize = 256;
constexpr std::size_t bondPathSize = 1024;

// More interfaces than any host has: a script's output gone wild does not occupy the collector for ever.
constexpr int lineLimit = 10000;

constexpr const char *lineMarker = "TORVSC";
constexpr std::string_view activeMember = "Currently Active Slave";
constexpr std::size_t memberColumn = activeMember.size() + 1; // after the colon

// A script whose result is a file of lines, and the messages around it.
struct LineScript {
    zel::Script script;
    bool (*logOpen)();
    const char *startMessage;
    const char *endMessage; // null: none
};

constexpr LineScript duplexScript{zel::Script::BandwidthsAndDuplex, zel::loggerInstalled, "Bandwidth Duplex START",
                                  "Bandwidth Duplex END"};
constexpr LineScript bandwidthScript{zel::Script::Bandwidths, zel::interfaceLogOpen, "Bandwidth GTR START",
                                     "Bandwidth GTR END"};
constexpr LineScript namesScript{zel::Script::InterfaceNames, zel::interfaceLogOpen, "Bandwidth GTR START", nullptr};

// Hands every line of `file` that fits to `take`, which may cut it.
template<typename Take> void takeLines(std::FILE *file, Take take) {
    char line[lineSize];
    zel::Line kind{};
    for (int count = 0; count < lineLimit && (kind = zel::readLine(file, line)) != zel::Line::None; ++count) {
        if (kind == zel::Line::Whole)
            take(line);
    }
}

// Runs `script` and hands the lines of its result to `take`.
template<typename Take> void runForLines(CMM_NWT_Info &collector, const LineScript &script, Take take) {
    const auto log = [&](const char *format, const char *text) {
        ZEL_LOG(script.logOpen(), zel::LOG_LEVEL_NORMAL, zel::NETWORK_SOURCE_NAME, collector.m_strLogMsg, format, text);
    };
    log("%s", script.startMessage);
    zel::runScript(script.script);
    const zel::ScopedFile file = zel::openResult(script.script);
    if (file == nullptr) {
        log("Bandwidth GTR failed(%s not found)", zel::resultPath(script.script));
        return;
    }
    takeLines(file.get(), take);
    if (script.endMessage != nullptr)
        log("%s", script.endMessage);
}

struct BandwidthLine {
    const char *name;
    long bandwidth;
    int duplex;
};

// Sample: TORVSC|eth0|1000000|2
// Exactly four fields, of which the first is the marker. The name may be empty: the list refuses it with a message, as
// it does for every caller. Cuts `line`.
bool parseMarkedLine(char *line, BandwidthLine &parsed) {
    constexpr int fieldCount = 4;
    char *fields[fieldCount] = {};
    char *rest = nullptr;
    int count = 0;
    for (char *field = Nstrstrtok(line, "|", &rest); field != nullptr; field = Nstrstrtok(nullptr, "|", &rest)) {
        if (count == fieldCount)
            return false;
        fields[count++] = field;
    }
    if (count != fieldCount || std::strcmp(fields[0], lineMarker) != 0)
        return false;
    parsed = {fields[1], std::strtol(fields[2], nullptr, 10), static_cast<int>(std::strtol(fields[3], nullptr, 10))};
    return true;
}

// Sample: eth0 1000000
bool parsePlainLine(char *line, BandwidthLine &parsed) {
    char *rest = nullptr;
    const char *name = Nstrstrtok(line, " ", &rest);
    if (name == nullptr || name[0] == '\0' || rest == nullptr || rest[0] == '\0')
        return false;
    parsed = {name, std::strtol(rest, nullptr, 10), DUPLEX_HALF};
    return true;
}

// Sample: 1000 (megabits; kilobits in 32 bits, as consumers of the value know it)
int parseMegabits(const char *line) {
    constexpr unsigned int kilobitsPerMegabit = 1000;
    return static_cast<int>(static_cast<unsigned int>(std::strtol(line, nullptr, 10)) * kilobitsPerMegabit);
}

// A bond is measured through its active member; a VLAN on a bond ("bond0.100") through that of the bond. False when the
// name itself or the member's must not reach a shell.
bool nameToMeasure(CMM_NWT_Info &collector, const char *name, char (&measured)[measuredNameSize]) {
    const std::string_view whole(name);
    if (!zel::shellSafe(whole) || whole.size() >= sizeof(measured))
        return false;
    const bool bonded = whole.find("bond") != std::string_view::npos;
    const std::string_view target = bonded ? whole.substr(0, whole.find('.')) : whole;
    measured[target.copy(measured, sizeof(measured) - 1)] = '\0';
    char member[NAMED_LIST_NAME_SIZE];
    if (!bonded || collector.fGetBondInfo(measured, member) != 1)
        return zel::shellSafe(measured);
    std::strcpy(measured, member);
    return zel::shellSafe(measured);
}

// Has one interface measured, through its active member when it is a bond, and adds what the script found.
void measureBandwidth(CMM_NWT_Info &collector, const char *name) {
    char measured[measuredNameSize];
    if (!nameToMeasure(collector, name, measured)) {
        ZEL_LOG(zel::interfaceErrorLogOpen(), zel::LOG_LEVEL_ERROR, zel::NETWORK_SOURCE_NAME, collector.m_strLogMsg,
                "Bandwidth refused for interface name[%s]", name);
        return;
    }
    zel::runScript(zel::Script::Bandwidth, measured, name);
    const zel::ScopedFile file = zel::openResult(zel::Script::Bandwidth, name);
    if (file == nullptr) {
        ZEL_LOG(zel::interfaceLogOpen(), zel::LOG_LEVEL_NORMAL, zel::NETWORK_SOURCE_NAME, collector.m_strLogMsg,
                "Bandwidth failed(%s not found)", zel::namedResultPath(zel::Script::Bandwidth, name).text);
        return;
    }
    char line[lineSize];
    if (zel::readLine(file.get(), line) == zel::Line::None)
        return;
    const int bandwidth = parseMegabits(line);
    ZEL_LOG(zel::interfaceLogOpen(), zel::LOG_LEVEL_NORMAL, zel::NETWORK_SOURCE_NAME, collector.m_strLogMsg,
            "Bandwidth success[%s][%d]KB", name, bandwidth);
    collector.m_pclBandwidthList->fAddLinkedList(name, bandwidth, DUPLEX_HALF);
}

} // namespace

int CMM_NWT_Info::fGetNewBandwidthDuplex() {
    runForLines(*this, duplexScript, [this](char *line) {
        BandwidthLine parsed{};
        if (!parseMarkedLine(line, parsed))
            return;
        ZEL_LOG(zel::loggerInstalled(), zel::LOG_LEVEL_NORMAL, zel::NETWORK_SOURCE_NAME, m_strLogMsg,
                "Bandwidth Duplex-add-set[%s][%ld][%d]", parsed.name, parsed.bandwidth, parsed.duplex);
        m_pclBandwidthList->fAddLinkedList(parsed.name, parsed.bandwidth, parsed.duplex);
    });
    return 1;
}

int CMM_NWT_Info::fGetNewBandwidth() {
    runForLines(*this, bandwidthScript, [this](char *line) {
        BandwidthLine parsed{};
        if (parsePlainLine(line, parsed))
            m_pclBandwidthList->fAddLinkedList(parsed.name, parsed.bandwidth, parsed.duplex);
    });
    return 1;
}

int CMM_NWT_Info::fGetBandwidth() {
    runForLines(*this, namesScript, [this](const char *name) {
        ZEL_LOG(zel::interfaceLogOpen(), zel::LOG_LEVEL_NORMAL, zel::NETWORK_SOURCE_NAME, m_strLogMsg,
                "Bandwidth [%s] GTR1", name);
        measureBandwidth(*this, name);
    });
    return 1;
}

// Sample: Currently Active Slave: eth0
int CMM_NWT_Info::fGetBondInfo(const char *bond, char *slave) {
    char path[bondPathSize];
    const int length = std::snprintf(path, sizeof(path), "/proc/net/bonding/%s", bond);
    if (length >= static_cast<int>(sizeof(path)) || std::strchr(bond, '/') != nullptr)
        return -1;
    const zel::ScopedFile file = zel::openHostStream(path);
    if (file == nullptr)
        return -1;
    char line[lineSize];
    std::string_view text;
    do {
        if (zel::readLine(file.get(), line) == zel::Line::None)
            return -1;
        text = line;
    } while (!text.starts_with(activeMember));

    text.remove_prefix(std::min(text.size(), memberColumn));
    if (text.starts_with(' '))
        text.remove_prefix(1);
    if (text.empty() || text.size() >= NAMED_LIST_NAME_SIZE)
        return -1;
    slave[text.copy(slave, NAMED_LIST_NAME_SIZE - 1)] = '\0';
    return 1;
}

int CMM_NWT_Info::fReturnBand(const char *name, long *bandwidth, int *duplex) {
    const _ST_BANDWIDTH_LIST *entry = m_pclBandwidthList->fGetInterfaceNode(name);
    if (entry == nullptr) {
        ZEL_LOG(zel::interfaceLogOpen(), zel::LOG_LEVEL_NORMAL, zel::NETWORK_SOURCE_NAME, m_strLogMsg,
                "ifname[%s] bw is null", name);
        return 1;
    }
    *bandwidth = entry->m_lBandwidth;
    *duplex = entry->m_nDuplex;
    ZEL_LOG(zel::interfaceLogOpen(), zel::LOG_LEVEL_NORMAL, zel::NETWORK_SOURCE_NAME, m_strLogMsg,
            "fReturnBand ifname[%s] Band[%lu], Duplex[%d]", name, static_cast<unsigned long>(*bandwidth), *duplex);
    return 1;
}

// The NFS mounts of a pass: listed in a file, their servers asked.
#include "filesystem/MM_FS_Nfs.h"

#include "CheckNfs.h"
#include "Settings.h"
#include "filesystem/MM_FS_Mounts.h"
#include "host/SafeWrite.h"
#include "nfs/NfsConnection.h"
#include "scripts/HomeScripts.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

enum CheckFlag { CHECK_BY_PORTMAPPER = 1, CHECK_BY_CONNECTION = 2 };

// The probe that g_nNfsStatusCheckFlag names, and the longest that it may take.
struct Probe {
    const char *name;
    int (*ask)(const char *source);
    int seconds;
};

constexpr Probe byPortmapper{"portmapper ", chknfsmnt, NFS_NAME_SECONDS + NFS_PORTMAPPER_SECONDS + NFS_CALL_SECONDS};
constexpr Probe byConnection{"connection ", zel::nfsPortAccepts, NFS_NAME_SECONDS + NFS_CONNECT_SECONDS};

const Probe &chosenProbe() {
    return g_nNfsStatusCheckFlag == CHECK_BY_CONNECTION ? byConnection : byPortmapper;
}

bool probeWanted() {
    return g_nNfsStatusCheckFlag == CHECK_BY_PORTMAPPER || g_nNfsStatusCheckFlag == CHECK_BY_CONNECTION;
}

std::string_view hostOf(std::string_view source) {
    return source.substr(0, source.find(':'));
}

// A name that holds a line feed must not make a line of its own.
std::string onOneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

} // namespace

namespace zel {

bool isNfs(const char *type) {
    return std::strstr(type, "nfs") != nullptr;
}

NfsList::NfsList() : m_file(openHomeFileToWrite(NFS_LIST)) {}

bool NfsList::add(const MountEntry &entry) {
    if (!m_file.valid())
        return true;
    const std::string line = onOneLine(std::string(entry.mountPoint) + "|" + entry.device) + "\n";
    const WriteSignalsHeld noSignal; // a full file ends no program
    return writeAll(m_file.get(), line, OnSignal::GOES_ON);
}

NfsServer::NfsServer(const std::string &source)
    : m_probe(chosenProbe().name + std::string(hostOf(source)), std::chrono::seconds(chosenProbe().seconds),
              [source, ask = chosenProbe().ask](Reached &) { return ask(source.c_str()) >= 1 ? 0 : EHOSTUNREACH; }) {}

bool NfsServer::settledWithin(std::chrono::milliseconds time) const {
    return m_answers.has_value() || m_probe.settledWithin(time);
}

bool NfsServer::answers() {
    if (!m_answers.has_value())
        m_answers = m_probe.wait().error == 0;
    return *m_answers;
}

NfsServer *NfsServers::ask(const char *source) {
    if (!probeWanted())
        return nullptr;
    const std::string_view host = hostOf(source);
    const auto known = m_servers.find(host);
    return &(known != m_servers.end() ? known : m_servers.try_emplace(std::string(host), source).first)->second;
}

} // namespace zel

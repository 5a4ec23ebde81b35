// Walks the mount table, measures what is reported and hands it on in the order of the table.
#include "filesystem/MM_FS_Pass.h"

#include "HostRoot.h"
#include "LogGate.h"
#include "filesystem/MM_FS_VMware.h"
#include "host/HostOpen.h"
#include "scripts/HomeScripts.h"

#include <cerrno>
#include <cstdio>
#include <new>
#include <utility>

#define FS_LOG_ERROR(...)                                                                                              \
    ZEL_LOG(zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, "MM_FS_Info", m_collector.m_strLogMsg, __VA_ARGS__)

namespace {

// What a call gets before the next entry is looked at. Mounts that answer take less, so that their threads do not pile
// up; two hundred dead ones delay a pass by a fifth of a second.
constexpr std::chrono::milliseconds moment{1};
constexpr std::chrono::milliseconds noTime{0};

} // namespace

namespace zel {

MountPass::Row::Row(const KnownMount &mount)
    : mountPoint(mount.entry.mountPoint), source(mount.entry.device), namesReported(mount.namesReported) {
    copyNames(mount.entry, filesystem);
}

MountPass::MountPass(FilesystemPass kind, CMM_FS_Info &collector, FilesystemState &state, const FilesystemTaker &taker)
    : m_kind(kind), m_collector(collector), m_state(state), m_taker(taker) {}

bool MountPass::run() {
    try {
        return takeMounts();
    } catch (const std::bad_alloc &) {
        return false;
    }
}

// A table that turns out to be another in the middle of the walk is walked from its start.
bool MountPass::takeMounts() {
    start();
    m_look = m_state.mounts.look();
    while (!walk()) {
        if (m_look == KnownMounts::Look::Failed)
            return false;
        m_rows.clear();
        start();
    }
    handOnRest();
    m_state.doubts.endPass();
    if (m_collector.m_nVMFlag == 1 && m_collector.m_nIsVMWare == 1)
        addDatastores();
    return true;
}

void MountPass::start() {
    m_taker.start();
    m_nfsList.emplace();
    if (!m_nfsList->isOpen())
        FS_LOG_ERROR("fopen failed(%s)", NFS_LIST);
}

// False when the table cannot be read, or was found to be another.
bool MountPass::walk() {
    if (m_look == KnownMounts::Look::Failed) {
        FS_LOG_ERROR("setmntent failed(%d)", m_state.mounts.error());
        return false;
    }
    if (std::exchange(m_look, KnownMounts::Look::Same) == KnownMounts::Look::Changed)
        lookAhead();
    for (KnownMount &mount : m_state.mounts.entries()) {
        visit(mount);
        if (m_look != KnownMounts::Look::Same)
            return false;
    }
    return true;
}

// A mount may cover the way to one that comes before it in the table: all entries of a table that changed are noted
// before the first is measured.
void MountPass::lookAhead() {
    for (const KnownMount &mount : m_state.mounts.entries())
        m_state.doubts.note(mount.entry);
}

void MountPass::visit(KnownMount &mount) {
    const MountEntry &entry = mount.entry;
    m_state.doubts.note(entry);
    if (!typeReported(entry.type))
        return;
    if (m_kind == FilesystemPass::Text && !mountPointReported(entry.mountPoint))
        return;
    if (mount.nfs && !listNfs(entry))
        return;
    if (NfsServer *server = mount.nfs ? m_servers.ask(entry.device) : nullptr;
        server != nullptr || m_state.doubts.mayHang(entry.mountPoint))
        measureInTime(mount, server);
    else
        measureNow(mount);
}

// Lists an NFS mount and says whether it is measured too.
bool MountPass::listNfs(const MountEntry &entry) {
    if (!m_nfsList->add(entry))
        FS_LOG_ERROR("fputs failed(%s)", NFS_LIST);
    return m_collector.m_nNFSFlag == 1;
}

// A local mount: no thread, and no copy as long as no entry before it is waited for.
void MountPass::measureNow(KnownMount &mount) {
    const MountEntry &entry = mount.entry;
    struct statfs64 status {};
    const int error = measureFilesystem(fgHostPath(entry.mountPoint), status);
    m_state.doubts.answered(entry.mountPoint, m_watch.wasSlow());
    if (m_state.mounts.contradicts(mount, error, status)) {
        m_look = m_state.mounts.read();
        if (m_look != KnownMounts::Look::Same)
            return;
    }
    if (error != 0) {
        FS_LOG_ERROR("statfs failed(%d)", error);
        return;
    }
    if (!mount.namesReported)
        return;
    copyNames(entry, m_filesystem);
    measure(status, m_filesystem);
    if (m_filesystem.l_ulTotDskSize <= FS_LARGEST_UNREPORTED)
        return;
    if (m_rows.empty())
        m_taker.take(m_filesystem);
    else
        copyFilesystem(m_filesystem, m_rows.emplace_back(mount).filesystem);
}

void MountPass::measureInTime(const KnownMount &mount, NfsServer *server) {
    Row &row = m_rows.emplace_back(mount);
    row.server = server;
    if (server == nullptr || server->settledWithin(moment)) {
        if (ask(row))
            row.call->settledWithin(moment);
        else
            m_rows.pop_back();
    }
    handOnSettled();
    m_watch.wasSlow(); // this wait is not the next mount's
}

// Starts to ask the mount, after its server. False when the server does not answer.
bool MountPass::ask(Row &row) {
    if (row.server != nullptr && !row.server->answers()) {
        FS_LOG_ERROR("NFS Server connect failed(%s)", row.source.c_str());
        return false;
    }
    row.server = nullptr;
    row.call.emplace(startAskingMount(fgHostPath(row.mountPoint.c_str())));
    return true;
}

void MountPass::handOnSettled() {
    const auto settled = [](const Row &row) {
        return row.server == nullptr && (!row.call.has_value() || row.call->settledWithin(noTime));
    };
    while (!m_rows.empty() && settled(m_rows.front())) {
        handOn(m_rows.front());
        m_rows.pop_front();
    }
}

// Every call is started before the first is waited for: all limits run at the same time.
void MountPass::handOnRest() {
    m_rows.remove_if([this](Row &row) { return row.server != nullptr && !ask(row); });
    for (Row &row : m_rows)
        handOn(row);
    m_rows.clear();
}

void MountPass::handOn(Row &row) {
    if (row.call.has_value()) {
        const char *mountPoint = row.mountPoint.c_str();
        if (!isAnswer(row.call->wait(), mountPoint))
            return;
        const MountAnswer &answer = row.call->answer();
        m_state.doubts.answered(mountPoint, answer.slow);
        measure(answer.status, row.filesystem);
        if (!row.namesReported || row.filesystem.l_ulTotDskSize <= FS_LARGEST_UNREPORTED)
            return;
    }
    m_taker.take(row.filesystem);
}

// Logs what is new, and says whether there is an answer.
bool MountPass::isAnswer(const CallEnd &end, const char *mountPoint) {
    if (end.silence == Silence::Begins)
        FS_LOG_ERROR("statfs failed(%d), mount does not answer(%s)", end.error, mountPoint);
    if (end.silence == Silence::Ends)
        FS_LOG_ERROR("mount answers again(%s)", mountPoint);
    // Without a thread to spare no mount is asked: said once in a pass, not for each mount.
    const bool askedInVain = end.error == EAGAIN && std::exchange(m_lacksThreads, true);
    if (end.error != 0 && !askedInVain && (end.silence == Silence::None || end.silence == Silence::Ends))
        FS_LOG_ERROR("statfs failed(%d)", end.error);
    return end.error == 0;
}

void MountPass::addDatastores() {
    if (m_collector.m_nFirstFlag == 0) {
        runDatastoreScript();
        m_collector.m_nFirstFlag = 1;
    }
    if (readDatastores(m_taker.take))
        return;
    if (m_kind == FilesystemPass::Records)
        FS_LOG_ERROR("(FS) VMWare FS Gtr %s file not found", resultPath(Script::Datastores));
    else
        FS_LOG_ERROR("VMWare file not found(%s)", resultPath(Script::Datastores));
}

} // namespace zel

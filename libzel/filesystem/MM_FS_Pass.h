// One pass over the mount table: which entries are measured, and how, and that they are handed on in the order of the
// table. Internal to the filesystem collector.
#pragma once

#include "MM_FS_Info.h"
#include "filesystem/MM_FS_Known.h"
#include "filesystem/MM_FS_Measure.h"
#include "filesystem/MM_FS_Nfs.h"
#include "kernel/DoubtfulMounts.h"

#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zel {

/// What a collector keeps between its passes.
struct FilesystemState {
    KnownMounts mounts;
    DoubtfulMounts doubts;
    std::vector<std::unique_ptr<_ST_FS>> spareRecords; // of the pass before, for this one
};

/// What becomes of the filesystems of a pass.
struct FilesystemTaker {
    std::function<void()> start; // anew, also in the middle of a pass: what was taken before is void
    std::function<void(const _ST_FS &)> take;
};

class MountPass {
public:
    /// All of them outlive the pass. Of the collector it reads the flags and writes m_strLogMsg and m_nFirstFlag.
    MountPass(FilesystemPass kind, CMM_FS_Info &collector, FilesystemState &state, const FilesystemTaker &taker);

    /// Gives every filesystem that is reported to the taker. False when the mount table cannot be opened, or without
    /// memory.
    bool run();

private:
    // An entry that waits for its answer, or for its turn.
    struct Row {
        explicit Row(const KnownMount &mount);

        _ST_FS filesystem{}; // its names; complete without server and call
        std::string mountPoint;
        std::string source;
        bool namesReported;
        NfsServer *server = nullptr; // which is being asked
        std::optional<MountCall> call;
    };

    bool takeMounts();
    void start();
    bool walk();
    void lookAhead();
    void visit(KnownMount &mount);
    bool listNfs(const MountEntry &entry);
    void measureNow(KnownMount &mount);
    void measureInTime(const KnownMount &mount, NfsServer *server);
    bool ask(Row &row);
    void handOn(Row &row);
    void handOnSettled();
    void handOnRest();
    bool isAnswer(const CallEnd &end, const char *mountPoint);
    void addDatastores();

    FilesystemPass m_kind;
    CMM_FS_Info &m_collector;
    FilesystemState &m_state;
    const FilesystemTaker &m_taker;
    KnownMounts::Look m_look = KnownMounts::Look::Same;
    NfsServers m_servers;
    std::optional<NfsList> m_nfsList;
    std::list<Row> m_rows;
    bool m_lacksThreads = false; // and has said so
    SlowWatch m_watch;
    _ST_FS m_filesystem{};
};

} // namespace zel

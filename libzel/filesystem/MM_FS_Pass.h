// One pass over the mount table: which entries are measured, and how, and that they are handed on in the order of the
// table. Internal to the filesystem collector.
#pragma once

#include "MM_FS_Info.h"
#include "filesystem/MM_FS_Measure.h"
#include "filesystem/MM_FS_Mounts.h"
#include "filesystem/MM_FS_Nfs.h"
#include "kernel/DoubtfulMounts.h"
#include "kernel/WholeFile.h"

#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zel {

/// What a collector keeps between its passes.
struct FilesystemState {
    WholeFile mountFile;
    std::string knownTable; // the text of the last pass
    DoubtfulMounts doubts;
    std::vector<std::unique_ptr<_ST_FS>> spareRecords; // of the pass before, for this one
};

class MountPass {
public:
    using Taker = std::function<void(const _ST_FS &)>;

    /// All of them outlive the pass. Of the collector it reads the flags and writes m_strLogMsg and m_nFirstFlag.
    MountPass(FilesystemPass kind, CMM_FS_Info &collector, FilesystemState &state, const Taker &take);

    /// Gives every filesystem that is reported to the taker. False when the mount table cannot be opened, or without
    /// memory.
    bool run();

private:
    // An entry that waits for its answer, or for its turn.
    struct Row {
        explicit Row(const MountEntry &entry);

        _ST_FS filesystem{}; // its names; complete without server and call
        std::string mountPoint;
        std::string source;
        bool namesReported;
        NfsServer *server = nullptr; // which is being asked
        std::optional<MountCall> call;
    };

    bool takeMounts();
    bool isOpen(const MountTable &table);
    void lookAhead();
    void visit(const MountEntry &entry);
    bool listNfs(const MountEntry &entry);
    void measureNow(const MountEntry &entry);
    void measureInTime(const MountEntry &entry, NfsServer *server);
    bool start(Row &row);
    void handOn(Row &row);
    void handOnSettled();
    void handOnRest();
    bool isAnswer(const CallEnd &end, const char *mountPoint);
    void addDatastores();

    FilesystemPass m_kind;
    CMM_FS_Info &m_collector;
    FilesystemState &m_state;
    const Taker &m_take;
    NfsServers m_servers;
    std::optional<NfsList> m_nfsList;
    std::list<Row> m_rows;
    bool m_lacksThreads = false; // and has said so
    SlowWatch m_watch;
    _ST_FS m_filesystem{};
};

} // namespace zel

// The mount table as both passes of the filesystem collector read it, with the lists of the settings, the sizes that
// statfs64 claims, NFS sources, and the datastores that a script reports.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "MM_FS_Info.h"
#include "RootOnTmpfs.h"
#include "Settings.h"
#include "Surroundings.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <memory>

namespace {

constexpr unsigned long fewBlocks = 300000;

using List = char[FILESYSTEM_LIST_ENTRIES][FILESYSTEM_LIST_TEXT];

// Fills the list as an embedding program may: entries beyond their slot run into the next one.
void setList(List &list, int &count, const std::string &text, unsigned entries) {
    std::memset(list, 0, sizeof(list));
    std::memcpy(list, text.data(), std::min(text.size(), sizeof(list)));
    count = static_cast<int>(entries) - 1;
}

void claimSizes(fuzz::FuzzedInput &input, unsigned options) {
    struct statfs64 &status = fuzz::surroundings().filesystem;
    status.f_bsize = (options & 1) != 0 ? static_cast<long>(input.number()) : 4096;
    status.f_blocks = fewBlocks + input.number();
    status.f_bfree = input.number();
    status.f_bavail = (options & 2) != 0 ? ~0UL - input.number() : input.number();
    status.f_files = input.number();
    status.f_ffree = input.number();
    if ((options & 4) != 0)
        status.f_blocks <<= 32;
}

void ensureRecord(const _ST_FS &filesystem) {
    fuzz::ensureTerminated(filesystem.l_strFSname);
    fuzz::ensureTerminated(filesystem.l_strDEVname);
    fuzz::ensureTerminated(filesystem.l_strFSType);
    fuzz::ensure(std::isfinite(filesystem.l_dDskUsage) && std::isfinite(filesystem.l_dIndUsage),
                 "a usage that is no number");
}

} // namespace

FUZZ_TARGET(filesystem_fuzz) {
    fuzz::freshSurroundings();
    const unsigned options = input.byte();
    claimSizes(input, input.byte());
    g_nFsFreeUsedFlag = (options & 1) != 0 ? 1 : 0;
    g_nVAGENT_type = (options & 2) != 0 ? 1 : 0;
    g_nNfsStatusCheckFlag = static_cast<int>(options >> 2 & 3) % 3;
    g_nFSTokenCount = (options & 16) != 0 ? 2 : 0;
    const unsigned entries[] = {input.byte(), input.byte(), input.byte()};
    setList(g_strExcludeFilesystem, g_nExcludeFilesystemCnt, input.piece(), entries[0]);
    setList(g_strIncludeFilesystem, g_nIncludeFilesystemCnt, input.piece(), entries[1]);
    setList(g_strTotExcludeFilesystem, g_nTotExcludeFilesystemCnt, input.piece(), entries[2]);
    fuzz::root().host("etc/mtab", input.piece());
    fuzz::root().home("aproc/shell/vmware_fs_inv.dat", input.piece());

    const auto collector = std::make_unique<CMM_FS_Info>();
    // Every NFS mount is measured on a thread of its own, and each server is asked on one.
    collector->fSetNFSFlag((options & 32) != 0 ? 1 : 0);
    collector->fSetVMFlag(1, (options & 64) != 0 ? 1 : 0);
    if (collector->fMGetFileSys() != nullptr)
        while (const _ST_FS *filesystem = collector->fMGetFileSysNext())
            ensureRecord(*filesystem);
    if (const int rows = collector->fGetFileSystem(); rows > 0) {
        const PerfTable table = fuzz::ensureTable(collector->fGetFSInfo(), rows, {"FSNAME", "DISKNAME", "FSTYPE"});
        fuzz::ensure(table.ended, "no end marker");
    }
}

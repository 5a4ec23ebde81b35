// /proc/diskstats, /proc/partitions and /proc/stat as the disk collector of each kernel generation reads them, the
// partitions script, the rate file and the disk inventory.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "MM_IO_Info.h"
#include "RootOnTmpfs.h"
#include "Settings.h"
#include "Surroundings.h"

#include <cmath>
#include <memory>

namespace {

void ensureRecords(CMM_IO_Info &collector) {
    while (const _ST_DISKIO *disk = collector.fMGetIoStatNext()) {
        fuzz::ensureTerminated(disk->l_strDEVname);
        fuzz::ensure(disk->l_dBusy >= 0 && disk->l_dBusy <= 100, "busy beyond 0 to 100");
        for (const double rate : {disk->l_dRead_N, disk->l_dWrite_N})
            fuzz::ensure(rate == -1.0 || (rate >= 0 && rate < 1e9), "a request rate beyond its range");
        for (const double rate : {disk->l_dRead_B, disk->l_dWrite_B, disk->l_dAwait})
            fuzz::ensure(!std::isnan(rate), "a rate that is no number");
    }
}

} // namespace

FUZZ_TARGET(disk_fuzz) {
    auto &answers = fuzz::freshSurroundings();
    const unsigned options = input.byte();
    const char *const releases[] = {"6.1.0", "2.4.21", "2.2.26", "2.6.32"};
    answers.release = releases[options & 3];
    g_nDiskStrType = (options & 4) != 0 ? 1 : 0;
    g_nDiskMaxGatherCnt = (options & 8) != 0 ? 2 : 0;
    g_nDiskWaitFlag = 0;
    const int push = (options & 16) != 0 ? 1 : 0;
    const int performance = (options & 32) != 0 ? 0 : 1;
    const std::string rateName = input.text();

    const auto collector = std::make_unique<CMM_IO_Info>();
    for (int sample = 0; sample < 2; ++sample) {
        fuzz::root().moment(sample);
        const std::string counters = input.piece();
        fuzz::root().host("proc/diskstats", counters);
        fuzz::root().host("proc/partitions", counters);
        fuzz::root().host("proc/stat", input.piece());
        fuzz::root().home("aproc/shell/partitions.dat", input.piece());
        fuzz::passTime((options & 64) != 0 ? 0 : 2);
        const CSSList *result = collector->fMGetIoStat(0, performance, push);
        if (result == nullptr)
            continue;
        if (g_nDiskStrType != 1)
            ensureRecords(*collector);
        else if (push == 0)
            fuzz::ensureTable(collector->m_pstrPollDiskInfo, collector->m_nDiskZELCnt, {"DISKNAME"});
        else
            fuzz::ensurePushTable(collector->m_pstrPushDiskInfo, -1, {"DISKNAME"});
        while (const _ST_DISKIO *disk = collector->fMGetIoStatNextINV())
            fuzz::ensureTerminated(disk->l_strDEVname);
    }
    fuzz::root().home("aproc/shell/disk_sar_d.txt", input.piece());
    float rate = 0;
    collector->fGetDiskIoRate(rateName.c_str(), &rate);
    fuzz::ensure(rate >= 0 && rate <= 100, "a rate beyond 0 to 100");
    char token[16];
    collector->fMParceDevUnit(rateName.c_str(), token, sizeof(token));
    fuzz::ensureTerminated(token);
    for (int change = 0; change < 2; ++change) {
        fuzz::root().home("aproc/shell/DiskINVStrInfo.dat", input.piece());
        collector->fGetDiskINV();
        collector->fDiskChangeCheck();
    }
}

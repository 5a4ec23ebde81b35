// /proc/stat as the CPU collector reads it (both layouts, two samples, push, gathering, interrupts), the processor
// count of the script cpu_info and the CPU inventory line.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "MM_CPU_Info.h"
#include "RootOnTmpfs.h"
#include "Settings.h"
#include "Surroundings.h"
#include "cpu/CpuTicks.h"

#include <memory>

namespace {

void ensureRowsOf(const std::string &text) {
    const std::unique_ptr<zel::CpuRow[]> rows(new zel::CpuRow[zel::CPU_ROWS]);
    for (const auto layout : {zel::CpuLayout::FourFields, zel::CpuLayout::FiveFields}) {
        const int count = zel::parseCpuTicks(text, layout, rows.get());
        fuzz::ensure(count >= 0 && count <= zel::CPU_ROWS, "rows beyond the table");
        fuzz::ensure((count > 0) == (text.find("cpu ") != std::string::npos), "a machine line was missed or invented");
        for (int row = 0; row < count && layout == zel::CpuLayout::FourFields; ++row)
            fuzz::ensure(rows[row][zel::CPU_WAIT] == rows[row][zel::CPU_NICE], "the wait column is not the nice one");
    }
}

} // namespace

FUZZ_TARGET(cpu_fuzz) {
    auto &answers = fuzz::freshSurroundings();
    const unsigned options = input.byte();
    answers.release = (options & 1) != 0 ? "2.4.20" : "6.1.0";
    g_nCpuStrType = (options & 2) != 0 ? 0 : 1;
    g_nCpuUsedInWIO = (options & 4) != 0 ? 1 : 0;
    const double elapsed = (options & 8) != 0 ? 0 : 1;

    const auto collector = std::make_unique<CMM_CPU_Info>();
    for (int sample = 0; sample < 3; ++sample) {
        fuzz::root().moment(sample);
        const std::string stat = input.text();
        ensureRowsOf(stat);
        fuzz::root().host("proc/stat", stat);
        const zel::CpuRow *shares = collector->fMGetCpu();
        fuzz::ensure(collector->m_nNCpu >= 0 && collector->m_nNCpu < zel::CPU_ROWS, "processors beyond the table");
        if (shares != nullptr && g_nCpuStrType == 1)
            fuzz::ensureTable(collector->m_pStrCpuZEL, collector->m_nCpuZELCnt, {"NAME"});
        while (collector->fMGetCpuNext() != nullptr)
            ;
        if (collector->fMGetPushCpu() != nullptr)
            fuzz::ensurePushTable(collector->m_pRealTimeStrCpuZEL, 1, {"NAME"});
        collector->fMRulo6GatherCpu();
        if (const double *rate = collector->fMGetCpuInterrupt(elapsed); rate != nullptr)
            fuzz::ensure(*rate >= 0, "a negative interrupt rate");
        fuzz::passTime(1);
    }
    fuzz::root().home("aproc/shell/CpuCntPhysical.dat", input.piece());
    const int processors = collector->fMGetPhyCpuCnt();
    fuzz::ensure(processors >= -9 && processors <= 99, "more processors than two characters tell");
    fuzz::root().home("aproc/shell/CpuINVStrInfo.dat", input.piece());
    if (g_nCpuStrType == 1 && collector->fGetCpuINV() == 1)
        fuzz::ensure(std::string_view(collector->m_pStrCpuINV).size() <
                         static_cast<std::size_t>(collector->m_nCpuINVSize),
                     "the inventory text is larger than its buffer");
}

// Two scans of the process collector over hosts with two processes, in each of its forms, with what its scripts wrote:
// the process list and the CPU figures of 2.4 kernels, and the rows about VMware guests.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "MM_PROC_Info.h"
#include "RootOnTmpfs.h"
#include "Settings.h"
#include "Surroundings.h"

#include <memory>

namespace {

const std::initializer_list<std::string_view> textColumns = {"ARGS", "STAT", "USER", "FNAME", "NAME"};

// Returns the command line.
std::string takeProcess(fuzz::FuzzedInput &input, const std::string &directory) {
    for (const char *file : {"/stat", "/statm", "/io"})
        fuzz::root().host(directory + file, input.piece());
    std::string commandLine(input.piece());
    fuzz::root().host(directory + "/cmdline", commandLine);
    return commandLine;
}

// One separator per row and one before the end marker. The push report has fewer rows than there are processes, and the
// form without columns has none for them.
void ensureRowCount(std::string_view text, int rows, unsigned options) {
    int separators = 0;
    constexpr std::string_view separator = "\x03\x1F|";
    for (std::size_t at = 0; (at = text.find(separator, at)) != std::string_view::npos; at += separator.size())
        ++separators;
    const bool exact = (options & 1) == 0 && g_nProcExtendFlag <= 1;
    fuzz::ensure(exact ? separators == rows + 1 : separators <= rows + 1, "a line of a script forged a row");
}

void scan(CMM_PROC_Info &collector, unsigned options) {
    const bool guests = (options & 8) != 0;
    const char *text = collector.fMGetProc((options & 1) != 0 ? 1 : 0);
    if (text == nullptr)
        return;
    if (guests) // their rows have the columns that the script wrote, but a line stays one row
        ensureRowCount(text, collector.fMGetNProcs(), options);
    else if ((options & 1) != 0)
        fuzz::ensurePushTable(text, -1, textColumns);
    else if (g_nProcExtendFlag <= 1)
        fuzz::ensure(fuzz::ensureTable(text, collector.fMGetNProcs(), textColumns).ended, "no end marker");
}

} // namespace

FUZZ_TARGET(process_fuzz) {
    auto &answers = fuzz::freshSurroundings();
    const unsigned options = input.byte();
    g_nProcExtendFlag = static_cast<int>(options >> 1 & 3);
    g_nExecedFileNameFlag = (options & 16) != 0 ? 1 : 0;
    const bool old = (options & 32) != 0;
    answers.release = old ? "2.4.20" : "6.1.0";
    g_nGetProcessType = g_nGetProcessJAVA = old ? 1 : 0;
    g_nProcSleepCnt = 0;

    const auto collector = std::make_unique<CMM_PROC_Info>();
    collector->fSetVMFlag(1, (options & 8) != 0 ? 1 : 0);
    for (int sample = 0; sample < 2; ++sample) {
        fuzz::root().moment(sample);
        fuzz::root().host("proc/meminfo", input.piece());
        fuzz::root().host("proc/uptime", input.piece());
        fuzz::root().host("proc/stat", input.piece());
        const std::string commandLine = takeProcess(input, "proc/17");
        if ((options & 128) != 0) // a directory service names users as it likes
            answers.userName = commandLine;
        takeProcess(input, "proc/4194304");
        fuzz::root().home("aproc/shell/PSInfoLin.dat", input.piece());
        fuzz::root().home("aproc/shell/ProcessPCPU.dat", input.piece());
        fuzz::root().home("aproc/shell/vmware_proc.dat", input.piece());
        fuzz::passTime((options & 64) != 0 ? 0 : 1);
        collector->fProcMapUpdate();
        scan(*collector, options);
        collector->fProcMapErase();
        if (const char *text = collector->fMGetRealProc(); text != nullptr)
            fuzz::ensurePushTable(text, collector->fMGetNProcs(), {"ARGS", "USER", "NAME", "STIME"});
    }
}

// One process: its files are read, parsed, made a record and compared with the previous sample, in this order.
#include "process/MM_PROC_Sample.h"

#include "host/HostOpen.h"
#include "kernel/ProcessFiles.h"
#include "process/MM_PROC_Parse.h"
#include "text/FixedText.h"

#include <new>
#include <utility>

namespace {

static_assert(zel::PROCESS_RECORD_SIZE == PROC_TEXT_SIZE);

// The owner and the stat file.
bool takeIdentity(zel::ProcessFiles &files, proc_s &raw, _ST_PROC &record) {
    if (!files.owner(raw.uid))
        return false;
    char *stat = files.stat();
    if (stat == nullptr || !zel::parseStat(stat, raw))
        return false;
    files.takeFlags(raw.flags);
    zel::copyText(record.l_strFName, zel::commandName(stat));
    return true;
}

bool takeMemory(zel::ProcessFiles &files, proc_s &raw) {
    const char *statm = files.statm();
    return statm != nullptr && zel::parseStatm(statm, raw);
}

void takeIo(zel::LinePieces io, proc_s &raw) {
    while (char *lines = io.next())
        zel::parseIo(lines, raw);
}

void takeCommandLine(zel::ProcessFiles &files, _ST_PROC &record) {
    zel::nameByCommandLine(record, files.commandLine(record.l_strPname, sizeof(record.l_strPname)));
}

} // namespace

bool zel::sampleProcess(ProcessPass &pass, int pid, double curTime, proc_s &raw, _ST_PROC &record) {
    ProcessFiles files(pass.directory, pid, pass.scratch.text, sizeof(pass.scratch.text), pass.kept);
    if (!takeIdentity(files, raw, record) || !takeMemory(files, raw))
        return false;
    raw.io_read = 0; // a file that is denied or absent shows no other process's figures
    raw.io_write = 0;
    takeIo(files.io(), raw);
    if (pass.isPush())
        nameByCommand(record);
    else
        takeCommandLine(files, record);

    fillRecord(pass.collector, raw, pass.totalMemory, pass.start, record);
    takeRates(pass.collector, pass.samples, record, curTime);
    record.l_nIsUpNow = 1;
    return true;
}

bool zel::sampleRealProcess(ProcessPass &pass, int pid, proc_s &raw, _ST_PROC &record) {
    ProcessFiles files(pass.directory, pid, pass.scratch.text, sizeof(pass.scratch.text), pass.kept);
    if (!takeIdentity(files, raw, record))
        return false;
    takeCommandLine(files, record);
    record.l_nPid = pid;
    fillOwnerAndStart(pass.collector, raw, record);
    return true;
}

int CMM_PROC_Info::fMReadProcTable(int pid, proc_s *raw, _ST_PROC *out, unsigned long totalMemKB, double curTime,
                                   int mode) {
    const zel::ScopedDescriptor directory = zel::openHostDirectory("/proc");
    zel::ProcessScratch *scratch = m_state->scratch();
    if (!directory.valid() || scratch == nullptr)
        return 0;
    zel::ProcessPass pass{*this, *scratch, directory.get(), nullptr, mode, totalMemKB};
    try {
        return zel::sampleProcess(pass, pid, curTime, *raw, *out);
    } catch (const std::bad_alloc &) { // no memory for the sample of a process that is new
        return 0;
    }
}

int CMM_PROC_Info::fMRealReadProcTable(int pid, proc_s *raw, _ST_PROC *out) {
    const zel::ScopedDescriptor directory = zel::openHostDirectory("/proc");
    zel::ProcessScratch *scratch = m_state->scratch();
    if (!directory.valid() || scratch == nullptr)
        return 0;
    zel::ProcessPass pass{*this, *scratch, directory.get()};
    return zel::sampleRealProcess(pass, pid, *raw, *out);
}

int CMM_PROC_Info::fMIo2Proc(const char *path, proc_s *raw) {
    zel::ScopedDescriptor file = zel::openHostFile(path);
    zel::ProcessScratch *scratch = m_state->scratch();
    if (file.valid() && scratch != nullptr) {
        takeIo({std::move(file), scratch->text, sizeof(scratch->text)}, *raw);
    } else {
        raw->io_read = 0;
        raw->io_write = 0;
    }
    return 1;
}

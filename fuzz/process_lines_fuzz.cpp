// The texts of /proc/<pid>: stat and statm against sscanf with the required formats, io, and the rendering of command
// lines.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "MM_PROC_Info.h"
#include "RootOnTmpfs.h"
#include "Surroundings.h"

#include <cstdio>
#include <cstring>
#include <memory>

namespace {

// The tail after the last ")" as the required format reads it.
int scanTail(const char *tail, proc_s &p) {
    return std::sscanf(
        tail,
        "%c %d %d %d %d %d %lu %lu %lu %lu %lu %ld %ld %ld %ld %d %d %lu %lu %ld %lu %lu %lu %lu %lu %lu "
        "%lu %lu %LX %LX %LX %LX %lu",
        &p.state, &p.ppid, &p.pgrp, &p.session, &p.tty, &p.tpgid, &p.flags, &p.min_flt, &p.cmin_flt, &p.maj_flt,
        &p.cmaj_flt, &p.utime, &p.stime, &p.cutime, &p.cstime, &p.priority, &p.nice, &p.num_threads, &p.it_real_value,
        &p.start_time, &p.vsize, &p.rss, &p.rss_rlim, &p.start_code, &p.end_code, &p.start_stack, &p.kstk_esp,
        &p.kstk_eip, reinterpret_cast<unsigned long long *>(&p.signal),
        reinterpret_cast<unsigned long long *>(&p.blocked), reinterpret_cast<unsigned long long *>(&p.sigignore),
        reinterpret_cast<unsigned long long *>(&p.sigcatch), &p.wchan);
}

void ensureStat(CMM_PROC_Info &collector, const std::string &stat) {
    proc_s found{};
    std::string text = stat;
    const int parsed = collector.fMStat2Proc(text.data(), &found);
    fuzz::ensureTerminated(found.cmd);
    const std::size_t close = stat.rfind(')');
    fuzz::ensure(parsed == 0 || close != std::string::npos, "a text without a name is a process");
    if (parsed == 0)
        return;
    proc_s expected{};
    const char *tail = stat.c_str() + close + 1;
    fuzz::ensure(scanTail(*tail == '\0' ? tail : tail + 1, expected) == 33, "more fields than sscanf finds");
    fuzz::ensure(found.ppid == expected.ppid && found.utime == expected.utime && found.stime == expected.stime &&
                     found.priority == expected.priority && found.num_threads == expected.num_threads &&
                     found.start_time == expected.start_time && found.vsize == expected.vsize &&
                     found.rss == expected.rss && found.signal == expected.signal && found.wchan == expected.wchan,
                 "another field than sscanf");
}

void ensureStatm(CMM_PROC_Info &collector, const char *statm) {
    proc_s found{};
    proc_s e{};
    const int parsed = collector.fMStatm2Proc(statm, &found);
    const int fields = std::sscanf(statm, "%ld %ld %ld %ld %ld %ld %ld", &e.size, &e.resident, &e.share, &e.trs, &e.lrs,
                                   &e.drs, &e.dt);
    fuzz::ensure(parsed == (fields == 7 ? 1 : 0), "another verdict than sscanf");
    fuzz::ensure(parsed == 0 || (found.size == e.size && found.resident == e.resident && found.dt == e.dt),
                 "another field than sscanf");
}

} // namespace

FUZZ_TARGET(process_lines_fuzz) {
    fuzz::freshSurroundings();
    static const auto collector = std::make_unique<CMM_PROC_Info>(); // the parsers keep nothing in it
    ensureStat(*collector, input.text());
    ensureStatm(*collector, input.text().c_str());
    proc_s process{};
    fuzz::root().host("proc/17/io", input.piece());
    collector->fMIo2Proc("/proc/17/io", &process);
    std::string commandLine = input.piece();
    collector->xfrm_cmdline(commandLine.data(), static_cast<int>(commandLine.size()));
    collector->fMCmdline2Proc(commandLine.c_str(), &process);
    fuzz::ensureTerminated(process.args);
}

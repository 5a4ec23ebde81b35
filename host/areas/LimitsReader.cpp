// Reads what a host can run out of, and how much of it is used.
#include "host/areas/AreaReader.h"
#include "host/areas/SecurityReader.h"
#include "host/source/Attribute.h"
#include "host/source/Clocks.h"
#include "host/source/LineScan.h"
#include "host/source/NetFiles.h"

namespace zel {

namespace {

constexpr std::int64_t secondsBetweenLimits = 30;
constexpr std::size_t keyUsersAtMost = 65536; // more is not believed

// A file of one number.
struct NumberFile {
    const char *path;
    Count Limits::*member;
};
constexpr NumberFile uses[] = {
    {"proc/sys/fs/aio-nr", &Limits::aioRequests},
    {"proc/sys/kernel/pty/nr", &Limits::terminals},
    {"proc/sys/kernel/random/entropy_avail", &Limits::entropyAvailableBits},
};
constexpr NumberFile limits[] = {
    {"proc/sys/fs/nr_open", &Limits::filesPerProcessLimit},
    {"proc/sys/fs/aio-max-nr", &Limits::aioRequestsLimit},
    {"proc/sys/kernel/threads-max", &Limits::threadsLimit},
    {"proc/sys/kernel/pid_max", &Limits::pidsLimit},
    {"proc/sys/vm/max_map_count", &Limits::memoryMapsPerProcessLimit},
    {"proc/sys/fs/inotify/max_user_instances", &Limits::inotifyInstancesPerUserLimit},
    {"proc/sys/fs/inotify/max_user_watches", &Limits::inotifyWatchesPerUserLimit},
    {"proc/sys/kernel/pty/max", &Limits::terminalsLimit},
    {"proc/sys/kernel/shmmni", &Limits::sharedMemorySegmentsLimit},
    {"proc/sys/kernel/msgmni", &Limits::messageQueuesLimit},
    {"proc/sys/kernel/random/poolsize", &Limits::entropyPoolBits},
    {"proc/sys/net/ipv4/neigh/default/gc_thresh3", &Limits::arpEntriesLimit},
    {"proc/sys/net/ipv6/neigh/default/gc_thresh3", &Limits::ndiscEntriesLimit},
};

// A file of several numbers in one line; null for one that is not wanted.
struct LineFile {
    const char *path;
    std::array<Count Limits::*, 5> members;
};
constexpr LineFile lineFiles[] = {
    // 596	0	2466177
    {"proc/sys/fs/file-nr", {&Limits::filesAllocated, &Limits::filesUnused, &Limits::filesLimit}},
    // 88726	0
    {"proc/sys/fs/inode-nr", {&Limits::inodesAllocated, &Limits::inodesUnused}},
    // 372092	368693	45	0	281812	0
    {"proc/sys/fs/dentry-state",
     {&Limits::dentriesAllocated, &Limits::dentriesUnused, nullptr, nullptr, &Limits::dentriesNegative}},
    // 32000	1024000000	500	32000
    {"proc/sys/kernel/sem", {nullptr, nullptr, nullptr, &Limits::semaphoreArraysLimit}},
};

// A table whose lines behind the heading are counted.
constexpr NumberFile tables[] = {
    {"proc/sysvipc/sem", &Limits::semaphoreArrays},
    {"proc/sysvipc/shm", &Limits::sharedMemorySegments},
    {"proc/sysvipc/msg", &Limits::messageQueues},
};

bool takeLine(const char *cursor, const LineFile &line, Limits &row) {
    bool whole = true;
    for (Count Limits::*const member : line.members) {
        if (endsLine(*skipSpaces(cursor)) && member == nullptr)
            return whole;
        const Count value = takeCount(cursor);
        whole &= value.has();
        if (member != nullptr)
            row.*member = value;
    }
    return whole;
}

std::uint64_t linesBehindHeading(const char *text) {
    std::uint64_t lines = 0;
    for (text = nextLine(text); *text != '\0'; text = nextLine(text))
        ++lines;
    return lines;
}

// Sample:     0:     9 8/8 3/1000000 40/25000000
bool takeKeyUser(const char *cursor, KeyUser &user) {
    const Count uid = takeCount(cursor, ':');
    if (!uid || *cursor != ':')
        return false;
    user.uid = *uid;
    forget(user, Absence::Malformed);
    takeCount(++cursor); // references
    takeWord(cursor);    // keys and those that can be used
    user.keys = takeCount(cursor, '/');
    if (*cursor != '/')
        return false;
    user.keysLimit = takeCount(++cursor);
    user.bytes = takeCount(cursor, '/');
    if (*cursor != '/')
        return false;
    user.bytesLimit = takeCount(++cursor);
    return user.keys && user.keysLimit && user.bytes && user.bytesLimit;
}

// A file and the field that it gives.
struct Source {
    const NumberFile *what;
    Attribute file;
};
std::vector<Source> sourcesOf(std::span<const NumberFile> files, KeptScope scope) {
    std::vector<Source> sources;
    for (const NumberFile &file : files)
        sources.push_back({&file, Attribute(file.path, scope)});
    return sources;
}

class LimitsReader : public AreaReader {
public:
    bool hasOneStep() const override { return true; }

    LimitsReader() {
        for (const LineFile &line : lineFiles)
            m_lines.emplace_back(line.path);
        for (const NumberFile &table : tables)
            m_tables.emplace_back(table.path, Records::Many);
    }

    void read(Take &take) override {
        m_any = false;
        forget(take.sample.limits, Absence::Unsupported);
        readNumbers(take, m_uses, take.sample.limits);
        readLimits(take);
        readLines(take);
        readTables(take);
        readThreads(take);
        readNeighbours(take);
        readKeyUsers(take);
        m_security.read(take);
        if (!m_any)
            loseArea(take.sample, Area::Limits, ENOENT, lineFiles[0].path);
    }

private:
    void note(Take &take, int error, std::string_view file) {
        m_any |= error == 0;
        noteUnlessMissing(take.sample.area(Area::Limits), error, file);
    }

    void readNumbers(Take &take, std::vector<Source> &sources, Limits &row) {
        for (Source &source : sources) {
            row.*source.what->member = source.file.number(take.root);
            note(take, source.file.error(), source.file.path());
        }
    }

    void readLimits(Take &take) {
        const std::int64_t now = coarseSeconds();
        if (!take.root.own() || now - m_limitsReadAt >= secondsBetweenLimits) {
            readNumbers(take, m_limits, m_known);
            m_limitsReadAt = now;
        }
        for (const NumberFile &limit : limits)
            take.sample.limits.*limit.member = m_known.*limit.member;
    }

    void readLines(Take &take) {
        for (std::size_t index = 0; index < m_lines.size(); ++index) {
            SourceFile &file = m_lines[index];
            int error = file.read(take.root);
            if (error != 0)
                loseLine(lineFiles[index], absenceOf(error), take.sample.limits);
            else if (!takeLine(file.text().data(), lineFiles[index], take.sample.limits))
                error = NOT_ITS_FORMAT;
            note(take, error, file.path());
        }
    }

    static void loseLine(const LineFile &line, Absence reason, Limits &row) {
        for (Count Limits::*const member : line.members) {
            if (member != nullptr)
                row.*member = reason;
        }
    }

    void readTables(Take &take) {
        for (std::size_t index = 0; index < m_tables.size(); ++index) {
            SourceFile &file = m_tables[index];
            const int error = file.read(take.root);
            Count &count = take.sample.limits.*tables[index].member;
            count = error == 0 ? Count(linesBehindHeading(file.text().data())) : Count(absenceOf(error));
            note(take, error, file.path());
        }
    }

    // Sample: 0.37 0.60 0.24 2/212 12345
    void readThreads(Take &take) {
        constexpr int averages = 3;
        int error = take.loadavg.read(take.root);
        Count &threads = take.sample.limits.threads;
        threads = absenceOf(error);
        if (error == 0) {
            const char *cursor = take.loadavg.file().text().data();
            for (int average = 0; average < averages; ++average)
                takeWord(cursor);
            takeCount(cursor, '/');
            threads = *cursor == '/' ? takeCount(++cursor) : Count(Absence::Malformed);
            error = threads ? 0 : NOT_ITS_FORMAT;
        }
        note(take, error, take.loadavg.file().path());
    }

    // Sample: entries  allocs   destroys
    //         00000002 00000086 0000008c
    void readNeighbours(Take &take) {
        m_net.startSample();
        readEntries(take, m_arp, take.sample.limits.arpEntries);
        readEntries(take, m_ndisc, take.sample.limits.ndiscEntries);
    }
    void readEntries(Take &take, SourceFile &file, Count &entries) {
        int error = m_net.read(take.root, file);
        entries = absenceOf(error);
        if (error == 0) {
            const char *line = nextLine(file.text().data());
            entries = takeHexadecimal(line);
            error = entries ? 0 : NOT_ITS_FORMAT;
        }
        note(take, error, file.path());
    }

    void readKeyUsers(Take &take) {
        Rows<KeyUser> &users = take.sample.keyUsers;
        users.clear();
        int error = m_keyUsers.read(take.root);
        const char *line = error == 0 ? m_keyUsers.text().data() : "";
        for (; *line != '\0'; line = nextLine(line)) {
            if (users.size() == keyUsersAtMost) {
                error = E2BIG;
                break;
            }
            if (takeKeyUser(line, users.append()))
                continue;
            error = NOT_ITS_FORMAT;
            users.dropLast();
        }
        note(take, error, m_keyUsers.path());
    }

    std::vector<Source> m_uses = sourcesOf(uses, KeptScope::Machine);
    std::vector<Source> m_limits = sourcesOf(limits, KeptScope::Never);
    std::vector<SourceFile> m_lines, m_tables;
    NetFiles m_net;
    SourceFile m_arp{"proc/net/stat/arp_cache", Records::Many};
    SourceFile m_ndisc{"proc/net/stat/ndisc_cache", Records::Many};
    SecurityReader m_security;
    SourceFile m_keyUsers{"proc/key-users", Records::Many};
    Limits m_known; // of the limits alone
    std::int64_t m_limitsReadAt = LONG_AGO;
    bool m_any = false;
};

} // namespace

std::unique_ptr<AreaReader> limitsReader() {
    return std::make_unique<LimitsReader>();
}

} // namespace zel

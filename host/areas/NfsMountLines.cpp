// Parses the NFS mounts of /proc/self/mountstats.
#include "host/areas/NfsMountLines.h"

#include "host/areas/NfsOperationLines.h"
#include "host/source/LineScan.h"
#include "host/source/SourceFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <span>

namespace zel {

namespace {

constexpr std::string_view mountStart = "device ", noDeviceStart = "no device ";

bool startsMount(const char *line) {
    return startsWith(line, mountStart) || startsWith(line, noDeviceStart);
}

// The words of the first line, as they stand there.
struct Head {
    std::string_view device, mountPoint, type;
};

// Sample: device 192.0.2.1:/srv mounted on /mnt/a\040b with fstype nfs4 statvers=1.1
bool takeHead(const char *line, Head &head) {
    if (!startsWith(line, mountStart))
        return false;
    const char *cursor = line + mountStart.size();
    head.device = takeWord(cursor);
    if (takeWord(cursor) != "mounted" || takeWord(cursor) != "on")
        return false;
    head.mountPoint = takeWord(cursor);
    if (takeWord(cursor) != "with" || takeWord(cursor) != "fstype")
        return false;
    head.type = takeWord(cursor);
    return head.type == "nfs" || head.type == "nfs4";
}

std::string_view restOfLine(const char *cursor) {
    return {cursor, std::strcspn(cursor, "\n")};
}

// The value of a key such as "vers" in a list such as "rw,vers=4.2,hard"; a null pointer without that key.
std::string_view valueOf(std::string_view list, std::string_view key) {
    while (!list.empty()) {
        const std::string_view item = list.substr(0, list.find(','));
        if (item.size() > key.size() && item.starts_with(key) && item[key.size()] == '=')
            return item.substr(key.size() + 1);
        list.remove_prefix(std::min(list.size(), item.size() + 1));
    }
    return {};
}

void takeText(std::string_view list, std::string_view key, Reading<std::string> &reading) {
    const std::string_view value = valueOf(list, key);
    if (value.empty())
        reading.clear(Absence::Unsupported);
    else
        reading.set(value);
}

// False for a value that is no number.
bool takeNumber(std::string_view list, std::string_view key, Count &reading) {
    std::string_view value = valueOf(list, key);
    const bool hexadecimal = value.starts_with("0x");
    value.remove_prefix(hexadecimal ? 2 : 0);
    if (value.data() == nullptr) {
        reading = Absence::Unsupported;
        return true;
    }
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number, hexadecimal ? 16 : 10);
    const bool whole = error == std::errc() && end == value.data() + value.size();
    reading = whole ? Count(number) : Count(Absence::Malformed);
    return whole;
}

struct Keyed {
    std::string_view key;
    Count NfsMount::*member;
};

bool takeNumbers(std::string_view list, std::span<const Keyed> keys, NfsMount &mount) {
    bool whole = true;
    for (const Keyed &each : keys)
        whole &= takeNumber(list, each.key, mount.*each.member);
    return whole;
}

// Sample: rw,vers=4.2,rsize=1048576,wsize=1048576,namlen=255,hard,proto=tcp,timeo=600,retrans=2,sec=sys
bool takeOptions(std::string_view list, NfsMount &mount) {
    constexpr Keyed keys[] = {{"rsize", &NfsMount::readSizeBytes}, {"wsize", &NfsMount::writeSizeBytes}};
    mount.options.set(list);
    const std::string_view access = list.substr(0, list.find(','));
    mount.readOnly = access == "ro" ? Count(1) : access == "rw" ? Count(0) : Count(Absence::Malformed);
    takeText(list, "vers", mount.version);
    takeText(list, "proto", mount.protocol);
    takeText(list, "sec", mount.security);
    return takeNumbers(list, keys, mount) && mount.readOnly.has();
}

// Sample: caps=0xfff7,wtmult=512,dtsize=32768,bsize=0,namlen=255
bool takeCapabilities(std::string_view list, NfsMount &mount) {
    constexpr Keyed keys[] = {{"caps", &NfsMount::capabilities},
                              {"wtmult", &NfsMount::writeMultipleBytes},
                              {"dtsize", &NfsMount::directoryReadBytes},
                              {"bsize", &NfsMount::blockSizeBytes},
                              {"namlen", &NfsMount::nameLength}};
    return takeNumbers(list, keys, mount);
}

// Sample: bm0=0xfdffafff,bm1=0xf9be3e,bm2=0x0,acl=0x0,sessions,pnfs=not configured,lease_time=90,lease_expired=0
bool takeVersion4(std::string_view list, NfsMount &mount) {
    constexpr Keyed keys[] = {{"lease_time", &NfsMount::leaseSeconds},
                              {"lease_expired", &NfsMount::leaseExpiredSeconds}};
    takeText(list, "pnfs", mount.parallel);
    return takeNumbers(list, keys, mount);
}

// Sample: flavor=1,pseudoflavor=1
bool takeSecurity(std::string_view list, NfsMount &mount) {
    constexpr Keyed keys[] = {{"flavor", &NfsMount::securityFlavour},
                              {"pseudoflavor", &NfsMount::securityPseudoFlavour}};
    return takeNumbers(list, keys, mount);
}

bool takeAge(std::string_view text, NfsMount &mount) {
    const char *cursor = text.data();
    mount.ageSeconds = takeCount(cursor);
    return mount.ageSeconds.has();
}

// Sample: 52 226 0 0 1 13 398 0 0 331 0 47 0 0 77 0 0 77 0 0 0 0 0 0 0 0 0
bool takeColumns(std::string_view text, std::span<Count NfsMount::*const> columns, NfsMount &mount) {
    const char *cursor = text.data();
    bool whole = true;
    for (Count NfsMount::*column : columns) {
        if (whole && endsLine(*skipSpaces(cursor)))
            break; // an older kernel has no more
        mount.*column = takeCount(cursor);
        whole = (mount.*column).has(); // the cursor stays: neither is the rest a number
    }
    return whole;
}

bool takeEvents(std::string_view text, NfsMount &mount) {
    using M = NfsMount;
    constexpr std::array<Count M::*, 27> columns{&M::inodeRevalidations,
                                                 &M::entryRevalidations,
                                                 &M::dataInvalidations,
                                                 &M::attributeInvalidations,
                                                 &M::opens,
                                                 &M::lookups,
                                                 &M::accessChecks,
                                                 &M::pageUpdates,
                                                 &M::pageReads,
                                                 &M::groupedPageReads,
                                                 &M::pageWrites,
                                                 &M::groupedPageWrites,
                                                 &M::directoryReads,
                                                 &M::attributeChanges,
                                                 &M::flushes,
                                                 &M::syncs,
                                                 &M::locks,
                                                 &M::releases,
                                                 &M::congestionWaits,
                                                 &M::truncations,
                                                 &M::extendingWrites,
                                                 &M::sillyRenames,
                                                 &M::shortReads,
                                                 &M::shortWrites,
                                                 &M::delays,
                                                 &M::parallelReads,
                                                 &M::parallelWrites};
    return takeColumns(text, columns, mount);
}

bool takeBytes(std::string_view text, NfsMount &mount) {
    using M = NfsMount;
    constexpr std::array<Count M::*, 8> columns{&M::readBytes,          &M::writtenBytes,    &M::directReadBytes,
                                                &M::directWrittenBytes, &M::serverReadBytes, &M::serverWrittenBytes,
                                                &M::readPages,          &M::writtenPages};
    return takeColumns(text, columns, mount);
}

struct Line {
    std::string_view key;
    bool (*take)(std::string_view text, NfsMount &mount);
};
constexpr Line lines[] = {
    {"opts:\t", takeOptions}, {"age:\t", takeAge},       {"caps:\t", takeCapabilities}, {"nfsv4:\t", takeVersion4},
    {"sec:\t", takeSecurity}, {"events:\t", takeEvents}, {"bytes:\t", takeBytes},
};

} // namespace

std::string_view nfsMountLine(const char *line) {
    Head head;
    return takeHead(line, head) ? restOfLine(line) : std::string_view();
}

const char *nextMount(const char *line) {
    do
        line = nextLine(line);
    while (*line != '\0' && !startsMount(line));
    return line;
}

bool parseNfsMount(const char *line, const char *end, NfsMountRows rows) {
    NfsMount &mount = rows.mount;
    Head head;
    forget(mount, Absence::Unsupported);
    if (!takeHead(line, head))
        return false;
    unescape(head.device, mount.device);
    unescape(head.mountPoint, mount.mountPoint);
    mount.type = head.type;
    NfsRpcLines rpc(rows);
    bool whole = true;
    for (line = nextLine(line); line < end; line = nextLine(line)) {
        const char *text = skipSpaces(line);
        const auto known = std::find_if(std::begin(lines), std::end(lines),
                                        [text](const Line &each) { return startsWith(text, each.key); });
        if (known != std::end(lines))
            whole &= known->take(restOfLine(text + known->key.size()), mount);
        else
            whole &= rpc.take(text);
    }
    whole &= rpc.finish();
    return whole && mount.ageSeconds.has();
}

} // namespace zel

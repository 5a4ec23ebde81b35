// Parses what the kernel says of sockets, packet queues, tracked connections and neighbours.
#include "host/areas/PacketLines.h"

#include "host/areas/ProtocolLines.h"
#include "host/source/LineScan.h"
#include "host/source/SourceFile.h"

#include <algorithm>
#include <unordered_map>

namespace zel {

namespace {

// Beyond any kernel: what a file states beyond it is not believed.
constexpr std::size_t processorsAtMost = 65536;
constexpr std::size_t interfacesAtMost = 65536;
constexpr std::size_t nameLimit = 64;

enum class In : unsigned char { Pieces, Bytes, Pages };

constexpr struct {
    std::string_view line;
    std::string_view key;
    In unit;
    Count Sockets::*member;
} socketKeys[] = {
    {"sockets", "used", In::Pieces, &Sockets::used},
    {"TCP", "inuse", In::Pieces, &Sockets::tcpInUse},
    {"TCP", "orphan", In::Pieces, &Sockets::tcpOrphans},
    {"TCP", "tw", In::Pieces, &Sockets::tcpTimeWaits},
    {"TCP", "alloc", In::Pieces, &Sockets::tcpAllocated},
    {"TCP", "mem", In::Pages, &Sockets::tcpMemoryBytes},
    {"UDP", "inuse", In::Pieces, &Sockets::udpInUse},
    {"UDP", "mem", In::Pages, &Sockets::udpMemoryBytes},
    {"UDPLITE", "inuse", In::Pieces, &Sockets::udpLiteInUse},
    {"RAW", "inuse", In::Pieces, &Sockets::rawInUse},
    {"FRAG", "inuse", In::Pieces, &Sockets::fragmentQueues},
    {"FRAG", "memory", In::Bytes, &Sockets::fragmentMemoryBytes},
    {"TCP6", "inuse", In::Pieces, &Sockets::tcp6InUse},
    {"UDP6", "inuse", In::Pieces, &Sockets::udp6InUse},
    {"UDPLITE6", "inuse", In::Pieces, &Sockets::udpLite6InUse},
    {"RAW6", "inuse", In::Pieces, &Sockets::raw6InUse},
    {"FRAG6", "inuse", In::Pieces, &Sockets::fragment6Queues},
    {"FRAG6", "memory", In::Bytes, &Sockets::fragment6MemoryBytes},
};

bool takeSocketValue(const ProtocolLines::Place &place, std::string_view key, const char *&cursor,
                     std::uint64_t pageBytes, Sample &sample) {
    const auto same = [&](const auto &entry) { return entry.line == place.protocol && entry.key == key; };
    const auto *const entry = std::find_if(std::begin(socketKeys), std::end(socketKeys), same);
    if (entry == std::end(socketKeys))
        return ProtocolLines::takeOther(sample, place, key, cursor);
    Count &value = sample.sockets.*entry->member;
    value = scaledCount(takeCount(cursor), entry->unit == In::Pages ? pageBytes : 1);
    return value.has();
}

// The columns of softnet_stat. Where a kernel has fewer, the rest is unsupported; the places between have no meaning
// any more.
constexpr std::size_t placeOfProcessor = 12;
constexpr std::size_t softnetColumnsLeast = 9;
constexpr std::size_t softnetColumnsMost = 15;
constexpr struct {
    std::size_t place;
    Count Softnet::*member;
} softnetColumns[] = {
    {0, &Softnet::processed},     {1, &Softnet::dropped},     {2, &Softnet::timesSqueezed},
    {8, &Softnet::cpuCollisions}, {9, &Softnet::receivedRps}, {10, &Softnet::flowLimits},
    {11, &Softnet::backlog},      {13, &Softnet::inputQueue}, {14, &Softnet::processQueue},
};

// Sample: 00049279 00000000 00000001 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
bool takeSoftnetLine(const char *cursor, std::size_t place, Softnet &row) {
    std::array<std::uint64_t, softnetColumnsMost> values{};
    std::size_t columns = 0;
    for (; columns < values.size(); ++columns) {
        const Count value = takeHexadecimal(cursor);
        if (!value)
            break;
        values[columns] = *value;
    }
    const bool whole = columns >= softnetColumnsLeast && (columns == values.size() || endsLine(*skipSpaces(cursor)));
    row.processor = columns > placeOfProcessor ? values[placeOfProcessor] : place;
    for (const auto &column : softnetColumns) {
        const Absence reason = whole ? Absence::Unsupported : Absence::Malformed;
        row.*column.member = column.place < columns ? Count(values[column.place]) : Count(reason);
    }
    return whole;
}

constexpr struct {
    std::string_view name;
    Count Conntrack::*member;
} conntrackColumns[] = {
    {"searched", &Conntrack::searched},
    {"clashres", &Conntrack::clashResolutions},
    {"found", &Conntrack::found},
    {"new", &Conntrack::created},
    {"invalid", &Conntrack::invalid},
    {"ignore", &Conntrack::ignored},
    {"delete", &Conntrack::deleted},
    {"delete_list", &Conntrack::deletedList},
    {"chainlength", &Conntrack::chainTooLong},
    {"insert", &Conntrack::inserted},
    {"insert_failed", &Conntrack::insertFailed},
    {"drop", &Conntrack::dropped},
    {"early_drop", &Conntrack::earlyDropped},
    {"icmp_error", &Conntrack::icmpErrors},
    {"expect_new", &Conntrack::expectNew},
    {"expect_create", &Conntrack::expectCreated},
    {"expect_delete", &Conntrack::expectDeleted},
    {"search_restart", &Conntrack::searchRestarts},
};
constexpr std::size_t conntrackColumnsMost = 32;

// The members of the columns; null for those that are no sum.
struct ConntrackHeading {
    std::array<Count Conntrack::*, conntrackColumnsMost> members{};
    std::size_t size = 0;

    explicit ConntrackHeading(const char *cursor) {
        for (std::string_view name = takeWord(cursor); !name.empty() && size < members.size(); name = takeWord(cursor))
            members[size++] = memberOf(name);
    }

private:
    static Count Conntrack::*memberOf(std::string_view name) {
        const auto *const found = std::find_if(std::begin(conntrackColumns), std::end(conntrackColumns),
                                               [name](const auto &column) { return column.name == name; });
        return found == std::end(conntrackColumns) ? nullptr : found->member;
    }
};

bool addConntrackLine(const char *cursor, const ConntrackHeading &heading, Conntrack &conntrack) {
    for (std::size_t column = 0; column < heading.size; ++column) {
        const Count value = takeHexadecimal(cursor);
        if (!value || *value > UINT32_MAX)
            return false;
        if (Count Conntrack::*const member = heading.members[column]; member != nullptr)
            conntrack.*member = *(conntrack.*member) + *value;
    }
    return true;
}

// Sample: 192.0.2.1        0x1         0x2         02:fc:00:00:00:05     *        eth0
struct ArpLine {
    std::string_view interface;
    std::uint64_t flags = 0;

    explicit ArpLine(const char *cursor) {
        takeWord(cursor); // address
        takeWord(cursor); // kind of hardware
        const std::string_view word = takeWord(cursor);
        if (!word.starts_with("0x"))
            return;
        const char *digits = word.data() + 2;
        const Count number = takeHexadecimal(digits);
        takeWord(cursor); // hardware address
        takeWord(cursor); // mask
        const std::string_view name = takeWord(cursor);
        flags = number.valueOr(0);
        if (number && name.size() <= nameLimit)
            interface = name;
    }
};

} // namespace

// Sample: TCP: inuse 4 orphan 0 tw 4 alloc 17 mem 1
bool takeSocketStatistics(std::string_view file, const char *text, std::uint64_t pageBytes, Sample &sample) {
    bool whole = *text != '\0';
    for (const char *line = text; *line != '\0'; line = nextLine(line)) {
        const char *cursor = line;
        std::string_view name = takeWord(cursor);
        if (!name.ends_with(':')) {
            whole = false;
            continue;
        }
        name.remove_suffix(1);
        for (std::string_view key = takeWord(cursor); !key.empty(); key = takeWord(cursor)) {
            if (takeSocketValue({file, name}, key, cursor, pageBytes, sample))
                continue;
            whole = false;
            takeWord(cursor);
        }
    }
    return whole;
}

bool takeSoftnet(const char *text, Rows<Softnet> &rows) {
    bool whole = *text != '\0';
    for (const char *line = text; *line != '\0'; line = nextLine(line)) {
        if (rows.size() == processorsAtMost)
            return false;
        const std::size_t place = rows.size();
        whole &= takeSoftnetLine(line, place, rows.append());
    }
    return whole;
}

bool takeConntrack(const char *text, Conntrack &conntrack) {
    const ConntrackHeading heading(text);
    const auto setAll = [&](const Count &value) {
        for (std::size_t column = 0; column < heading.size; ++column) {
            if (heading.members[column] != nullptr)
                conntrack.*heading.members[column] = value;
        }
    };
    setAll(std::uint64_t{0});
    std::size_t lines = 0;
    for (const char *line = nextLine(text); *line != '\0'; line = nextLine(line), ++lines) {
        if (lines < processorsAtMost && addConntrackLine(line, heading, conntrack))
            continue;
        setAll(Absence::Malformed);
        return false;
    }
    if (lines == 0)
        setAll(Absence::Malformed);
    return lines > 0;
}

bool takeArpLines(const char *text, Rows<Neighbours> &rows) {
    constexpr std::uint64_t permanent = 4; // ATF_PERM
    bool whole = *text != '\0';
    std::unordered_map<std::string_view, std::size_t> places;
    for (const char *line = nextLine(text); *line != '\0'; line = nextLine(line)) {
        const ArpLine entry(line);
        if (entry.interface.empty() || (places.size() == interfacesAtMost && !places.contains(entry.interface))) {
            whole = false;
            continue;
        }
        const auto [place, isNew] = places.try_emplace(entry.interface, rows.size());
        if (isNew) {
            Neighbours &row = rows.append();
            row.interface = entry.interface;
            row.protocol = "arp";
            forget(row, Absence::Unsupported);
            row.entries = row.permanent = std::uint64_t{0};
        }
        Neighbours &row = rows[place->second];
        row.entries = *row.entries + 1;
        row.permanent = *row.permanent + ((entry.flags & permanent) != 0 ? 1 : 0);
    }
    return whole;
}

} // namespace zel

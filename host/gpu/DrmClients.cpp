// Finds the descriptors that processes have on graphics cards, and reads what they use.
#include "host/gpu/DrmClients.h"

#include "host/DirectoryWalk.h"
#include "host/source/LineScan.h"
#include "host/source/SourceFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace zel {

namespace {

constexpr std::string_view cardFiles = "/dev/dri/";
constexpr double perNano = 1e-9;
constexpr std::size_t fdinfoSize = 4096; // of the longest that drivers write several times

// What the lines of one descriptor say.
struct Usage {
    std::string_view driver, address;
    Count client;
    Count resident, residentSystem; // what is in memory now, by drivers that tell it from
    Count memory, memorySystem;     // what is allocated
    Number engines, render, compute, copy, video;
};

bool isAnyOf(std::string_view word, std::initializer_list<std::string_view> words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

bool startsWithAnyOf(std::string_view word, std::initializer_list<std::string_view> starts) {
    return std::any_of(starts.begin(), starts.end(), [word](auto start) { return word.starts_with(start); });
}

void add(Count &sum, const Count &count) {
    std::uint64_t total = 0;
    if (!count)
        return;
    if (__builtin_add_overflow(sum.valueOr(0), *count, &total))
        sum = Absence::Malformed;
    else
        sum = total;
}

// Sample: drm-engine-gfx: 1234567 ns
void takeEngine(std::string_view name, const char *cursor, Usage &usage) {
    const Count nanoseconds = takeCount(cursor);
    if (!nanoseconds || takeWord(cursor) != "ns")
        return;
    const double seconds = static_cast<double>(*nanoseconds) * perNano;
    usage.engines = usage.engines.valueOr(0) + seconds;
    Number *part = nullptr;
    if (isAnyOf(name, {"gfx", "render", "3d", "fragment"}))
        part = &usage.render;
    else if (name == "compute")
        part = &usage.compute;
    else if (isAnyOf(name, {"dma", "copy"}))
        part = &usage.copy;
    else if (startsWithAnyOf(name, {"enc", "dec", "video", "jpeg", "vpe"}))
        part = &usage.video;
    if (part != nullptr)
        *part = part->valueOr(0) + seconds;
}

// Sample: drm-memory-vram: 32 KiB
void takeMemory(std::string_view region, const char *cursor, Count &own, Count &system) {
    const Count count = takeCount(cursor);
    const std::string_view unit = takeWord(cursor);
    const std::uint64_t factor = unit == "KiB" ? 1024 : unit == "MiB" ? 1024 * 1024 : 1;
    const bool isOwn = startsWithAnyOf(region, {"vram", "local", "lmem"});
    add(isOwn ? own : system, scaledCount(count, factor));
}

void takeLine(std::string_view key, const char *cursor, Usage &usage) {
    const auto rest = [&key](std::string_view start) { return key.substr(start.size()); };
    if (key == "drm-driver")
        usage.driver = takeWord(cursor);
    else if (key == "drm-pdev")
        usage.address = takeWord(cursor);
    else if (key == "drm-client-id")
        usage.client = takeCount(cursor);
    else if (key.starts_with("drm-engine-") && !key.starts_with("drm-engine-capacity-"))
        takeEngine(rest("drm-engine-"), cursor, usage);
    else if (key.starts_with("drm-resident-"))
        takeMemory(rest("drm-resident-"), cursor, usage.resident, usage.residentSystem);
    else if (key.starts_with("drm-memory-"))
        takeMemory(rest("drm-memory-"), cursor, usage.memory, usage.memorySystem);
}

Usage usageOf(const char *text) {
    Usage usage;
    for (const char *line = text; *line != '\0'; line = nextLine(line)) {
        const std::size_t length = std::strcspn(line, ":\n");
        if (line[length] == ':')
            takeLine({line, length}, line + length + 1, usage);
    }
    return usage;
}

void addSeconds(Number &sum, const Number &more) {
    if (more)
        sum = sum.valueOr(0) + *more;
}

// The rows of a process stand together: its descriptors are read one after the other.
GpuProcess &rowOf(const std::string &gpu, std::uint64_t pid, Rows<GpuProcess> &processes) {
    for (std::size_t index = processes.size(); index-- > 0 && processes[index].pid == pid;) {
        if (processes[index].gpu == gpu && processes[index].kind == "drm")
            return processes[index];
    }
    GpuProcess &row = processes.append();
    forget(row, Absence::Unsupported);
    row.gpu = gpu;
    row.pid = pid;
    row.kind = "drm";
    return row;
}

} // namespace

bool DrmClients::isWrittenBy(std::string_view driver) {
    return isAnyOf(driver, {"amdgpu", "i915", "xe", "nouveau", "msm", "panfrost", "panthor", "v3d", "etnaviv", "lima"});
}

bool DrmClients::searchProcess(const HostDirectory &root, std::uint64_t pid) {
    const std::string path = "proc/" + std::to_string(pid) + "/fd";
    ScopedDescriptor opened = root.open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (!opened.valid())
        return true; // it has ended, or belongs to somebody else
    DirectoryRoom<4096> room;
    DirectoryWalk walk(std::move(opened), room);
    while (const char *name = walk.next()) {
        std::array<char, cardFiles.size()> target;
        unsigned long long number = 0;
        const char *end = name;
        if (*name == '.' || !scanPlain(end, number) || *end != '\0')
            continue;
        if (++m_looked > DESCRIPTORS_AT_MOST)
            return false;
        const ssize_t length = readlinkat(walk.descriptor(), name, target.data(), target.size());
        if (length != static_cast<ssize_t>(cardFiles.size()) ||
            std::string_view(target.data(), target.size()) != cardFiles)
            continue;
        if (m_descriptors.size() == CLIENTS_AT_MOST)
            return false;
        m_descriptors.push_back({pid, number});
    }
    return true;
}

int DrmClients::search(const HostDirectory &root) {
    m_descriptors.clear();
    m_looked = 0;
    ScopedDescriptor opened = root.open("proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (!opened.valid())
        return errno;
    DirectoryRoom<32768> room;
    DirectoryWalk walk(std::move(opened), room);
    while (const char *name = walk.next()) {
        unsigned long long pid = 0;
        const char *end = name;
        if (digitValue<10>(*name) <= 9 && scanPlain(end, pid) && *end == '\0' && !searchProcess(root, pid))
            return E2BIG;
    }
    return walk.error();
}

// False when the descriptor is none of a card any more.
bool DrmClients::takeClient(const char *text, const std::vector<Card> &cards, std::uint64_t pid,
                            Rows<GpuProcess> &processes) {
    const Usage usage = usageOf(text);
    if (usage.driver.empty())
        return false;
    const auto card = std::find_if(cards.begin(), cards.end(), [&usage](const Card &each) {
        return usage.address == each.address && (!usage.address.empty() || usage.driver == each.driver);
    });
    if (card == cards.end() || !usage.client)
        return true;
    const Client client{static_cast<std::size_t>(card - cards.begin()), *usage.client};
    const auto place = std::lower_bound(m_seen.begin(), m_seen.end(), client);
    if (place != m_seen.end() && *place == client)
        return true;
    m_seen.insert(place, client);
    GpuProcess &row = rowOf(card->name, pid, processes);
    add(row.usedBytes, usage.resident ? usage.resident : usage.memory);
    add(row.systemBytes, usage.residentSystem ? usage.residentSystem : usage.memorySystem);
    addSeconds(row.engineSeconds, usage.engines);
    addSeconds(row.renderSeconds, usage.render);
    addSeconds(row.computeSeconds, usage.compute);
    addSeconds(row.copySeconds, usage.copy);
    addSeconds(row.videoSeconds, usage.video);
    return true;
}

int DrmClients::read(const HostDirectory &root, const std::vector<Card> &cards, Rows<GpuProcess> &processes) {
    const auto now = std::chrono::steady_clock::now();
    if (!root.own() || now >= m_searchAt) {
        m_searchError = search(root);
        m_searchAt = now + SEARCH_PERIOD;
    }
    m_seen.clear();
    std::array<char, fdinfoSize + 1> text;
    std::string path;
    std::erase_if(m_descriptors, [&](const Descriptor &each) {
        path.assign("proc/").append(std::to_string(each.pid)).append("/fdinfo/").append(std::to_string(each.number));
        const ScopedDescriptor file = root.open(path.c_str(), HOST_FILE_FLAGS);
        const ssize_t length = file.valid() ? ::read(file.get(), text.data(), fdinfoSize) : -1;
        text[static_cast<std::size_t>(std::max<ssize_t>(length, 0))] = '\0';
        return length < 0 || !takeClient(text.data(), cards, each.pid, processes);
    });
    return m_searchError;
}

} // namespace zel

// Parses the mount table, and finds the mounts that are hidden.
#include "host/areas/MountTable.h"

#include "host/source/LineScan.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>
#include <utility>

namespace zel {

namespace {

constexpr std::size_t mountLimit = 100000; // as many as a kernel lets a namespace have

// The text up to the next blank, which is passed over. Fields may be empty: exactly one blank is between two.
std::string_view takeField(std::string_view &line) {
    const std::size_t end = std::min(line.find(' '), line.size());
    const std::string_view field = line.substr(0, end);
    line.remove_prefix(std::min(end + 1, line.size()));
    return field;
}

Count wholeNumber(std::string_view field) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), number);
    return error == std::errc() && end == field.data() + field.size() && !field.empty() ? Count(number)
                                                                                        : Count(Absence::Malformed);
}

bool hasOption(std::string_view options, std::string_view wanted) {
    while (!options.empty()) {
        const std::size_t end = std::min(options.find(','), options.size());
        if (options.substr(0, end) == wanted)
            return true;
        options.remove_prefix(std::min(end + 1, options.size()));
    }
    return false;
}

void setReadOnly(Mount &mount) {
    const auto saysSo = [](const Reading<std::string> &options) { return options.has() && hasOption(*options, "ro"); };
    mount.readOnly = static_cast<std::uint64_t>(saysSo(mount.options) || saysSo(mount.superOptions));
}

void unescapeInto(std::string_view field, Reading<std::string> &reading, std::string &memory) {
    unescape(field, memory);
    reading.set(memory);
}

// The optional fields, up to the hyphen that ends them. False without one.
bool takePropagation(std::string_view &line, Reading<std::string> &propagation) {
    const std::string_view fields = line;
    std::size_t length = 0;
    while (!line.empty()) {
        const std::string_view field = takeField(line);
        if (field == "-") {
            if (length == 0)
                propagation.clear(Absence::Unsupported);
            else
                propagation.set(fields.substr(0, length - 1));
            return true;
        }
        length += field.size() + 1;
    }
    return false;
}

using Place = std::pair<std::uint64_t, std::string_view>; // the mount that one is on, and its mount point

// What hides mounts: the places at which mounts are, and which mounts are on each.
class Covers {
public:
    explicit Covers(const std::vector<Mount> &mounts) {
        for (std::size_t index = 0; index < mounts.size(); ++index) {
            if (!isFirst(mounts[index]))
                m_places[{*mounts[index].parent, mounts[index].mountPoint}] = index; // the last one is on top
            m_children.emplace(*mounts[index].parent, index);
            m_ids.insert(*mounts[index].id);
        }
    }

    // A mount on the root of this one.
    bool isCovered(const Mount &mount) const { return m_places.contains({*mount.id, mount.mountPoint}); }

    // A mount at the same place, or at a directory above it, of the mount that it is on.
    bool isBehindAnother(const Mount &mount, std::size_t index) const {
        const std::string_view path = mount.mountPoint;
        if (isFirst(mount))
            return false;
        if (const auto here = m_places.find({*mount.parent, path}); here != m_places.end() && here->second != index)
            return true;
        if (path.size() > 1 && m_places.contains({*mount.parent, "/"}))
            return true;
        for (std::size_t end = path.find('/', 1); end != std::string_view::npos; end = path.find('/', end + 1)) {
            if (m_places.contains({*mount.parent, path.substr(0, end)}))
                return true;
        }
        return false;
    }

    auto childrenOf(const Mount &mount) const { return m_children.equal_range(*mount.id); }
    bool isTop(const Mount &mount) const { return isFirst(mount) || !m_ids.contains(*mount.parent); }

private:
    // The first mount of a kernel, which is on itself.
    static bool isFirst(const Mount &mount) { return *mount.parent == *mount.id; }

    std::map<Place, std::size_t> m_places;
    std::multimap<std::uint64_t, std::size_t> m_children;
    std::set<std::uint64_t> m_ids;
};

} // namespace

// Sample: 36 35 98:0 /mnt1 /mnt2 rw,noatime master:1 - ext3 /dev/root rw,errors=continue
bool parseMountInfo(std::string_view line, Mount &mount) {
    std::string memory;
    mount.id = wholeNumber(takeField(line));
    mount.parent = wholeNumber(takeField(line));
    const std::string_view device = takeField(line);
    const std::size_t colon = std::min(device.find(':'), device.size());
    mount.major = wholeNumber(device.substr(0, colon));
    mount.minor = wholeNumber(device.substr(std::min(colon + 1, device.size())));
    if (!mount.id || !mount.parent || !mount.major || !mount.minor)
        return false;
    unescapeInto(takeField(line), mount.root, memory);
    unescape(takeField(line), mount.mountPoint);
    mount.options.set(takeField(line));
    if (mount.mountPoint.empty() || !takePropagation(line, mount.propagation))
        return false;
    unescape(takeField(line), mount.type);
    unescape(takeField(line), mount.device);
    mount.superOptions.set(line.substr(0, line.find(' ')));
    setReadOnly(mount);
    mount.hidden = Absence::Unsupported;
    return !mount.type.empty();
}

// Sample: /dev/root /mnt2 ext3 rw,noatime,errors=continue 0 0
bool parseMount(std::string_view line, Mount &mount) {
    unescape(takeField(line), mount.device);
    unescape(takeField(line), mount.mountPoint);
    unescape(takeField(line), mount.type);
    mount.options.set(takeField(line));
    mount.id = mount.parent = mount.major = mount.minor = mount.hidden = Absence::Unsupported;
    mount.root.clear(Absence::Unsupported);
    mount.superOptions.clear(Absence::Unsupported);
    mount.propagation.clear(Absence::Unsupported);
    setReadOnly(mount);
    return !mount.mountPoint.empty() && !mount.type.empty() && !(*mount.options).empty();
}

bool MountTable::parse(std::string_view text, Format format) {
    if (text == m_text && format == m_format && !m_text.empty())
        return false;
    m_mounts.clear();
    m_malformed = 0;
    m_text.clear(); // of an unfinished one nothing is believed
    std::string_view rest = text;
    while (!rest.empty() && m_mounts.size() < mountLimit) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        const std::string_view line = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (line.empty())
            continue;
        Mount &mount = m_mounts.emplace_back();
        if (format == Format::MountInfo ? parseMountInfo(line, mount) : parseMount(line, mount))
            continue;
        m_mounts.pop_back();
        ++m_malformed;
    }
    if (format == Format::MountInfo)
        noteHidden();
    m_text = text;
    m_format = format;
    return true;
}

// From the mounts that are on none of the table, upwards: what is on a hidden mount is hidden too, unless it is what
// covers the root of that mount. Mounts that no such way leads to, which no kernel writes, stay "unsupported".
void MountTable::noteHidden() {
    const Covers covers(m_mounts);
    std::vector<std::pair<std::size_t, bool>> open; // mounts to look at, and whether the way to them is hidden
    for (std::size_t index = 0; index < m_mounts.size(); ++index) {
        if (covers.isTop(m_mounts[index]))
            open.emplace_back(index, false);
    }
    while (!open.empty()) {
        const auto [index, wayHidden] = open.back();
        open.pop_back();
        Mount &mount = m_mounts[index];
        if (mount.hidden)
            continue; // a number that stands twice
        const bool lost = wayHidden || covers.isBehindAnother(mount, index);
        mount.hidden = static_cast<std::uint64_t>(lost || covers.isCovered(mount));
        const auto [first, last] = covers.childrenOf(mount);
        for (auto child = first; child != last; ++child) {
            if (child->second != index)
                open.emplace_back(child->second, lost);
        }
    }
}

} // namespace zel

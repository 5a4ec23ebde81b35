// Parses the mount table, and finds the mounts that are hidden.
#include "host/areas/MountTable.h"

#include "host/source/LineScan.h"

#include <algorithm>
#include <charconv>
#include <span>
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

// A mount point without the slash at its end, which only the root has: then it leads the paths of all that is below.
std::string_view placeOf(const Mount &mount) {
    const std::string_view path = mount.mountPoint;
    return path == "/" ? path.substr(1) : path;
}

bool isBelow(std::string_view path, std::string_view directory) {
    return path.size() > directory.size() && path[directory.size()] == '/' && path.starts_with(directory);
}

// The order in which everything below a directory follows it at once.
bool precedes(std::string_view one, std::string_view other) {
    const auto rank = [](char character) { return character == '/' ? 0 : 1 + static_cast<unsigned char>(character); };
    return std::lexicographical_compare(one.begin(), one.end(), other.begin(), other.end(),
                                        [&rank](char left, char right) { return rank(left) < rank(right); });
}

// The first mount of a kernel, which is on itself.
bool isFirst(const Mount &mount) {
    return *mount.parent == *mount.id;
}

// What is mounted on what, and what hides what among the mounts that are on the same one. Its cost is that of sorting,
// whatever the table holds.
class Places {
public:
    explicit Places(const std::vector<Mount> &mounts) : m_mounts(mounts), m_behindAnother(mounts.size()) {
        for (std::size_t index = 0; index < mounts.size(); ++index) {
            m_ids.push_back(*mounts[index].id);
            if (!isFirst(mounts[index]))
                m_order.push_back(index);
        }
        std::sort(m_ids.begin(), m_ids.end());
        std::sort(m_order.begin(), m_order.end(),
                  [this](std::size_t left, std::size_t right) { return comesBefore(left, right); });
        noteBehind();
    }

    // The mounts that are on this one.
    std::span<const std::size_t> on(const Mount &mount) const {
        const auto first = std::partition_point(m_order.begin(), m_order.end(),
                                                [&](std::size_t index) { return *m_mounts[index].parent < *mount.id; });
        const auto last = std::partition_point(first, m_order.end(),
                                               [&](std::size_t index) { return *m_mounts[index].parent == *mount.id; });
        return {first, last};
    }
    // The place of its number among all numbers: that of another mount too, where a number stands twice.
    std::size_t rankOf(const Mount &mount) const {
        return static_cast<std::size_t>(std::lower_bound(m_ids.begin(), m_ids.end(), *mount.id) - m_ids.begin());
    }
    // A mount on the root of this one.
    bool isCovered(const Mount &mount) const {
        const std::span<const std::size_t> mountsOnIt = on(mount);
        const std::string_view place = placeOf(mount);
        const auto found = std::partition_point(mountsOnIt.begin(), mountsOnIt.end(), [&](std::size_t index) {
            return precedes(placeOf(m_mounts[index]), place);
        });
        return found != mountsOnIt.end() && placeOf(m_mounts[*found]) == place;
    }
    // A later mount at the same place of the mount that it is on, or one on the way to that place.
    bool isBehindAnother(std::size_t index) const { return m_behindAnother[index]; }
    // On none of the table.
    bool isTop(const Mount &mount) const {
        return isFirst(mount) || !std::binary_search(m_ids.begin(), m_ids.end(), *mount.parent);
    }

private:
    bool comesBefore(std::size_t left, std::size_t right) const {
        const Mount &one = m_mounts[left], &other = m_mounts[right];
        if (*one.parent != *other.parent)
            return *one.parent < *other.parent;
        if (placeOf(one) != placeOf(other))
            return precedes(placeOf(one), placeOf(other));
        return left > right; // the last one of the table is on top
    }

    void noteBehind() {
        const Mount *cover = nullptr;
        for (const std::size_t index : m_order) {
            const Mount &mount = m_mounts[index];
            const bool behind = cover != nullptr && *cover->parent == *mount.parent &&
                                (placeOf(mount) == placeOf(*cover) || isBelow(placeOf(mount), placeOf(*cover)));
            m_behindAnother[index] = behind;
            if (!behind)
                cover = &mount;
        }
    }

    const std::vector<Mount> &m_mounts;
    std::vector<std::uint64_t> m_ids;
    std::vector<std::size_t> m_order; // by the mount they are on, and by their place
    std::vector<bool> m_behindAnother;
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
    const Places places(m_mounts);
    std::vector<std::pair<std::size_t, bool>> open; // mounts to look at, and whether the way to them is hidden
    std::vector<bool> seen(m_mounts.size());        // by rank
    for (std::size_t index = 0; index < m_mounts.size(); ++index) {
        if (places.isTop(m_mounts[index]))
            open.emplace_back(index, false);
    }
    while (!open.empty()) {
        const auto [index, wayHidden] = open.back();
        open.pop_back();
        Mount &mount = m_mounts[index];
        const std::size_t rank = places.rankOf(mount);
        if (seen[rank])
            continue; // a number that stands twice, which no kernel writes either
        seen[rank] = true;
        const bool lost = wayHidden || places.isBehindAnother(index);
        mount.hidden = static_cast<std::uint64_t>(lost || places.isCovered(mount));
        for (const std::size_t child : places.on(mount))
            open.emplace_back(child, lost);
    }
}

} // namespace zel

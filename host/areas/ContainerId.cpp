// Finds containers in the paths of cgroups.
#include "host/areas/ContainerId.h"

#include <algorithm>

namespace zel {

namespace {

constexpr std::size_t idLength = 64;
constexpr std::size_t longestName = 255; // of a directory entry
constexpr std::string_view escapedDash = "\\x2d";

bool isHexadecimal(char character) {
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f');
}

bool removePrefix(std::string_view &text, std::string_view prefix) {
    if (!text.starts_with(prefix) || text.size() == prefix.size())
        return false;
    text.remove_prefix(prefix.size());
    return true;
}

bool removeSuffix(std::string_view &text, std::string_view suffix) {
    if (!text.ends_with(suffix) || text.size() == suffix.size())
        return false;
    text.remove_suffix(suffix.size());
    return true;
}

// Samples: <id>   docker-<id>.scope   cri-containerd-<id>.scope   crio-<id>.scope   libpod-<id>.scope
//          kubepods-besteffort-pod1234.slice:cri-containerd:<id>
// The monitor of a container (crio-conmon-<id>.scope) is outside of it.
std::string_view idIn(std::string_view name) {
    removeSuffix(name, ".scope");
    if (name.size() < idLength)
        return {};
    const std::string_view id = name.substr(name.size() - idLength);
    const std::string_view runtime = name.substr(0, name.size() - idLength);
    const bool separate = runtime.empty() || runtime.ends_with('-') || runtime.ends_with(':');
    const bool isMonitor = runtime.find("conmon") != std::string_view::npos;
    return separate && !isMonitor && std::all_of(id.begin(), id.end(), isHexadecimal) ? id : std::string_view();
}

// Samples: lxc/web   lxc.payload/web   lxc.payload.web   machine-web\x2d1.scope   systemd-nspawn@web.service
// Virtual machines have scopes of the same kind (machine-qemu\x2d1\x2dweb.scope).
std::string_view nameIn(std::string_view parent, std::string_view name) {
    if (parent == "lxc" || parent == "lxc.payload" || removePrefix(name, "lxc.payload."))
        return name;
    if (removePrefix(name, "systemd-nspawn@"))
        return removeSuffix(name, ".service") ? name : std::string_view();
    const bool isMachine = removePrefix(name, "machine-") && removeSuffix(name, ".scope");
    return isMachine && !name.starts_with("qemu\\x2d") ? name : std::string_view();
}

// The last name of a path, which is taken off it.
std::string_view takeLast(std::string_view &path) {
    const std::size_t slash = path.rfind('/');
    const std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
    path.remove_suffix(slash == std::string_view::npos ? path.size() : name.size() + 1);
    return name;
}

std::string_view lastOf(std::string_view path) {
    return takeLast(path);
}

// Unit names have no dashes of their own.
void setUnescaped(std::string_view name, Reading<std::string> &container) {
    char plain[longestName];
    std::size_t length = 0;
    for (std::size_t at = 0; at < name.size() && length < longestName; ++length) {
        const bool escaped = name.substr(at).starts_with(escapedDash);
        plain[length] = escaped ? '-' : name[at];
        at += escaped ? escapedDash.size() : 1;
    }
    container.set(std::string_view(plain, length));
}

} // namespace

void takeContainer(std::string_view cgroup, Reading<std::string> &container) {
    removeSuffix(cgroup, " (deleted)");
    while (!cgroup.empty()) {
        const std::string_view name = takeLast(cgroup);
        std::string_view found = idIn(name);
        if (found.empty())
            found = nameIn(lastOf(cgroup), name);
        if (found.empty())
            continue;
        return setUnescaped(found, container);
    }
    container.clear(Absence::Unsupported);
}

} // namespace zel

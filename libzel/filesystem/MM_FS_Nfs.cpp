#include "filesystem/MM_FS_Nfs.h"

#include "CheckNfs.h"
#include "Settings.h"
#include "filesystem/MM_FS_Mounts.h"
#include "host/RegularFile.h"
#include "scripts/HomeScripts.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

namespace {

enum CheckFlag { CHECK_BY_PORTMAPPER = 1, CHECK_BY_CONNECTION = 2 };

bool probe(const char *source) {
    return (g_nNfsStatusCheckFlag == CHECK_BY_CONNECTION ? fgNfsCheck(source) : chknfsmnt(source)) >= 1;
}

bool probeWanted() {
    return g_nNfsStatusCheckFlag == CHECK_BY_PORTMAPPER || g_nNfsStatusCheckFlag == CHECK_BY_CONNECTION;
}

// A name that holds a line feed must not make a line of its own.
std::string onOneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

bool writeWhole(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = write(file, text.data(), text.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

bool isBelow(std::string_view path, std::string_view directory) {
    if (directory == "/")
        return true;
    return path.size() > directory.size() && path.starts_with(directory) && path[directory.size()] == '/';
}

} // namespace

namespace zel {

bool isNfs(const char *type) {
    return std::strstr(type, "nfs") != nullptr;
}

NfsWalk::NfsWalk() : m_list(openToWrite(NFS_LIST)) {}

void NfsWalk::meet(const MountEntry &entry) {
    m_mountPoints.emplace_back(entry.mountPoint);
}

bool NfsWalk::list(const MountEntry &entry) {
    if (!m_list.valid())
        return true;
    const std::string line = onOneLine(std::string(entry.mountPoint) + "|" + entry.device) + "\n";
    return writeWhole(m_list.get(), line);
}

bool NfsWalk::serverAnswers(const char *source) {
    if (!probeWanted())
        return true;
    const std::string_view host(source, std::strcspn(source, ":"));
    const auto known = m_answers.find(host);
    if (known != m_answers.end())
        return known->second;
    const bool answers = probe(source);
    m_answers.emplace(host, answers);
    return answers;
}

bool NfsWalk::mayHang(const char *mountPoint) const {
    return std::any_of(m_mountPoints.begin(), m_mountPoints.end(),
                       [mountPoint](const std::string &nfs) { return nfs == mountPoint || isBelow(mountPoint, nfs); });
}

} // namespace zel

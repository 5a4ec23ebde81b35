// The path that is opened for the path of a kernel or system file.
#include "HostRoot.h"

#include <climits>
#include <cstring>

char g_strHostRoot[HOST_ROOT_SIZE];

const char *fgHostPath(const char *path) {
    if (g_strHostRoot[0] == '\0' || path[0] != '/')
        return path;

    thread_local char hostPath[HOST_ROOT_SIZE + PATH_MAX];
    const std::size_t rootLength = strnlen(g_strHostRoot, HOST_ROOT_SIZE - 1);
    const std::size_t pathLength = std::strlen(path);
    if (pathLength >= PATH_MAX)
        return "";
    std::memcpy(hostPath, g_strHostRoot, rootLength);
    std::memcpy(hostPath + rootLength, path, pathLength + 1);
    return hostPath;
}

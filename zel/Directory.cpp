// Looks at directories.
#include "zel/Directory.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace zel {

std::string directoryProblem(const std::string &path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0)
        return std::strerror(errno);
    return S_ISDIR(status.st_mode) ? "" : std::strerror(ENOTDIR);
}

std::string rootProblem(const std::string &path) {
    const std::string problem = directoryProblem(path);
    return problem.empty()
               ? problem
               : problem + "; a root is a directory that holds proc, sys and etc of a host, such as / or /host";
}

} // namespace zel

// Reads small files and directories below the host root.
#include "HostFile.h"

#include "HostRoot.h"
#include "host/DirectoryWalk.h"
#include "host/HostOpen.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <unistd.h>

namespace inventory {

namespace {

constexpr std::size_t lineSize = 4096;
constexpr std::size_t bytesSize = 255;
constexpr std::size_t namesRoom = 32768; // bytes of names that the kernel is asked for at a time
constexpr const char *blanks = " \t\r\n";

bool naturalLess(const std::string &left, const std::string &right) {
    return strverscmp(left.c_str(), right.c_str()) < 0;
}

} // namespace

std::string trimmed(const std::string &text) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string readLine(const std::string &path) {
    const zel::ScopedFile file = zel::openHostStream(path.c_str());
    char line[lineSize];
    if (!file || std::fgets(line, sizeof(line), file.get()) == nullptr)
        return {};
    return trimmed(line);
}

std::string readBytes(const std::string &path) {
    const zel::ScopedFile file = zel::openHostStream(path.c_str());
    char bytes[bytesSize];
    return file ? std::string(bytes, std::fread(bytes, 1, sizeof(bytes), file.get())) : std::string();
}

std::string readValue(const std::string &path, const std::string &key) {
    const zel::ScopedFile file = zel::openHostStream(path.c_str());
    char line[lineSize];
    while (file && std::fgets(line, sizeof(line), file.get()) != nullptr) {
        const char *colon = std::strchr(line, ':');
        if (colon != nullptr && trimmed(std::string(line, static_cast<std::size_t>(colon - line))) == key)
            return trimmed(colon + 1);
    }
    return {};
}

std::vector<std::string> listDirectory(const std::string &path) {
    std::vector<std::string> names;
    zel::DirectoryRoom<namesRoom> room;
    zel::DirectoryWalk directory(path.c_str(), room);
    if (!directory.isOpen())
        return names;
    while (const char *name = directory.next()) {
        if (std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0)
            names.emplace_back(name);
    }
    std::sort(names.begin(), names.end(), naturalLess);
    return names;
}

std::string linkTarget(const std::string &path) {
    char target[PATH_MAX];
    const ssize_t length = readlink(fgHostPath(path.c_str()), target, sizeof(target));
    if (length <= 0)
        return {};
    const std::string text(target, static_cast<std::size_t>(length));
    return text.substr(text.find_last_of('/') + 1);
}

bool exists(const std::string &path) {
    return access(fgHostPath(path.c_str()), F_OK) == 0;
}

std::string orDash(const std::string &text) {
    return text.empty() ? "-" : text;
}

} // namespace inventory

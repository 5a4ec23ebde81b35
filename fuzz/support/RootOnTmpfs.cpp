// Makes the directory that a fuzz target reads as its host and its home.
#include "RootOnTmpfs.h"

#include "Ensure.h"
#include "HostRoot.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace fuzz {

namespace {

std::filesystem::path base() {
    if (const char *chosen = std::getenv("ZEL_FUZZ_ROOT"); chosen != nullptr)
        return chosen;
    constexpr const char *memory = "/dev/shm";
    return access(memory, W_OK) == 0 ? memory : std::filesystem::temp_directory_path();
}

} // namespace

RootOnTmpfs::RootOnTmpfs() {
    m_path = (base() / "zel-fuzz-XXXXXX").string();
    ensure(mkdtemp(m_path.data()) != nullptr, "no directory for the host");
    for (const char *directory : {"/agent/bin", "/agent/aproc/shell", "/agent/aproc/inv", "/agent/buffer"})
        std::filesystem::create_directories(m_path + directory);
    ensure(chdir((m_path + "/agent/bin").c_str()) == 0, "no working directory");
    moment(0);
}

RootOnTmpfs::~RootOnTmpfs() {
    std::error_code ignored;
    std::filesystem::current_path("/", ignored);
    std::filesystem::remove_all(m_path, ignored);
}

void RootOnTmpfs::moment(int number) const {
    std::snprintf(g_strHostRoot, sizeof(g_strHostRoot), "%s/host%d", m_path.c_str(), number);
}

void RootOnTmpfs::host(const std::string &path, const std::string &content) const {
    write(std::string(g_strHostRoot) + "/" + path, content);
}

void RootOnTmpfs::home(const std::string &path, const std::string &content) const {
    write(m_path + "/agent/" + path, content);
}

void RootOnTmpfs::removeHome(const std::string &path) const {
    const std::string directory = m_path + "/agent/" + path;
    std::error_code ignored;
    std::filesystem::remove_all(directory, ignored);
    std::erase_if(m_contents, [&](const auto &file) { return file.first.starts_with(directory); });
}

void RootOnTmpfs::write(const std::string &path, const std::string &content) const {
    const auto known = m_contents.try_emplace(path, ABSENT).first;
    if (known->second == content)
        return;
    known->second = content;
    if (content == ABSENT) {
        unlink(path.c_str());
        return;
    }
    constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
    int file = open(path.c_str(), flags, 0600);
    if (file < 0 && errno == ENOENT) {
        std::error_code ignored;
        std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
        file = open(path.c_str(), flags, 0600);
    }
    ensure(file >= 0, "a file of the host cannot be written");
    ensure(::write(file, content.data(), content.size()) == static_cast<ssize_t>(content.size()), "the memory is full");
    close(file);
}

const RootOnTmpfs &root() {
    static const RootOnTmpfs only;
    return only;
}

} // namespace fuzz

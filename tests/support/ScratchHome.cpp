// Makes the directories of a home and works in it.
#include "ScratchHome.h"
#include "Paths.h"

namespace fs = std::filesystem;

ScratchHome::ScratchHome() : m_previousDirectory(fs::current_path()) {
    for (const char *directory : {"utils/ETC", "utils/INSTALL", "agent/bin/shell/LINUX", "agent/aproc/shell",
                                  "agent/aproc/inv", "agent/buffer"})
        fs::create_directories(m_home.path() / directory);
    fs::current_path(m_home.path() / "agent/bin");
}

ScratchHome::~ScratchHome() {
    std::error_code ignored;
    fs::current_path(m_previousDirectory, ignored);
}

void ScratchHome::script(const std::string &relativePath, const std::string &text) const {
    m_home.write(relativePath, "#!/bin/sh\n" + text);
    fs::permissions(m_home.path() / relativePath, fs::perms::owner_all);
}

void ScratchHome::plainCommandRunner() const {
    script("utils/ETC/ShCmd", "shift\nexec \"$@\"\n");
}

void ScratchHome::installKit() const {
    const auto options = fs::copy_options::recursive | fs::copy_options::overwrite_existing;
    for (const char *part : {"utils", "agent"})
        fs::copy(fs::path(paths::sourceRoot) / "runtime" / part, path() / part, options);
    // The checkout may be one that a group writes.
    for (const auto &entry : fs::recursive_directory_iterator(path()))
        fs::permissions(entry, fs::perms::group_write | fs::perms::others_write, fs::perm_options::remove);
    fs::copy_file(paths::commandRunner, path() / "utils/ETC/ShCmd");
    fs::copy_file(paths::inventoryProgram, path() / "agent/bin/libinvinfo");
}

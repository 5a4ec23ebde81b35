// A staged home: the directory layout that the library runs in, with the working directory home/agent/bin.
#pragma once

#include "TempDirectory.h"

#include <string>

class ScratchHome {
public:
    /// Makes the home and changes into agent/bin; the destructor changes back.
    ScratchHome();
    ~ScratchHome();
    ScratchHome(const ScratchHome &) = delete;
    ScratchHome &operator=(const ScratchHome &) = delete;

    /// A file by its path from the home, such as "agent/aproc/shell/partitions.dat".
    void write(const std::string &relativePath, const std::string &text) const { m_home.write(relativePath, text); }
    std::string read(const std::string &relativePath) const { return m_home.read(relativePath); }
    bool exists(const std::string &relativePath) const { return m_home.exists(relativePath); }
    void remove(const std::string &relativePath) const { m_home.remove(relativePath); }
    /// An executable shell script.
    void script(const std::string &relativePath, const std::string &text) const;
    /// A command runner that ignores the time-out and runs the command.
    void plainCommandRunner() const;

    /// The real home kit: command runner, scripts, inventory program.
    void installKit() const;

    const std::filesystem::path &path() const { return m_home.path(); }

private:
    TempDirectory m_home;
    std::filesystem::path m_previousDirectory;
};

// A directory of the test's own, removed with everything in it.
#pragma once

#include <filesystem>
#include <string>

class TempDirectory {
public:
    TempDirectory();
    ~TempDirectory();
    TempDirectory(const TempDirectory &) = delete;
    TempDirectory &operator=(const TempDirectory &) = delete;

    const std::filesystem::path &path() const { return m_path; }

    /// Writes a file below the directory, making its parents; returns its full path.
    std::string write(const std::string &relativePath, const std::string &text) const;
    /// The content of a file below the directory; fails the test when there is none.
    std::string read(const std::string &relativePath) const;
    bool exists(const std::string &relativePath) const { return std::filesystem::exists(m_path / relativePath); }
    void remove(const std::string &relativePath) const { std::filesystem::remove_all(m_path / relativePath); }

private:
    std::filesystem::path m_path;
};

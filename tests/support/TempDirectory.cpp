// Makes a directory with a fresh name and removes it.
#include "TempDirectory.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

TempDirectory::TempDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zel-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("no scratch directory: " + pattern);
    m_path = pattern;
}

TempDirectory::~TempDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string TempDirectory::write(const std::string &relativePath, const std::string &text) const {
    const std::filesystem::path file = m_path / relativePath;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
    return file.string();
}

std::string TempDirectory::read(const std::string &relativePath) const {
    std::ifstream file(m_path / relativePath, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << "no file " << m_path / relativePath;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

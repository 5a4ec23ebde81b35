// Sets the host root to a fixture, or to a directory of the test's own.
#include "HostFixture.h"
#include "Paths.h"

#include <cstdio>
#include <gtest/gtest.h>

namespace {

void setRoot(const std::string &root) {
    std::snprintf(g_strHostRoot, sizeof(g_strHostRoot), "%s", root.c_str());
}

} // namespace

HostFixture::HostFixture() {
    setRoot(m_scratch.path().string());
}

HostFixture::HostFixture(const std::string &name) {
    show(name);
}

HostFixture::~HostFixture() {
    setRoot("");
}

void HostFixture::show(const std::string &name) {
    const std::string root = std::string(paths::fixtures) + "/" + name;
    ASSERT_TRUE(std::filesystem::is_directory(root)) << "no fixture " << root;
    setRoot(root);
}

#include "HostFixture.h"

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
    const std::string root = std::string(ZEL_FIXTURES) + "/" + name;
    ASSERT_TRUE(std::filesystem::is_directory(root)) << "no fixture " << root;
    setRoot(root);
}

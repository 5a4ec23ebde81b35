// Text functions of the runtime: addresses, hash, file patterns, inventory values, and the host root before a path.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "HostRoot.h"
#include "NGFunctions.h"
#include "RootOnTmpfs.h"
#include "SSUtil.h"
#include "Surroundings.h"

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

int expectedHash(const std::string &text) {
    std::uint32_t hash = 0;
    for (const char character : text)
        hash = hash * 131 + static_cast<std::uint32_t>(static_cast<signed char>(character));
    return static_cast<int>(hash & 0x7FFFFFFF);
}

// Digits and three dots, no part of more than four digits or above 255, the last part not empty.
int expectedVerdict(const std::string &text) {
    int dots = 0;
    std::string part;
    for (const char character : text + ".") {
        if (character != '.') {
            part += character;
            continue;
        }
        if (part.find_first_not_of("0123456789") != std::string::npos || part.size() > 4 ||
            (!part.empty() && std::stoi(part) > 255))
            return 0;
        if (dots++ == 3 && part.empty())
            return 0;
        part.clear();
    }
    return dots == 4 ? 1 : 0;
}

void ensureHostPath(const std::string &hostRoot, const std::string &path) {
    const std::string kept = g_strHostRoot;
    std::memset(g_strHostRoot, 0, sizeof(g_strHostRoot));
    std::memcpy(g_strHostRoot, hostRoot.data(),
                std::min(hostRoot.size(), sizeof(g_strHostRoot))); // perhaps unterminated
    const std::string shown = fgHostPath(path.c_str());
    const std::string prefix(g_strHostRoot, strnlen(g_strHostRoot, sizeof(g_strHostRoot) - 1));
    const bool prefixed = !prefix.empty() && path.starts_with('/');
    if (!prefixed)
        fuzz::ensure(shown == path, "a path that is not prefixed changed");
    else
        fuzz::ensure(shown == (path.size() >= PATH_MAX ? "" : prefix + path), "another path below the root");
    std::snprintf(g_strHostRoot, sizeof(g_strHostRoot), "%s", kept.c_str());
}

} // namespace

FUZZ_TARGET(general_functions_fuzz) {
    fuzz::freshSurroundings();
    fuzz::root();
    const std::string text = input.text();
    const std::string other = input.text();
    fuzz::ensure(ELFHash(text.c_str()) == expectedHash(text), "another hash");
    fuzz::ensure(fgIPVaildCheck(text.c_str()) == expectedVerdict(text), "another verdict on an address");
    if (fgIPVaildCheck(text.c_str()) == 1 && text.size() < 16)
        fuzz::ensure(fgIPCheck(text.c_str()) == 1, "the strict check takes what the other refuses");
    ensureHostPath(text, other);

    // A name that leads out of the inventory directory is the caller's; none does here.
    if (text.find('/') == std::string::npos) {
        fStrOidWrite(text.c_str(), other.c_str());
        if (text.size() < 240 && !text.empty()) {
            const std::string path = "../aproc/inv/" + text + ".inv";
            const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.c_str(), "r"), std::fclose);
            fuzz::ensure(file != nullptr, "no inventory value");
            std::string value(other.size() + 1, '\0');
            value.resize(std::fread(value.data(), 1, value.size(), file.get()));
            fuzz::ensure(value == other, "another inventory value");
            std::remove(path.c_str());
        }
    }
    char name[256];
    fgFindFileName(text.c_str(), name);

    CSSUtil util;
    util.fFormatTime(std::strtoul(text.c_str(), nullptr, 10));
    fuzz::ensureTerminated(util.m_strHtime);
    util.fGetLocalTime(std::strtol(text.c_str(), nullptr, 10));
    fuzz::ensureTerminated(util.m_strStime);
    util.fMbyteTo1000FormInt(std::strtod(text.c_str(), nullptr));
    util.fKbyteToForm(std::strtof(text.c_str(), nullptr));
    fuzz::ensureTerminated(CSSUtil::m_strNumData);
}

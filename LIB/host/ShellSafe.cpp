#include "host/ShellSafe.h"

#include <algorithm>

namespace {

bool safeCharacter(char c) {
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    const bool digit = c >= '0' && c <= '9';
    return letter || digit || c == '.' || c == '_' || c == '-' || c == ':' || c == '@';
}

} // namespace

bool zel::shellSafe(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), safeCharacter);
}

bool zel::shellSafePath(std::string_view path) {
    return !path.empty() && std::all_of(path.begin(), path.end(), [](char c) { return c == '/' || safeCharacter(c); });
}

// Which texts from outside may become part of a shell command line.
#include "host/ShellSafe.h"

#include "text/AsciiText.h"

#include <algorithm>

namespace {

bool safeCharacter(char c) {
    return zel::isAsciiLetter(c) || zel::isAsciiDigit(c) || c == '.' || c == '_' || c == '-' || c == ':' || c == '@';
}

} // namespace

bool zel::shellSafe(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), safeCharacter);
}

bool zel::shellSafePath(std::string_view path) {
    return !path.empty() && std::all_of(path.begin(), path.end(), [](char c) { return c == '/' || safeCharacter(c); });
}

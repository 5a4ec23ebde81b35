// The one rule for text from outside that becomes part of a shell command line.
#pragma once

#include <string_view>

namespace zel {

/// True when `text` is not empty and holds only ASCII letters, digits and the characters ". _ - : @", whatever the
/// locale. Names that fail it are refused by their collector: they never reach a shell.
bool shellSafe(std::string_view text);

/// True when `path` is not empty and every name between its "/" characters is either empty or shellSafe.
bool shellSafePath(std::string_view path);

} // namespace zel

// A text for the console: names of processes and devices may hold any byte, and control bytes (line feeds, terminal
// escapes) are printed as blanks, so that no name drives the terminal or makes a line of its own.
#pragma once

#include "text/ControlBytes.h"

#include <cstdio>
#include <string_view>

namespace zel {

/// Prints `text` without a line end; the bytes in `kept` stay as they are.
inline void printPlain(std::FILE *stream, std::string_view text, std::string_view kept = {}) {
    for (std::size_t from = 0; from < text.size();) {
        const ControlBytes found = findControlBytes(text, from, kept);
        std::fwrite(text.data() + from, 1, found.at - from, stream);
        std::fwrite("  ", 1, found.length, stream);
        from = found.at + found.length;
    }
}

/// The same for a performance text. The bytes of the separators stay; inside a value there is none of them.
inline void printPerfText(std::FILE *stream, const char *text) {
    printPlain(stream, text, "\x03\x1F");
}

} // namespace zel

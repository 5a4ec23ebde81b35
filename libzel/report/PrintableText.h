// A performance text for the console: names of processes and devices may hold any byte, and control bytes (line feeds,
// terminal escapes) are printed as blanks, so that no name drives the terminal or makes a line of its own. The bytes of
// the separators stay; inside a value there is none of them.
#pragma once

#include "text/AsciiText.h"

#include <cstdio>
#include <cstring>

namespace zel {

inline bool isPrintedAsBlank(char character) {
    constexpr char separatorBytes[] = {'\x03', '\x1F'};
    return isControl(character) && std::memchr(separatorBytes, character, sizeof(separatorBytes)) == nullptr;
}

/// Prints `text` without a line end.
inline void printPerfText(std::FILE *stream, const char *text) {
    const char *run = text; // printed as it is, up to the next control byte
    for (; *text != '\0'; ++text) {
        if (!isPrintedAsBlank(*text))
            continue;
        std::fwrite(run, 1, static_cast<std::size_t>(text - run), stream);
        std::putc(' ', stream);
        run = text + 1;
    }
    std::fwrite(run, 1, static_cast<std::size_t>(text - run), stream);
}

} // namespace zel

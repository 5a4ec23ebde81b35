// One line at a time out of a stream that may hold anything: lines longer than the buffer, zero bytes, no line end.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstring>

namespace zel {

enum class Line {
    None,  // the end of the file
    Whole, // a line without its line feed; the last one needs none
    Cut    // the start of a line that does not fit; its rest was passed over
};

/// Reads the next line of `file`, which no other thread uses, into `line`. A zero byte ends the text, not the line.
template<std::size_t Size> Line readLine(std::FILE *file, char (&line)[Size]) {
    // The filling shows where the line ends, also after zero bytes: fgets writes a terminator after its last byte.
    std::memset(line, '\n', Size);
    if (fgets_unlocked(line, Size, file) == nullptr) {
        line[0] = '\0';
        return Line::None;
    }
    char *end = static_cast<char *>(std::memchr(line, '\n', Size));
    if (end == nullptr) { // the buffer is full
        int character = getc_unlocked(file);
        const bool cut = character != '\n' && character != EOF;
        while (character != '\n' && character != EOF)
            character = getc_unlocked(file);
        return cut ? Line::Cut : Line::Whole;
    }
    *end = '\0';
    return Line::Whole;
}

} // namespace zel

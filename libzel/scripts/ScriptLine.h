// Lines of the files that outside scripts write, which may hold anything.
#pragma once

#include <cstddef>
#include <cstdio>

namespace zel {

enum class Line {
    None,  // the end of the file
    Whole, // a line without its line feed; the last one needs none
    Cut    // the start of a line that does not fit; its rest was passed over
};

template<std::size_t Size> Line readLine(std::FILE *file, char (&line)[Size]) {
    std::size_t length = 0;
    bool cut = false;
    int character = 0;
    while ((character = getc_unlocked(file)) != EOF && character != '\n') {
        if (length < Size - 1)
            line[length++] = static_cast<char>(character);
        else
            cut = true;
    }
    line[length] = '\0';
    if (character == EOF && length == 0)
        return Line::None;
    return cut ? Line::Cut : Line::Whole;
}

} // namespace zel

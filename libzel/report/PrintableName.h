// A name for the console: names of mount points, interfaces and disks may hold any byte, and control bytes (line feeds,
// terminal escapes) are printed as blanks, so that a name stays within its line.
#pragma once

#include "text/ControlBytes.h"

#include <cstddef>
#include <cstring>

namespace zel {

template<std::size_t Size> class PrintableName {
public:
    explicit PrintableName(const char (&name)[Size]) {
        std::memcpy(m_text, name, Size);
        blankControlBytes(m_text, strnlen(m_text, Size));
    }
    const char *text() const { return m_text; }

private:
    char m_text[Size];
};

} // namespace zel

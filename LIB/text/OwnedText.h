// Memory that is freed with free(), and texts in it: the form in which public records own theirs.
#pragma once

#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>

namespace zel {

struct FreeDeleter {
    void operator()(void *memory) const { std::free(memory); }
};

using Text = std::unique_ptr<char, FreeDeleter>;

/// A new text of the pieces one after another; null without memory.
inline Text joinText(std::initializer_list<const char *> pieces) {
    std::size_t size = 1;
    for (const char *piece : pieces)
        size += std::strlen(piece);
    Text text(static_cast<char *>(std::calloc(size, 1)));
    if (char *end = text.get(); end != nullptr) {
        for (const char *piece : pieces)
            end = stpcpy(end, piece);
    }
    return text;
}

} // namespace zel

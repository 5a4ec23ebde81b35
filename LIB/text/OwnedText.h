// Texts on the heap that are freed with free(): the form in which public records own theirs.
#pragma once

#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>

namespace zel {

struct TextFree {
    void operator()(char *text) const { std::free(text); }
};

using Text = std::unique_ptr<char, TextFree>;

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

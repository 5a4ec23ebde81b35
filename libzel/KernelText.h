// Finding keys in the text of a kernel file.
#pragma once

#include <string_view>

namespace zel {

/// The first occurrence of `key` in `text`, or null. Where `text` is terminated, so is what stands there. `rare` is the
/// place of a character of the key that seldom stands in such a text: the search goes by it.
inline const char *findKey(std::string_view text, std::string_view key, std::size_t rare = 0) {
    for (std::size_t place = text.find(key[rare], rare); place != std::string_view::npos;
         place = text.find(key[rare], place + 1)) {
        if (text.compare(place - rare, key.size(), key) == 0)
            return text.data() + (place - rare);
    }
    return nullptr;
}

/// Behind the first occurrence of `key`, or null.
inline const char *behindKey(std::string_view text, std::string_view key, std::size_t rare = 0) {
    const char *found = findKey(text, key, rare);
    return found == nullptr ? nullptr : found + key.size();
}

} // namespace zel

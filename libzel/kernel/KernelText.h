// Finding keys in the text of a kernel file.
#pragma once

#include <cstddef>
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

/// A key that is looked for and its first occurrence, null while there is none.
struct SoughtKey {
    std::string_view key; // at least two characters
    const char *found = nullptr;

    const char *behind() const { return found == nullptr ? nullptr : found + key.size(); }
};

/// Finds the first occurrence of every key in one walk over `text`. All keys end with the character `ending`, which
/// stands about once in a line of such a text: the walk goes by it.
template<std::size_t Count> void findKeys(std::string_view text, char ending, SoughtKey (&keys)[Count]) {
    std::size_t missing = Count;
    for (std::size_t place = text.find(ending, 1); missing > 0 && place != std::string_view::npos;
         place = text.find(ending, place + 1)) {
        for (SoughtKey &sought : keys) {
            const std::size_t length = sought.key.size();
            if (sought.key[length - 2] != text[place - 1] || sought.found != nullptr || place + 1 < length ||
                text.compare(place + 1 - length, length, sought.key) != 0)
                continue;
            sought.found = text.data() + (place + 1 - length);
            --missing;
        }
    }
}

/// Behind the first occurrence of `key`, or null.
inline const char *behindKey(std::string_view text, std::string_view key, std::size_t rare = 0) {
    const char *found = findKey(text, key, rare);
    return found == nullptr ? nullptr : found + key.size();
}

} // namespace zel

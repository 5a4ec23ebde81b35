// Finding keys, and the numbers after them, in the text of a kernel file.
#pragma once

#include "text/NumberScan.h"

#include <cstddef>
#include <string_view>

namespace zel {

/// The first occurrence of `key` in `text`, or null. When `text` is terminated, the result is too. `rare` is the place
/// of a character of the key that is seldom in such a text: the search goes by it.
inline const char *findKey(std::string_view text, std::string_view key, std::size_t rare = 0) {
    for (std::size_t place = text.find(key[rare], rare); place != std::string_view::npos;
         place = text.find(key[rare], place + 1)) {
        if (text.compare(place - rare, key.size(), key) == 0)
            return text.data() + (place - rare);
    }
    return nullptr;
}

/// The text after the first occurrence of `key`, or null.
inline const char *afterKey(std::string_view text, std::string_view key, std::size_t rare = 0) {
    const char *found = findKey(text, key, rare);
    return found == nullptr ? nullptr : found + key.size();
}

/// A key that is looked for and its first occurrence, null while there is none.
struct SoughtKey {
    std::string_view key; // at least two characters
    const char *found = nullptr;

    const char *after() const { return found == nullptr ? nullptr : found + key.size(); }
};

/// Finds the first occurrence of every key in one walk over `text`. All keys end with the character `ending`, which
/// occurs about once in a line of such a text: the walk goes by it.
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

/// The end of the token at `cursor`: where "MemTotal:2403532 5" has its value, 5.
inline const char *afterToken(const char *cursor) {
    while (*cursor != '\0' && !isBlank(*cursor))
        ++cursor;
    return cursor;
}

/// The end of the token that begins with the first occurrence of `key`; null when the key is missing.
inline const char *findValue(std::string_view text, std::string_view key) {
    const char *found = findKey(text, key);
    return found == nullptr ? nullptr : afterToken(found);
}

/// Takes the number there, 0 when there is none. False when the key is missing.
inline bool takeValue(std::string_view text, std::string_view key, unsigned long long &value) {
    const char *cursor = findValue(text, key);
    if (cursor == nullptr)
        return false;
    value = takeUnsigned(cursor);
    return true;
}

/// The memory of the machine in kilobytes, from the text of /proc/meminfo. False when it is missing.
// Sample: MemTotal:        2403532 kB
inline bool parseTotalMemory(std::string_view meminfo, unsigned long long &kilobytes) {
    return takeValue(meminfo, "MemTotal:", kilobytes);
}

} // namespace zel

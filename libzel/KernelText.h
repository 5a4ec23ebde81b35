// Finding keys in the text of a kernel file.
#pragma once

#include <string_view>

namespace zel {

/// The first occurrence of `key` in `text`, or null. Where `text` is terminated, so is what stands there.
inline const char *findKey(std::string_view text, std::string_view key) {
    const std::size_t position = text.find(key);
    return position == std::string_view::npos ? nullptr : text.data() + position;
}

/// Behind the first occurrence of `key`, or null.
inline const char *behindKey(std::string_view text, std::string_view key) {
    const char *found = findKey(text, key);
    return found == nullptr ? nullptr : found + key.size();
}

} // namespace zel

// How deep the keys of a TOML text are, found without taking it apart.
#pragma once

#include <cstddef>
#include <string_view>

namespace zel {

/// The line (from 1) of the first key that has more than `most` parts; 0 when there is none. toml++ makes a table of
/// each part, and takes the tables apart again by recursion: "a.a.a..." a file long would use up the stack.
///
/// Exact for what comes before the first error of the text, where the parser ends too.
std::size_t lineOfDeepKey(std::string_view text, std::size_t most);

} // namespace zel

// What toml++ must not be given, found without taking the text apart.
#pragma once

#include <cstddef>
#include <string_view>

namespace zel {

/// The line (from 1) of the first key that has more than `most` parts; 0 when there is none. toml++ makes a table of
/// each part, and takes the tables apart again by recursion: "a.a.a..." a file long would use up the stack.
///
/// Exact for what comes before the first error of the text, where the parser ends too.
std::size_t lineOfDeepKey(std::string_view text, std::size_t most);

/// The line of the first character beyond ASCII that stands outside of texts and comments, or after a backslash; 0
/// without one. None can stand there. toml++ 3.3 compares them with kinds of blanks, and for some of them by a path
/// that its compiler takes for unreachable. A mark of byte order may open the text.
std::size_t lineOfStrayCharacter(std::string_view text);

} // namespace zel

// Texts as a terminal shows them. What comes from outside (names of devices, command lines) may hold anything: nothing
// of it reaches a terminal that would move the cursor, turn the direction of a line or take no room.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zel {

/// Which characters the reader's terminal shows.
enum class Charset : unsigned char { Ascii, Utf8 };

/// The text with a sign of replacement for everything but plain characters; with Ascii also for every other letter.
std::string displayText(std::string_view text, Charset charset);

/// The columns that a text of displayText() takes.
std::size_t displayWidth(std::string_view text);

/// A text of displayText() cut to `width` columns (at least 1), with a mark at its end when something is missing.
std::string cutText(std::string_view text, std::size_t width, Charset charset);

} // namespace zel

// Numbers, times and texts as every format writes them: appended to a growing buffer, without locale, without
// allocation once the buffer has its size.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zel {

/// What stands for a byte that is no UTF-8: U+FFFD.
inline constexpr std::string_view REPLACEMENT = "\xef\xbf\xbd";

void appendNumber(std::string &out, std::uint64_t number);
/// The shortest decimal text that gives the same number again. The number is finite.
void appendNumber(std::string &out, double number);

/// Nanoseconds as seconds, exactly: "1795238415.260000001".
void appendSeconds(std::string &out, std::int64_t nanoseconds);
/// A time since the epoch as RFC 3339 has it, in UTC: "2026-11-22T03:47:03.260000001Z".
void appendTimestamp(std::string &out, std::int64_t nanoseconds);

/// A text with a backslash before each of the special characters.
void appendWithBackslashes(std::string &out, std::string_view text, std::string_view special);

/// One character of a text that may hold anything.
struct Character {
    enum class Kind : unsigned char {
        Plain,    // a letter, a digit, a sign, a blank
        Steering, // acts on a terminal or on its reader: controls, direction marks, what takes no room
        Broken    // a byte that is no UTF-8
    };
    char32_t code;
    std::uint32_t length; // bytes of it in the text
    Kind kind;
};

/// The character at the start of a text that is not empty.
Character characterAt(std::string_view text);

/// Whether the byte is a whole character that every format writes as it is, but for its own separators.
constexpr bool isPlainByte(char byte) {
    return byte >= ' ' && byte <= '~';
}

/// Calls piece(std::string_view bytes, const Character &first) for the parts of a text in turn: plain characters as
/// many as follow one another, any other one alone.
template<class Piece> void forEachPiece(std::string_view text, Piece &&piece) {
    constexpr Character plain{U' ', 1, Character::Kind::Plain};
    std::size_t start = 0;
    for (std::size_t at = 0; at < text.size();) {
        const Character character = isPlainByte(text[at]) ? plain : characterAt(text.substr(at));
        if (character.kind != Character::Kind::Plain) {
            if (at > start)
                piece(text.substr(start, at - start), plain);
            piece(text.substr(at, character.length), character);
            start = at + character.length;
        }
        at += character.length;
    }
    if (start < text.size())
        piece(text.substr(start), plain);
}

} // namespace zel

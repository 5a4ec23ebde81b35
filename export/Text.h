// Numbers and texts as every format writes them: appended to a growing buffer, without locale, without allocation once
// the buffer has its size.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zel {

void appendNumber(std::string &out, std::uint64_t number);
/// The shortest decimal text that gives the same number again; a number without end or without value as "null".
void appendNumber(std::string &out, double number);

/// Calls piece(bytes, wellFormed) for the parts of a text in turn: well-formed UTF-8 without control characters, and
/// single bytes that are neither.
template<class Piece> void forEachPiece(std::string_view text, Piece &&piece);

/// The bytes of the UTF-8 sequence at the start of `text`, which is not empty; 0 when it is none.
std::size_t sequenceLength(std::string_view text);

template<class Piece> void forEachPiece(std::string_view text, Piece &&piece) {
    std::size_t start = 0, at = 0;
    while (at < text.size()) {
        const auto byte = static_cast<unsigned char>(text[at]);
        const bool plain = byte >= 0x20 && byte < 0x7f;
        const bool control = byte < 0x20 || byte == 0x7f;
        const std::size_t length = plain ? 1 : control ? 0 : sequenceLength(text.substr(at));
        if (length > 0) {
            at += length;
            continue;
        }
        if (at > start)
            piece(text.substr(start, at - start), true);
        piece(text.substr(at, 1), false);
        start = ++at;
    }
    if (at > start)
        piece(text.substr(start), true);
}

} // namespace zel

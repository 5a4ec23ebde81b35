// The bytes of one input, taken apart: option bytes first, then pieces of text between file separators (0x1C). Where
// nothing is left, options are 0 and pieces empty. A piece that begins with 0x1E and a count is the rest of it that
// many times more, so that a short input makes a file that is longer than any buffer.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace fuzz {

/// Ends a piece. No text of the readers uses it.
inline constexpr char PIECE_END = '\x1C';
/// A piece of this byte alone means a file that does not exist.
inline constexpr std::string_view ABSENT = "\x1D";

inline constexpr char REPEATED = '\x1E';
inline constexpr std::size_t LONGEST_PIECE = 200000;

class FuzzedInput {
public:
    FuzzedInput(const unsigned char *data, std::size_t size) : m_rest(reinterpret_cast<const char *>(data), size) {}

    bool atEnd() const { return m_rest.empty(); }

    unsigned byte() {
        if (m_rest.empty())
            return 0;
        const auto value = static_cast<unsigned char>(m_rest.front());
        m_rest.remove_prefix(1);
        return value;
    }

    /// A number of 32 bits, least significant byte first.
    unsigned number() {
        unsigned value = 0;
        for (unsigned shift = 0; shift < 32; shift += 8)
            value |= byte() << shift;
        return value;
    }

    /// The text up to the next separator.
    std::string piece() {
        const std::size_t end = m_rest.find(PIECE_END);
        const std::string_view part = m_rest.substr(0, end);
        m_rest.remove_prefix(end == std::string_view::npos ? m_rest.size() : end + 1);
        return part.starts_with(REPEATED) && part.size() > 2 ? repeated(part) : std::string(part);
    }

    /// The same as a C text: without what comes after a zero byte.
    std::string text() { return piece().c_str(); } // NOLINT(readability-redundant-string-cstr): cuts at the zero byte

private:
    static std::string repeated(std::string_view part) {
        std::string text;
        const unsigned count = 1U + static_cast<unsigned char>(part[1]);
        part.remove_prefix(2);
        for (unsigned i = 0; i < count && text.size() < LONGEST_PIECE; ++i)
            text += part;
        return text;
    }

    std::string_view m_rest;
};

} // namespace fuzz
